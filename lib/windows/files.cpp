#include "lib/files.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "lib/code_page.h"
#include "lib/paths.h"
#include "lib/text.h"
#include "lib/windows/drives.h"
#include "lib/windows/file_info.h"
#include "lib/windows/open_file.h"
#include "lib/windows/system_error.h"
#include "lib/windows/wide.h"

namespace zelkor::lib {
namespace {

using windows::Facts;
using windows::SystemFailure;
using windows::ToSystem;

Status ReadPathFacts(std::string_view path, Facts& facts) {
  const Result<std::wstring> native = ToSystem(path);
  if (!native.Ok()) return native.Failure();
  const DWORD error = windows::ReadFacts(*native, facts);
  return error == 0 ? Status() : SystemFailure(error, path);
}

// Whether what has the name may be taken away or replaced.
Status CheckGivesWay(DWORD attributes, std::string_view path) {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return windows::Failure(Cause::Exists, path, "the name is a directory's");
  }
  if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) return windows::Failure(Cause::ReadOnly, path, "it is read-only");
  return {};
}

DirectoryEntry ToEntry(const std::wstring& directory, const WIN32_FIND_DATAW& found) {
  DirectoryEntry entry;
  entry.directory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  entry.link = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
               (found.dwReserved0 == IO_REPARSE_TAG_SYMLINK || found.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT);
  if (entry.link) {
    Facts facts;
    entry.other = windows::ReadFacts(directory + found.cFileName, facts) != 0;
    if (entry.other) entry.directory = false;
  } else {
    entry.other = (found.dwFileAttributes & FILE_ATTRIBUTE_DEVICE) != 0;
  }
  const std::string native = windows::FromWide(found.cFileName);
  if (Result<std::string> name = NameFromNative(native); name.Ok()) {
    entry.name = *std::move(name);
  } else {
    entry.name = FromUtf8Lossy(native);
    entry.refused = name.Failure();
  }
  return entry;
}

// The listing of a directory that is open; ended when the object goes.
class Search {
 public:
  Search(const std::wstring& pattern, WIN32_FIND_DATAW& first)
      : handle_(FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &first, FindExSearchNameMatch, nullptr,
                                 FIND_FIRST_EX_LARGE_FETCH)) {}
  ~Search() {
    if (IsOpen()) FindClose(handle_);
  }
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;
  [[nodiscard]] bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool Next(WIN32_FIND_DATAW& found) { return FindNextFileW(handle_, &found) != 0; }

 private:
  HANDLE handle_;
};

}  // namespace

Result<FileInfo> GetFileInfo(std::string_view path) {
  Facts facts;
  if (Status read = ReadPathFacts(path, facts); !read.Ok()) return read;
  return windows::ToFileInfo(facts);
}

Result<FileInfo> GetInfoAsSpelled(std::string_view path) { return GetFileInfo(path); }

bool FileExists(std::string_view path) {
  const std::string_view name = Trim(path);
  if (name.empty() || name.back() == '\\') return false;
  Facts facts;
  return ReadPathFacts(name, facts).Ok() && !facts.IsDirectory();
}

bool DirectoryExists(std::string_view path) {
  Facts facts;
  return ReadPathFacts(path, facts).Ok() && facts.IsDirectory();
}

