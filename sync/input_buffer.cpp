#include "sync/input_buffer.h"

#include <algorithm>

namespace zelkor::sync {

namespace {
constexpr std::size_t kBufferBytes = std::size_t{1} << 19;
}  // namespace

InputBuffer::InputBuffer(const lib::File& file) : file_(file), buffer_(kBufferBytes) {}

lib::Result<std::span<const char>> InputBuffer::View(std::int64_t offset, std::size_t count) {
  const bool inside =
      offset >= start_ && offset + static_cast<std::int64_t>(count) <= start_ + static_cast<std::int64_t>(used_);
  if (!inside) {
    const lib::Result<std::size_t> got = file_.ReadAt(offset, buffer_);
    if (!got.Ok()) {
      used_ = 0;
      return got.Failure();
    }
    start_ = offset;
    used_ = *got;
  }
  const auto begin = static_cast<std::size_t>(offset - start_);
  return std::span<const char>(buffer_).subspan(begin, std::min(count, used_ - begin));
}

}  // namespace zelkor::sync
