#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <vector>

#include "lib/windows/drives.h"
#include "lib/windows/file_info.h"
#include "lib/windows/open_file.h"
#include "lib/windows/security.h"
#include "lib/windows/system_error.h"
#include "lib/windows/wide.h"

namespace zelkor::lib {
namespace {

using windows::Facts;
using windows::OwnedHandle;
using windows::SecurityDescriptor;
using windows::SystemFailure;

// What a replaced file hands on of its attributes.
constexpr DWORD kHandedOn = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

// Rights for this user alone, none of them inherited.
SecurityDescriptor OwnersAlone() {
  return windows::ParseSecurityDescriptor(L"D:P(A;;FA;;;" + windows::ThisUser() + L")");
}

// A name that nothing else uses; whoever meets one after a crash sees whose it was.
std::wstring TemporaryName(const std::string& directory) {
  static thread_local std::mt19937_64 random{std::random_device{}()};
  std::array<char, 32> name{};
  std::snprintf(name.data(), name.size(), "~zelkor-%012llx.tmp",
                static_cast<unsigned long long>(random() & 0xFFFFFFFFFFFFU));
  return windows::ToSystemPath(directory + (directory.back() == '\\' ? "" : "\\") + name.data());
}

// The attributes of the file of that name, if there is one; fails when it may not be replaced.
Result<std::optional<DWORD>> LookAtOld(const std::wstring& native, std::string_view path) {
  const DWORD attributes = GetFileAttributesW(native.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD error = GetLastError();
    if (error == ERROR_FILE_NOT_FOUND) return std::optional<DWORD>();
    return SystemFailure(error, path);
  }
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    return windows::Failure(Cause::Exists, path, "the name is a directory's");
  }
  if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) return windows::Failure(Cause::ReadOnly, path, "it is read-only");
  return std::optional(attributes);
}

// What a rename is asked for by; the compiler's headers have it only for newer systems. Source: Microsoft's
// FILE_RENAME_INFORMATION and FILE_INFO_BY_HANDLE_CLASS.
struct RenameRequest {
  DWORD flags = 0;
  HANDLE directory = nullptr;
  DWORD nameBytes = 0;
  WCHAR name[1] = {};  // NOLINT(modernize-avoid-c-arrays): the system's
};
constexpr auto kFileRenameInfoEx = static_cast<FILE_INFO_BY_HANDLE_CLASS>(22);
constexpr DWORD kReplaceIfExists = 1;
constexpr DWORD kPosixSemantics = 2;

// Renames in place of a file that others may have open, who keep what they have; since Windows 10. False when the
// system can not.
bool RenameOverOpenFile(const std::wstring& from, const std::wstring& to) {
  const OwnedHandle file(CreateFileW(from.c_str(), DELETE | SYNCHRONIZE, windows::kShareAll, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_WRITE_THROUGH, nullptr));
  if (!file.IsOpen()) return false;
  const std::size_t nameBytes = to.size() * sizeof(WCHAR);
  std::vector<std::uint64_t> buffer((sizeof(RenameRequest) + nameBytes) / sizeof(std::uint64_t) + 1);
  auto* const request = new (buffer.data()) RenameRequest;
  request->flags = kReplaceIfExists | kPosixSemantics;
  request->nameBytes = static_cast<DWORD>(nameBytes);
  std::memcpy(&request->name[0], to.data(), nameBytes);
  return SetFileInformationByHandle(file.Get(), kFileRenameInfoEx, request,
                                    static_cast<DWORD>(sizeof(RenameRequest) + nameBytes)) != 0;
}

// Renames; 0 or the system's error. What is renamed is on the medium under its new name when this returns.
DWORD Rename(const std::wstring& from, const std::wstring& to, bool replaces) {
  if (replaces && RenameOverOpenFile(from, to)) return 0;
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (replaces ? MOVEFILE_REPLACE_EXISTING : 0);
  return MoveFileExW(from.c_str(), to.c_str(), flags) != 0 ? 0 : GetLastError();
}

// Gives a new file the rights that were set for the one that it replaces; inherited ones it has already.
void TakeOverRights(HANDLE file, const std::wstring& replaced) {
  PACL rights = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetNamedSecurityInfoW(const_cast<wchar_t*>(replaced.c_str()),  // NOLINT(cppcoreguidelines-pro-type-const-cast)
                            SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &rights, nullptr,
                            &descriptor) != ERROR_SUCCESS) {
    return;
  }
  const SecurityDescriptor owned(descriptor);
  SECURITY_DESCRIPTOR_CONTROL control = 0;
  DWORD revision = 0;
  if (GetSecurityDescriptorControl(descriptor, &control, &revision) == 0 || (control & SE_DACL_PROTECTED) == 0) return;
  SetSecurityInfo(file, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr,
                  nullptr, rights, nullptr);
}

}  // namespace

// The system has no files without a name that could get one later.
struct UnnamedFile::State {
  File content;
};

UnnamedFile::UnnamedFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
UnnamedFile::UnnamedFile(UnnamedFile&&) noexcept = default;
UnnamedFile& UnnamedFile::operator=(UnnamedFile&&) noexcept = default;
UnnamedFile::~UnnamedFile() = default;

File& UnnamedFile::Content() { return state_->content; }

struct UnnamedFileMaker::State {};

UnnamedFileMaker::UnnamedFileMaker() = default;
UnnamedFileMaker::~UnnamedFileMaker() = default;

bool UnnamedFileMaker::Works() { return false; }

Result<UnnamedFile> UnnamedFileMaker::Make(std::string_view path) { return SystemFailure(ERROR_NOT_SUPPORTED, path); }

