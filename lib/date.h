// Dates: 64-bit floating-point day counts from 30 December 1899, the fraction being the time of day; local time; 0
// means never. Before that day the fraction still counts forward from midnight (-1.25 is 29 December 1899, 6:00).
//
// Dates are compared to the second: by DateToSeconds, or, from 30 December 1899 on, by < on dates that SecondsToDate
// made.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zelkor::lib {

using Date = double;

inline constexpr std::int64_t kSecondsPerDay = 86400;
// Seconds from 30 December 1899 to 1 January 1970 (25,569 days).
inline constexpr std::int64_t kUnixEpoch = 25569 * kSecondsPerDay;

// False for a value that is no date: not finite, or outside the years 100 to 9999.
[[nodiscard]] bool IsDate(Date date);

// Whole seconds since 30 December 1899 0:00, rounded to the nearest. A value that is no date gives 0, both ways.
[[nodiscard]] std::int64_t DateToSeconds(Date date);
[[nodiscard]] Date SecondsToDate(std::int64_t seconds);

// A date in its calendar parts, in the proleptic Gregorian calendar.
struct CalendarTime {
  int year = 1899;
  int month = 12;  // 1 to 12
  int day = 30;    // 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool operator==(const CalendarTime&) const = default;
};
[[nodiscard]] CalendarTime ToCalendar(Date date);
// Nothing when the parts are no date of the calendar.
[[nodiscard]] std::optional<Date> FromCalendar(const CalendarTime& time);

// A date read from text as a person types it: the forms that ShortDate and GeneralDate write in the user's locale, or
// year-month-day with an optional hour:minute[:second]. Nothing when the text reads as no date.
[[nodiscard]] std::optional<Date> ParseDate(std::string_view text);

}  // namespace zelkor::lib
