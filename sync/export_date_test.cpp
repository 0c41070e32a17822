#include "sync/export_date.h"

#include <gtest/gtest.h>

#include "tests/support/system.h"

namespace zelkor::sync {
namespace {

class ExportDates : public testing::Test {
 protected:
  ExportDates() : hasZone_(tests::MoveToZone("Europe/Berlin")) {}
  ~ExportDates() override { tests::LeaveZone(); }
  static lib::Date At(int month, int day, int hour, int minute, int second) {
    return *lib::FromCalendar(
        {.year = 2026, .month = month, .day = day, .hour = hour, .minute = minute, .second = second});
  }
  static void Expect(lib::Date got, lib::Date wanted) {
    EXPECT_EQ(lib::DateToSeconds(got), lib::DateToSeconds(wanted));
  }

  const bool hasZone_;
};

TEST_F(ExportDates, AreTwoSecondsBeforeThePresent) { Expect(ExportDate(At(6, 1, 12, 0, 1)), At(6, 1, 11, 59, 59)); }

TEST_F(ExportDates, InTheRepeatedHourAreItsStart) {
  if (!hasZone_) GTEST_SKIP() << "a process is in no zone of its own here";
  // Clocks go back from 3:00 to 2:00 on 25 October 2026.
  Expect(ExportDate(At(10, 25, 2, 40, 0)), At(10, 25, 2, 0, 0));
  Expect(ExportDate(At(10, 25, 3, 0, 1)), At(10, 25, 2, 0, 0));
  Expect(ExportDate(At(10, 25, 3, 0, 2)), At(10, 25, 3, 0, 0));
}

TEST(DateHold, NamesTheFirstReasonAndCountsTheRest) {
  DateHold hold;
  EXPECT_FALSE(hold.Held());
  hold.HoldForChoice("a filter");
  EXPECT_EQ(hold.Line(), "Export date kept: a filter");
  EXPECT_FALSE(hold.Error());
  hold.HoldForError("a broken file");
  EXPECT_EQ(hold.Line(), "Export date kept: a filter (and 1 more)");
  EXPECT_TRUE(hold.Error());
}

}  // namespace
}  // namespace zelkor::sync
