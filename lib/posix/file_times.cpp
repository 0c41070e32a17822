#include "lib/file_times.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "lib/clock.h"
#include "lib/posix/descriptor.h"
#include "lib/posix/file_info.h"
#include "lib/posix/name_lookup.h"

namespace zelkor::lib {
namespace {

// The file opened as the product asks for: for reading, or for reading and writing. Nothing for what is no file.
std::optional<posix::Descriptor> OpenFor(std::string_view path, int access, struct statx& facts) {
  const Result<posix::WrittenPath> written = posix::Drives::Current().ToWritten(path);
  if (!written.Ok()) return std::nullopt;
  posix::Descriptor opened;
  const posix::Attempted attempted = posix::OnExisting(*written, [&](const std::string& native) {
    opened = posix::Descriptor(
        posix::Uninterrupted([&] { return open(native.c_str(), access | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
    return opened.IsOpen() ? 0 : errno;
  });
  if (attempted.error != 0) return std::nullopt;
  if (posix::ReadFacts({.descriptor = opened.Get()}, facts) != 0 || !S_ISREG(facts.stx_mode)) return std::nullopt;
  return opened;
}

timespec ToTimespec(const statx_timestamp& time) { return {.tv_sec = time.tv_sec, .tv_nsec = time.tv_nsec}; }

}  // namespace

// Parts of a second are dropped toward the past: the system's seconds are whole ones, its nanoseconds never negative.
Date GetFileDate(std::string_view path, FileTime which) {
  struct statx facts {};
  const std::optional<posix::Descriptor> file = OpenFor(path, O_RDONLY, facts);
  if (!file) return 0;
  switch (which) {
    case FileTime::Created:
      return UtcToDate(posix::CreatedSeconds(facts, posix::ReadCreated(file->Get())));
    case FileTime::Accessed:
      return UtcToDate(facts.stx_atime.tv_sec);
    case FileTime::Written:
      return UtcToDate(facts.stx_mtime.tv_sec);
  }
  return 0;
}

bool SetFileDate(std::string_view path, FileTime which, Date date) {
  constexpr bool kFailed = true;
  if (!IsDate(date) || date == 0) return kFailed;
  struct statx facts {};
  const std::optional<posix::Descriptor> file = OpenFor(path, O_RDWR, facts);
  if (!file || posix::IsReadOnly(facts.stx_mode)) return kFailed;
  const std::int64_t seconds = DateToUtc(date);
  std::array<timespec, 2> times = {ToTimespec(facts.stx_atime), ToTimespec(facts.stx_mtime)};
  const timespec chosen{.tv_sec = seconds, .tv_nsec = 0};
  if (which == FileTime::Accessed) times[0] = chosen;
  if (which == FileTime::Written) times[1] = chosen;
  if (which == FileTime::Created && posix::WriteCreated(file->Get(), seconds) != 0) return kFailed;
  return futimens(file->Get(), times.data()) != 0;
}

}  // namespace zelkor::lib
