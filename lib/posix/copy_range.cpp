// Copying between open files.
#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

#include "lib/posix/open_file.h"
#include "lib/posix/system_error.h"

namespace zelkor::lib {
namespace {

// Up to this size a read and a write cost less than the kernel's own copying, which sets up a pipe first: 4 KiB pieces
// took 1.5 times as long through it.
constexpr std::int64_t kSmall = 64 << 10;
constexpr std::size_t kBufferBytes = std::size_t{1} << 20;
constexpr std::int64_t kMaxByKernel = std::int64_t{1} << 30;

// Copies by the kernel as far as that goes: it stops at the source's end, at any error and between file systems that
// can not do it. What stopped it comes to light when the rest is read and written.
std::int64_t CopyByKernel(int from, off_t fromOffset, int to, off_t toOffset, std::int64_t count) {
  std::int64_t copied = 0;
  while (copied < count) {
    const auto piece = static_cast<std::size_t>(std::min(count - copied, kMaxByKernel));
    const ssize_t moved =
        posix::Uninterrupted([&] { return copy_file_range(from, &fromOffset, to, &toOffset, piece, 0); });
    if (moved <= 0) break;
    copied += moved;
  }
  return copied;
}

}  // namespace

CopyOutcome CopyRange(const File& from, std::int64_t fromOffset, File& to, std::int64_t toOffset, std::int64_t count) {
  CopyOutcome outcome;
  const int source = from.state_->file.Get();
  const int destination = to.state_->file.Get();
  from.state_->facts.reset();
  to.state_->facts.reset();
  if (count > kSmall) outcome.copied = CopyByKernel(source, fromOffset, destination, toOffset, count);
  if (outcome.copied >= count) return outcome;

  std::array<char, kSmall> small;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled before it is read
  std::unique_ptr<char[]> large;   // NOLINT(modernize-avoid-c-arrays)
  char* buffer = small.data();
  std::size_t bufferBytes = small.size();
  if (count - outcome.copied > kSmall) {
    large = std::make_unique_for_overwrite<char[]>(kBufferBytes);  // NOLINT(modernize-avoid-c-arrays)
    buffer = large.get();
    bufferBytes = kBufferBytes;
  }
  while (outcome.copied < count) {
    const auto wanted =
        static_cast<std::size_t>(std::min(count - outcome.copied, static_cast<std::int64_t>(bufferBytes)));
    const ssize_t read =
        posix::Uninterrupted([&] { return pread(source, buffer, wanted, fromOffset + outcome.copied); });
    if (read < 0) {
      outcome.readFailed = true;
      outcome.status = posix::SystemFailure(errno, from.Path());
      return outcome;
    }
    if (read == 0) {
      outcome.sourceEnded = true;
      return outcome;
    }
    for (ssize_t done = 0; done < read;) {
      const ssize_t written = posix::Uninterrupted([&] {
        return pwrite(destination, buffer + done, static_cast<std::size_t>(read - done), toOffset + outcome.copied);
      });
      if (written <= 0) {
        outcome.status = posix::SystemFailure(written < 0 ? errno : ENOSPC, to.Path());
        return outcome;
      }
      done += written;
      outcome.copied += written;
    }
  }
  return outcome;
}

}  // namespace zelkor::lib
