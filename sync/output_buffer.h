// Writing a file front to back in large pieces, with the liberty to mend what was written before.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "lib/files.h"

namespace zelkor::sync {

class OutputBuffer {
 public:
  // Writes `file` from its start. The file must outlive the buffer; call Flush before closing it. One that `lasts` goes
  // to its medium while it is written.
  OutputBuffer(lib::File& file, bool lasts);

  [[nodiscard]] std::int64_t Position() const { return flushed_ + static_cast<std::int64_t>(used_); }
  [[nodiscard]] lib::Status Append(std::span<const char> bytes);
  // Overwrites bytes appended before. REQUIRES: offset + bytes.size() <= Position().
  [[nodiscard]] lib::Status Patch(std::int64_t offset, std::span<const char> bytes);
  // Takes everything from `position` on back. REQUIRES: position <= Position().
  [[nodiscard]] lib::Status Rewind(std::int64_t position);
  // Appends `count` bytes of the start of `source`; a short source shows in `copied`.
  [[nodiscard]] lib::CopyOutcome AppendFrom(const lib::File& source, std::int64_t offset, std::int64_t count);
  [[nodiscard]] lib::Status Flush();

 private:
  // So many more bytes are in the file.
  void Moved(std::int64_t count);

  lib::File& file_;
  const bool lasts_;
  std::vector<char> buffer_;
  std::size_t used_ = 0;
  std::int64_t flushed_ = 0;  // bytes of the file before the buffer's
  std::int64_t begun_ = 0;    // bytes of the file that are on their way to the medium
};

}  // namespace zelkor::sync
