#include "lib/posix/file_info.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>

#include "lib/clock.h"

namespace zelkor::lib::posix {
namespace {

constexpr unsigned kFacts = STATX_BASIC_STATS | STATX_BTIME;

std::uint64_t Nanoseconds(const statx_timestamp& time) {
  return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000U + time.tv_nsec;
}

}  // namespace

int ReadFacts(FileName file, struct statx& facts) {
  const bool open = file.descriptor >= 0;
  const int failed =
      statx(open ? file.descriptor : AT_FDCWD, open ? "" : file.path, open ? AT_EMPTY_PATH : 0, kFacts, &facts);
  return failed == 0 ? 0 : errno;
}

std::optional<std::int64_t> ReadCreated(int descriptor) {
  std::array<char, 32> text{};
  const ssize_t length = fgetxattr(descriptor, kCreatedAttribute, text.data(), text.size());
  if (length <= 0) return std::nullopt;
  std::int64_t seconds = 0;
  const char* const end = text.data() + length;
  const auto [stopped, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc() || stopped != end) return std::nullopt;
  return seconds;
}

std::int64_t CreatedSeconds(const struct statx& facts, std::optional<std::int64_t> created) {
  if (created) return *created;
  return (facts.stx_mask & STATX_BTIME) != 0 ? facts.stx_btime.tv_sec : facts.stx_mtime.tv_sec;
}

std::int64_t ChangeStamp(const struct statx& facts) {
  constexpr std::uint64_t kMix = 0x9E3779B97F4A7C15U;  // 2^64 divided by the golden ratio: spreads the bits
  return static_cast<std::int64_t>(Nanoseconds(facts.stx_mtime) * kMix + Nanoseconds(facts.stx_ctime));
}

FileInfo ToFileInfo(const struct statx& facts, std::optional<std::int64_t> created) {
  FileInfo info;
  info.size = static_cast<std::int64_t>(facts.stx_size);
  info.created = UtcToDate(CreatedSeconds(facts, created));
  info.written = UtcToDate(facts.stx_mtime.tv_sec);
  info.directory = S_ISDIR(facts.stx_mode);
  info.readOnly = IsReadOnly(facts.stx_mode);
  info.changeStamp = ChangeStamp(facts);
  info.device = makedev(facts.stx_dev_major, facts.stx_dev_minor);
  info.index = facts.stx_ino;
  return info;
}

bool IsReadOnly(unsigned mode) { return (mode & S_IWUSR) == 0; }

int WriteCreated(int descriptor, std::int64_t seconds) {
  std::array<char, 32> text{};
  const auto written = std::to_chars(text.data(), text.data() + text.size(), seconds);
  const auto length = static_cast<std::size_t>(written.ptr - text.data());
  if (fsetxattr(descriptor, kCreatedAttribute, text.data(), length, 0) == 0) return 0;
  return errno == ENOTSUP ? 0 : errno;
}

}  // namespace zelkor::lib::posix
