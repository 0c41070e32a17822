// Reading a file front to back in large pieces, skipping over what is not wanted.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "lib/files.h"

namespace zelkor::sync {

class InputBuffer {
 public:
  explicit InputBuffer(const lib::File& file);

  // `count` bytes at `offset`; fewer where the file ends. Valid until the next call. REQUIRES: count <= kMaxView.
  static constexpr std::size_t kMaxView = std::size_t{1} << 17;
  [[nodiscard]] lib::Result<std::span<const char>> View(std::int64_t offset, std::size_t count);

 private:
  const lib::File& file_;
  std::vector<char> buffer_;
  std::int64_t start_ = 0;  // where the buffer's bytes stand in the file
  std::size_t used_ = 0;
};

}  // namespace zelkor::sync
