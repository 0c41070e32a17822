#include "lib/local_offset.h"

#include <map>
#include <mutex>
#include <optional>

#include "lib/date.h"
#include "lib/windows/time_zone.h"

namespace zelkor::lib {
namespace windows {
namespace {

constexpr std::int64_t kSecondsPerMinute = 60;

// Seconds since 1970, on the local clock, at which a rule of the year applies. A rule without a year names a day of
// the week and which of them it is in the month, 5 being the last.
std::int64_t ChangeOf(const SYSTEMTIME& rule, int year) {
  CalendarTime time{.year = year, .month = rule.wMonth, .day = rule.wDay};
  if (rule.wYear == 0) {
    const std::int64_t first =
        DateToSeconds(FromCalendar({.year = year, .month = rule.wMonth, .day = 1}).value_or(0)) / kSecondsPerDay;
    // 30 December 1899 was a Saturday; the system counts from Sunday.
    const auto weekday = static_cast<int>((first + 6) % 7);
    time.day = 1 + (rule.wDayOfWeek - weekday + 7) % 7 + (rule.wDay - 1) * 7;
    while (time.day > 28 && !FromCalendar(time)) time.day -= 7;
  }
  const std::int64_t day = DateToSeconds(FromCalendar(time).value_or(0)) - kUnixEpoch;
  return day + rule.wHour * 3600 + rule.wMinute * 60 + rule.wSecond;
}

}  // namespace

std::int64_t OffsetIn(const ZoneOfYear& zoneOfYear, std::int64_t utcSeconds) {
  const auto yearAt = [](std::int64_t seconds) { return ToCalendar(SecondsToDate(seconds + kUnixEpoch)).year; };
  TIME_ZONE_INFORMATION zone = zoneOfYear(yearAt(utcSeconds));
  // The year that counts is the one on the local clock.
  const int year = yearAt(utcSeconds - (zone.Bias + zone.StandardBias) * kSecondsPerMinute);
  zone = zoneOfYear(year);
  const std::int64_t standard = -(zone.Bias + zone.StandardBias) * kSecondsPerMinute;
  if (zone.StandardDate.wMonth == 0 || zone.DaylightDate.wMonth == 0) return standard;
  const std::int64_t daylight = -(zone.Bias + zone.DaylightBias) * kSecondsPerMinute;
  // Each change is told on the clock that is in force until then.
  const std::int64_t begin = ChangeOf(zone.DaylightDate, year) - standard;
  const std::int64_t end = ChangeOf(zone.StandardDate, year) - daylight;
  // South of the equator summer lasts over the turn of the year.
  const bool summer = begin < end ? utcSeconds >= begin && utcSeconds < end : utcSeconds >= begin || utcSeconds < end;
  return summer ? daylight : standard;
}

namespace {

// The zone of this computer, its years looked up once. The read-ahead asks too, from a thread of its own.
class ComputersZone {
 public:
  TIME_ZONE_INFORMATION OfYear(int year) {
    const std::lock_guard lock(mutex_);
    if (!present_) {
      present_.emplace();
      known_ = GetDynamicTimeZoneInformation(&*present_) != TIME_ZONE_ID_INVALID;
    }
    const auto found = years_.find(year);
    if (found != years_.end()) return found->second;
    TIME_ZONE_INFORMATION zone{};
    if (known_ && GetTimeZoneInformationForYear(static_cast<USHORT>(year), &*present_, &zone) == 0) zone = {};
    return years_.emplace(year, zone).first->second;
  }

 private:
  std::mutex mutex_;
  bool known_ = false;
  std::optional<DYNAMIC_TIME_ZONE_INFORMATION> present_;
  std::map<int, TIME_ZONE_INFORMATION> years_;
};

}  // namespace
}  // namespace windows

std::int64_t LocalOffsetAt(std::int64_t utcSeconds) {
  static windows::ComputersZone zone;
  return windows::OffsetIn([](int year) { return zone.OfYear(year); }, utcSeconds);
}

}  // namespace zelkor::lib
