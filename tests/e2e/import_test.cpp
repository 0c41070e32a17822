// What an import does with each file and record.
#include <fcntl.h>
#include <sys/stat.h>

#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::Not;

class Import : public TwoComputers {
 protected:
  static constexpr std::int32_t kId = 4711;

  static SyncEntry Entry(const std::string& name, const std::string& content, std::time_t written) {
    return {.path = Computer::PathOf(name), .content = content, .written = DateOf(written), .created = DateOf(written)};
  }
  static SyncRecord Record(std::int32_t id, const std::vector<SyncEntry>& files) {
    std::string names;
    for (const SyncEntry& entry : files) names += (names.empty() ? "" : "\r\n") + entry.path;
    return {.fileName = names, .description = "The item", .memoId = id, .files = files};
  }
  // Puts the records on the stick and imports them on lap.
  Outcome Take(const std::vector<SyncRecord>& records, const Computer::Options& options = {}) {
    Put("lap.cas", OneBlock("office", records));
    return lap.Import("office", options);
  }
};

TEST_F(Import, WritesNewFilesWithTheirDatesAndAddsTheItem) {
  SyncRecord record = Record(kId, {Entry("docs/a.txt", "hello", At(2020, 2, 29, 23, 59, 58))});
  record.codes = "work";
  record.syncMethod = 1;
  record.syncTo = 2;
  record.exported = DateOf(At(2021, 1, 1));
  const Outcome outcome = Take({record});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(lap.ReadFile("docs/a.txt"), "hello");
  EXPECT_EQ(lap.FileTime("docs/a.txt"), At(2020, 2, 29, 23, 59, 58));
  ASSERT_EQ(lap.Items().size(), 1U);
  const Item item = lap.Items()[0];
  EXPECT_EQ(item.fileName, "c:\\docs\\a.txt");
  EXPECT_EQ(item.description, "The item");
  EXPECT_EQ(item.memoId, kId);
  EXPECT_EQ(item.source, "office");
  EXPECT_EQ(item.codes, "work");
  EXPECT_EQ(item.syncMethod, 1);
  EXPECT_EQ(item.syncTo, 2);
  EXPECT_EQ(item.signature, "memosign");
  EXPECT_EQ(item.imported, DateOf(At(2021, 1, 1)));
}

// With so many items that a second thread looks at the local files ahead.
TEST_F(Import, JudgesAFileThatComesTwiceByWhatTheFirstOneLeft) {
  constexpr int kBetween = 40;
  // Takes so long to write that everything behind it is looked at meanwhile.
  const std::string newer(30'000'000, 'n');
  std::vector<SyncRecord> records{Record(1, {Entry("twice.txt", newer, At(2021, 1, 1))})};
  for (int i = 0; i < kBetween; ++i) {
    lap.WriteFile(std::to_string(i), "x", At(2020, 1, 1));
    records.push_back(Record(100 + i, {Entry(std::to_string(i), "x", At(2020, 1, 1))}));
  }
  records.push_back(Record(2, {Entry("twice.txt", "older", At(2020, 1, 1))}));
  lap.WriteFile("twice.txt", "older", At(2020, 1, 1));
  const Outcome outcome = Take(records);
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_TRUE(lap.ReadFile("twice.txt") == newer);
  EXPECT_THAT(outcome.out, Says("Identical: 40"));
  EXPECT_THAT(outcome.out, Says("Older: 1"));
  EXPECT_THAT(outcome.out, Says("Updated: 1"));
}

TEST_F(Import, LogsTheSenderTheBlockTheRecordAndTheSummary) {
  const Outcome outcome = Take({Record(kId, {Entry("a.txt", "hello", At(2020, 1, 1))})});
  EXPECT_THAT(outcome.out, Says("Sync - Import"));
  EXPECT_THAT(outcome.out, Says("Created by [office] 3/15/2023"));  // day 45000
  EXPECT_THAT(outcome.out, Says("--Block 1, items:1, ver 2.23--"));
  EXPECT_THAT(outcome.out, Says("The item, 1 files"));
  EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]: New"));
  EXPECT_THAT(outcome.out, Says("File summary:"));
  EXPECT_THAT(outcome.out, ContainsRegex("Identical: *0"));
  EXPECT_THAT(outcome.out, ContainsRegex("Older: *0"));
  EXPECT_THAT(outcome.out, ContainsRegex("Updated: *0"));
  EXPECT_THAT(outcome.out, ContainsRegex("Added: *1"));
  EXPECT_THAT(outcome.out, ContainsRegex("Error when imported: *0"));
  EXPECT_THAT(outcome.out, ContainsRegex("Not imported: *0"));
  EXPECT_THAT(outcome.out, ContainsRegex("Import completed. *2 kb \\(00:00:0[0-9]\\)"));
}