Result<NewFile> NewFile::Create(std::string_view path, UnnamedFile& /*content*/) {
  return SystemFailure(ERROR_NOT_SUPPORTED, path);
}

struct NewFile::State {
  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    content.Close();
    if (!temporary.empty()) ::DeleteFileW(temporary.c_str());
  }

  [[nodiscard]] HANDLE Handle() const { return content.state_->file.Get(); }
  [[nodiscard]] const std::string& Path() const { return content.state_->path; }
  [[nodiscard]] Status TakeName(bool replaces);

  File content;
  std::wstring target;     // the path that it will have
  std::wstring temporary;  // the path that it has until then
  bool ownerOnly = false;
  std::optional<DWORD> old;  // the attributes of the file that it is to replace
};

NewFile::NewFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
NewFile::NewFile(NewFile&&) noexcept = default;
NewFile& NewFile::operator=(NewFile&&) noexcept = default;
NewFile::~NewFile() = default;

Result<NewFile> NewFile::Create(std::string_view path, Access access) {
  const Result<std::string> native = windows::Drives::Current().ToNative(path);
  if (!native.Ok()) return native.Failure();
  auto state = std::make_unique<State>();
  state->ownerOnly = access == Access::OwnerOnly;
  state->target = windows::ToSystemPath(*native);
  const Result<std::optional<DWORD>> old = LookAtOld(state->target, path);
  if (!old.Ok()) return old.Failure();
  state->old = *old;

  const SecurityDescriptor ownersAlone = state->ownerOnly ? OwnersAlone() : SecurityDescriptor();
  if (state->ownerOnly && !ownersAlone) return SystemFailure(GetLastError(), path);
  SECURITY_ATTRIBUTES security{
      .nLength = sizeof security, .lpSecurityDescriptor = ownersAlone.get(), .bInheritHandle = FALSE};
  const std::string directory = windows::DirectoryOf(*native);
  constexpr int kTries = 100;
  OwnedHandle file;
  DWORD error = ERROR_FILE_EXISTS;
  for (int i = 0; i < kTries && error == ERROR_FILE_EXISTS; ++i) {
    state->temporary = TemporaryName(directory);
    file = OwnedHandle(CreateFileW(state->temporary.c_str(), GENERIC_READ | GENERIC_WRITE | WRITE_DAC,
                                   windows::kShareAll, &security, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    error = file.IsOpen() ? 0 : GetLastError();
  }
  if (error != 0) {
    state->temporary.clear();
    return SystemFailure(error, path);
  }
  state->content.state_ = std::make_unique<File::State>(std::move(file), std::string(path));
  return NewFile(std::move(state));
}

File& NewFile::Content() { return state_->content; }

// Its content is on the medium before it has the name: no file system here could be told to keep the two in order.
Status NewFile::State::TakeName(bool replaces) {
  if (Status flushed = content.Flush(); !flushed.Ok()) return flushed;
  if (const DWORD error = Rename(temporary, target, replaces); error != 0) {
    return SystemFailure(error == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : error, Path());
  }
  temporary.clear();
  return {};
}

Status NewFile::Replace() {
  State& state = *state_;
  // Somebody may have made the name meanwhile, or made it read-only.
  const Result<std::optional<DWORD>> old = LookAtOld(state.target, state.Path());
  if (!old.Ok()) return old.Failure();
  if (*old) {
    if (!state.ownerOnly) TakeOverRights(state.Handle(), state.target);
    if ((**old & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)) != 0) {
      SetFileAttributesW(state.temporary.c_str(), **old & kHandedOn);
    }
  }
  return state.TakeName(true);
}

Status NewFile::TakeFreeName() {
  State& state = *state_;
  if (state.old) return SystemFailure(ERROR_FILE_EXISTS, state.Path());
  return state.TakeName(false);
}

Status MoveToFreeName(File& file, std::string_view path) {
  const Result<std::wstring> target = windows::ToSystem(path);
  if (!target.Ok()) return target.Failure();
  const Result<std::wstring> source = windows::ToSystem(file.Path());
  if (!source.Ok()) return source.Failure();
  if (GetFileAttributesW(target->c_str()) != INVALID_FILE_ATTRIBUTES) return SystemFailure(ERROR_FILE_EXISTS, path);
  // What has the file's name by now must still be the file.
  Facts open;
  Facts named;
  if (const DWORD error = windows::ReadFacts(file.state_->file.Get(), open); error != 0) {
    return SystemFailure(error, file.Path());
  }
  if (const DWORD error = windows::ReadFacts(*source, named); error != 0) return SystemFailure(error, file.Path());
  if (open.device != named.device || open.index != named.index) return SystemFailure(ERROR_FILE_NOT_FOUND, file.Path());
  // A file that is moved keeps the rights of the directory that it comes from; only where those are the same may it be
  // moved.
  const auto above = [](const std::string& native) { return windows::ToSystemPath(windows::DirectoryOf(native)); };
  const std::wstring from = above(windows::Drives::Current().ToNative(file.Path()).Value());
  const std::wstring to = above(windows::Drives::Current().ToNative(path).Value());
  Facts place;
  if (const DWORD error = windows::ReadFacts(to, place); error != 0) {
    return SystemFailure(error == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : error, path);
  }
  Facts oldPlace;
  const bool sameDirectory =
      windows::ReadFacts(from, oldPlace) == 0 && oldPlace.device == place.device && oldPlace.index == place.index;
  if (!sameDirectory) return SystemFailure(ERROR_NOT_SAME_DEVICE, path);
  if (Status flushed = file.Flush(); !flushed.Ok()) return flushed;
  const DWORD error = Rename(*source, *target, false);
  return error == 0 ? Status() : SystemFailure(error, path);
}

}  // namespace zelkor::lib
