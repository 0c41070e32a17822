// Disks that are full, and disks that fail.
#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;

class FullDisk : public TwoComputers {
 protected:
  FullDisk() {
    AddFileItem(office, 1, "big.txt", std::string(100000, 'b'), At(2020, 1, 1));
    AddFileItem(office, 2, "small.txt", "s", At(2020, 1, 1));
  }
  static std::string Capacity(const std::filesystem::path& directory, long bytes) {
    return directory.string() + "=" + std::to_string(bytes);
  }
};

TEST_F(FullDisk, ForTheTemporaryFileEndsTheExportWithoutATrace) {
  const Outcome outcome = office.Export("lap", {.faults = {.capacity = Capacity(office.Temporary(), 50000)}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("Cannot write to temporary file: "));
  EXPECT_THAT(outcome.err, Says("Sync export failed!"));
  EXPECT_EQ(NamesIn(office.Temporary()), std::vector<std::string>{});
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(Waiting("lap.cas").blocks[0].records.size(), 2U);
}

TEST_F(FullDisk, UnderTheStickEndsTheExportWhenNobodyChangesIt) {
  const Outcome outcome = office.Export("lap", {.faults = {.capacity = Capacity(Stick(), 50000)}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("Insert disk #2"));
  EXPECT_THAT(outcome.err, Says("Sync export failed!"));
  // What it left on the disk at hand is taken back.
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

TEST_F(FullDisk, AtAnyWriteOfAnExportLeavesNothingBehind) {
  for (const char* error : {"ENOSPC", "EIO", "EDQUOT"}) {
    for (int at = 1; at <= 12; ++at) {
      const std::string rule =
          "write+truncate+create+link+rename:stick:" + std::string(error) + ":" + std::to_string(at);
      const Outcome outcome = office.Export("lap", {.faults = {.rules = rule}});
      if (outcome.status == 0) break;
      EXPECT_EQ(outcome.status, 1) << rule << outcome;
      EXPECT_EQ(OnStick(), std::vector<std::string>{}) << rule;
      EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0) << rule;
      ASSERT_LT(at, 12) << "an export that never ends well";
    }
    std::filesystem::remove(Stick() / "lap.cas");
    office.SetTarget({.id = "lap", .mediaPath = "m:\\"});
  }
}

TEST_F(FullDisk, AtHomeLeavesTheFilesThatDoNotFitAndTakesTheOthers) {
  ASSERT_EQ(office.Export("lap").status, 0);
  lap.WriteFile("big.txt", "mine", At(2019, 1, 1));
  const Outcome outcome = lap.Import("office", {.faults = {.capacity = Capacity(lap.Home(), 50000)}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("  [c:\\big.txt]: Can not import"));
  EXPECT_EQ(lap.ReadFile("big.txt"), "mine");
  EXPECT_EQ(lap.ReadFile("small.txt"), "s");
  EXPECT_THAT(lap.Files(), ElementsAre("big.txt", "small.txt"));
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
  // With room it goes on where it stopped.
  EXPECT_EQ(lap.Import("office").status, 0);
  EXPECT_EQ(lap.ReadFile("big.txt").size(), 100000U);
  EXPECT_EQ(lap.Items().size(), 2U);
}

TEST_F(FullDisk, UnderTheDatabaseWritesNoFileWithoutItsItem) {
  ASSERT_EQ(office.Export("lap").status, 0);
  ASSERT_EQ(lap.Run({"/syncexp"}).status, 2);  // the database exists
  for (const char* rule : {"write:zelkor.ind:ENOSPC:1", "write:zelkor.ind:EIO:2"}) {
    const Outcome outcome = lap.Import("office", {.faults = {.rules = rule}});
    EXPECT_EQ(outcome.status, 1) << rule << outcome;
    EXPECT_NE(outcome.err, "") << rule;
    for (const std::string& name : lap.Files()) {
      EXPECT_TRUE(lap.ItemWithId(name == "big.txt" ? 1 : 2)) << rule << ": " << name << " has no item";
    }
    EXPECT_THAT(OnStick(), ElementsAre("lap.cas")) << rule;
  }
  EXPECT_EQ(lap.Import("office").status, 0);
  EXPECT_EQ(lap.Files().size(), 2U);
  EXPECT_EQ(lap.Items().size(), 2U);
}

TEST_F(FullDisk, UnderTheDatabaseAtAFirstStartIsSaid) {
  const TemporaryFolder other;
  const Computer fresh(other.Path(), "fresh");
  const Outcome outcome =
      fresh.Run({Computer::ExportWord("lap")}, {.faults = {.capacity = Capacity(fresh.Program(), 100)}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("zelkor.cfg"));
  const Outcome again = fresh.Run({Computer::ExportWord("lap")});
  EXPECT_THAT(again.err, Says("Can not find target [lap] in database!")) << again;
  EXPECT_EQ(std::filesystem::file_size(fresh.Program() / "zelkor.cfg"), 8192U);
}

TEST_F(FullDisk, UnderTheConfigurationFileKeepsTheOldDateAndSaysSo) {
  const Outcome outcome = office.Export("lap", {.faults = {.rules = "write:zelkor.cfg:EIO:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_NE(outcome.err, "");
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

TEST_F(FullDisk, ThatCanNotBeFlushedIsAFailedExport) {
  const Outcome outcome = office.Export("lap", {.faults = {.rules = "sync::EIO:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

TEST_F(FullDisk, ThatCanNotBeFlushedIsAFailedImport) {
  ASSERT_EQ(office.Export("lap").status, 0);
  const Outcome outcome = lap.Import("office", {.faults = {.rules = "sync:lap/home:EIO:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
}

// The sync file is the only other place where they stand, and a collected one is deleted.
TEST_F(FullDisk, ThatCanNotFlushTheItemsIsAFailedImport) {
  ASSERT_EQ(office.Export("lap").status, 0);
  const Outcome outcome = lap.Import("office", {.faults = {.rules = "sync:zelkor.ind:EIO:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
}

TEST_F(FullDisk, ThatCouldNotBeFlushedOnceWhileTheImportWentOnIsAFailedImport) {
  SyncRecord record{.fileName = "c:\\many\\*.*", .description = "many", .memoId = 9};
  constexpr int kFiles = 4500;  // the flush begins before the last one
  for (int i = 0; i < kFiles; ++i) {
    record.files.push_back(
        {.path = "c:\\many\\" + std::to_string(i), .content = "x", .written = DateOf(At(2020, 1, 1))});
  }
  Put("lap.cas", OneBlock("office", {record}));
  const Outcome outcome = lap.Import("office", {.faults = {.rules = "sync:lap/home:EIO:1:once"}});
  EXPECT_EQ(outcome.status, 1) << outcome.err;
  EXPECT_EQ(lap.Files().size(), std::size_t{kFiles});
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
  EXPECT_EQ(lap.Import("office").status, 0);
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

TEST_F(FullDisk, WithoutFilesThatHaveNoNameYetWorksTheSame) {
  // File systems such as FAT cannot make a file without a name, or give it one by a link, or set attributes.
  for (const char* rules : {"unnamed:/:EOPNOTSUPP:1", "unnamed:/:EINVAL:1", "unnamed:/:ENOENT:1",
                            "link:/:EPERM:1|unnamed:/:EOPNOTSUPP:1", "xattr:/:EOPNOTSUPP:1", "mode:/:EPERM:1"}) {
    office.SetTarget({.id = "lap", .mediaPath = "m:\\"});
    std::filesystem::remove_all(lap.Home());
    std::filesystem::create_directory(lap.Home());
    const Outcome exported = office.Export("lap", {.faults = {.rules = rules}});
    EXPECT_EQ(exported.status, 0) << rules << exported;
    EXPECT_THAT(OnStick(), ElementsAre("lap.cas")) << rules;
    const Outcome imported = lap.Import("office", {.faults = {.rules = rules}});
    EXPECT_EQ(imported.status, 0) << rules << imported;
    EXPECT_THAT(lap.Files(), ElementsAre("big.txt", "small.txt")) << rules;
    EXPECT_EQ(OnStick(), std::vector<std::string>{}) << rules;
  }
}

}  // namespace
}  // namespace zelkor::tests