TEST_F(Import, StoresTheMomentAsTheTargetsLastImportDate) {
  const double before = DateOf(time(nullptr));
  ASSERT_EQ(Take({}).status, 0);
  const auto target = lap.TargetWithId("office");
  EXPECT_GE(target->lastImport, before - 1e-8);
  EXPECT_LE(target->lastImport, DateOf(time(nullptr)) + 1e-8);
  EXPECT_EQ(target->lastExport, 0);
}

TEST_F(Import, AnIdenticalFileIsNeitherWrittenNorLogged) {
  lap.WriteFile("a.txt", "mine", At(2020, 1, 1));
  const Outcome outcome = Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1))})});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(lap.ReadFile("a.txt"), "mine");
  EXPECT_THAT(outcome.out, Not(Says("[c:\\a.txt]")));
  EXPECT_THAT(outcome.out, ContainsRegex("Identical: *1"));
  // No file taken: no item either.
  EXPECT_EQ(lap.Items().size(), 0U);
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

TEST_F(Import, AnOlderFileIsNeverWritten) {
  for (const double cutOff : {0.0, DateOf(At(2019, 1, 1)), DateOf(At(2021, 1, 1))}) {
    lap.SetTarget({.id = "office", .mediaPath = "m:\\", .lastImport = cutOff});
    lap.WriteFile("a.txt", "mine", At(2020, 1, 2));
    const Outcome outcome = Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1))})});
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(lap.ReadFile("a.txt"), "mine");
    EXPECT_THAT(outcome.out, ContainsRegex("Older: *1")) << cutOff;
    EXPECT_THAT(outcome.out, Not(Says("[c:\\a.txt]")));
  }
}

TEST_F(Import, ANewerFileIsWrittenWhetherOrNotItIsLaterThanTheLastImport) {
  for (const double cutOff : {0.0, DateOf(At(2019, 1, 1)), DateOf(At(2021, 1, 1))}) {
    lap.SetTarget({.id = "office", .mediaPath = "m:\\", .lastImport = cutOff});
    lap.WriteFile("a.txt", "mine", At(2020, 1, 1));
    const Outcome outcome = Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1, 0, 0, 1))})});
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_EQ(lap.ReadFile("a.txt"), "theirs");
    EXPECT_EQ(lap.FileTime("a.txt"), At(2020, 1, 1, 0, 0, 1));
    EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]: Newer"));
    EXPECT_THAT(outcome.out, ContainsRegex("Updated: *1"));
  }
}

TEST_F(Import, ComparesToTheSecond) {
  lap.WriteFile("a.txt", "mine", At(2020, 1, 1, 10, 20, 30));
  const std::array<timespec, 2> times{timespec{At(2020, 1, 1, 10, 20, 30), 999000000},
                                      timespec{At(2020, 1, 1, 10, 20, 30), 999000000}};
  utimensat(AT_FDCWD, (lap.Home() / "a.txt").c_str(), times.data(), 0);
  const Outcome outcome = Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1, 10, 20, 30))})});
  EXPECT_THAT(outcome.out, ContainsRegex("Identical: *1")) << outcome;
}

TEST_F(Import, ReplacesTheRecordOfTheSameMemoIdWhereItStands) {
  lap.AddItem({.fileName = "c:\\other.txt", .description = "Other", .memoId = 1});
  lap.AddItem({.fileName = "c:\\a.txt", .description = "Old text", .memoId = kId, .codes = "old"});
  lap.AddItem({.fileName = "c:\\third.txt", .description = "Third", .memoId = 3});
  lap.WriteFile("a.txt", "old", At(2019, 1, 1));
  SyncRecord record = Record(kId, {Entry("a.txt", "new", At(2020, 1, 1))});
  record.codes = "new";
  ASSERT_EQ(Take({record}).status, 0);
  ASSERT_EQ(lap.Items().size(), 3U);
  EXPECT_EQ(lap.Items()[1].codes, "new");
  EXPECT_EQ(lap.Items()[1].description, "The item");
  EXPECT_EQ(lap.Items()[0].description, "Other");
  EXPECT_EQ(lap.Items()[2].description, "Third");
}

