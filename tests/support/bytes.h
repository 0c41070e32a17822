// Little-endian numbers, dates and blank-padded text put into and taken out of byte strings by hand, so that tests do
// not lean on the code they test.
#pragma once

#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

namespace zelkor::tests {

inline void PutNumber(std::string& bytes, std::size_t offset, std::size_t width, std::uint64_t value) {
  for (std::size_t i = 0; i < width; ++i) bytes.at(offset + i) = static_cast<char>(value >> (8 * i) & 0xFF);
}
inline void PutI16(std::string& bytes, std::size_t offset, int value) {
  PutNumber(bytes, offset, 2, static_cast<std::uint64_t>(value));
}
inline void PutI32(std::string& bytes, std::size_t offset, std::int64_t value) {
  PutNumber(bytes, offset, 4, static_cast<std::uint64_t>(value));
}
inline void PutDate(std::string& bytes, std::size_t offset, double date) {
  PutNumber(bytes, offset, 8, std::bit_cast<std::uint64_t>(date));
}
// Cut or padded with blanks.
inline void PutText(std::string& bytes, std::size_t offset, std::size_t width, std::string_view text) {
  for (std::size_t i = 0; i < width; ++i) bytes.at(offset + i) = i < text.size() ? text[i] : ' ';
}

inline std::uint64_t TakeNumber(std::string_view bytes, std::size_t offset, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = width; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes.at(offset + i));
  return value;
}
inline int TakeI16(std::string_view bytes, std::size_t offset) {
  return static_cast<std::int16_t>(TakeNumber(bytes, offset, 2));
}
inline std::int32_t TakeI32(std::string_view bytes, std::size_t offset) {
  return static_cast<std::int32_t>(TakeNumber(bytes, offset, 4));
}
inline double TakeDate(std::string_view bytes, std::size_t offset) {
  return std::bit_cast<double>(TakeNumber(bytes, offset, 8));
}
// Up to the first zero byte, without blanks at both ends.
inline std::string TakeText(std::string_view bytes, std::size_t offset, std::size_t width) {
  std::string text(bytes.substr(offset, width));
  text = text.substr(0, text.find('\0'));
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

inline std::string Zeros(std::size_t count) {
  std::string zeros(count, '\0');
  return zeros;
}
// 46000.5, midday of 9 December 2025, as an IEEE double: 46000.5 = 0x40E6760_10 00000000.
inline const std::string kMidday("\x00\x00\x00\x00\x10\x76\xE6\x40", 8);

// Unix seconds of a calendar time in UTC, in which the computers of the tests live unless they say otherwise.
inline std::time_t At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  const std::chrono::sys_days days{std::chrono::year(year) / month / day};
  return std::chrono::system_clock::to_time_t(days) + (hour * 60 + minute) * 60 + second;
}
// Days since 30 December 1899, of which 1 January 1970 is number 25569; and back, to the nearest second.
inline double DateOf(std::time_t seconds) { return 25569.0 + static_cast<double>(seconds) / 86400.0; }
inline std::time_t SecondsOf(double date) { return static_cast<std::time_t>(std::llround((date - 25569.0) * 86400.0)); }

}  // namespace zelkor::tests
