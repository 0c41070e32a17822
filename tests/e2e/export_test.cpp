// What an export puts into a sync file.
#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;
using testing::Not;

class Export : public TwoComputers {
 protected:
  // The records of an export to lap that must succeed.
  std::vector<SyncRecord> Records() {
    const Outcome outcome = office.Export("lap");
    EXPECT_EQ(outcome.status, 0) << outcome;
    out = outcome.out;
    return Waiting("lap.cas").blocks.at(0).records;
  }
  static std::vector<std::string> Paths(const SyncRecord& record) {
    std::vector<std::string> paths;
    for (const SyncEntry& entry : record.files) paths.push_back(entry.path);
    return paths;
  }
  static std::vector<std::int32_t> Ids(const std::vector<SyncRecord>& records) {
    std::vector<std::int32_t> ids;
    ids.reserve(records.size());
    for (const SyncRecord& record : records) ids.push_back(record.memoId);
    return ids;
  }
  // The item's files go out on the word of the date that its target was last exported to.
  void LastExport(std::time_t seconds) {
    office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastExport = DateOf(seconds)});
  }

  std::string out;
};

TEST_F(Export, WritesTheHeaderTheBlockTheRecordAndTheFile) {
  office.WriteFile("docs/a.txt", "hello", At(2020, 2, 29, 23, 59, 58));
  office.AddItem({.fileName = "c:\\docs\\a.txt",
                  .description = "The plan",
                  .memoId = 0x12345678,
                  .codes = "work +lap",
                  .syncTo = 2,
                  .source = "old"});
  const double before = DateOf(time(nullptr));
  ASSERT_EQ(office.Export("lap").status, 0);
  const double after = DateOf(time(nullptr));

  const SyncImage image = Waiting("lap.cas");
  EXPECT_EQ(image.sender, "office");
  EXPECT_EQ(image.disk, 1);
  EXPECT_EQ(image.lastDisk, -1);
  EXPECT_GE(image.created, before - 1e-8);
  EXPECT_LE(image.created, after + 1e-8);
  ASSERT_EQ(image.blocks.size(), 1U);
  EXPECT_EQ(image.blocks[0].version, 223);
  ASSERT_EQ(image.blocks[0].records.size(), 1U);
  const SyncRecord& record = image.blocks[0].records[0];
  EXPECT_EQ(record.fileName, "c:\\docs\\a.txt");
  EXPECT_EQ(record.description, "The plan");
  EXPECT_EQ(record.source, "office");
  EXPECT_EQ(record.flags, 0);
  EXPECT_GE(record.exported, before - 1e-8);
  EXPECT_LE(record.exported, after + 1e-8);
  EXPECT_EQ(record.codes, "work +lap");
  EXPECT_EQ(record.memoId, 0x12345678);
  EXPECT_EQ(record.syncTo, 2);
  ASSERT_EQ(record.files.size(), 1U);
  EXPECT_EQ(record.files[0].path, "c:\\docs\\a.txt");
  EXPECT_EQ(record.files[0].content, "hello");
  EXPECT_EQ(SecondsOf(record.files[0].written), At(2020, 2, 29, 23, 59, 58));
  EXPECT_EQ(record.files[0].accessed, 0);
  EXPECT_GT(record.files[0].created, 0);
  // The item itself stays as it was.
  EXPECT_EQ(office.Items()[0].source, "old");
}

TEST_F(Export, AutoSendsOnlyTheFilesLaterThanTheLastExport) {
  LastExport(At(2020, 6, 1, 12, 0, 0));
  office.WriteFile("older.txt", "1", At(2020, 6, 1, 11, 59, 59));
  office.WriteFile("equal.txt", "2", At(2020, 6, 1, 12, 0, 0));
  office.WriteFile("later.txt", "3", At(2020, 6, 1, 12, 0, 1));
  office.AddItem({.fileName = "c:\\older.txt\r\nc:\\equal.txt\r\nc:\\later.txt\r\n", .description = "A", .memoId = 1});
  EXPECT_THAT(Paths(Records().at(0)), ElementsAre("c:\\later.txt"));
}

