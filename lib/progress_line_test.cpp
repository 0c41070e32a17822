#include "lib/progress_line.h"

#include <gtest/gtest.h>

namespace zelkor::lib {
namespace {

TEST(ProgressLine, SaysWhatIsDoneOfAllTheRateAndTheTimeLeft) {
  const Progress progress{
      .doing = "Exporting", .items = 1234, .itemsTotal = 9000, .bytes = 3 << 20, .bytesTotal = 9 << 20};
  EXPECT_EQ(ProgressLine(progress, 1.5, 200),
            "Exporting  1 234 of 9 000 items  3.0 MB of 9.0 MB  2.0 MB/s  00:00:03 left");
}

TEST(ProgressLine, LeavesOutWhatIsNotKnown) {
  EXPECT_EQ(ProgressLine({.doing = "Exporting", .items = 0, .itemsTotal = 3}, 9, 200), "Exporting  0 of 3 items");
  EXPECT_EQ(ProgressLine({.doing = "Copying", .bytes = 512}, 0.1, 200), "Copying  512 B");
}

TEST(ProgressLine, StaysWithinTheTerminal) {
  const Progress progress{.doing = "Exporting", .items = 1234, .itemsTotal = 9000};
  EXPECT_EQ(ProgressLine(progress, 0, 20).size(), 19U);
}

}  // namespace
}  // namespace zelkor::lib
