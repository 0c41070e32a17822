// Under which names sync files wait on a folder, and which of them an import takes.
#include <csignal>

#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;
using testing::Not;

class Names : public TwoComputers {
 protected:
  // A sync file from `sender` that brings one file.
  static SyncImage Bringing(const std::string& sender, const std::string& name, const std::string& content,
                            double created, std::time_t written) {
    SyncImage image = OneBlock(
        sender, {{.fileName = "c:\\" + name,
                  .description = name,
                  .memoId = static_cast<std::int32_t>(name.size() * 1000 + static_cast<unsigned char>(name[0])),
                  .files = {{.path = "c:\\" + name, .content = content, .written = DateOf(written)}}}});
    image.created = created;
    return image;
  }
};

TEST_F(Names, AreTheTargetsIdAndThenACounterWhileEarlierFilesWait) {
  for (int i = 0; i < 3; ++i) ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas", "lap01.cas", "lap02.cas"));
  std::filesystem::remove(Stick() / "lap01.cas");
  const Outcome outcome = office.Export("lap");
  EXPECT_THAT(outcome.out, testing::ContainsRegex("Exporting to .*lap01.cas\n"));
}

TEST_F(Names, NeverReplaceAFileThatWaits) {
  WriteBytes(Stick() / "lap.cas", "something else");
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(ReadBytes(Stick() / "lap.cas"), "something else");
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas", "lap01.cas"));
}

TEST_F(Names, AreFoundTakenAlsoWhenTheyDifferInCase) {
  WriteBytes(Stick() / "LAP.CAS", "something else");
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_THAT(OnStick(), ElementsAre("LAP.CAS", "lap01.cas"));
}

TEST_F(Names, ThatAnotherComputerTakesMeanwhileAreNotReplaced) {
  // Two computers export to one folder for the same target; the first stands just before its file takes its name.
  const Computer third(folder.Path(), "third");
  third.SetTarget({.id = "lap", .mediaPath = "m:\\"});
  AddFileItem(office, 1, "a.txt", "office's", At(2020, 1, 1));
  AddFileItem(third, 2, "b.txt", "third's", At(2020, 1, 1));
  const auto first =
      office.Start({Computer::ExportWord("lap")}, {.faults = {.rules = "rename+link:stick:SIGSTOP:1:once"}});
  ASSERT_TRUE(first->WaitUntilStopped());
  ASSERT_EQ(third.Export("lap").status, 0);
  first->Signal(SIGCONT);
  const Outcome outcome = first->Wait();
  EXPECT_EQ(Waiting("lap.cas").sender, "third");
  if (outcome.status != 0) {
    // Refused, then nothing is said to have arrived.
    EXPECT_EQ(outcome.status, 1) << outcome;
    EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
    ASSERT_EQ(office.Export("lap").status, 0);
  }
  EXPECT_EQ(Waiting("lap01.cas").sender, "office");
}

TEST_F(Names, OfFilesStillBeingWrittenAreNotTakenByAnImport) {
  AddFileItem(office, 1, "a.txt", std::string(100000, 'a'), At(2020, 1, 1));
  const auto writing =
      office.Start({Computer::ExportWord("lap")}, {.faults = {.rules = "rename+link:stick:SIGSTOP:1:once"}});
  ASSERT_TRUE(writing->WaitUntilStopped());
  EXPECT_EQ(lap.Import("office").err, "Zelkor: No file to import!\n");
  writing->Signal(SIGCONT);
  EXPECT_EQ(writing->Wait().status, 0);
  EXPECT_EQ(lap.Import("office").status, 0);
  EXPECT_EQ(lap.ReadFile("a.txt").size(), 100000U);
}

TEST_F(Names, OfTheTargetTestAreThisComputersOwn) {
  office.SetTarget({.id = "test", .mediaPath = "m:\\"});
  ASSERT_EQ(office.Run({Computer::ExportWord("TEST")}).status, 0);
  EXPECT_THAT(OnStick(), ElementsAre("office.cas"));
}

TEST_F(Names, SkipNumbersThatSpellAnotherKnownTarget) {
  office.SetTarget({.id = "lap01", .mediaPath = "m:\\"});
  office.SetTarget({.id = "LAP02", .mediaPath = "m:\\"});
  ASSERT_EQ(office.Export("lap").status, 0);
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas", "lap03.cas"));
}

TEST_F(Names, TargetIdsAreFoundInAnyCase) {
  ASSERT_EQ(office.Run({Computer::ExportWord("LAP")}).status, 0);
  ASSERT_EQ(OnStick().size(), 1U);
  const Outcome outcome = lap.Run({Computer::ImportWord("OFFICE")});
  EXPECT_EQ(outcome.status, 0) << outcome;
}