TEST_F(Export, OnSendsAllFilesAndOffNothing) {
  LastExport(At(2021, 1, 1));
  AddFileItem(office, 1, "a.txt", "a", At(2020, 1, 1), 0);
  AddFileItem(office, 2, "b.txt", "b", At(2020, 1, 1), 1);
  AddFileItem(office, 3, "c.txt", "c", At(2022, 1, 1), 2);
  AddFileItem(office, 4, "d.txt", "d", At(2022, 1, 1), 9);
  const auto records = Records();
  EXPECT_THAT(Ids(records), ElementsAre(1, 2));
  EXPECT_EQ(records[0].files.size(), 0U);
  EXPECT_THAT(Paths(records[1]), ElementsAre("c:\\b.txt"));
}

TEST_F(Export, AnAutoItemWithoutNewFilesGoesOutAsARecordAndTheLogSaysWhy) {
  LastExport(At(2021, 1, 1));
  AddFileItem(office, 1, "a.txt", "a", At(2020, 1, 1));
  const auto records = Records();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].files.size(), 0U);
  EXPECT_THAT(out, Says("  no files newer than 1/1/2021"));
  EXPECT_THAT(out, Says("1 memos, 0 files exported"));
}

TEST_F(Export, AnItemWithoutExistingFilesIsARecordFollowedByTheNext) {
  office.AddItem({.fileName = "c:\\none.txt", .description = "A", .memoId = 1, .syncMethod = 1});
  office.AddItem({.fileName = "c:\\neither.txt", .description = "B", .memoId = 2, .syncMethod = 1});
  ASSERT_EQ(office.Export("lap").status, 0);
  const std::string bytes = ReadBytes(Stick() / "lap.cas");
  ASSERT_EQ(bytes.size(), 256U + 256U + 2048U);
  EXPECT_EQ(TakeI32(bytes, 512 + 594), 0);
  EXPECT_EQ(TakeI32(bytes, 512 + 598), 0);
  EXPECT_EQ(TakeI32(bytes, 1536 + 748), 2);
}

TEST_F(Export, AnEmptySelectionIsAHeaderAndABlockWithoutItems) {
  ASSERT_EQ(office.Export("lap").status, 0);
  const std::string bytes = ReadBytes(Stick() / "lap.cas");
  ASSERT_EQ(bytes.size(), 512U);
  EXPECT_EQ(bytes.substr(256, 8), "ZELKOR  ");
  EXPECT_EQ(TakeI32(bytes, 256 + 8), 0);
  EXPECT_EQ(TakeI32(bytes, 256 + 14), 0);
}

TEST_F(Export, AFileOfLength0IsAHeaderWithoutContent) {
  AddFileItem(office, 1, "empty.txt", "", At(2020, 1, 1));
  const auto records = Records();
  ASSERT_EQ(records.at(0).files.size(), 1U);
  EXPECT_EQ(records[0].files[0].content, "");
  EXPECT_EQ(std::filesystem::file_size(Stick() / "lap.cas"), 256U + 256U + 1024U + 256U);
}

TEST_F(Export, FollowsTheSyncToRuleAndTheMarks) {
  int id = 0;
  const auto add = [&](int syncTo, const std::string& codes) {
    office.AddItem({.description = "x", .memoId = ++id, .codes = codes, .syncTo = syncTo});
  };
  add(0, "-lap");         // 1: all, whatever the marks
  add(1, "a -LAP b");     // excluded, in any case
  add(1, "-lap2 x-lap");  // 3: marks for others
  add(2, "");             // not included
  add(2, "+lap");         // 5: included; the mark stands at the very start
  add(2, "+lap2");        // another's mark
  EXPECT_THAT(Ids(Records()), ElementsAre(1, 3, 5));
}

TEST_F(Export, ATargetExcludedByDefaultGetsOnlyWhatIsMarkedForIt) {
  office.SetTarget({.id = "lap", .mediaPath = "m:\\", .excludedByDefault = true});
  office.AddItem({.description = "x", .memoId = 1, .syncTo = 0});
  office.AddItem({.description = "x", .memoId = 2, .codes = "+lap", .syncTo = 0});
  office.AddItem({.description = "x", .memoId = 3, .codes = "+lap", .syncTo = 1});
  office.AddItem({.description = "x", .memoId = 4, .codes = "a", .syncTo = 1});
  EXPECT_THAT(Ids(Records()), ElementsAre(2, 3));
}

