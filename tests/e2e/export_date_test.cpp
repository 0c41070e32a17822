// The date of a target's last export: every change up to it has reached the target.
#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::Not;

class ExportDate : public TwoComputers {
 protected:
  [[nodiscard]] double Stored() const { return office.TargetWithId("lap")->lastExport; }
  static double Now() { return DateOf(time(nullptr)); }
  static constexpr double kSecond = 1.0 / 86400;
};

TEST_F(ExportDate, IsThePresentMomentLessTwoSeconds) {
  const double before = Now();
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_GE(Stored(), before - 2.5 * kSecond);
  EXPECT_LE(Stored(), Now() - 1.5 * kSecond);
}

TEST_F(ExportDate, FollowsTheClockInLocalTime) {
  // Five and a half hours east, ten days ahead.
  ASSERT_EQ(office.Export("lap", {.faults = {.clock = 864000}, .environment = {{"TZ", "IST-5:30"}}}).status, 0);
  const double expected = Now() + 10 + 5.5 / 24;
  EXPECT_NEAR(Stored(), expected, 60 * kSecond);
}

TEST_F(ExportDate, IsTheStartOfTheHourThatComesTwice) {
  // Central Europe, 25 October 2020: at 3:00 summer time (1:00 UTC) the clocks go back to 2:00.
  const std::map<std::string, std::string> berlin{{"TZ", "CET-1CEST,M3.5.0,M10.5.0/3"}};
  for (const std::time_t utc : {At(2020, 10, 25, 0, 30), At(2020, 10, 25, 1, 30)}) {
    ASSERT_EQ(office.Export("lap", {.faults = {.clock = static_cast<long>(utc - time(nullptr))}, .environment = berlin})
                  .status,
              0);
    EXPECT_EQ(SecondsOf(Stored()), At(2020, 10, 25, 2, 0)) << utc;
  }
}

TEST_F(ExportDate, InTheFutureIsReported) {
  office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastExport = Now() + 30});
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.out, testing::ContainsRegex("[Ff]uture"));
  EXPECT_LE(Stored(), Now());
}

TEST_F(ExportDate, AnAutoItemsFileGoesOutOnceAndAgainAfterAChange) {
  AddFileItem(office, 1, "a.txt", "1", time(nullptr) - 3600);
  ASSERT_EQ(office.Export("lap").status, 0);
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(Waiting("lap.cas").blocks[0].records.at(0).files.size(), 1U);
  EXPECT_EQ(Waiting("lap01.cas").blocks[0].records.at(0).files.size(), 0U);
  office.WriteFile("a.txt", "2", time(nullptr) + 600);
  ASSERT_EQ(office.Export("lap", {.faults = {.clock = 1200}}).status, 0);
  EXPECT_EQ(Waiting("lap02.cas").blocks[0].records.at(0).files.size(), 1U);
}

TEST_F(ExportDate, IsKeptWhenAFileStayedBehindThatCouldNotBeOpened) {
  office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastExport = 40000});
  AddFileItem(office, 1, "a.txt", "1", At(2020, 1, 1));
  const Outcome outcome = office.Export("lap", {.faults = {.rules = "open:home/a.txt:EACCES:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("Export date kept"));
  EXPECT_EQ(Stored(), 40000);
  // The file goes out once it can be read.
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(Waiting("lap01.cas").blocks[0].records.at(0).files.size(), 1U);
  EXPECT_GT(Stored(), 40000);
}

TEST_F(ExportDate, IsKeptWhenAFilterOfTheCommandLineHeldAFileBack) {
  office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastExport = 40000});
  office.WriteFile("a.txt", "1", At(2020, 1, 1));
  office.WriteFile("b.txt", "2", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\a.txt", .description = "A", .memoId = 1, .codes = "x"});
  office.AddItem({.fileName = "c:\\b.txt", .description = "B", .memoId = 2, .codes = "y"});
  const Outcome outcome = office.Run({"/select:x", Computer::ExportWord("lap")});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.out, Says("Export date kept"));
  EXPECT_EQ(Stored(), 40000);
}

