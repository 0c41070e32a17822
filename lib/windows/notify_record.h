// The record by which the shell is told of an icon in the notification area: NOTIFYICONDATAA in its first form, which
// every shell knows. Numbers are little-endian; handles are as wide as the program's addresses and stand at multiples
// of their width, and so does the record's end.
//
//   field     32-bit program        64-bit program
//             offset  bytes         offset  bytes
//   size           0      4              0      4   of the record
//   window         4      4              8      8   handle of the window that gets the notifications
//   id             8      4             16      4   of the icon, among those of the window
//   flags         12      4             20      4   which of the next three are valid
//   message       16      4             24      4   by which the notifications come
//   icon          20      4             32      8   handle of the picture
//   tip           24     64             40     64   text that ends with a NUL
//   whole         88                   104
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zelkor::lib::windows {

struct NotifyField {
  std::size_t offset;
  std::size_t width;
};

// Of a program whose handles have that many bytes.
template <std::size_t kHandleBytes>
class NotifyRecord {
 public:
  static constexpr NotifyField kSize{0, 4};
  static constexpr NotifyField kWindow{kHandleBytes, kHandleBytes};
  static constexpr NotifyField kId{2 * kHandleBytes, 4};
  static constexpr NotifyField kFlags{kId.offset + 4, 4};
  static constexpr NotifyField kMessage{kId.offset + 8, 4};
  static constexpr NotifyField kIcon{kId.offset + 8 + kHandleBytes, kHandleBytes};
  static constexpr NotifyField kTip{kIcon.offset + kHandleBytes, 64};
  static constexpr std::size_t kBytes = kTip.offset + kTip.width;

  // A new record says its own size; all else is zero.
  NotifyRecord() { SetNumber(kSize, kBytes); }

  void SetNumber(const NotifyField& field, std::uint64_t value) {
    for (std::size_t i = 0; i < field.width; ++i) bytes_[field.offset + i] = static_cast<char>(value >> 8 * i & 0xFF);
  }
  // Cut where the closing NUL must stand, and padded with NULs.
  void SetTip(std::string_view text) {
    char* const tip = bytes_.data() + kTip.offset;
    std::fill_n(tip, kTip.width, '\0');
    text.copy(tip, kTip.width - 1);
  }
  [[nodiscard]] const std::array<char, kBytes>& Bytes() const { return bytes_; }

 private:
  std::array<char, kBytes> bytes_{};
};

}  // namespace zelkor::lib::windows
