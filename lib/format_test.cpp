#include "lib/format.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace zelkor::lib {
namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(FormatVersion, ShowsNoDigitThatIsNotNeeded) {
  EXPECT_EQ(FormatVersion(0), ".");
  EXPECT_EQ(FormatVersion(0.5), ".5");
  EXPECT_EQ(FormatVersion(5), "5.");
  EXPECT_EQ(FormatVersion(345), "345.");
  EXPECT_EQ(FormatVersion(1234567), "1234567.");
  EXPECT_EQ(FormatVersion(2.2), "2.2");
  EXPECT_EQ(FormatVersion(2.14), "2.14");
  EXPECT_EQ(FormatVersion(10), "10.");
  EXPECT_EQ(FormatVersion(-0.25), "-.25");
  EXPECT_EQ(FormatVersion(1.999), "2.");
}

TEST(FormatTwoDecimals, ShowsADigitBeforeThePointAndTwoBehind) {
  EXPECT_EQ(FormatTwoDecimals(0), "0.00");
  EXPECT_EQ(FormatTwoDecimals(0.5), "0.50");
  EXPECT_EQ(FormatTwoDecimals(5), "5.00");
  EXPECT_EQ(FormatTwoDecimals(345), "345.00");
  EXPECT_EQ(FormatTwoDecimals(1234567), "1234567.00");
  EXPECT_EQ(FormatTwoDecimals(2.14), "2.14");
  EXPECT_EQ(FormatTwoDecimals(0.125), "0.13") << "halves away from zero";
  EXPECT_EQ(FormatTwoDecimals(-0.001), "0.00") << "no minus zero";
}

TEST(FormatOneDecimal, ShowsOneDecimal) {
  EXPECT_EQ(FormatOneDecimal(0), "0.0");
  EXPECT_EQ(FormatOneDecimal(0.25), "0.3");
  EXPECT_EQ(FormatOneDecimal(5), "5.0");
  EXPECT_EQ(FormatOneDecimal(345), "345.0");
  EXPECT_EQ(FormatOneDecimal(1234567), "1234567.0");
}

TEST(FormatGrouped, KeepsThousandsApartByABlank) {
  EXPECT_EQ(FormatGrouped(0), "0");
  EXPECT_EQ(FormatGrouped(5), "5");
  EXPECT_EQ(FormatGrouped(345), "345");
  EXPECT_EQ(FormatGrouped(1000), "1 000");
  EXPECT_EQ(FormatGrouped(123456), "123 456");
  EXPECT_EQ(FormatGrouped(1234567), "1 234 567");
  EXPECT_EQ(FormatGrouped(-1234), "-1 234");
  EXPECT_EQ(FormatGrouped(-123), "-123");
  EXPECT_EQ(FormatGrouped(kLeast), "-9 223 372 036 854 775 808");
}

TEST(FormatGroupedOrEmpty, ShowsNothingForZero) {
  EXPECT_EQ(FormatGroupedOrEmpty(0), "");
  EXPECT_EQ(FormatGroupedOrEmpty(5), "5");
  EXPECT_EQ(FormatGroupedOrEmpty(345), "345");
  EXPECT_EQ(FormatGroupedOrEmpty(1234567), "1 234 567");
}

TEST(FormatTwoDigits, FillsUpWithAZero) {
  EXPECT_EQ(FormatTwoDigits(0), "00");
  EXPECT_EQ(FormatTwoDigits(5), "05");
  EXPECT_EQ(FormatTwoDigits(99), "99");
  EXPECT_EQ(FormatTwoDigits(345), "345");
  EXPECT_EQ(FormatTwoDigits(1234567), "1234567");
  EXPECT_EQ(FormatTwoDigits(-5), "-05");
  EXPECT_EQ(FormatTwoDigits(kLeast), "-9223372036854775808");
}

TEST(FormatElapsed, ShowsHoursMinutesAndSeconds) {
  EXPECT_EQ(FormatElapsed(0), "00:00:00");
  EXPECT_EQ(FormatElapsed(5), "00:00:05");
  EXPECT_EQ(FormatElapsed(345), "00:05:45");
  EXPECT_EQ(FormatElapsed(86399), "23:59:59");
  EXPECT_EQ(FormatElapsed(1234567), "342:56:07");
  EXPECT_EQ(FormatElapsed(59.6), "00:01:00");
  EXPECT_EQ(FormatElapsed(-3), "00:00:00");
}

TEST(FormatKilobytes, RoundsToWholeKilobytes) {
  EXPECT_EQ(FormatKilobytes(0), " kb");
  EXPECT_EQ(FormatKilobytes(511), " kb");
  EXPECT_EQ(FormatKilobytes(512), "1 kb");
  EXPECT_EQ(FormatKilobytes(1535), "1 kb");
  EXPECT_EQ(FormatKilobytes(1536), "2 kb");
  EXPECT_EQ(FormatKilobytes(1234567LL * 1024), "1 234 567 kb");
}

TEST(Format, IsSafeForAnyNumber) {
  for (const double value : {std::nan(""), kInfinity, -kInfinity}) {
    EXPECT_EQ(FormatVersion(value), ".");
    EXPECT_EQ(FormatTwoDecimals(value), "0.00");
    EXPECT_EQ(FormatOneDecimal(value), "0.0");
  }
  EXPECT_EQ(FormatElapsed(std::nan("")), "00:00:00");
  EXPECT_EQ(FormatElapsed(-kInfinity), "00:00:00");
  EXPECT_EQ(FormatElapsed(kInfinity), FormatElapsed(1e300));
  EXPECT_EQ(FormatTwoDecimals(1e308).size(), 309 + 3U);
}

}  // namespace
}  // namespace zelkor::lib
