#include "lib/clock.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv
#include <time.h>    // NOLINT(modernize-deprecated-headers): tzset

#include "lib/date_fixture.h"

namespace zelkor::lib {
namespace {

// The computer stands in a time zone of the test's choice. Offsets and changes: IANA time zone database.
class Clock : public testing::Test {
 protected:
  ~Clock() override {
    unsetenv("TZ");
    tzset();
  }
  static void MoveTo(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
};

TEST_F(Clock, GivesFilesTheOffsetOfTheirOwnDate) {
  MoveTo("Europe/Berlin");
  EXPECT_EQ(UtcToDate(1768478400), DateOf(2026, 1, 15, 13, 0, 0)) << "noon UTC in winter";
  EXPECT_EQ(UtcToDate(1784116800), DateOf(2026, 7, 15, 14, 0, 0)) << "noon UTC in summer";
  MoveTo("America/New_York");
  EXPECT_EQ(UtcToDate(1768478400), DateOf(2026, 1, 15, 7, 0, 0));
  EXPECT_EQ(UtcToDate(1784116800), DateOf(2026, 7, 15, 8, 0, 0));
  MoveTo("UTC");
  EXPECT_EQ(UtcToDate(0), DateOf(1970, 1, 1, 0, 0, 0));
  EXPECT_EQ(UtcToDate(-1), DateOf(1969, 12, 31, 23, 59, 59));
}

TEST_F(Clock, ChangesAtTheSecondOfTheChange) {
  MoveTo("Europe/Berlin");
  EXPECT_EQ(UtcToDate(1774745999), DateOf(2026, 3, 29, 1, 59, 59));
  EXPECT_EQ(UtcToDate(1774746000), DateOf(2026, 3, 29, 3, 0, 0));
  EXPECT_EQ(UtcToDate(1792889999), DateOf(2026, 10, 25, 2, 59, 59));
  EXPECT_EQ(UtcToDate(1792890000), DateOf(2026, 10, 25, 2, 0, 0));
  MoveTo("America/New_York");
  EXPECT_EQ(UtcToDate(1772953199), DateOf(2026, 3, 8, 1, 59, 59));
  EXPECT_EQ(UtcToDate(1772953200), DateOf(2026, 3, 8, 3, 0, 0));
}

TEST_F(Clock, TakesTheFirstOfTwoMomentsThatShowTheSameTime) {
  MoveTo("Europe/Berlin");
  EXPECT_EQ(DateToUtc(DateOf(2026, 10, 25, 2, 0, 0)), 1792886400);
  EXPECT_EQ(DateToUtc(DateOf(2026, 10, 25, 2, 59, 59)), 1792889999);
  EXPECT_EQ(DateToUtc(DateOf(2026, 10, 25, 3, 0, 0)), 1792893600);
  MoveTo("America/New_York");
  EXPECT_EQ(DateToUtc(DateOf(2026, 11, 1, 1, 30, 0)), 1793511000);
}

TEST_F(Clock, TakesATimeThatIsLeftOutAsIfNothingHadChanged) {
  MoveTo("Europe/Berlin");
  EXPECT_EQ(DateToUtc(DateOf(2026, 3, 29, 1, 59, 59)), 1774745999);
  EXPECT_EQ(DateToUtc(DateOf(2026, 3, 29, 2, 0, 0)), 1774746000);
  EXPECT_EQ(DateToUtc(DateOf(2026, 3, 29, 2, 30, 0)), 1774746000 + 1800);
  EXPECT_EQ(DateToUtc(DateOf(2026, 3, 29, 3, 0, 0)), 1774746000);
  MoveTo("America/New_York");
  EXPECT_EQ(DateToUtc(DateOf(2026, 3, 8, 2, 30, 0)), 1772953200 + 1800);
}

TEST_F(Clock, TakesADayThatIsLeftOutAsIfNothingHadChanged) {
  MoveTo("Pacific/Apia");  // 30 December 2011 was left out, when the offset went from -10 to +14 hours
  EXPECT_EQ(DateToUtc(DateOf(2011, 12, 29, 23, 59, 59)), 1325239199);
  EXPECT_EQ(DateToUtc(DateOf(2011, 12, 31, 0, 0, 0)), 1325239200);
  EXPECT_EQ(DateToUtc(DateOf(2011, 12, 30, 12, 0, 0)), 1325239200 + 12 * 3600);
}

TEST_F(Clock, GivesEveryMomentBackOutsideRepeatedHours) {
  for (const char* zone : {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Asia/Kathmandu", "UTC"}) {
    MoveTo(zone);
    for (std::int64_t utc = 1767225600; utc < 1767225600 + 366 * kSecondsPerDay; utc += 599) {
      const Date local = UtcToDate(utc);
      if (StartOfRepeatedHour(local) != local) continue;
      // The start of a repeated hour is its own start: its second moment is the one that does not come back.
      const std::int64_t back = DateToUtc(local);
      ASSERT_TRUE(back == utc || UtcToDate(back) == local) << zone << " " << utc;
    }
  }
}

TEST_F(Clock, KnowsTheStartOfTheHourThatIsRepeated) {
  MoveTo("Europe/Berlin");
  const Date start = DateOf(2026, 10, 25, 2, 0, 0);
  EXPECT_EQ(StartOfRepeatedHour(start), start);
  EXPECT_EQ(StartOfRepeatedHour(DateOf(2026, 10, 25, 2, 0, 1)), start);
  EXPECT_EQ(StartOfRepeatedHour(DateOf(2026, 10, 25, 2, 59, 59)), start);
  MoveTo("America/New_York");
  EXPECT_EQ(StartOfRepeatedHour(DateOf(2026, 11, 1, 1, 45, 0)), DateOf(2026, 11, 1, 1, 0, 0));
  MoveTo("Australia/Lord_Howe");  // goes back by half an hour, at 2:00 on 5 April 2026
  EXPECT_EQ(StartOfRepeatedHour(DateOf(2026, 4, 5, 1, 45, 0)), DateOf(2026, 4, 5, 1, 30, 0));
}

TEST_F(Clock, LeavesEveryOtherTimeUnchanged) {
  MoveTo("Europe/Berlin");
  for (const Date date : {DateOf(2026, 10, 25, 1, 59, 59), DateOf(2026, 10, 25, 3, 0, 0), DateOf(2026, 3, 29, 2, 30, 0),
                          DateOf(2026, 7, 1, 2, 30, 0), 0.0, 46347.123456789}) {
    EXPECT_EQ(StartOfRepeatedHour(date), date);
  }
  MoveTo("UTC");
  EXPECT_EQ(StartOfRepeatedHour(DateOf(2026, 10, 25, 2, 30, 0)), DateOf(2026, 10, 25, 2, 30, 0));
}

TEST_F(Clock, IsSafeForMomentsAndDatesOutOfRange) {
  MoveTo("Europe/Berlin");
  for (const std::int64_t utc : {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min(),
                                 std::int64_t{1} << 40, -(std::int64_t{1} << 40)}) {
    EXPECT_EQ(UtcToDate(utc), 0) << utc;
  }
  for (const double date : {std::nan(""), std::numeric_limits<double>::infinity(), 1e300, -1e300}) {
    EXPECT_EQ(DateToUtc(date), DateToUtc(0));
    EXPECT_EQ(StartOfRepeatedHour(1e300), 1e300);
  }
}

TEST_F(Clock, ShowsThePresentMomentOfTheSystem) {
  MoveTo("Asia/Kathmandu");  // 5:45 hours ahead of UTC, without changes
  constexpr std::int64_t kAhead = 20700;
  const std::int64_t before = time(nullptr);
  const std::int64_t utc = NowUtc();
  const std::int64_t local = DateToSeconds(Now()) - kUnixEpoch - kAhead;
  const double sinceMidnight = SecondsSinceMidnight();
  const std::int64_t after = time(nullptr);
  EXPECT_GE(utc, before - 1) << "the clock of time() may be a tick behind";
  EXPECT_LE(utc, after + 1);
  EXPECT_GE(local, before - 1);
  EXPECT_LE(local, after + 1);
  const auto secondOfDay = static_cast<double>((after + kAhead) % kSecondsPerDay);
  const double difference = std::fabs(sinceMidnight - secondOfDay);
  EXPECT_TRUE(difference < 3 || difference > 86397) << sinceMidnight << " and " << secondOfDay;
}

TEST_F(Clock, GivesSecondsSinceMidnightWithFractions) {
  bool fraction = false;
  for (int i = 0; i < 10; ++i) {
    const double seconds = SecondsSinceMidnight();
    EXPECT_GE(seconds, 0);
    EXPECT_LT(seconds, 86400);
    fraction = fraction || seconds != std::floor(seconds);
  }
  EXPECT_TRUE(fraction);
}

TEST_F(Clock, HasAStopwatchThatGoesForward) {
  const double start = Stopwatch();
  double now = start;
  for (int i = 0; i < 1000; ++i) {
    const double next = Stopwatch();
    ASSERT_GE(next, now);
    now = next;
  }
  EXPECT_GT(now, start);
}

}  // namespace
}  // namespace zelkor::lib