Status RenameFile(std::string_view from, std::string_view to) {
  const Result<std::wstring> source = ToSystem(from);
  if (!source.Ok()) return source.Failure();
  const Result<std::wstring> destination = ToSystem(to);
  if (!destination.Ok()) return destination.Failure();
  Facts old;
  Facts replaced;
  const bool known = windows::ReadFacts(*source, old) == 0;
  // A file that is only to be spelled otherwise is its own predecessor.
  const bool itself = known && windows::ReadFacts(*destination, replaced) == 0 && old.device == replaced.device &&
                      old.index == replaced.index;
  if (const DWORD attributes = GetFileAttributesW(destination->c_str());
      !itself && attributes != INVALID_FILE_ATTRIBUTES) {
    if (Status replaceable = CheckGivesWay(attributes, to); !replaceable.Ok()) return replaceable;
  }
  if (MoveFileExW(source->c_str(), destination->c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0) {
    return {};
  }
  const DWORD error = GetLastError();
  if (error == ERROR_FILE_NOT_FOUND) return SystemFailure(error, from);
  return SystemFailure(error, error == ERROR_PATH_NOT_FOUND && !known ? from : to);
}

Status DeleteFile(std::string_view path) {
  const Result<std::wstring> native = ToSystem(path);
  if (!native.Ok()) return native.Failure();
  const DWORD attributes = GetFileAttributesW(native->c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return SystemFailure(GetLastError(), path);
  if (Status deletable = CheckGivesWay(attributes, path); !deletable.Ok()) return deletable;
  return ::DeleteFileW(native->c_str()) != 0 ? Status() : SystemFailure(GetLastError(), path);
}

bool MakePath(std::string_view path) {
  const std::size_t root = RootLength(path);
  if (root == 0) return false;
  if (DirectoryExists(path)) return true;
  const std::string whole = SlashPath(path, true);
  for (std::size_t end = whole.find('\\', root);; end = whole.find('\\', end + 1)) {
    const std::string_view level = std::string_view(whole).substr(0, end);
    if (!DirectoryExists(level)) {
      const Result<std::wstring> native = ToSystem(level);
      if (!native.Ok() || CreateDirectoryW(native->c_str(), nullptr) == 0) return false;
    }
    if (end == std::string::npos) return true;
  }
}

Result<std::vector<DirectoryEntry>> ListDirectory(std::string_view directory) {
  if (!DirectoryExists(directory)) {
    Facts facts;
    const Status why = ReadPathFacts(directory, facts);
    if (why.Why() == Cause::Refused) return why;
    return SystemFailure(ERROR_PATH_NOT_FOUND, directory);
  }
  const Result<std::string> native = windows::Drives::Current().ToNative(directory);
  if (!native.Ok()) return native.Failure();
  const std::wstring place = windows::ToSystemPath(native->back() == '\\' ? *native : *native + "\\");
  WIN32_FIND_DATAW found{};
  std::vector<DirectoryEntry> entries;
  Search search(place + L"*", found);
  if (!search.IsOpen()) {
    // The root of a drive has not even "." and "..".
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND ? Result(entries) : SystemFailure(error, directory);
  }
  do {
    const std::wstring_view name = found.cFileName;
    if (name != L"." && name != L"..") entries.push_back(ToEntry(place, found));
  } while (search.Next(found));
  if (const DWORD error = GetLastError(); error != ERROR_NO_MORE_FILES) return SystemFailure(error, directory);
  std::sort(entries.begin(), entries.end(),
            [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
  return entries;
}

// Here a file's content is on the medium before it takes its name (NewFile), and names are written through; a whole
// volume only an administrator can flush.
struct Volume::State {};

Volume::Volume(std::unique_ptr<State> state) : state_(std::move(state)) {}
Volume::Volume(Volume&&) noexcept = default;
Volume& Volume::operator=(Volume&&) noexcept = default;
Volume::~Volume() = default;

Result<Volume> Volume::Of(std::string_view path) {
  Facts facts;
  std::string place(path);
  if (!DirectoryExists(path)) place = DirectoryPart(path);
  if (!ReadPathFacts(place, facts).Ok()) return SystemFailure(ERROR_PATH_NOT_FOUND, path);
  return Volume(std::make_unique<State>());
}

Status Volume::Flush() const { return {}; }

Status FlushDirectory(std::string_view directory) {
  return DirectoryExists(directory) ? Status() : SystemFailure(ERROR_PATH_NOT_FOUND, directory);
}

}  // namespace zelkor::lib
