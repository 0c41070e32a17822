#include "lib/date.h"

#include <chrono>
#include <cmath>

namespace zelkor::lib {
namespace {

using std::chrono::day;
using std::chrono::days;
using std::chrono::month;
using std::chrono::sys_days;
using std::chrono::year;
using std::chrono::year_month_day;

constexpr sys_days kDayZero = year{1899} / 12 / 30;
constexpr int kFirstYear = 100;
constexpr int kLastYear = 9999;
constexpr std::int64_t kFirstSecond = (sys_days{year{kFirstYear} / 1 / 1} - kDayZero).count() * kSecondsPerDay;
constexpr std::int64_t kEndSecond = (sys_days{year{kLastYear + 1} / 1 / 1} - kDayZero).count() * kSecondsPerDay;

// Rounded to the nearest second. REQUIRES: a finite value of fewer than 2^40 days.
std::int64_t RoundedSeconds(Date date) {
  const double whole = std::trunc(date);
  const double fraction = std::fabs(date - whole);
  return static_cast<std::int64_t>(whole) * kSecondsPerDay +
         std::llround(fraction * static_cast<double>(kSecondsPerDay));
}

}  // namespace

bool IsDate(Date date) {
  constexpr double kSafeDays = 1e7;  // well past the year 9999, well inside RoundedSeconds' range
  if (!std::isfinite(date) || std::fabs(date) > kSafeDays) return false;
  const std::int64_t seconds = RoundedSeconds(date);
  return seconds >= kFirstSecond && seconds < kEndSecond;
}

std::int64_t DateToSeconds(Date date) { return IsDate(date) ? RoundedSeconds(date) : 0; }

Date SecondsToDate(std::int64_t seconds) {
  if (seconds < kFirstSecond || seconds >= kEndSecond) return 0;
  std::int64_t day = seconds / kSecondsPerDay;
  std::int64_t second = seconds % kSecondsPerDay;
  if (second < 0) {
    second += kSecondsPerDay;
    --day;
  }
  const double fraction = static_cast<double>(second) / static_cast<double>(kSecondsPerDay);
  return static_cast<double>(day) + (day < 0 ? -fraction : fraction);
}

CalendarTime ToCalendar(Date date) {
  using std::chrono::floor;
  const std::chrono::sys_seconds time{std::chrono::seconds{DateToSeconds(date) - kUnixEpoch}};
  const sys_days midnight = floor<days>(time);
  const year_month_day calendar{midnight};
  const auto second = static_cast<int>((time - midnight).count());
  return {.year = static_cast<int>(calendar.year()),
          .month = static_cast<int>(static_cast<unsigned>(calendar.month())),
          .day = static_cast<int>(static_cast<unsigned>(calendar.day())),
          .hour = second / 3600,
          .minute = second / 60 % 60,
          .second = second % 60};
}

std::optional<Date> FromCalendar(const CalendarTime& time) {
  const auto within = [](int value, int first, int last) { return value >= first && value <= last; };
  if (!within(time.year, kFirstYear, kLastYear) || !within(time.month, 1, 12) || !within(time.day, 1, 31) ||
      !within(time.hour, 0, 23) || !within(time.minute, 0, 59) || !within(time.second, 0, 59)) {
    return std::nullopt;
  }
  const year_month_day calendar{year{time.year}, month{static_cast<unsigned>(time.month)},
                                day{static_cast<unsigned>(time.day)}};
  if (!calendar.ok()) return std::nullopt;
  const std::int64_t days = (sys_days{calendar} - kDayZero).count();
  const int seconds = time.hour * 3600 + time.minute * 60 + time.second;
  return SecondsToDate(days * kSecondsPerDay + seconds);
}

}  // namespace zelkor::lib