TEST_F(Names, AllFilesThatWaitAreTakenOldestFirstInOneRun) {
  // The same file three times; the names' order is not the order of the dates. Each one's date of writing is later
  // than the one before, so each is written in turn.
  Put("lap02.cas", Bringing("office", "a.txt", "first", 44000, At(2020, 1, 1)));
  Put("lap.cas", Bringing("office", "a.txt", "third", 44002, At(2020, 1, 3)));
  Put("lap01.cas", Bringing("office", "a.txt", "second", 44001, At(2020, 1, 2)));
  const Outcome outcome = lap.Import("office");
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(lap.ReadFile("a.txt"), "third");
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
  // One log: its first line, and the three files by their dates.
  EXPECT_EQ(outcome.out.find("Sync - Import"), outcome.out.rfind("Sync - Import"));
  const auto first = outcome.out.find("[c:\\a.txt]: New");
  const auto second = outcome.out.find("[c:\\a.txt]: Newer");
  EXPECT_LT(first, second);
  EXPECT_NE(second, std::string::npos);
}

TEST_F(Names, FilesOfOtherSendersAreLeft) {
  Put("lap.cas", Bringing("other", "a.txt", "foreign", 44000, At(2020, 1, 1)));
  Put("lap01.cas", Bringing("OFFICE", "b.txt", "ours", 44000, At(2020, 1, 1)));
  const Outcome outcome = lap.Import("office");
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(lap.Files(), ElementsAre("b.txt"));
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
}

TEST_F(Names, NumbersThatSpellAKnownTargetAreLeft) {
  lap.SetTarget({.id = "lap01", .mediaPath = "m:\\"});
  Put("lap01.cas", Bringing("office", "a.txt", "for lap01", 44000, At(2020, 1, 1)));
  const Outcome outcome = lap.Import("office");
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(outcome.err, "Zelkor: No file to import!\n");
  EXPECT_THAT(OnStick(), ElementsAre("lap01.cas"));
}

TEST_F(Names, FilesThatAreNoSyncFilesAreLeft) {
  WriteBytes(Stick() / "lap.cas", "no sync file");
  WriteBytes(Stick() / "lap01.cas", std::string(300, ' '));
  EXPECT_EQ(lap.Import("office").status, 1);
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas", "lap01.cas"));
}

TEST_F(Names, OtherComputersFilesAreLeft) {
  Put("else.cas", Bringing("office", "a.txt", "x", 44000, At(2020, 1, 1)));
  Put("laptop.cas", Bringing("office", "a.txt", "x", 44000, At(2020, 1, 1)));
  Put("lap1.txt", Bringing("office", "a.txt", "x", 44000, At(2020, 1, 1)));
  EXPECT_EQ(lap.Import("office").err, "Zelkor: No file to import!\n");
  EXPECT_EQ(OnStick().size(), 3U);
}

TEST_F(Names, ANamedFileOfTheSenderIsTakenAndStays) {
  Put("by hand.cas", Bringing("office", "a.txt", "x", 44000, At(2020, 1, 1)));
  const Outcome outcome = lap.Run({Computer::ImportWord("office", "m:\\by hand.cas")});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(lap.ReadFile("a.txt"), "x");
  EXPECT_THAT(OnStick(), ElementsAre("by hand.cas"));
}

TEST_F(Names, ANamedForeignFileIsAskedAbout) {
  Put("lap.cas", Bringing("other", "a.txt", "x", 44000, At(2020, 1, 1)));
  const Outcome refused = lap.Run({Computer::ImportWord("office", "m:\\lap.cas")}, {.input = "no\n"});
  EXPECT_EQ(refused.status, 1) << refused;
  EXPECT_THAT(refused.err, Says("Sync file is not from [office] but from [other]."));
  EXPECT_THAT(refused.err, Says("Continue anyway?"));
  EXPECT_EQ(lap.Files(), std::vector<std::string>{});
  const Outcome taken = lap.Run({Computer::ImportWord("office", "m:\\lap.cas")}, {.input = "yes\n"});
  EXPECT_EQ(taken.status, 0) << taken;
  EXPECT_EQ(lap.ReadFile("a.txt"), "x");
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
}

TEST_F(Names, AFileThatWasNotTakenWhollyStays) {
  Put("lap.cas", Bringing("office", "a.txt", "x", 44000, At(2020, 1, 1)));
  const Outcome outcome = lap.Import("office", {.faults = {.rules = "create+link+rename:lap/home:EACCES:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]: Can not import"));
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
  // The next run mends it.
  EXPECT_EQ(lap.Import("office").status, 0);
  EXPECT_EQ(lap.ReadFile("a.txt"), "x");
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

TEST_F(Names, AFileThatCanNotBeDeletedIsImportedAllTheSame) {
  Put("lap.cas", Bringing("office", "a.txt", "x", 44000, At(2020, 1, 1)));
  const Outcome outcome = lap.Import("office", {.faults = {.rules = "unlink:stick:EROFS:1"}});
  EXPECT_EQ(lap.ReadFile("a.txt"), "x") << outcome;
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
}

TEST_F(Names, AFolderThatIsMissingOnExportIsSaid) {
  std::filesystem::remove(Stick());
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("Sync export failed!"));
  EXPECT_THAT(outcome.out, Says("Sync export failed!"));
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

TEST_F(Names, ADriveWithoutADirectoryNamesTheKeyToSet) {
  office.SetTarget({.id = "lap", .mediaPath = "q:\\"});
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, testing::ContainsRegex("Drives"));
  EXPECT_THAT(outcome.err, testing::ContainsRegex("[\"\\[ (]q"));
}

}  // namespace
}  // namespace zelkor::tests
