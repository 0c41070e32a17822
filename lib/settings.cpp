#include "lib/settings.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>

#include "lib/native_path.h"
#include "lib/run_time_error.h"
#include "lib/settings_file.h"
#include "lib/text.h"

namespace zelkor::lib {
namespace {

// A buffer of 64 characters less the NUL behind the text.
constexpr std::size_t kMaxValue = 63;

}  // namespace

std::string GetIniString(std::string_view section, std::string_view key, std::string_view defaultValue) {
  std::string value = ReadSetting(section, key).value_or(std::string(defaultValue));
  value.resize(std::min(TrimAtNul(value).size(), kMaxValue));
  return value;
}

std::int32_t GetIniNumber(std::string_view section, std::string_view key, double defaultValue) {
  const std::string text = GetIniString(section, key, FormatIniNumber(defaultValue));
  const double number = LeadingNumber(text);
  // Halves to the even neighbour, whatever the rounding mode in force.
  double rounded = std::floor(number);
  const double rest = number - rounded;
  if (rest > 0.5 || (rest == 0.5 && std::fmod(rounded, 2) != 0)) ++rounded;
  if (!(rounded >= std::numeric_limits<std::int32_t>::min() && rounded <= std::numeric_limits<std::int32_t>::max())) {
    Overflow("[" + std::string(section) + "] " + std::string(key) + "=" + text);
  }
  return static_cast<std::int32_t>(rounded);
}

void PutIniValue(std::string_view section, std::string_view key, std::string_view value) {
  WriteSetting(section, key, value);
}

void PutIniValue(std::string_view section, std::string_view key, std::int32_t value) {
  WriteSetting(section, key, std::to_string(value));
}

std::string GetIniPath(std::string_view section, std::string_view key) {
  return std::string(TrimAtNul(ReadSetting(section, key).value_or(std::string())));
}

std::vector<std::string> IniKeys(std::string_view section) { return ReadSettingKeys(section); }

std::string FormatIniNumber(double value) {
  if (value == 0) return "0";       // also minus zero
  std::array<char, 1100> buffer{};  // the smallest numbers have 1,074 decimals
  const auto [end, error] =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed);
  return {buffer.data(), end};
}

Result<std::string> SettingsPath() { return FromNative(NativeSettingsPath()); }

}  // namespace zelkor::lib
