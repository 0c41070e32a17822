#include "lib/format.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace zelkor::lib {
namespace {

// Rounded to `decimals`, halves away from zero, in plain digits with a point; at least one digit before it. A value
// that is not finite counts as 0.
std::string Decimal(double value, int decimals) {
  if (!std::isfinite(value)) value = 0;
  const double scale = std::pow(10.0, decimals);
  const double scaled = value * scale;
  if (std::isfinite(scaled)) value = std::round(scaled) / scale;
  if (value == 0) value = 0;       // drops the sign of minus zero
  std::array<char, 330> buffer{};  // the largest numbers have 309 digits
  const auto [end, error] =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals);
  return {buffer.data(), end};
}

std::string Padded(std::uint64_t value, std::size_t digits) {
  std::string text = std::to_string(value);
  if (text.size() < digits) text.insert(0, digits - text.size(), '0');
  return text;
}

// The size of the number, also of the smallest one, whose negative does not fit.
std::uint64_t Magnitude(std::int64_t value) {
  return value < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
}

}  // namespace

std::string FormatVersion(double value) {
  std::string text = Decimal(value, 2);
  while (text.back() == '0') text.pop_back();
  const std::size_t whole = text.front() == '-' ? 1 : 0;
  if (text.compare(whole, 2, "0.") == 0) text.erase(whole, 1);
  return text;
}

std::string FormatTwoDecimals(double value) { return Decimal(value, 2); }

std::string FormatGrouped(std::int64_t value) {
  std::string text = std::to_string(Magnitude(value));
  for (std::size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, 1, ' ');
  return value < 0 ? "-" + text : text;
}

std::string FormatGroupedOrEmpty(std::int64_t value) { return value == 0 ? std::string() : FormatGrouped(value); }

std::string FormatTwoDigits(std::int64_t value) {
  std::string text = value < 0 ? "-" : "";
  text += Padded(Magnitude(value), 2);
  return text;
}

std::string FormatOneDecimal(double value) { return Decimal(value, 1); }

std::string FormatElapsed(double seconds) {
  constexpr double kMost = 1e15;  // far past any run; keeps the conversion below defined
  const double rounded = seconds > 0 ? std::round(std::fmin(seconds, kMost)) : 0;
  const auto whole = static_cast<std::int64_t>(rounded);
  return FormatTwoDigits(whole / 3600) + ":" + FormatTwoDigits(whole / 60 % 60) + ":" + FormatTwoDigits(whole % 60);
}

std::string FormatKilobytes(std::int64_t bytes) {
  const std::int64_t whole = bytes / 1024;
  const std::int64_t rest = bytes % 1024;
  const std::int64_t rounded = rest >= 512 ? whole + 1 : rest <= -512 ? whole - 1 : whole;
  return FormatGroupedOrEmpty(rounded) + " kb";
}

}  // namespace zelkor::lib
