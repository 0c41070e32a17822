#include "lib/windows/open_file.h"

#include <algorithm>
#include <memory>

#include "lib/clock.h"
#include "lib/windows/drives.h"
#include "lib/windows/file_info.h"
#include "lib/windows/system_error.h"

namespace zelkor::lib {
namespace windows {
namespace {

// One call moves no more than this.
constexpr std::size_t kMaxTransfer = std::size_t{1} << 30;

OVERLAPPED At(std::int64_t offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset & 0xFFFFFFFF);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

}  // namespace

DWORD ReadPiece(HANDLE file, std::int64_t offset, char* to, std::size_t count, std::size_t& moved) {
  OVERLAPPED place = At(offset);
  DWORD read = 0;
  moved = 0;
  if (ReadFile(file, to, static_cast<DWORD>(std::min(count, kMaxTransfer)), &read, &place) == 0) {
    const DWORD error = GetLastError();
    return error == ERROR_HANDLE_EOF ? 0 : error;
  }
  moved = read;
  return 0;
}

DWORD WritePiece(HANDLE file, std::int64_t offset, const char* from, std::size_t count, std::size_t& moved) {
  OVERLAPPED place = At(offset);
  DWORD written = 0;
  moved = 0;
  if (WriteFile(file, from, static_cast<DWORD>(std::min(count, kMaxTransfer)), &written, &place) == 0) {
    return GetLastError();
  }
  moved = written;
  // No room is told by an error; a system that writes nothing and tells nothing would be asked for ever.
  return written == 0 && count > 0 ? DWORD{ERROR_DISK_FULL} : DWORD{0};
}

}  // namespace windows

namespace {

using windows::Facts;
using windows::OwnedHandle;
using windows::SystemFailure;

OwnedHandle OpenNative(const std::wstring& native, bool writes, DWORD disposition) {
  return OwnedHandle(CreateFileW(native.c_str(), writes ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ,
                                 windows::kShareAll, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Whether what was opened is a file, and one that may be written when `writes`.
Status CheckOpened(HANDLE file, bool writes, std::string_view path) {
  if (GetFileType(file) != FILE_TYPE_DISK) return windows::Failure(Cause::AccessDenied, path, "it is no ordinary file");
  Facts facts;
  if (const DWORD error = windows::ReadFacts(file, facts); error != 0) return SystemFailure(error, path);
  if (facts.IsDirectory()) return windows::Failure(Cause::NotFound, path, "it is a directory, no file");
  if (writes && facts.IsReadOnly()) return windows::Failure(Cause::ReadOnly, path, "it is read-only");
  return {};
}

// Why a file can not be opened: the system denies access to a directory, and to a read-only file for writing.
Status OpenFailure(DWORD error, const std::wstring& native, bool writes, std::string_view path) {
  Facts facts;
  if (error == ERROR_ACCESS_DENIED && windows::ReadFacts(native, facts) == 0) {
    if (facts.IsDirectory()) return windows::Failure(Cause::NotFound, path, "it is a directory, no file");
    if (writes && facts.IsReadOnly()) return windows::Failure(Cause::ReadOnly, path, "it is read-only");
  }
  return SystemFailure(error, path);
}

}  // namespace

Result<File> File::Open(std::string_view path, OpenMode mode) {
  const Result<std::wstring> native = windows::ToSystem(path);
  if (!native.Ok()) return native.Failure();
  const bool writes = mode != OpenMode::Read;
  // Emptying what a link leads to is never meant.
  if (mode == OpenMode::Truncate && windows::IsLink(*native)) {
    return windows::Failure(Cause::AccessDenied, path, "the name is a link that can not be followed");
  }
  const bool makes = mode == OpenMode::ReadWrite || mode == OpenMode::Truncate;
  OwnedHandle opened = OpenNative(*native, writes, mode == OpenMode::CreateNew ? CREATE_NEW : OPEN_EXISTING);
  if (!opened.IsOpen() && makes && GetLastError() == ERROR_FILE_NOT_FOUND) {
    // A link to nothing is there, though what it leads to is not.
    if (GetFileAttributesW(native->c_str()) != INVALID_FILE_ATTRIBUTES) return SystemFailure(ERROR_FILE_EXISTS, path);
    opened = OpenNative(*native, writes, CREATE_NEW);
  }
  if (!opened.IsOpen()) {
    const DWORD error = GetLastError();
    if (mode == OpenMode::CreateNew && GetFileAttributesW(native->c_str()) != INVALID_FILE_ATTRIBUTES) {
      return SystemFailure(ERROR_FILE_EXISTS, path);
    }
    return OpenFailure(error, *native, writes, path);
  }
  if (Status usable = CheckOpened(opened.Get(), writes, path); !usable.Ok()) return usable;
  File file;
  file.state_ = std::make_unique<State>(std::move(opened), std::string(path));
  if (mode == OpenMode::Truncate) {
    if (Status emptied = file.SetLength(0); !emptied.Ok()) return emptied;
  }
  return file;
}

Result<std::size_t> File::ReadAt(std::int64_t offset, std::span<char> out) const {
  std::size_t done = 0;
  while (done < out.size()) {
    std::size_t count = 0;
    const DWORD error = windows::ReadPiece(state_->file.Get(), offset + static_cast<std::int64_t>(done),
                                           out.data() + done, out.size() - done, count);
    if (error != 0) return SystemFailure(error, state_->path);
    if (count == 0) break;
    done += count;
  }
  return done;
}

Status File::WriteAt(std::int64_t offset, std::span<const char> bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    std::size_t count = 0;
    const DWORD error = windows::WritePiece(state_->file.Get(), offset + static_cast<std::int64_t>(done),
                                            bytes.data() + done, bytes.size() - done, count);
    if (error != 0) return SystemFailure(error, state_->path);
    done += count;
  }
  return {};
}

Result<std::int64_t> File::Length() const {
  LARGE_INTEGER size{};
  if (GetFileSizeEx(state_->file.Get(), &size) == 0) return SystemFailure(GetLastError(), state_->path);
  return std::int64_t{size.QuadPart};
}

Status File::SetLength(std::int64_t length) {
  FILE_END_OF_FILE_INFO end{};
  end.EndOfFile.QuadPart = length;
  const BOOL done = SetFileInformationByHandle(state_->file.Get(), FileEndOfFileInfo, &end, sizeof end);
  return done != 0 ? Status() : SystemFailure(GetLastError(), state_->path);
}

void File::BeginFlush(std::int64_t /*offset*/, std::int64_t /*count*/) {}

Status File::Flush() {
  return FlushFileBuffers(state_->file.Get()) != 0 ? Status() : SystemFailure(GetLastError(), state_->path);
}

Result<FileInfo> File::Info() const {
  Facts facts;
  if (const DWORD error = windows::ReadFacts(state_->file.Get(), facts); error != 0) {
    return SystemFailure(error, state_->path);
  }
  return windows::ToFileInfo(facts);
}

Result<bool> File::StillIs(const FileInfo& before) const {
  Facts facts;
  if (const DWORD error = windows::ReadFacts(state_->file.Get(), facts); error != 0) {
    return SystemFailure(error, state_->path);
  }
  return facts.size == before.size && windows::ChangeStamp(facts) == before.changeStamp;
}

Result<std::uint64_t> File::Device() const {
  Facts facts;
  if (const DWORD error = windows::ReadFacts(state_->file.Get(), facts); error != 0) {
    return SystemFailure(error, state_->path);
  }
  return facts.device;
}

Status File::SetTimes(Date created, Date written) {
  if (!IsDate(written)) return windows::Failure(Cause::Failed, state_->path, "its time is no date");
  const bool setsCreated = IsDate(created) && created != 0;
  const FILETIME createdTime = setsCreated ? windows::FromUtc(DateToUtc(created)) : FILETIME{};
  const FILETIME writtenTime = written != 0 ? windows::FromUtc(DateToUtc(written)) : FILETIME{};
  const BOOL done = SetFileTime(state_->file.Get(), setsCreated ? &createdTime : nullptr, nullptr,
                                written != 0 ? &writtenTime : nullptr);
  return done != 0 ? Status() : SystemFailure(GetLastError(), state_->path);
}

}  // namespace zelkor::lib
