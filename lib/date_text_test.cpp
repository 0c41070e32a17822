// Dates as text in the C locale.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "lib/date.h"
#include "lib/date_fixture.h"
#include "lib/format.h"

namespace zelkor::lib {
namespace {

TEST(GeneralDate, ReadsAsInTheCLocaleAtTheStart) {
  EXPECT_EQ(GeneralDate(DateOf(2026, 11, 21, 14, 15, 37)), "11/21/2026 2:15:37 PM");
  EXPECT_EQ(GeneralDate(DateOf(2026, 1, 2, 3, 4, 5)), "1/2/2026 3:04:05 AM");
  EXPECT_EQ(GeneralDate(DateOf(2026, 1, 2, 0, 0, 1)), "1/2/2026 12:00:01 AM");
  EXPECT_EQ(GeneralDate(DateOf(2026, 1, 2, 12, 30, 0)), "1/2/2026 12:30:00 PM");
  EXPECT_EQ(GeneralDate(DateOf(2026, 1, 2, 23, 59, 59)), "1/2/2026 11:59:59 PM");
}

TEST(GeneralDate, ShowsADateWithoutTimeAlone) { EXPECT_EQ(GeneralDate(DateOf(2026, 11, 21)), "11/21/2026"); }

TEST(GeneralDate, ShowsATimeWithoutDateAlone) {
  EXPECT_EQ(GeneralDate(0.25), "6:00:00 AM");
  EXPECT_EQ(GeneralDate(0), "12:00:00 AM");
}

TEST(GeneralDate, RoundsIntoTheNextDay) { EXPECT_EQ(GeneralDate(46347.999999), "11/22/2026"); }

TEST(ShortDate, ShowsTheDateWithoutItsTime) {
  EXPECT_EQ(ShortDate(DateOf(2026, 11, 21, 14, 15, 37)), "11/21/2026");
  EXPECT_EQ(ShortDate(DateOf(2026, 1, 2)), "1/2/2026");
  EXPECT_EQ(ShortDate(-1.25), "12/29/1899");
}

TEST(GeneralDate, IsEmptyForAValueThatIsNoDate) {
  for (const double value : {std::nan(""), std::numeric_limits<double>::infinity(), 1e300, -1e300}) {
    EXPECT_EQ(GeneralDate(value), "");
    EXPECT_EQ(ShortDate(value), "");
  }
}

TEST(ParseDate, ReadsYearMonthDay) {
  EXPECT_EQ(ParseDate("2026-11-21"), 46347);
  EXPECT_EQ(ParseDate(" 2026-1-2 3:04:05 "), DateOf(2026, 1, 2, 3, 4, 5));
  EXPECT_EQ(ParseDate("2026-01-02  23:59"), DateOf(2026, 1, 2, 23, 59, 0));
}

TEST(ParseDate, ReadsWhatIsShown) {
  EXPECT_EQ(ParseDate("11/21/2026 2:15:37 PM"), DateOf(2026, 11, 21, 14, 15, 37));
  EXPECT_EQ(ParseDate("11/21/2026"), 46347);
  EXPECT_EQ(ParseDate("6:00:00 AM"), 0.25);
  EXPECT_EQ(ParseDate("1/2/2026 12:00:01 am"), DateOf(2026, 1, 2, 0, 0, 1));
  EXPECT_EQ(ParseDate("01/02/2026 14:15"), DateOf(2026, 1, 2, 14, 15, 0));
}

TEST(ParseDate, RefusesWhatReadsAsNoDate) {
  for (const char* text : {"",
                           " ",
                           "yesterday",
                           "2026",
                           "2026-11",
                           "2026-11-",
                           "2026-11-31",
                           "2026-13-1",
                           "26-11-21",
                           "2026-11-21x",
                           "2026-11-21 24:00",
                           "2026-11-21 1",
                           "2026-11-21 1:60",
                           "2026-11-21 1:2:60",
                           "2026-11-21 1:2:3 PM",
                           "21/11/2026",
                           "2/29/2026",
                           "1/2/2026 13:00 PM",
                           "1/2/2026 0:00 AM",
                           "1/2/2026 1:00 XM",
                           "1/2",
                           "11/21/20261",
                           "-2026-11-21",
                           "2026--11-21",
                           "11/21/2026 2:15:37 PM x",
                           "20260-11-21"}) {
    EXPECT_EQ(ParseDate(text), std::nullopt) << text;
  }
  EXPECT_EQ(ParseDate(std::string("2026-11-21\0", 11)), std::nullopt);
}

}  // namespace
}  // namespace zelkor::lib