TEST_F(Import, FindsTheMemoIdAmongDeletedItemsToo) {
  lap.AddItem({.fileName = "c:\\a.txt", .description = "Gone", .memoId = kId, .flags = 1});
  ASSERT_EQ(Take({Record(kId, {Entry("a.txt", "new", At(2020, 1, 1))})}).status, 0);
  ASSERT_EQ(lap.Items().size(), 1U);
}

TEST_F(Import, ARecordWithoutTakenFilesLeavesTheDatabaseUnchanged) {
  lap.AddItem({.fileName = "c:\\a.txt", .description = "Mine", .memoId = kId});
  const std::string before = ReadBytes(lap.Program() / "zelkor.ind");
  ASSERT_EQ(Take({Record(kId, {}), Record(99, {})}).status, 0);
  EXPECT_EQ(ReadBytes(lap.Program() / "zelkor.ind"), before);
}

TEST_F(Import, ADeletedMarkIsWrittenWithoutAnyFile) {
  lap.AddItem({.fileName = "c:\\a.txt", .description = "Mine", .memoId = kId});
  lap.WriteFile("a.txt", "mine", At(2019, 1, 1));
  SyncRecord record = Record(kId, {});
  record.fileName = "c:\\a.txt";
  record.flags = 1;
  ASSERT_EQ(Take({record}).status, 0);
  ASSERT_EQ(lap.Items().size(), 1U);
  EXPECT_EQ(lap.Items()[0].flags & 1, 1);
  // The mark deletes no file.
  EXPECT_EQ(lap.ReadFile("a.txt"), "mine");
}

TEST_F(Import, MakesMissingDirectories) {
  ASSERT_EQ(Take({Record(kId, {Entry("x/y/z/a.txt", "deep", At(2020, 1, 1))})}).status, 0);
  EXPECT_EQ(lap.ReadFile("x/y/z/a.txt"), "deep");
}

TEST_F(Import, KeepsTheSpellingOfDirectoriesAndFilesThatExist) {
  lap.WriteFile("Docs/Plan.TXT", "old", At(2019, 1, 1));
  ASSERT_EQ(Take({Record(kId, {Entry("docs/plan.txt", "new", At(2020, 1, 1)),
                               Entry("DOCS/other.txt", "other", At(2020, 1, 1))})})
                .status,
            0);
  EXPECT_THAT(lap.Files(), ElementsAre("Docs/Plan.TXT", "Docs/other.txt"));
  EXPECT_EQ(lap.ReadFile("Docs/Plan.TXT"), "new");
}

TEST_F(Import, WritesAFileOfLength0) {
  ASSERT_EQ(Take({Record(kId, {Entry("a.txt", "", At(2020, 1, 1))})}).status, 0);
  ASSERT_TRUE(lap.HasFile("a.txt"));
  EXPECT_EQ(lap.ReadFile("a.txt"), "");
  EXPECT_EQ(lap.FileTime("a.txt"), At(2020, 1, 1));
}

TEST_F(Import, AReadOnlyFileStaysUntouched) {
  lap.WriteFile("a.txt", "mine", At(2019, 1, 1));
  std::filesystem::permissions(lap.Home() / "a.txt", std::filesystem::perms::owner_read);
  const Outcome outcome =
      Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1)), Entry("b.txt", "b", At(2020, 1, 1))})});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]: Can not import"));
  EXPECT_THAT(outcome.out, ContainsRegex("Error when imported: *1"));
  EXPECT_EQ(lap.ReadFile("a.txt"), "mine");
  EXPECT_EQ(lap.FileTime("a.txt"), At(2019, 1, 1));
  // The record is still written, since another of its files was taken.
  EXPECT_EQ(lap.ReadFile("b.txt"), "b");
  EXPECT_EQ(lap.Items().size(), 1U);
  // Not collected.
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
}

