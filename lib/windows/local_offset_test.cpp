#include "lib/local_offset.h"

#include <gtest/gtest.h>

#include "lib/date.h"
#include "lib/windows/time_zone.h"

namespace zelkor::lib::windows {
namespace {

constexpr std::int64_t kHour = 3600;

SYSTEMTIME Rule(int month, int weekday, int which, int hour) {
  SYSTEMTIME rule{};
  rule.wMonth = static_cast<WORD>(month);
  rule.wDayOfWeek = static_cast<WORD>(weekday);
  rule.wDay = static_cast<WORD>(which);
  rule.wHour = static_cast<WORD>(hour);
  return rule;
}

// An hour before UTC; summer from the last Sunday in March, 2:00, to the last one in October, 3:00.
TIME_ZONE_INFORMATION CentralEurope() {
  TIME_ZONE_INFORMATION zone{};
  zone.Bias = -60;
  zone.DaylightBias = -60;
  zone.DaylightDate = Rule(3, 0, 5, 2);
  zone.StandardDate = Rule(10, 0, 5, 3);
  return zone;
}

std::int64_t Utc(int year, int month, int day, int hour, int minute = 0, int second = 0) {
  const CalendarTime time{.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second};
  return DateToSeconds(*FromCalendar(time)) - kUnixEpoch;
}

TEST(LocalOffset, IsThatOfTheMomentItself) {
  const ZoneOfYear zone = [](int) { return CentralEurope(); };
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 1, 15, 12)), kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 7, 15, 12)), 2 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(1601, 7, 15, 12)), 2 * kHour);
}

// The changes of 2026 are on 29 March and 25 October, those of 2021 on 28 March and 31 October, each at 1:00 UTC
// (IANA time zone database, rules of the EU).
TEST(LocalOffset, ChangesToTheSecond) {
  const ZoneOfYear zone = [](int) { return CentralEurope(); };
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 3, 29, 0, 59, 59)), kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 3, 29, 1)), 2 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 10, 25, 0, 59, 59)), 2 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 10, 25, 1)), kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2021, 3, 28, 0, 59, 59)), kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2021, 3, 28, 1)), 2 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2021, 10, 31, 0, 59, 59)), 2 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2021, 10, 31, 1)), kHour);
}

// Sydney: ten hours before UTC; summer from the first Sunday in October, 2:00, to the first in April, 3:00.
TEST(LocalOffset, KnowsSummersOverTheTurnOfTheYear) {
  const ZoneOfYear zone = [](int) {
    TIME_ZONE_INFORMATION sydney{};
    sydney.Bias = -600;
    sydney.DaylightBias = -60;
    sydney.DaylightDate = Rule(10, 0, 1, 2);
    sydney.StandardDate = Rule(4, 0, 1, 3);
    return sydney;
  };
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 1, 1, 0)), 11 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 4, 4, 15, 59, 59)), 11 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 4, 4, 16)), 10 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 10, 3, 15, 59, 59)), 10 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 10, 3, 16)), 11 * kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2025, 12, 31, 23, 59, 59)), 11 * kHour);
}

TEST(LocalOffset, TakesTheRulesOfTheYearOnTheLocalClock) {
  const ZoneOfYear zone = [](int year) {
    TIME_ZONE_INFORMATION moved{};
    moved.Bias = year < 2020 ? -60 : -120;
    return moved;
  };
  EXPECT_EQ(OffsetIn(zone, Utc(2019, 6, 1, 0)), kHour);
  EXPECT_EQ(OffsetIn(zone, Utc(2020, 6, 1, 0)), 2 * kHour);
}

TEST(LocalOffset, WithoutASummerIsAlwaysTheSame) {
  const ZoneOfYear zone = [](int) {
    TIME_ZONE_INFORMATION india{};
    india.Bias = -330;
    return india;
  };
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 1, 15, 12)), 330 * 60);
  EXPECT_EQ(OffsetIn(zone, Utc(2026, 7, 15, 12)), 330 * 60);
}

// For the present the system's own conversion is right.
TEST(LocalOffset, AgreesWithTheSystemsOwnForThePresent) {
  FILETIME now{};
  FILETIME local{};
  GetSystemTimeAsFileTime(&now);
  ASSERT_NE(FileTimeToLocalFileTime(&now, &local), 0);
  const auto units = [](const FILETIME& time) {
    return static_cast<std::int64_t>(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
  };
  constexpr std::int64_t kUnitsPerSecond = 10'000'000;
  constexpr std::int64_t kFrom1601 = 11'644'473'600;
  EXPECT_EQ(LocalOffsetAt(units(now) / kUnitsPerSecond - kFrom1601), (units(local) - units(now)) / kUnitsPerSecond);
}

}  // namespace
}  // namespace zelkor::lib::windows
