// Directories under other names on other computers.
#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

class Remapping : public TwoComputers {};

TEST_F(Remapping, WritesItsExplanationAtTheFirstRun) {
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(ReadBytes(office.Program() / "ReMap.txt"),
            ";Drive/directory remapping\r\n;Lines beginning with ; are treated as comments\r\n;\r\n;Example:\r\n"
            ";  c:\\job\\finance\\=c:\\finance\\\r\n;  will ReMap all files in c:\\job\\finance\\ on this computer\r\n"
            ";  to c:\\finance\\ on all other targets\r\n;\r\n");
}

TEST_F(Remapping, TurnsLocalPathsIntoSharedOnesAndBack) {
  office.AddRemapLine("c:\\job\\finance\\=c:\\finance\\");
  AddFileItem(office, 1, "job/finance/plan.xls", "plan", At(2020, 1, 1));
  ASSERT_EQ(office.Export("lap").status, 0);
  const SyncRecord record = Waiting("lap.cas").blocks.at(0).records.at(0);
  EXPECT_EQ(record.fileName, "c:\\finance\\plan.xls");
  EXPECT_EQ(record.files.at(0).path, "c:\\finance\\plan.xls");

  ASSERT_EQ(lap.Import("office").status, 0);
  EXPECT_EQ(lap.ReadFile("finance/plan.xls"), "plan");
  EXPECT_EQ(lap.Items().at(0).fileName, "c:\\finance\\plan.xls");

  // And back, changed, to the place that it has here.
  lap.WriteFile("finance/plan.xls", "plan 2", time(nullptr) - 1000);
  ASSERT_EQ(lap.Export("office").status, 0);
  ASSERT_EQ(office.Import("lap").status, 0);
  EXPECT_EQ(office.ReadFile("job/finance/plan.xls"), "plan 2");
  EXPECT_EQ(office.Items().at(0).fileName, "c:\\job\\finance\\plan.xls");
  EXPECT_EQ(office.Items().size(), 1U);
}

TEST_F(Remapping, LeavesAPathThatDiffersInCaseUnchanged) {
  office.AddRemapLine("c:\\job\\finance\\=c:\\finance\\");
  office.WriteFile("JOB/FINANCE/plan.xls", "plan", At(2020, 1, 1));
  office.AddItem({.fileName = "C:\\JOB\\FINANCE\\plan.xls", .description = "A", .memoId = 1});
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(Waiting("lap.cas").blocks.at(0).records.at(0).fileName, "C:\\JOB\\FINANCE\\plan.xls");
}

TEST_F(Remapping, RewritesEveryPathOfASelection) {
  office.AddRemapLine("; a comment");
  office.AddRemapLine("   ");
  office.AddRemapLine("c:\\one\\=x:\\1\\");
  office.AddRemapLine("c:\\two\\=x:\\2\\");
  office.AddItem({.fileName = "c:\\one\\a.txt\r\nc:\\two\\b.txt\r\nc:\\three\\c.txt", .memoId = 1});
  const Outcome outcome = office.Export("lap");
  ASSERT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(Waiting("lap.cas").blocks.at(0).records.at(0).fileName, "x:\\1\\a.txt\r\nx:\\2\\b.txt\r\nc:\\three\\c.txt");
}

TEST_F(Remapping, AnInvalidLineIsReportedWithItsNumberAndTheOthersHold) {
  office.AddRemapLine("; a comment");
  office.AddRemapLine("a=b=c");
  office.AddRemapLine("c:\\one\\=x:\\1\\");
  office.AddItem({.fileName = "c:\\one\\a.txt", .memoId = 1});
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.err, Says("Invalid remapping in ReMap.txt, line no:2"));
  EXPECT_THAT(outcome.err, Says("See File/Settings/ReMapping."));
  EXPECT_EQ(Waiting("lap.cas").blocks.at(0).records.at(0).fileName, "x:\\1\\a.txt");
}

TEST_F(Remapping, ATableThatCanNotBeReadEndsTheRunInsteadOfSendingLocalPaths) {
  office.AddRemapLine("c:\\job\\=c:\\shared\\");
  AddFileItem(office, 1, "job/plan.xls", "plan", At(2020, 1, 1));
  const std::string table = ReadBytes(office.Program() / "ReMap.txt");
  for (const char* rule : {"open:ReMap.txt:EACCES:1", "read:ReMap.txt:EIO:1", "open:ReMap.txt:EIO:1:once"}) {
    const Outcome outcome = office.Export("lap", {.faults = {.rules = rule}});
    EXPECT_EQ(outcome.status, 1) << rule << outcome;
    EXPECT_THAT(outcome.err, Says("ReMap.txt")) << rule;
    EXPECT_EQ(OnStick(), std::vector<std::string>{}) << rule;
    EXPECT_EQ(ReadBytes(office.Program() / "ReMap.txt"), table) << rule;
  }
}

TEST_F(Remapping, GivesEachComputerItsOwnPlace) {
  office.AddRemapLine("c:\\Office\\=s:\\");
  lap.AddRemapLine("c:\\Travel\\docs\\=s:\\");
  AddFileItem(office, 1, "Office/deep/a.txt", "a", At(2020, 1, 1));
  ASSERT_EQ(office.Export("lap").status, 0);
  ASSERT_EQ(lap.Import("office").status, 0);
  EXPECT_EQ(lap.ReadFile("Travel/docs/deep/a.txt"), "a");
}

}  // namespace
}  // namespace zelkor::tests