TEST_F(Import, ALocalFileThatCanNotBeDatedStaysUntouched) {
  lap.WriteFile("a.txt", "mine", At(2019, 1, 1));
  const Outcome outcome = Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1))})},
                               {.faults = {.rules = "stat:home/a.txt:EACCES:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]: Can not import"));
  EXPECT_EQ(lap.ReadFile("a.txt"), "mine");
}

TEST_F(Import, ADirectoryOfTheFilesNameIsNoReasonToFailTheRest) {
  std::filesystem::create_directories(lap.Home() / "a.txt" / "inside");
  const Outcome outcome =
      Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1)), Entry("b.txt", "b", At(2020, 1, 1))})});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]: Can not import"));
  EXPECT_TRUE(std::filesystem::is_directory(lap.Home() / "a.txt" / "inside"));
  EXPECT_EQ(lap.ReadFile("b.txt"), "b");
}

TEST_F(Import, AFileWhoseTimesCanNotBeSetIsAnError) {
  const Outcome outcome =
      Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1))})}, {.faults = {.rules = "times:lap/home:EPERM:1"}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]: Can not import"));
  EXPECT_FALSE(lap.HasFile("a.txt"));
}

TEST_F(Import, KeepsTheModeOfAFileItReplaces) {
  lap.WriteFile("a.sh", "old", At(2019, 1, 1));
  std::filesystem::permissions(lap.Home() / "a.sh", static_cast<std::filesystem::perms>(0750));
  ASSERT_EQ(Take({Record(kId, {Entry("a.sh", "new", At(2020, 1, 1))})}).status, 0);
  EXPECT_EQ(std::filesystem::status(lap.Home() / "a.sh").permissions(), static_cast<std::filesystem::perms>(0750));
}

TEST_F(Import, SkipsABlockOfAnOlderVersionAndReadsTheNext) {
  SyncImage image = OneBlock("office", {Record(1, {Entry("old.txt", "old", At(2020, 1, 1))})});
  image.blocks[0].version = 213;
  image.blocks.emplace_back().records = {Record(2, {Entry("new.txt", "new", At(2020, 1, 1))})};
  image.blocks[1].version = 214;
  Put("lap.cas", image);
  const Outcome outcome = lap.Import("office");
  // A skipped block is no whole success.
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.out, Says("--Block 1, items:1, ver 2.13--"));
  EXPECT_THAT(outcome.out, Says("File is in Version < 2.14. Exiting..."));
  EXPECT_THAT(outcome.out, Says("--Block 2, items:1, ver 2.14--"));
  EXPECT_THAT(lap.Files(), ElementsAre("new.txt"));
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
}

TEST_F(Import, SkipsBlocksOfAnotherKindByTheirLength) {
  SyncImage image = OneBlock("office", {});
  image.blocks[0].signature = "OTHER";
  image.blocks[0].data = std::string(777, '?');
  image.blocks.emplace_back().records = {Record(2, {Entry("new.txt", "new", At(2020, 1, 1))})};
  image.blocks[1].signature = "zelkor";
  Put("lap.cas", image);
  const Outcome outcome = lap.Import("office");
  EXPECT_THAT(lap.Files(), ElementsAre("new.txt")) << outcome;
  EXPECT_EQ(outcome.status, 1);
}

TEST_F(Import, SignaturesAreComparedWithoutCase) {
  SyncRecord record = Record(1, {Entry("a.txt", "a", At(2020, 1, 1))});
  record.signature = "MemoSign";
  record.files[0].signature = "FILEHDR?";
  EXPECT_EQ(Take({record}).status, 0);
  EXPECT_EQ(lap.ReadFile("a.txt"), "a");
}

TEST_F(Import, ABlockLengthOf0IsReadToItsLastRecord) {
  SyncImage image = OneBlock("office", {Record(1, {Entry("a.txt", "a", At(2020, 1, 1))})});
  image.blocks[0].dataLength = 0;
  image.blocks.emplace_back().records = {Record(2, {Entry("b.txt", "b", At(2020, 1, 1))})};
  Put("lap.cas", image);
  EXPECT_EQ(lap.Import("office").status, 0);
  EXPECT_THAT(lap.Files(), ElementsAre("a.txt", "b.txt"));
}

