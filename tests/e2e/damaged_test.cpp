// Sync files that are damaged: cut off, flipped, with untrue or absurd numbers.
#include <limits>
#include <random>

#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::IsSubsetOf;

constexpr int kDamaged = 3;

class DamagedSyncFile : public TwoComputers {
 protected:
  static SyncImage Whole() {
    return OneBlock("office", {{.fileName = "c:\\a.txt\r\nc:\\b.txt",
                                .description = "First",
                                .memoId = 11,
                                .files = {{.path = "c:\\a.txt", .content = std::string(3000, 'a'), .written = 40000},
                                          {.path = "c:\\b.txt", .content = "b", .written = 40001}}},
                               {.fileName = "c:\\c.txt",
                                .description = "Second",
                                .memoId = 12,
                                .files = {{.path = "c:\\c.txt", .content = "ccc", .written = 40002}}}});
  }
  void Place(const std::string& bytes) const { WriteBytes(Stick() / "lap.cas", bytes); }

  // Whatever was in the file: what has come is whole, has its item, and stands where it belongs.
  void ExpectOnlyWholeFiles(const std::string& when) const {
    const std::map<std::string, std::string> whole{{"a.txt", std::string(3000, 'a')}, {"b.txt", "b"}, {"c.txt", "ccc"}};
    for (const std::string& name : lap.Files()) {
      ASSERT_TRUE(whole.contains(name)) << when << ": " << name;
      EXPECT_TRUE(lap.ReadFile(name) == whole.at(name)) << when << ": " << name;
      EXPECT_TRUE(lap.ItemWithId(name == "c.txt" ? 12 : 11)) << when << ": " << name << " has no item";
    }
    EXPECT_EQ(NamesIn(lap.Temporary()), std::vector<std::string>{}) << when;
  }
  void Clean() const {
    for (const std::string& name : lap.Files()) std::filesystem::remove(lap.Home() / name);
    std::filesystem::remove(lap.Program() / "zelkor.ind");
  }
  // The status of an import of these bytes.
  int StatusOf(const std::string& bytes, const std::string& when) {
    Clean();
    Place(bytes);
    const Outcome outcome = lap.Import("office");
    EXPECT_EQ(outcome.signal, 0) << when << outcome;
    ExpectOnlyWholeFiles(when);
    said = outcome;
    return outcome.status;
  }
  int StatusOf(const SyncImage& image, const std::string& when) { return StatusOf(EncodeSync(image), when); }

  Outcome said;
};

TEST_F(DamagedSyncFile, IsNotTouchedWhenWholeAgain) {
  EXPECT_EQ(StatusOf(Whole(), "whole"), 0);
  EXPECT_EQ(lap.Files().size(), 3U);
}

TEST_F(DamagedSyncFile, CutOffAnywhereEndsTheProgramAndStaysWhereItWas) {
  const std::string whole = EncodeSync(Whole());
  for (const SyncBoundary& boundary : SyncBoundaries(Whole())) {
    for (const int shift : {-1, 0, 1}) {
      const auto length = static_cast<std::int64_t>(boundary.offset) + shift;
      if (length <= 256 || length >= static_cast<std::int64_t>(whole.size())) continue;
      const std::string when = "cut at " + std::to_string(length) + ", " + boundary.what;
      EXPECT_EQ(StatusOf(whole.substr(0, static_cast<std::size_t>(length)), when), kDamaged) << when;
      EXPECT_THAT(OnStick(), ElementsAre("lap.cas")) << when;
      EXPECT_THAT(said.err, ContainsRegex("damaged")) << when;
    }
  }
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
}

TEST_F(DamagedSyncFile, ShorterThanItsHeaderIsNoSyncFile) {
  const std::string whole = EncodeSync(Whole());
  for (const std::size_t length : {0U, 1U, 255U}) {
    Place(whole.substr(0, length));
    EXPECT_EQ(lap.Import("office").err, "Zelkor: No file to import!\n") << length;
    const Outcome named = lap.Run({Computer::ImportWord("office", "m:\\lap.cas")});
    EXPECT_EQ(named.status, 1) << length;
    EXPECT_EQ(named.err, "Zelkor: File is not a Sync-file!\n") << length;
  }
}

TEST_F(DamagedSyncFile, OfAHeaderAloneIsAnEmptySyncFile) {
  EXPECT_EQ(StatusOf(EncodeSync(Whole()).substr(0, 256), "header only"), 0);
}

