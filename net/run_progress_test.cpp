#include "net/run_progress.h"

#include <gtest/gtest.h>

namespace zelkor::net {
namespace {

TEST(RunProgress, FillsTheBarByBytesAndTellsRateAndTimeLeft) {
  RunProgress progress;
  lib::Progress run{.doing = "Exporting", .items = 1, .itemsTotal = 4, .bytes = 0, .bytesTotal = 8 << 20};
  ASSERT_TRUE(progress.Tell(run, 100));
  run.bytes = 2 << 20;
  const std::optional<RunProgress::Shown> shown = progress.Tell(run, 102);
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->permille, 250);
  EXPECT_EQ(shown->text, "Exporting  1 of 4 items  2.0 MB of 8.0 MB  1.0 MB/s  00:00:06 left");
}

TEST(RunProgress, FillsTheBarByItemsWhereTheBytesAreNotKnown) {
  RunProgress progress;
  const auto shown = progress.Tell({.doing = "Exporting", .items = 3, .itemsTotal = 4}, 0);
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->permille, 750);
}

TEST(RunProgress, KnowsNoPartOfAnUnknownWhole) {
  RunProgress progress;
  const auto shown = progress.Tell({.doing = "Copying", .bytes = 1024}, 0);
  ASSERT_TRUE(shown);
  EXPECT_FALSE(shown->permille);
}

TEST(RunProgress, NeverFillsTheBarBeyondItsEnd) {
  RunProgress progress;
  const auto shown = progress.Tell({.doing = "Copying", .bytes = 9, .bytesTotal = 4}, 0);
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->permille, 1000);
}

TEST(RunProgress, IsDrawnAtMost20TimesASecond) {
  RunProgress progress;
  int drawn = 0;
  for (int i = 0; i < 1000; ++i) drawn += progress.Tell({.doing = "Copying", .bytes = i}, i / 1000.0) ? 1 : 0;
  EXPECT_LE(drawn, 20);
  EXPECT_GE(drawn, 15);
}

TEST(RunProgress, CountsTheRateOfEachStretchAnew) {
  RunProgress progress;
  ASSERT_TRUE(progress.Tell({.doing = "Exporting", .bytes = 1 << 20}, 0));
  progress.End();
  // Drawn at once, though the last drawing is not long ago.
  ASSERT_TRUE(progress.Tell({.doing = "Copying", .bytes = 0}, 0.01));
  const auto shown = progress.Tell({.doing = "Copying", .bytes = 1 << 20}, 1.01);
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->text, "Copying  1.0 MB  1.0 MB/s");
}

}  // namespace
}  // namespace zelkor::net
