// Tables of fields: the one description of each structure on disk, from which reading, writing and dumps follow.
//
// A structure is a Record<Size>: its bytes exactly as they stand on disk, little-endian and packed. Fields are read and
// written in place, so bytes that no field names, and values that the program does not know, are kept as found.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "lib/date.h"
#include "lib/text.h"

namespace zelkor::lib {

enum class FieldType { Text, Int8, Int16, Int32, Date };

// One row of a table. `width` in bytes: any for Text, 1, 2, 4 and 8 for the others.
struct Field {
  const char* name;
  std::size_t offset;
  std::size_t width;
  FieldType type;
};

// True when the rows stand one behind the other without gaps and end at `size`; for static_assert beside each table.
template <std::size_t N>
[[nodiscard]] constexpr bool Packed(const std::array<Field, N>& table, std::size_t size) {
  std::size_t offset = 0;
  for (const Field& field : table) {
    if (field.offset != offset) return false;
    const std::size_t width = field.type == FieldType::Int8    ? 1
                              : field.type == FieldType::Int16 ? 2
                              : field.type == FieldType::Int32 ? 4
                              : field.type == FieldType::Date  ? 8
                                                               : field.width;
    if (field.width != width) return false;
    offset += field.width;
  }
  return offset == size;
}

template <std::size_t Size>
class Record {
 public:
  static constexpr std::size_t kBytes = Size;

  // The bytes on disk. A new record is all zero bytes.
  [[nodiscard]] std::span<char, Size> Bytes() { return bytes_; }
  [[nodiscard]] std::span<const char, Size> Bytes() const { return bytes_; }
  void Clear() { bytes_.fill('\0'); }

  // A text field as stored, padding included.
  [[nodiscard]] std::string_view RawText(const Field& field) const {
    return {bytes_.data() + field.offset, field.width};
  }
  // A text field's value: cut at the first NUL, blanks removed from both ends.
  [[nodiscard]] std::string Text(const Field& field) const { return std::string(TextView(field)); }
  // The same, within the record.
  [[nodiscard]] std::string_view TextView(const Field& field) const { return FieldText(RawText(field)); }
  // Stored left-aligned, padded with blanks, cut on the right when longer than the field.
  void SetText(const Field& field, std::string_view value) {
    const std::size_t length = value.copy(bytes_.data() + field.offset, field.width);
    std::memset(bytes_.data() + field.offset + length, ' ', field.width - length);
  }

  // An Int8, Int16 or Int32 field. Int8 is unsigned, the others are signed.
  [[nodiscard]] std::int32_t Number(const Field& field) const {
    const auto value = static_cast<std::uint32_t>(LittleEndian(field));
    return field.type == FieldType::Int16 ? static_cast<std::int16_t>(value) : static_cast<std::int32_t>(value);
  }
  // The value's low bytes are stored.
  void SetNumber(const Field& field, std::int32_t value) { SetLittleEndian(field, static_cast<std::uint32_t>(value)); }

  [[nodiscard]] lib::Date Date(const Field& field) const { return std::bit_cast<double>(LittleEndian(field)); }
  void SetDate(const Field& field, lib::Date value) { SetLittleEndian(field, std::bit_cast<std::uint64_t>(value)); }

  bool operator==(const Record&) const = default;

 private:
  [[nodiscard]] std::uint64_t LittleEndian(const Field& field) const {
    std::uint64_t value = 0;
    for (std::size_t i = field.width; i-- > 0;) {
      value = value << 8 | static_cast<unsigned char>(bytes_[field.offset + i]);
    }
    return value;
  }
  void SetLittleEndian(const Field& field, std::uint64_t value) {
    for (std::size_t i = 0; i < field.width; ++i) {
      bytes_[field.offset + i] = static_cast<char>(value & 0xFF);
      value >>= 8;
    }
  }

  std::array<char, Size> bytes_{};
};

}  // namespace zelkor::lib