TEST_F(DamagedSyncFile, WithARecordsOrFilesWrongSignatureEndsTheProgramThere) {
  SyncImage image = Whole();
  image.blocks[0].records[1].signature = "memosigm";
  EXPECT_EQ(StatusOf(image, "second record"), kDamaged);
  EXPECT_THAT(lap.Files(), ElementsAre("a.txt", "b.txt"));
  image = Whole();
  image.blocks[0].records[0].files[1].signature = "FileHeader";
  EXPECT_EQ(StatusOf(image, "second file"), kDamaged);
  // The first file's size may be what is wrong, so it is not taken either.
  EXPECT_EQ(lap.Files(), std::vector<std::string>{});
  image = Whole();
  image.blocks[0].records[0].files[0].signature = "fileHdR?";
  EXPECT_EQ(StatusOf(image, "another eighth character"), 0);
}

TEST_F(DamagedSyncFile, WithAnotherBlockSignatureIsSkippedAndNotCollected) {
  SyncImage image = Whole();
  image.blocks[0].signature = "ZELKOS";
  EXPECT_EQ(StatusOf(image, "block"), 1);
  EXPECT_EQ(lap.Files(), std::vector<std::string>{});
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
}

TEST_F(DamagedSyncFile, WithUntrueNumbersEndsTheProgram) {
  constexpr std::int64_t kHuge = std::numeric_limits<std::int32_t>::max();
  constexpr std::int64_t kLowest = std::numeric_limits<std::int32_t>::min();
  for (const std::int64_t wrong : {std::int64_t{-1}, kHuge, kLowest, std::int64_t{1000000}}) {
    const std::string number = std::to_string(wrong);
    SyncImage image = Whole();
    image.blocks[0].itemCount = wrong;
    EXPECT_EQ(StatusOf(image, "item count " + number), kDamaged) << number;
    image = Whole();
    image.blocks[0].dataLength = wrong;
    EXPECT_EQ(StatusOf(image, "block length " + number), kDamaged) << number;
    image = Whole();
    image.blocks[0].records[0].fileCount = wrong;
    EXPECT_EQ(StatusOf(image, "file count " + number), kDamaged) << number;
    image = Whole();
    image.blocks[0].records[0].dataLength = wrong;
    EXPECT_EQ(StatusOf(image, "file data length " + number), kDamaged) << number;
    image = Whole();
    image.blocks[0].records[1].dataLength = wrong;
    EXPECT_EQ(StatusOf(image, "last file data length " + number), kDamaged) << number;
    image = Whole();
    image.blocks[0].records[0].files[0].size = wrong;
    EXPECT_EQ(StatusOf(image, "size " + number), kDamaged) << number;
    image = Whole();
    image.blocks[0].records[1].files[0].size = wrong;
    EXPECT_EQ(StatusOf(image, "last size " + number), kDamaged) << number;
  }
}

TEST_F(DamagedSyncFile, WithNumbersThatAreSlightlyTooLargeEndsTheProgram) {
  SyncImage image = Whole();
  image.blocks[0].itemCount = 3;
  EXPECT_EQ(StatusOf(image, "item count"), kDamaged);
  image = Whole();
  image.blocks[0].records[0].fileCount = 3;
  EXPECT_EQ(StatusOf(image, "file count"), kDamaged);
  image = Whole();
  image.blocks[0].records[1].files[0].size = 4;
  EXPECT_EQ(StatusOf(image, "last size"), kDamaged);
}

TEST_F(DamagedSyncFile, WithASizeThatLeadsBesideTheNextHeaderEndsTheProgramThere) {
  for (const int size : {2999, 3001}) {
    SyncImage image = Whole();
    image.blocks[0].records[0].files[0].size = size;
    Clean();
    Place(EncodeSync(image));
    EXPECT_EQ(lap.Import("office").status, kDamaged) << size;
    EXPECT_FALSE(lap.HasFile("a.txt")) << size << ": a torn file";
    EXPECT_FALSE(lap.HasFile("b.txt")) << size;
    EXPECT_FALSE(lap.HasFile("c.txt")) << size;
    EXPECT_THAT(OnStick(), ElementsAre("lap.cas")) << size;
  }
}

TEST_F(DamagedSyncFile, WithFilesWhoseTimesAreNoDatesLeavesThoseOut) {
  for (const double wrong : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(), 1e300, -1e300, 1e18}) {
    SyncImage image = Whole();
    image.blocks[0].records[0].files[0].written = wrong;
    EXPECT_EQ(StatusOf(image, std::to_string(wrong)), 1) << wrong;
    EXPECT_THAT(said.out, Says("  [c:\\a.txt]: Can not import")) << wrong;
    EXPECT_THAT(lap.Files(), ElementsAre("b.txt", "c.txt")) << wrong;
  }
}