TEST_F(Import, FileDatesAreLocalTimesOfTheirOwnDate) {
  const std::map<std::string, std::string> berlin{{"TZ", "CET-1CEST,M3.5.0,M10.5.0/3"}};
  ASSERT_EQ(Take({Record(kId, {Entry("s.txt", "s", At(2020, 7, 1, 12)), Entry("w.txt", "w", At(2020, 1, 1, 12))})},
                 {.environment = berlin})
                .status,
            0);
  EXPECT_EQ(lap.FileTime("s.txt"), At(2020, 7, 1, 10));
  EXPECT_EQ(lap.FileTime("w.txt"), At(2020, 1, 1, 11));
  // A clock change makes no file look changed.
  for (const char* zone : {"CET-1CEST,M3.5.0,M10.5.0/3"}) {
    const Outcome outcome =
        Take({Record(kId, {Entry("s.txt", "s", At(2020, 7, 1, 12)), Entry("w.txt", "w", At(2020, 1, 1, 12))})},
             {.environment = {{"TZ", zone}}});
    EXPECT_THAT(outcome.out, ContainsRegex("Identical: *2"));
  }
}

TEST_F(Import, TakesAFullSelectionsCutNameFromTheSelection) {
  // 220 characters: more than the 200 of a file's header.
  const std::string name = "dir/" + std::string(209, 'n') + ".txt";
  const std::string path = Computer::PathOf(name);
  ASSERT_GT(path.size(), 200U);
  SyncRecord record = Record(kId, {Entry(name, "long", At(2020, 1, 1))});
  record.fileName = path + "\r\nc:\\other.txt";
  const Outcome outcome = Take({record});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(lap.ReadFile(name), "long");
}

TEST_F(Import, ACutNameThatSeveralEntriesBeginWithCanNotBeImported) {
  const std::string start = Computer::PathOf("dir/" + std::string(205, 'n'));
  SyncRecord record = Record(kId, {{.path = start + "1.txt", .content = "long", .written = 40000}});
  record.fileName = start + "1.txt\r\n" + start + "2.txt";
  const Outcome outcome = Take({record});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(lap.Files(), std::vector<std::string>{});
  EXPECT_THAT(outcome.out, Says("Can not import"));
}

TEST_F(Import, NothingAppendsPast9999Items) {
  std::string records;
  for (int i = 1; i <= 9999; ++i) records += EncodeItem({.description = "x", .memoId = i});
  WriteBytes(lap.Program() / "zelkor.ind", records);
  const Outcome outcome =
      Take({Record(20000, {Entry("a.txt", "a", At(2020, 1, 1))}), Record(5, {Entry("b.txt", "b", At(2020, 1, 1))})});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(std::filesystem::file_size(lap.Program() / "zelkor.ind"), 9999U * 1024U);
  EXPECT_FALSE(lap.HasFile("a.txt"));
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
}

TEST_F(Import, AMissingFileIsFetchedAgainWhenItComes) {
  lap.AddItem({.fileName = "c:\\a.txt", .description = "Mine", .memoId = kId});
  ASSERT_EQ(Take({Record(kId, {Entry("a.txt", "theirs", At(2020, 1, 1))})}).status, 0);
  EXPECT_EQ(lap.ReadFile("a.txt"), "theirs");
}

TEST_F(Import, ShortAndInterruptedTransfersAreCarriedOn) {
  const std::string content(300000, 'q');
  for (const char* rules : {"read:stick:SHORT:1", "read:stick:EINTR:1:once", "write:lap/home:SHORT:1",
                            "write:lap/home:EINTR:1:once", "write:lap/tmp:SHORT:1"}) {
    std::filesystem::remove(lap.Home() / "a.txt");
    const Outcome outcome =
        Take({Record(kId, {Entry("a.txt", content, At(2020, 1, 1))})}, {.faults = {.rules = rules}});
    EXPECT_EQ(outcome.status, 0) << rules << outcome;
    EXPECT_TRUE(lap.ReadFile("a.txt") == content) << rules;
  }
}

TEST_F(Import, LeavesNothingTemporaryBehind) {
  ASSERT_EQ(Take({Record(kId, {Entry("a.txt", "a", At(2020, 1, 1))})}).status, 0);
  EXPECT_EQ(NamesIn(lap.Temporary()), std::vector<std::string>{});
  EXPECT_THAT(lap.Files(), ElementsAre("a.txt"));
}

}  // namespace
}  // namespace zelkor::tests
