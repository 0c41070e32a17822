// Dates as the user's locale writes and reads them; date_text.cpp decides when they are used.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "lib/date.h"

namespace zelkor::lib {

// Takes the locale of dates from the environment.
void TakeLocaleOfDates();

// True while the C locale is in force: at the start, when the environment names it, or a locale the system lacks.
[[nodiscard]] bool DatesAreInCLocale();

// The date, or the time of day, in the locale that was taken. Nothing when the code page lacks one of the characters.
[[nodiscard]] std::optional<std::string> LocaleDate(const CalendarTime& time);
[[nodiscard]] std::optional<std::string> LocaleTime(const CalendarTime& time);

// A date, a time of day (of 30 December 1899) or both, as the locale writes them; the year may have all its digits
// where the locale writes two. The parts may be no date of the calendar. Nothing when the text reads otherwise.
[[nodiscard]] std::optional<CalendarTime> ReadLocaleDate(std::string_view text);

}  // namespace zelkor::lib