TEST_F(Export, TakesTheFilesOfWildcardsSortedAndOnce) {
  for (const char* name : {"d/b.txt", "d/a.txt", "d/c.doc", "d/noext", "d/.hidden.txt", "d/sub/e.txt"}) {
    office.WriteFile(name, name, At(2020, 1, 1));
  }
  office.AddItem({.fileName = "c:\\d\\*.txt", .description = "A", .memoId = 1});
  office.AddItem({.fileName = "c:\\d\\a.txt\r\nc:\\d\\*.*\r\n", .description = "B", .memoId = 2});
  office.AddItem({.fileName = "c:\\d\\?.txt", .description = "C", .memoId = 3});
  const auto records = Records();
  EXPECT_THAT(Paths(records.at(0)), ElementsAre("c:\\d\\.hidden.txt", "c:\\d\\a.txt", "c:\\d\\b.txt"));
  auto all = Paths(records.at(1));
  std::sort(all.begin(), all.end());
  EXPECT_THAT(all, ElementsAre("c:\\d\\.hidden.txt", "c:\\d\\a.txt", "c:\\d\\b.txt", "c:\\d\\c.doc", "c:\\d\\noext"));
  EXPECT_THAT(Paths(records.at(2)), ElementsAre("c:\\d\\a.txt", "c:\\d\\b.txt"));
}

TEST_F(Export, FollowsLinksToFilesButNotToDirectories) {
  office.WriteFile("real/a.txt", "content", At(2020, 1, 1));
  std::filesystem::create_directory(office.Home() / "d");
  std::filesystem::create_symlink(office.Home() / "real" / "a.txt", office.Home() / "d" / "link.txt");
  std::filesystem::create_directory_symlink(office.Home() / "real", office.Home() / "d" / "folder");
  office.AddItem({.fileName = "c:\\d\\*", .description = "A", .memoId = 1});
  const auto records = Records();
  ASSERT_THAT(Paths(records.at(0)), ElementsAre("c:\\d\\link.txt"));
  EXPECT_EQ(records[0].files[0].content, "content");
}

TEST_F(Export, ALineThatBeginsWithPlusMinusTakesTheSubdirectoriesIn) {
  for (const char* name : {"d/a.txt", "d/x/b.txt", "d/x/y/c.txt", "d/x/y/c.doc"}) {
    office.WriteFile(name, name, At(2020, 1, 1));
  }
  office.AddItem({.fileName = "+- c:\\d\\*.txt", .description = "A", .memoId = 1});
  auto paths = Paths(Records().at(0));
  std::sort(paths.begin(), paths.end());
  EXPECT_THAT(paths, ElementsAre("c:\\d\\a.txt", "c:\\d\\x\\b.txt", "c:\\d\\x\\y\\c.txt"));
}

