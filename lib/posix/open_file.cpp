#include "lib/posix/open_file.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "lib/clock.h"
#include "lib/posix/file_info.h"
#include "lib/posix/name_lookup.h"
#include "lib/posix/system_error.h"

namespace zelkor::lib {
namespace {

using posix::Descriptor;
using posix::SystemFailure;
using posix::Uninterrupted;

constexpr mode_t kPrivate = 0600;

// Without O_NONBLOCK, opening a named pipe would wait for its other end; on files it means nothing.
constexpr int kAlways = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

// One call moves no more than this; also the kernel's own limit is just below 2 GiB.
constexpr std::size_t kMaxTransfer = std::size_t{1} << 30;

Result<Descriptor> MakeNew(const std::string& native, std::string_view path) {
  Descriptor made(
      Uninterrupted([&] { return open(native.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | kAlways, kPrivate); }));
  if (!made.IsOpen()) return SystemFailure(errno == ENOENT ? ENOTDIR : errno, path);
  posix::NameLookup::Shared().Added(native);
  return made;
}

// Whether what was opened is a file, and one that may be written when `writes`.
Status CheckOpened(const struct statx& facts, bool writes, std::string_view path) {
  if (S_ISDIR(facts.stx_mode)) return posix::Failure(Cause::NotFound, path, "it is a directory, no file");
  if (!S_ISREG(facts.stx_mode)) return posix::Failure(Cause::AccessDenied, path, "it is no ordinary file");
  if (writes && posix::IsReadOnly(facts.stx_mode)) return posix::Failure(Cause::ReadOnly, path, "it is read-only");
  return {};
}

// Why a file can not be opened for writing: one that its owner may not write is read-only, whoever asks.
Status OpenFailure(int error, const std::string& native, std::string_view path) {
  struct statx facts {};
  if (error == EISDIR) return posix::Failure(Cause::NotFound, path, "it is a directory, no file");
  if (error == EACCES && posix::ReadFacts({.path = native.c_str()}, facts) == 0 && posix::IsReadOnly(facts.stx_mode)) {
    return posix::Failure(Cause::ReadOnly, path, "it is read-only");
  }
  if (error == ENXIO) return posix::Failure(Cause::AccessDenied, path, "it is no ordinary file");
  return SystemFailure(error, path);
}

}  // namespace

Result<File> File::Open(std::string_view path, OpenMode mode) {
  const Result<posix::WrittenPath> written = posix::Drives::Current().ToWritten(path);
  if (!written.Ok()) return written.Failure();
  File file;
  if (mode == OpenMode::CreateNew) {
    const posix::NameLookup::Found found = posix::NameLookup::Shared().Find(*written);
    if (found.exists) return SystemFailure(EEXIST, path);
    if (!found.directoryExists) return SystemFailure(ENOTDIR, path);
    Result<Descriptor> made = MakeNew(found.path, path);
    if (!made.Ok()) return made.Failure();
    file.state_ = std::make_unique<State>(std::move(*made), std::string(path));
    return file;
  }

  const bool writes = mode != OpenMode::Read;
  // Emptying what a link leads to is never meant.
  const int flags = (writes ? O_RDWR : O_RDONLY) | (mode == OpenMode::Truncate ? O_NOFOLLOW : 0) | kAlways;
  Descriptor opened;
  const posix::Attempted attempted = posix::OnExisting(*written, [&](const std::string& native) {
    opened = Descriptor(Uninterrupted([&] { return open(native.c_str(), flags); }));
    return opened.IsOpen() ? 0 : errno;
  });
  const bool makes = mode == OpenMode::ReadWrite || mode == OpenMode::Truncate;
  if (attempted.error == ENOENT && makes) {
    Result<Descriptor> made = MakeNew(attempted.path, path);
    if (!made.Ok()) return made.Failure();
    file.state_ = std::make_unique<State>(std::move(*made), std::string(path));
    return file;
  }
  if (attempted.error != 0) return OpenFailure(attempted.error, attempted.path, path);

  struct statx facts {};
  if (const int error = posix::ReadFacts({.descriptor = opened.Get()}, facts); error != 0) {
    return SystemFailure(error, path);
  }
  if (Status usable = CheckOpened(facts, writes, path); !usable.Ok()) return usable;
  file.state_ = std::make_unique<State>(std::move(opened), std::string(path));
  if (mode == OpenMode::Truncate) {
    if (Status emptied = file.SetLength(0); !emptied.Ok()) return emptied;
  } else {
    file.state_->facts = facts;
  }
  return file;
}

Result<std::size_t> File::ReadAt(std::int64_t offset, std::span<char> out) const {
  state_->facts.reset();
  std::size_t done = 0;
  while (done < out.size()) {
    const ssize_t count = Uninterrupted([&] {
      return pread(state_->file.Get(), out.data() + done, std::min(out.size() - done, kMaxTransfer),
                   offset + static_cast<std::int64_t>(done));
    });
    if (count < 0) return SystemFailure(errno, state_->path);
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  return done;
}

Status File::WriteAt(std::int64_t offset, std::span<const char> bytes) {
  state_->facts.reset();
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = Uninterrupted([&] {
      return pwrite(state_->file.Get(), bytes.data() + done, std::min(bytes.size() - done, kMaxTransfer),
                    offset + static_cast<std::int64_t>(done));
    });
    // No room is told by an error; a system that writes nothing and tells nothing would be asked for ever.
    if (count <= 0) return SystemFailure(count < 0 ? errno : ENOSPC, state_->path);
    done += static_cast<std::size_t>(count);
  }
  return {};
}

Result<std::int64_t> File::Length() const {
  struct stat info {};
  if (fstat(state_->file.Get(), &info) != 0) return SystemFailure(errno, state_->path);
  return info.st_size;
}

Status File::SetLength(std::int64_t length) {
  state_->facts.reset();
  const int failed = Uninterrupted([&] { return ftruncate(state_->file.Get(), length); });
  return failed == 0 ? Status() : SystemFailure(errno, state_->path);
}

void File::BeginFlush(std::int64_t offset, std::int64_t count) {
  static_cast<void>(sync_file_range(state_->file.Get(), offset, count, SYNC_FILE_RANGE_WRITE));
}

Status File::Flush() {
  const int failed = Uninterrupted([&] { return fdatasync(state_->file.Get()); });
  return failed == 0 ? Status() : SystemFailure(errno, state_->path);
}

Result<FileInfo> File::Info() const {
  struct statx facts {};
  if (state_->facts) {
    facts = *state_->facts;
    state_->facts.reset();
  } else if (const int error = posix::ReadFacts({.descriptor = state_->file.Get()}, facts); error != 0) {
    return SystemFailure(error, state_->path);
  }
  return posix::ToFileInfo(facts, posix::ReadCreated(state_->file.Get()));
}

Result<bool> File::StillIs(const FileInfo& before) const {
  struct statx facts {};
  if (const int error = posix::ReadFacts({.descriptor = state_->file.Get()}, facts); error != 0) {
    return SystemFailure(error, state_->path);
  }
  return static_cast<std::int64_t>(facts.stx_size) == before.size && posix::ChangeStamp(facts) == before.changeStamp;
}

Result<std::uint64_t> File::Device() const {
  struct stat info {};
  if (fstat(state_->file.Get(), &info) != 0) return SystemFailure(errno, state_->path);
  return std::uint64_t{info.st_dev};
}

Status File::SetTimes(Date created, Date written) {
  state_->facts.reset();
  if (!IsDate(written)) return posix::Failure(Cause::Failed, state_->path, "its time is no date");
  const int file = state_->file.Get();
  if (IsDate(created) && created != 0) {
    if (const int error = posix::WriteCreated(file, DateToUtc(created)); error != 0) {
      return SystemFailure(error, state_->path);
    }
  }
  constexpr timespec kKept{.tv_sec = 0, .tv_nsec = UTIME_OMIT};
  const std::array<timespec, 2> times = {kKept,
                                         written == 0 ? kKept : timespec{.tv_sec = DateToUtc(written), .tv_nsec = 0}};
  return futimens(file, times.data()) == 0 ? Status() : SystemFailure(errno, state_->path);
}

}  // namespace zelkor::lib
