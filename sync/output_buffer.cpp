#include "sync/output_buffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zelkor::sync {

namespace {
constexpr std::size_t kBufferBytes = std::size_t{1} << 17;
// Shorter stretches are read into the buffer, longer ones left to the kernel.
constexpr std::int64_t kSmallCopy = std::int64_t{1} << 16;
// Sent to the medium at a time: enough to lie there in one piece.
constexpr std::int64_t kFlushBytes = std::int64_t{4} << 20;
}  // namespace

OutputBuffer::OutputBuffer(lib::File& file, bool lasts) : file_(file), lasts_(lasts), buffer_(kBufferBytes) {}

void OutputBuffer::Moved(std::int64_t count) {
  flushed_ += count;
  if (!lasts_ || flushed_ - begun_ < kFlushBytes) return;
  file_.BeginFlush(begun_, flushed_ - begun_);
  begun_ = flushed_;
}

lib::Status OutputBuffer::Append(std::span<const char> bytes) {
  while (!bytes.empty()) {
    if (used_ == buffer_.size()) {
      if (lib::Status flushed = Flush(); !flushed.Ok()) return flushed;
    }
    const std::size_t count = std::min(bytes.size(), buffer_.size() - used_);
    std::memcpy(buffer_.data() + used_, bytes.data(), count);
    used_ += count;
    bytes = bytes.subspan(count);
  }
  return {};
}

lib::Status OutputBuffer::Patch(std::int64_t offset, std::span<const char> bytes) {
  if (offset < flushed_) {
    const std::size_t before =
        std::min(bytes.size(), static_cast<std::size_t>(flushed_ - offset));  // bytes that are in the file already
    if (lib::Status written = file_.WriteAt(offset, bytes.first(before)); !written.Ok()) return written;
    offset += static_cast<std::int64_t>(before);
    bytes = bytes.subspan(before);
  }
  if (!bytes.empty()) std::memcpy(buffer_.data() + (offset - flushed_), bytes.data(), bytes.size());
  return {};
}

lib::Status OutputBuffer::Rewind(std::int64_t position) {
  if (position >= flushed_) {
    used_ = static_cast<std::size_t>(position - flushed_);
    return {};
  }
  used_ = 0;
  flushed_ = position;
  begun_ = std::min(begun_, position);
  return file_.SetLength(position);
}

lib::CopyOutcome OutputBuffer::AppendFrom(const lib::File& source, std::int64_t offset, std::int64_t count) {
  lib::CopyOutcome outcome;
  if (count > kSmallCopy) {
    outcome.status = Flush();
    if (!outcome.status.Ok()) return outcome;
    outcome = lib::CopyRange(source, offset, file_, flushed_, count);
    Moved(outcome.copied);
    return outcome;
  }
  const auto wanted = static_cast<std::size_t>(count);
  if (buffer_.size() - used_ < wanted) {
    outcome.status = Flush();
    if (!outcome.status.Ok()) return outcome;
  }
  const lib::Result<std::size_t> got = source.ReadAt(offset, std::span(buffer_).subspan(used_, wanted));
  if (!got.Ok()) {
    outcome.status = got.Failure();
    outcome.readFailed = true;
    return outcome;
  }
  used_ += *got;
  outcome.copied = static_cast<std::int64_t>(*got);
  outcome.sourceEnded = *got < wanted;
  return outcome;
}

lib::Status OutputBuffer::Flush() {
  if (used_ == 0) return {};
  if (lib::Status written = file_.WriteAt(flushed_, std::span(buffer_).first(used_)); !written.Ok()) return written;
  Moved(static_cast<std::int64_t>(std::exchange(used_, 0)));
  return {};
}

}  // namespace zelkor::sync