TEST_F(Export, FindsAFileWhoseNameDiffersInCase) {
  office.WriteFile("Docs/Plan.TXT", "plan", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\docs\\plan.txt", .description = "A", .memoId = 1});
  const auto records = Records();
  ASSERT_EQ(records.at(0).files.size(), 1U);
  EXPECT_EQ(records[0].files[0].content, "plan");
}

TEST_F(Export, OfNamesThatDifferInCaseOnlyOneGoesAndTheOtherIsLogged) {
  office.WriteFile("d/Plan.txt", "1", At(2020, 1, 1));
  office.WriteFile("d/plan.txt", "2", At(2020, 1, 1));
  office.WriteFile("d/z.txt", "3", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\d\\*.txt", .description = "A", .memoId = 1});
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.out, testing::ContainsRegex("[Pp]lan.txt.*case"));
  const auto paths = Paths(Waiting("lap.cas").blocks[0].records.at(0));
  ASSERT_EQ(paths.size(), 2U);
  EXPECT_EQ(paths[1], "c:\\d\\z.txt");
}

TEST_F(Export, ANameThatTheFormCanNotCarryIsLoggedAndLeftOutForGood) {
  for (const char* name : {"d/a:b.txt", "d/back\\slash.txt", "d/ blank.txt", "d/\xE4\xB8\xAD.txt"}) {
    std::filesystem::remove_all(office.Home() / "d");
    std::filesystem::remove(office.Program() / "zelkor.ind");
    std::filesystem::remove(Stick() / "lap.cas");
    office.SetTarget({.id = "lap", .mediaPath = "m:\\"});
    office.WriteFile(name, "x", At(2020, 1, 1));
    office.WriteFile("d/good.txt", "x", At(2020, 1, 1));
    office.AddItem({.fileName = "c:\\d\\*.txt", .description = "A", .memoId = 1});
    const Outcome outcome = office.Export("lap");
    EXPECT_EQ(outcome.status, 0) << name << outcome;
    EXPECT_EQ(outcome.err, "") << name;  // a log line, not a message
    EXPECT_THAT(outcome.out, Says("can not be used")) << name;
    EXPECT_THAT(outcome.out, Not(Says("Export date kept"))) << name;
    EXPECT_THAT(Paths(Waiting("lap.cas").blocks[0].records.at(0)), ElementsAre("c:\\d\\good.txt")) << name;
  }
}

TEST_F(Export, APathBeyond200CharactersIsCutInItsFilesHeader) {
  const std::string name = "dir/" + std::string(210, 'n') + ".txt";
  office.WriteFile(name, "long", At(2020, 1, 1));
  office.AddItem({.fileName = Computer::PathOf(name), .description = "A", .memoId = 1});
  const auto records = Records();
  EXPECT_EQ(records.at(0).fileName, Computer::PathOf(name));
  EXPECT_EQ(records.at(0).files.at(0).path, Computer::PathOf(name).substr(0, 200));
  // And arrives whole all the same.
  EXPECT_EQ(lap.Import("office").status, 0);
  EXPECT_EQ(lap.ReadFile(name), "long");
}

TEST_F(Export, ASelectionBeyond512CharactersIsCutInItsRecord) {
  office.AddRemapLine("c:\\s\\=x:\\" + std::string(60, 'l') + "\\");
  std::string selection;
  for (int i = 0; i < 20; ++i) selection += "c:\\s\\file" + std::to_string(i) + ".txt\r\n";
  office.AddItem({.fileName = selection, .description = "A", .memoId = 1});
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(ReadBytes(Stick() / "lap.cas").substr(512 + 512, 64), "A" + std::string(63, ' '));
}

TEST_F(Export, ABareLineFeedEndsALineOfTheSelectionToo) {
  office.WriteFile("a.txt", "a", At(2020, 1, 1));
  office.WriteFile("b.txt", "b", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\a.txt\n  c:\\b.txt ", .description = "A", .memoId = 1});
  EXPECT_THAT(Paths(Records().at(0)), ElementsAre("c:\\a.txt", "c:\\b.txt"));
}

TEST_F(Export, SendsADeletedItemsRecordWithoutFiles) {
  office.WriteFile("a.txt", "a", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\a.txt", .description = "A", .memoId = 1, .syncMethod = 1, .flags = 1});
  const auto records = Records();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].flags & 1, 1);
  EXPECT_EQ(records[0].files.size(), 0U);
}

TEST_F(Export, StoresTheOwnFlagsAndTheReservedBytesOfTheRecord) {
  office.AddItem({.description = "A", .memoId = 1, .flags = 0x10});
  const auto records = Records();
  EXPECT_EQ(records.at(0).flags, 0x10);
}

TEST_F(Export, AFileThatCanNotBeOpenedIsLoggedAndTheOthersGoOut) {
  office.WriteFile("a.txt", "a", At(2020, 1, 1));
  office.WriteFile("b.txt", "b", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\a.txt\r\nc:\\b.txt", .description = "A", .memoId = 1});
  const Outcome outcome = office.Export("lap", {.faults = {.rules = "open:home/a.txt:EACCES:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("  Can not open [c:\\a.txt]!"));
  EXPECT_THAT(outcome.out, Says("Export date kept"));
  EXPECT_THAT(Paths(Waiting("lap.cas").blocks[0].records.at(0)), ElementsAre("c:\\b.txt"));
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

TEST_F(Export, AFileThatCanNotBeReadIsLeftOutWholly) {
  office.WriteFile("a.txt", std::string(100000, 'a'), At(2020, 1, 1));
  office.WriteFile("b.txt", "b", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\a.txt\r\nc:\\b.txt", .description = "A", .memoId = 1});
  const Outcome outcome = office.Export("lap", {.faults = {.rules = "read:home/a.txt:EIO:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("c:\\a.txt"));
  EXPECT_THAT(outcome.out, Says("Export date kept"));
  EXPECT_THAT(Paths(Waiting("lap.cas").blocks[0].records.at(0)), ElementsAre("c:\\b.txt"));
}

TEST_F(Export, AFileThatChangesWhileItIsReadIsNeverTorn) {
  for (const char* change : {"GROW", "CUT"}) {
    std::filesystem::remove(Stick() / "lap.cas");
    office.WriteFile("a.txt", std::string(100000, 'a'), At(2020, 1, 1));
    if (office.Items().empty())
      office.AddItem({.fileName = "c:\\a.txt", .description = "A", .memoId = 1, .syncMethod = 1});
    const std::string rules = std::string("read:home/a.txt:") + change + ":1:once";
    const Outcome outcome = office.Export("lap", {.faults = {.rules = rules}});
    ASSERT_TRUE(outcome.status == 0 || outcome.status == 1) << change << outcome;
    // Waiting() checks every length; a file that is there has the size that its header says.
    const auto records = Waiting("lap.cas").blocks[0].records;
    ASSERT_EQ(records.size(), 1U);
    EXPECT_THAT(outcome.out, Says("c:\\a.txt")) << change;
    for (const SyncEntry& entry : records[0].files) {
      // As it was, or as it was after the change.
      const std::size_t changed = change == std::string("GROW") ? 101000 : 50000;
      EXPECT_TRUE(entry.content.size() == 100000 || entry.content.size() == changed)
          << change << " " << entry.content.size();
    }
  }
}

TEST_F(Export, InterruptedAndShortTransfersAreCarriedOn) {
  const std::string content(300000, 'q');
  AddFileItem(office, 1, "a.txt", content, At(2020, 1, 1));
  for (const char* rules :
       {"read:home/a.txt:EINTR:1:once", "read:home/a.txt:SHORT:1", "write:.cas:SHORT:1", "write:.cas:EINTR:1:once",
        "write:~sync:SHORT:1", "write:/tmp/:SHORT:1|write:stick:SHORT:1"}) {
    office.SetTarget({.id = "lap", .mediaPath = "m:\\"});
    const Outcome outcome = office.Export("lap", {.faults = {.rules = rules}});
    EXPECT_EQ(outcome.status, 0) << rules << outcome;
    EXPECT_TRUE(Waiting("lap.cas").blocks.at(0).records.at(0).files.at(0).content == content) << rules;
    std::filesystem::remove(Stick() / "lap.cas");
  }
}

TEST_F(Export, SendsTextOfTheCodePage) {
  // "Größe €.txt": UTF-8 on disk, Windows-1252 in the record.
  office.WriteFile(
      "Gr\xC3\xB6\xC3\x9F"
      "e \xE2\x82\xAC.txt",
      "x", At(2020, 1, 1));
  office.AddItem({.fileName = "c:\\Gr\xF6\xDF"
                              "e \x80.txt",
                  .description = "Gr\xF6\xDF"
                                 "e",
                  .memoId = 1});
  const auto records = Records();
  EXPECT_THAT(Paths(records.at(0)), ElementsAre("c:\\Gr\xF6\xDF"
                                                "e \x80.txt"));
  EXPECT_EQ(records[0].description,
            "Gr\xF6\xDF"
            "e");
}

TEST_F(Export, UsesTheTimeOfDayOfTheFilesOwnDate) {
  // Central Europe: summer time until the last Sunday of October.
  const std::map<std::string, std::string> berlin{{"TZ", "CET-1CEST,M3.5.0,M10.5.0/3"}};
  AddFileItem(office, 1, "summer.txt", "s", At(2020, 7, 1, 10, 0, 0));
  AddFileItem(office, 2, "winter.txt", "w", At(2020, 1, 1, 10, 0, 0));
  ASSERT_EQ(office.Export("lap", {.environment = berlin}).status, 0);
  const auto records = Waiting("lap.cas").blocks.at(0).records;
  EXPECT_EQ(SecondsOf(records.at(0).files.at(0).written), At(2020, 7, 1, 12, 0, 0));
  EXPECT_EQ(SecondsOf(records.at(1).files.at(0).written), At(2020, 1, 1, 11, 0, 0));
}

TEST_F(Export, LeavesNothingInTheTemporaryFolderOrTheProgramFolder) {
  AddFileItem(office, 1, "a.txt", "hello", At(2020, 1, 1));
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(NamesIn(office.Temporary()), std::vector<std::string>{});
  for (const std::string& name : NamesIn(office.Program())) EXPECT_THAT(name, Not(Says("~")));
  EXPECT_EQ(OnStick(), (std::vector<std::string>{"lap.cas"}));
}

TEST_F(Export, SaysThatATemporaryFileCanNotBeWritten) {
  AddFileItem(office, 1, "a.txt", "hello", At(2020, 1, 1));
  const Outcome outcome = office.Export("lap", {.faults = {.rules = "create:office/tmp:EACCES:1"}});
  if (outcome.status == 0) GTEST_SKIP() << "this export needs no temporary file there";
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("Cannot write to temporary file: "));
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

}  // namespace
}  // namespace zelkor::tests