TEST_F(DamagedSyncFile, WithOtherDatesThatAreNoneIsTakenAllTheSame) {
  for (const double wrong : {std::numeric_limits<double>::quiet_NaN(), 1e300}) {
    SyncImage image = Whole();
    image.created = wrong;
    image.blocks[0].records[0].exported = wrong;
    image.blocks[0].records[0].files[0].created = wrong;
    image.blocks[0].records[0].files[0].accessed = wrong;
    EXPECT_EQ(StatusOf(image, std::to_string(wrong)), 0) << said;
    EXPECT_EQ(lap.Files().size(), 3U);
  }
}

TEST_F(DamagedSyncFile, WithABitFlippedAnywhereDoesNoHarm) {
  const std::string whole = EncodeSync(Whole());
  // Only the structures: a flip in a file's content is content.
  std::vector<std::size_t> offsets;
  const auto add = [&offsets](std::size_t from, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) offsets.push_back(from + i);
  };
  for (const SyncBoundary& boundary : SyncBoundaries(Whole())) {
    if (boundary.what == "header") add(0, 30);
    if (boundary.what == "block") add(boundary.offset, 20);
    if (boundary.what == "record") add(boundary.offset + 592, 28);
    if (boundary.what == "file") add(boundary.offset, 10), add(boundary.offset + 208, 28);
  }
  std::mt19937 random(20261121);
  std::shuffle(offsets.begin(), offsets.end(), random);
  offsets.resize(ZELKOR_SANITIZED ? 40 : 200);
  for (const std::size_t offset : offsets) {
    const auto bit = random() % 8;
    std::string flipped = whole;
    flipped[offset] = static_cast<char>(flipped[offset] ^ (1 << bit));
    const std::string when = "bit " + std::to_string(bit) + " of byte " + std::to_string(offset);
    Clean();
    Place(flipped);
    const Outcome outcome = lap.Import("office");
    EXPECT_EQ(outcome.signal, 0) << when << outcome;
    EXPECT_TRUE(outcome.status == 0 || outcome.status == 1 || outcome.status == kDamaged) << when << outcome;
    // A flip in a name gives another name; elsewhere the files are the whole ones.
    for (const std::string& name : lap.Files()) {
      const std::string content = lap.ReadFile(name);
      EXPECT_TRUE(content == std::string(3000, 'a') || content == "b" || content == "ccc" || content.empty() ||
                  outcome.status == kDamaged)
          << when << ": " << name;
    }
    EXPECT_EQ(std::filesystem::exists(lap.Program() / "zelkor.ind")
                  ? std::filesystem::file_size(lap.Program() / "zelkor.ind") % 1024
                  : 0,
              0U)
        << when;
    std::filesystem::remove(Stick() / "lap.cas");
  }
}

TEST_F(DamagedSyncFile, IsNamedInTheMessageWithTheRecordAndInTheLog) {
  SyncImage image = Whole();
  image.blocks[0].records[1].signature = "????????";
  EXPECT_EQ(StatusOf(image, "record"), kDamaged);
  EXPECT_THAT(said.err, Says("m:\\lap.cas"));
  EXPECT_THAT(said.err, ContainsRegex("record 2"));
  EXPECT_THAT(lap.Log(), ContainsRegex("damaged"));
}

TEST_F(DamagedSyncFile, ThatCanNotBeReadEndsTheProgramToo) {
  Place(EncodeSync(Whole()));
  const Outcome outcome = lap.Import("office", {.faults = {.rules = "read:lap.cas:EIO:2"}});
  EXPECT_TRUE(outcome.status == kDamaged || outcome.status == 1) << outcome;
  EXPECT_THAT(OnStick(), ElementsAre("lap.cas"));
  ExpectOnlyWholeFiles("unreadable");
}

TEST_F(DamagedSyncFile, IsMendedByImportingTheWholeOne) {
  const std::string whole = EncodeSync(Whole());
  Place(whole.substr(0, whole.size() - 1));
  ASSERT_EQ(lap.Import("office").status, kDamaged);
  Place(whole);
  const Outcome outcome = lap.Import("office");
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(lap.Files().size(), 3U);
  EXPECT_EQ(lap.Items().size(), 2U);
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

}  // namespace
}  // namespace zelkor::tests
