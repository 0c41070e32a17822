#include "lib/date.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace zelkor::lib {
namespace {

constexpr double kNoon = 0.5;

TEST(Date, ComesBackFromSecondsForEachSecondOfADay) {
  for (const std::int64_t day : {0LL, 1LL, 36526LL, 46347LL, 2958465LL, -1LL, -36526LL}) {
    for (std::int64_t second = 0; second < kSecondsPerDay; ++second) {
      const std::int64_t seconds = day * kSecondsPerDay + second;
      ASSERT_EQ(DateToSeconds(SecondsToDate(seconds)), seconds);
    }
  }
}

TEST(Date, GrowsWithEachSecond) {
  double last = SecondsToDate(46346 * kSecondsPerDay + kSecondsPerDay - 1);
  for (std::int64_t second = 0; second < kSecondsPerDay; ++second) {
    const double date = SecondsToDate(46347 * kSecondsPerDay + second);
    ASSERT_LT(last, date);
    last = date;
  }
}

TEST(Date, CountsDaysFrom30December1899) {
  EXPECT_EQ(SecondsToDate(0), 0);
  EXPECT_EQ(SecondsToDate(kSecondsPerDay), 1);
  EXPECT_EQ(DateToSeconds(46347 + kNoon), 46347 * kSecondsPerDay + kSecondsPerDay / 2);
  EXPECT_EQ(ToCalendar(36526), (CalendarTime{.year = 2000, .month = 1, .day = 1}));
  EXPECT_EQ(ToCalendar(60), (CalendarTime{.year = 1900, .month = 2, .day = 28}));
  EXPECT_EQ(ToCalendar(61), (CalendarTime{.year = 1900, .month = 3, .day = 1}));
  EXPECT_EQ(ToCalendar(0), CalendarTime{});
}

TEST(Date, IsRoundedToTheNearestSecond) {
  const double second = 1.0 / 86400;
  EXPECT_EQ(DateToSeconds(46347 + 10.4 * second), 46347 * kSecondsPerDay + 10);
  EXPECT_EQ(DateToSeconds(46347 + 10.6 * second), 46347 * kSecondsPerDay + 11);
  EXPECT_EQ(DateToSeconds(46348 - 0.4 * second), 46348 * kSecondsPerDay) << "over midnight";
}

TEST(Date, CountsTheTimeForwardAlsoBeforeTheFirstDay) {
  const CalendarTime sixOClock{.year = 1899, .month = 12, .day = 29, .hour = 6};
  EXPECT_EQ(DateToSeconds(-1.25), -kSecondsPerDay + kSecondsPerDay / 4);
  EXPECT_EQ(ToCalendar(-1.25), sixOClock);
  EXPECT_EQ(FromCalendar(sixOClock), -1.25);
}

TEST(Date, ReachesFromTheYear100To9999) {
  EXPECT_TRUE(IsDate(-657434));
  EXPECT_FALSE(IsDate(-657435));
  EXPECT_TRUE(IsDate(2958465.999));
  EXPECT_FALSE(IsDate(2958466));
  EXPECT_FALSE(IsDate(2958465.999999)) << "rounds into the year 10000";
  EXPECT_EQ(ToCalendar(-657434), (CalendarTime{.year = 100, .month = 1, .day = 1}));
  EXPECT_EQ(ToCalendar(2958465), (CalendarTime{.year = 9999, .month = 12, .day = 31}));
}

TEST(Date, IsNoneForValuesThatAreNotDates) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {std::nan(""), infinity, -infinity, 1e300, -1e300, 1e18, 3e6, -1e6}) {
    EXPECT_FALSE(IsDate(value)) << value;
    EXPECT_EQ(DateToSeconds(value), 0) << value;
    EXPECT_EQ(ToCalendar(value), CalendarTime{}) << value;
  }
  EXPECT_TRUE(IsDate(std::numeric_limits<double>::denorm_min()));
  EXPECT_EQ(SecondsToDate(std::numeric_limits<std::int64_t>::max()), 0);
  EXPECT_EQ(SecondsToDate(std::numeric_limits<std::int64_t>::min()), 0);
}

TEST(FromCalendar, KnowsTheCalendar) {
  EXPECT_EQ(FromCalendar({.year = 2026, .month = 11, .day = 21, .hour = 12}), 46347 + kNoon);
  EXPECT_EQ(FromCalendar({.year = 2024, .month = 2, .day = 29}), 45351);
  EXPECT_EQ(FromCalendar({.year = 2026, .month = 2, .day = 29}), std::nullopt);
  EXPECT_EQ(FromCalendar({.year = 1900, .month = 2, .day = 29}), std::nullopt);
  EXPECT_EQ(FromCalendar({.year = 2026, .month = 4, .day = 31}), std::nullopt);
}

TEST(FromCalendar, RefusesPartsOutOfRange) {
  const CalendarTime good{.year = 2026, .month = 11, .day = 21, .hour = 23, .minute = 59, .second = 59};
  ASSERT_TRUE(FromCalendar(good));
  const auto refused = [&](int CalendarTime::*part, int value) {
    CalendarTime time = good;
    time.*part = value;
    return !FromCalendar(time);
  };
  for (const int value : {-1, 0, 99, 10000, std::numeric_limits<int>::max()}) {
    EXPECT_TRUE(refused(&CalendarTime::year, value)) << value;
  }
  for (const int value : {-1, 0, 13, std::numeric_limits<int>::min()}) {
    EXPECT_TRUE(refused(&CalendarTime::month, value)) << value;
  }
  for (const int value : {-1, 0, 32}) EXPECT_TRUE(refused(&CalendarTime::day, value)) << value;
  for (const int value : {-1, 24}) EXPECT_TRUE(refused(&CalendarTime::hour, value)) << value;
  for (const int value : {-1, 60}) {
    EXPECT_TRUE(refused(&CalendarTime::minute, value)) << value;
    EXPECT_TRUE(refused(&CalendarTime::second, value)) << value;
  }
}

}  // namespace
}  // namespace zelkor::lib
