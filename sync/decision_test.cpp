#include "sync/decision.h"

#include <gtest/gtest.h>

namespace zelkor::sync {
namespace {

constexpr lib::Date kMonday = 46000.5;
constexpr lib::Date kTuesday = 46001.5;
constexpr lib::Date kWednesday = 46002.5;
constexpr lib::Date kSecond = 1.0 / 86400;

TEST(Decide, CallsAFileWithoutLocalCopyNew) { EXPECT_EQ(Decide(0, kTuesday, kMonday), Decision::New); }

TEST(Decide, CallsEqualDatesIdenticalWhateverTheCutoff) {
  EXPECT_EQ(Decide(kTuesday, kTuesday, kMonday), Decision::Identical);
  EXPECT_EQ(Decide(kTuesday, kTuesday, kWednesday), Decision::Identical);
}

TEST(Decide, ComparesToTheSecond) {
  EXPECT_EQ(Decide(kTuesday + kSecond * 0.4, kTuesday, kMonday), Decision::Identical);
  EXPECT_EQ(Decide(kTuesday + kSecond, kTuesday, 0), Decision::OlderAfterCutoff);
}

TEST(Decide, TellsNewerFilesApartByTheCutoff) {
  EXPECT_EQ(Decide(kMonday, kWednesday, kTuesday), Decision::NewerAfterCutoff);
  EXPECT_EQ(Decide(kMonday, kTuesday, kTuesday), Decision::NewerBeforeCutoff);
}

TEST(Decide, TellsOlderFilesApartByTheCutoff) {
  EXPECT_EQ(Decide(kWednesday, kTuesday, kMonday), Decision::OlderAfterCutoff);
  EXPECT_EQ(Decide(kWednesday, kMonday, kTuesday), Decision::OlderBeforeCutoff);
}

TEST(Takes, WritesNewerAndNewFilesAndNoOthers) {
  for (int code = 0; code < kDecisions; ++code) {
    EXPECT_EQ(Takes(static_cast<Decision>(code)), code == 3 || code == 4 || code == 5) << code;
  }
}

TEST(Label, SaysWhatTheLogShows) {
  const std::array<const char*, kDecisions> expected{"Identical", "Older", "Older",          "Newer",
                                                     "Newer",     "New",   "Can not import", "Did not import"};
  for (std::size_t code = 0; code < expected.size(); ++code) {
    EXPECT_EQ(Label(static_cast<Decision>(code)), expected[code]) << code;
  }
}

}  // namespace
}  // namespace zelkor::sync
