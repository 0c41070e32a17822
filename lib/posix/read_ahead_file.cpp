#include "lib/read_ahead_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lib/posix/descriptor.h"
#include "lib/posix/drives.h"
#include "lib/posix/file_info.h"

namespace zelkor::lib {
namespace {

using posix::Descriptor;
using posix::Uninterrupted;

bool Same(const struct statx& a, const struct statx& b) {
  return a.stx_size == b.stx_size && posix::ChangeStamp(a) == posix::ChangeStamp(b);
}

}  // namespace

// Only as it is spelled: the search for another spelling belongs to the other thread.
bool ReadFileAhead(const std::string& path, Date cutoff, std::vector<char>& buffer, ReadAhead::Found& found) {
  const Result<posix::WrittenPath> written = posix::Drives::Current().ToWritten(path);
  if (!written.Ok()) return false;
  const char* const native = written->native.c_str();
  struct statx facts {};
  if (cutoff != 0) {
    if (posix::ReadFacts({.path = native}, facts) != 0 || !S_ISREG(facts.stx_mode)) return false;
    found.info = posix::ToFileInfo(facts, std::nullopt);
    if (DateToSeconds(found.info.written) <= DateToSeconds(cutoff)) return true;
  }
  const bool known = cutoff != 0;
  const Descriptor file(Uninterrupted([&] { return open(native, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
  if (!file.IsOpen() || posix::ReadFacts({.descriptor = file.Get()}, facts) != 0 || !S_ISREG(facts.stx_mode)) {
    return known;
  }
  const auto size = static_cast<std::int64_t>(facts.stx_size);
  if (size > ReadAhead::kLongest) return known;
  found.info = posix::ToFileInfo(facts, posix::ReadCreated(file.Get()));
  const auto count = static_cast<std::size_t>(size);
  if (buffer.size() < count) buffer.resize(count);
  if (size > 0 && Uninterrupted([&] { return pread(file.Get(), buffer.data(), count, 0); }) != size) return true;
  struct statx after {};
  if (posix::ReadFacts({.descriptor = file.Get()}, after) != 0 || !Same(facts, after)) return true;
  found.content = std::span(buffer).first(count);
  found.read = true;
  return true;
}

}  // namespace zelkor::lib
