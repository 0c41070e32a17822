// The settings file "orlim.ini", shared with the other programs of the suite. Sections and keys are matched without
// regard to case. Text is in the code page. A missing file, section or key yields the default; a write that fails is
// not reported. A write changes nothing of the file but the value: comments, blanks, line ends, order and case stay.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lib/status.h"

namespace zelkor::lib {

// At most 63 characters; a longer value is cut.
[[nodiscard]] std::string GetIniString(std::string_view section, std::string_view key, std::string_view defaultValue);
// The value's leading number rounded to the nearest integer, halves to the even neighbour. A value that does not fit
// is a run-time error 6, Overflow.
[[nodiscard]] std::int32_t GetIniNumber(std::string_view section, std::string_view key, double defaultValue);
void PutIniValue(std::string_view section, std::string_view key, std::string_view value);
void PutIniValue(std::string_view section, std::string_view key, std::int32_t value);

// The settings file itself, in the program's form.
[[nodiscard]] Result<std::string> SettingsPath();

// A native path kept in the settings: whole, as the bytes stand there; empty when missing.
[[nodiscard]] std::string GetIniPath(std::string_view section, std::string_view key);
// Every key of a section, in the file's order, in lower case.
[[nodiscard]] std::vector<std::string> IniKeys(std::string_view section);

// The number as settings write it: no thousands separators, "." before decimals.
[[nodiscard]] std::string FormatIniNumber(double value);

}  // namespace zelkor::lib
