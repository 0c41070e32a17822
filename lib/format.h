// Numbers and dates as text, all the forms that the program shows or logs.
#pragma once

#include <cstdint>
#include <string>

#include "lib/date.h"

namespace zelkor::lib {

// "#.##": at most two decimals, no digit that is not needed (2.2 gives "2.2", 0 gives ".").
[[nodiscard]] std::string FormatVersion(double value);
// "#0.00": at least one digit before the point, two after it (2.14 gives "2.14", 0.5 gives "0.50").
[[nodiscard]] std::string FormatTwoDecimals(double value);
// "# ##0": whole, thousands kept apart by a blank (1234567 gives "1 234 567", 0 gives "0", 345 gives "345").
[[nodiscard]] std::string FormatGrouped(std::int64_t value);
// "# ###": as FormatGrouped, but 0 gives "".
[[nodiscard]] std::string FormatGroupedOrEmpty(std::int64_t value);
// "00": at least two digits.
[[nodiscard]] std::string FormatTwoDigits(std::int64_t value);
// "0.0": one decimal.
[[nodiscard]] std::string FormatOneDecimal(double value);
// "HH:MM:SS" of a number of seconds; hours go on past 99.
[[nodiscard]] std::string FormatElapsed(double seconds);

// The text of a length in bytes: bytes / 1024 as "# ###", followed by " kb".
[[nodiscard]] std::string FormatKilobytes(std::int64_t bytes);

// The user's locale (LC_TIME); in the C locale 11/21/2026 2:15:37 PM. A date without a time of day shows the date
// alone, a time without a date the time alone.
[[nodiscard]] std::string GeneralDate(Date date);
// In the C locale 11/21/2026.
[[nodiscard]] std::string ShortDate(Date date);

// Takes the locale of dates from the environment; until then the C locale is in force.
void UseLocaleOfEnvironment();

}  // namespace zelkor::lib