TEST_F(ExportDate, IsStoredWhenTheFilterHeldNothingBack) {
  office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastExport = DateOf(At(2021, 1, 1))});
  office.WriteFile("a.txt", "1", At(2022, 1, 1));
  office.WriteFile("b.txt", "2", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\a.txt", .description = "A", .memoId = 1, .codes = "x"});
  // Not due: nothing newer; never goes there; off; its file is not there.
  office.AddItem({.fileName = "c:\\b.txt", .description = "B", .memoId = 2, .codes = "y"});
  office.AddItem({.fileName = "c:\\a.txt", .description = "C", .memoId = 3, .codes = "y -lap", .syncTo = 1});
  office.AddItem({.fileName = "c:\\a.txt", .description = "D", .memoId = 4, .syncMethod = 2, .codes = "y"});
  office.AddItem({.fileName = "c:\\none.txt", .description = "E", .memoId = 5, .codes = "y"});
  const Outcome outcome = office.Run({"/select:x", Computer::ExportWord("lap")});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.out, Not(Says("Export date kept")));
  EXPECT_GT(Stored(), DateOf(At(2021, 1, 1)));
}

TEST_F(ExportDate, IsLeftUnchangedByAFailedDelivery) {
  office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastImport = 39000, .lastExport = 40000});
  AddFileItem(office, 1, "a.txt", "1", At(2020, 1, 1));
  const Outcome outcome = office.Export("lap", {.faults = {.rules = "write+link+rename:stick:EIO:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("Sync export failed!"));
  EXPECT_THAT(outcome.out, Says("Sync export failed!"));
  EXPECT_EQ(Stored(), 40000);
  EXPECT_EQ(office.TargetWithId("lap")->lastImport, 39000);
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

TEST_F(ExportDate, IsTheRunsStartWhenAFileChangedWhileItRan) {
  AddFileItem(office, 1, "a.txt", std::string(100000, 'a'), time(nullptr) - 3600);
  // The run is stopped after the file was read, the file changed, and time passes before the run goes on.
  WriteBytes(folder.Path() / "shift", "0");
  const auto run = office.Start({Computer::ExportWord("lap")},
                                {.faults = {.rules = "rename+link:stick:SIGSTOP:1:once"},
                                 .environment = {{"FAULTS_CLOCK_FILE", (folder.Path() / "shift").string()}}});
  const double start = Now();
  ASSERT_TRUE(run->WaitUntilStopped());
  office.WriteFile("a.txt", "changed", time(nullptr) + 100);
  WriteBytes(folder.Path() / "shift", "1000");
  run->Signal(SIGCONT);
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 0) << outcome;
  // Not the moment after the file had changed, so that the next export sends it again.
  EXPECT_LE(Stored(), start + 2 * kSecond) << outcome;
  ASSERT_EQ(office.Export("lap", {.faults = {.clock = 2000}}).status, 0);
  ASSERT_EQ(Waiting("lap01.cas").blocks[0].records.at(0).files.size(), 1U);
  EXPECT_EQ(Waiting("lap01.cas").blocks[0].records[0].files[0].content, "changed");
}

TEST_F(ExportDate, ChangesNothingOfTheTargetsOtherFieldsOrOfOtherTargets) {
  office.SetTarget({.id = "third", .mediaPath = "x:\\", .lastImport = 1000, .lastExport = 2000, .connectionType = 2});
  office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastImport = 39000, .lastExport = 40000});
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(office.TargetWithId("lap")->lastImport, 39000);
  const auto third = office.TargetWithId("third");
  EXPECT_EQ(third->lastExport, 2000);
  EXPECT_EQ(third->connectionType, 2);
}

}  // namespace
}  // namespace zelkor::tests
