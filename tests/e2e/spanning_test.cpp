// A sync file that is spread over several disks, once on real small file systems and once on folders with a capacity.
#include "tests/support/disks.h"
#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr long kDiskBytes = 65536;
constexpr std::size_t kHeader = 256;
constexpr std::size_t kPiece = 16384;

// The parameter: whether disks are mounted.
class Spanning : public TwoComputers, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    if (GetParam() && !EnterOwnMountNamespace()) GTEST_SKIP() << "no mount namespace of our own is allowed here";
    drive = std::make_unique<Drive>(Stick(), GetParam());
  }

  // Something that takes three disks.
  void AddBigItem() const { AddFileItem(office, 1, "big.bin", Pattern(150000), At(2020, 1, 1)); }
  static std::string Pattern(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += static_cast<char>(i * 2654435761U >> 13);
    return text;
  }

  [[nodiscard]] Computer::Options Options() const { return {.faults = drive->NeededFaults()}; }
  [[nodiscard]] std::unique_ptr<RunningProcess> StartExport() const {
    return office.Start({Computer::ExportWord("lap")}, Options());
  }
  [[nodiscard]] std::unique_ptr<RunningProcess> StartImport() const {
    return lap.Start({Computer::ImportWord("office")}, Options());
  }
  // Puts another disk in when the run asks for this number.
  [[nodiscard]] bool Answer(RunningProcess& run, int number, std::size_t disk) const {
    if (!run.WaitForError("Insert disk #" + std::to_string(number))) return false;
    drive->Insert(disk);
    run.Write("OK\n");
    return true;
  }
  [[nodiscard]] std::vector<std::size_t> NewDisks(std::size_t count) const {
    std::vector<std::size_t> disks(count);
    for (std::size_t& disk : disks) disk = drive->Format(kDiskBytes);
    return disks;
  }
  // The big item on three new disks, whose numbers are returned.
  std::vector<std::size_t> ExportToThreeDisks() {
    AddBigItem();
    std::vector<std::size_t> disks = NewDisks(3);
    drive->Insert(disks[0]);
    const auto run = StartExport();
    EXPECT_TRUE(Answer(*run, 2, disks[1]));
    EXPECT_TRUE(Answer(*run, 3, disks[2]));
    const Outcome outcome = run->Wait();
    EXPECT_EQ(outcome.status, 0) << outcome;
    return disks;
  }
  [[nodiscard]] std::string OnDisk(std::size_t disk) const { return ReadBytes(drive->Content(disk) / "lap.cas"); }

  std::unique_ptr<Drive> drive;
};

TEST_P(Spanning, OneDiskThatHoldsAllIsDisk1AndTheLast) {
  AddFileItem(office, 1, "a.txt", "hello", At(2020, 1, 1));
  drive->Insert(drive->Format(kDiskBytes));
  ASSERT_EQ(office.Export("lap", Options()).status, 0);
  const SyncImage image = Waiting("lap.cas");
  EXPECT_EQ(image.disk, 1);
  EXPECT_EQ(image.lastDisk, -1);
  EXPECT_EQ(lap.Import("office", Options()).status, 0);
  EXPECT_EQ(lap.ReadFile("a.txt"), "hello");
  EXPECT_THAT(OnStick(), IsEmpty());
}

TEST_P(Spanning, SeveralDisksAreNumberedAndHoldTheWholeFile) {
  const auto disks = ExportToThreeDisks();
  std::string whole;
  for (std::size_t i = 0; i < disks.size(); ++i) {
    EXPECT_THAT(drive->NamesOn(disks[i]), ElementsAre("lap.cas"));
    const std::string bytes = OnDisk(disks[i]);
    ASSERT_GT(bytes.size(), kHeader);
    EXPECT_LE(bytes.size(), static_cast<std::size_t>(kDiskBytes));
    EXPECT_EQ(TakeI16(bytes, 18), static_cast<int>(i) + 1);
    EXPECT_EQ(TakeI16(bytes, 28), i + 1 == disks.size() ? -1 : 0);
    EXPECT_EQ(bytes.substr(20, 8), "SyncFile");
    // The piece that did not fit was taken back to its start.
    EXPECT_TRUE(i + 1 == disks.size() || (bytes.size() - kHeader) % kPiece == 0) << i;
    std::string head = bytes.substr(0, kHeader);
    PutI16(head, 18, 1);
    PutI16(head, 28, -1);
    if (i == 0) whole = head;
    EXPECT_EQ(head, whole.substr(0, kHeader)) << i;
    whole += bytes.substr(kHeader);
  }
  const SyncImage image = DecodeSync(whole);
  EXPECT_TRUE(image.blocks.at(0).records.at(0).files.at(0).content == Pattern(150000));
  EXPECT_GT(office.TargetWithId("lap")->lastExport, 0);
}

TEST_P(Spanning, DisksAreReadBackInTheirOrder) {
  const auto disks = ExportToThreeDisks();
  drive->Insert(disks[0]);
  const auto run = StartImport();
  ASSERT_TRUE(Answer(*run, 2, disks[1]));
  ASSERT_TRUE(Answer(*run, 3, disks[2]));
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.out, Says("Reading file..."));
  EXPECT_TRUE(lap.ReadFile("big.bin") == Pattern(150000));
  EXPECT_EQ(lap.Items().size(), 1U);
  // A file that spans disks is not deleted.
  for (const std::size_t disk : disks) EXPECT_THAT(drive->NamesOn(disk), ElementsAre("lap.cas"));
  EXPECT_EQ(NamesIn(lap.Temporary()), std::vector<std::string>{});
}

TEST_P(Spanning, AWrongDiskRepeatsTheQuestion) {
  const auto disks = ExportToThreeDisks();
  drive->Insert(disks[1]);
  const auto run = StartImport();
  ASSERT_TRUE(Answer(*run, 1, disks[2]));
  ASSERT_TRUE(Answer(*run, 1, disks[0]));
  ASSERT_TRUE(Answer(*run, 2, disks[0]));
  ASSERT_TRUE(Answer(*run, 2, disks[1]));
  ASSERT_TRUE(Answer(*run, 3, disks[2]));
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_TRUE(lap.ReadFile("big.bin") == Pattern(150000));
}

TEST_P(Spanning, AMissingDiskRepeatsTheQuestion) {
  const auto disks = ExportToThreeDisks();
  const std::size_t empty = drive->Format(kDiskBytes);
  drive->Insert(disks[0]);
  const auto run = StartImport();
  ASSERT_TRUE(Answer(*run, 2, empty));
  ASSERT_TRUE(run->WaitForError("Insert disk #2"));
  drive->Eject();
  run->Write("o\n");
  ASSERT_TRUE(Answer(*run, 2, disks[1]));
  ASSERT_TRUE(Answer(*run, 3, disks[2]));
  EXPECT_EQ(run->Wait().status, 0);
  EXPECT_TRUE(lap.ReadFile("big.bin") == Pattern(150000));
}

TEST_P(Spanning, ADiskOfAnotherSyncFileIsAWrongDisk) {
  const auto disks = ExportToThreeDisks();
  const std::size_t other = drive->Format(kDiskBytes);
  std::string bytes = OnDisk(disks[1]);
  PutDate(bytes, 8, 12345.0);
  WriteBytes(drive->Content(other) / "lap.cas", bytes);
  drive->Insert(disks[0]);
  const auto run = StartImport();
  ASSERT_TRUE(Answer(*run, 2, other));
  ASSERT_TRUE(Answer(*run, 2, disks[1]));
  ASSERT_TRUE(Answer(*run, 3, disks[2]));
  EXPECT_EQ(run->Wait().status, 0);
  EXPECT_TRUE(lap.ReadFile("big.bin") == Pattern(150000));
}

TEST_P(Spanning, ADiskWithAForeignFileEndsTheRead) {
  const auto disks = ExportToThreeDisks();
  const std::size_t foreign = drive->Format(kDiskBytes);
  WriteBytes(drive->Content(foreign) / "lap.cas", std::string(1000, 'f'));
  drive->Insert(disks[0]);
  const auto run = StartImport();
  ASSERT_TRUE(Answer(*run, 2, foreign));
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("File is not a Sync-file!"));
  EXPECT_THAT(lap.Files(), IsEmpty());
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
  EXPECT_EQ(NamesIn(lap.Temporary()), std::vector<std::string>{});
}

TEST_P(Spanning, CancelWhileReadingImportsNothing) {
  const auto disks = ExportToThreeDisks();
  drive->Insert(disks[0]);
  const auto run = StartImport();
  ASSERT_TRUE(run->WaitForError("Insert disk #2"));
  run->Write("Cancel\n");
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(lap.Files(), IsEmpty());
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
  EXPECT_THAT(drive->NamesOn(disks[0]), ElementsAre("lap.cas"));
}

TEST_P(Spanning, CancelWhileWritingIsAFailedDelivery) {
  AddBigItem();
  const std::size_t first = drive->Format(kDiskBytes);
  drive->Insert(first);
  const auto run = StartExport();
  ASSERT_TRUE(run->WaitForError("Insert disk #2"));
  run->Write("c\n");
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("Sync export failed!"));
  // The run removes what it left on the disk at hand.
  EXPECT_THAT(drive->NamesOn(first), IsEmpty());
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
  EXPECT_EQ(NamesIn(office.Temporary()), std::vector<std::string>{});
}

TEST_P(Spanning, CancelWithAnotherDiskInTheDriveLeavesThatDiskAlone) {
  AddBigItem();
  const std::size_t first = drive->Format(kDiskBytes);
  const std::size_t other = drive->Format(kDiskBytes);
  WriteBytes(drive->Content(other) / "lap.cas", EncodeSync(OneBlock("office", {})));
  drive->Insert(first);
  const auto run = StartExport();
  ASSERT_TRUE(run->WaitForError("Insert disk #2"));
  drive->Insert(other);
  run->Write("c\n");
  EXPECT_EQ(run->Wait().status, 1);
  EXPECT_THAT(drive->NamesOn(other), ElementsAre("lap.cas"));
}

TEST_P(Spanning, ADiskThatStillHasAFileOfTheNameEndsAnUnattendedRun) {
  AddBigItem();
  const std::size_t first = drive->Format(kDiskBytes);
  drive->Insert(first);
  const auto run = StartExport();
  ASSERT_TRUE(run->WaitForError("Insert disk #2"));
  run->Write("OK\n");  // the same disk is still in the drive
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("File exist on media. Replace disk or delete file"));
  EXPECT_FALSE(outcome.timedOut);
}

TEST_P(Spanning, AFullDiskIsAskedForAgain) {
  AddBigItem();
  const std::vector<std::size_t> disks = NewDisks(4);
  // No room for a header and a byte.
  WriteBytes(drive->Content(disks[3]) / "other.bin", std::string(static_cast<std::size_t>(kDiskBytes) - 100, 'o'));
  drive->Insert(disks[3]);
  const auto run = StartExport();
  ASSERT_TRUE(Answer(*run, 1, disks[0]));
  ASSERT_TRUE(Answer(*run, 2, disks[3]));
  ASSERT_TRUE(Answer(*run, 2, disks[1]));
  ASSERT_TRUE(Answer(*run, 3, disks[2]));
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(drive->NamesOn(disks[3]), ElementsAre("other.bin"));
  drive->Insert(disks[0]);
  const auto import = StartImport();
  ASSERT_TRUE(Answer(*import, 2, disks[1]));
  ASSERT_TRUE(Answer(*import, 3, disks[2]));
  EXPECT_EQ(import->Wait().status, 0);
  EXPECT_TRUE(lap.ReadFile("big.bin") == Pattern(150000));
}

TEST_P(Spanning, ADiskPulledWhileItIsWrittenFailsTheDelivery) {
  AddBigItem();
  const std::size_t first = drive->Format(kDiskBytes);
  drive->Insert(first);
  Computer::Options options = Options();
  options.faults.rules = "write:/stick:EIO:2|write:/disk:EIO:2";
  const Outcome outcome = office.Export("lap", options);
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("Can not write to m:\\lap.cas"));
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

TEST_P(Spanning, ADiskThatCanNotBeReadFailsTheImport) {
  const auto disks = ExportToThreeDisks();
  drive->Insert(disks[0]);
  Computer::Options options = Options();
  options.faults.rules = "read:/stick/lap.cas:EIO:5|read:/disk0/lap.cas:EIO:5";
  const auto run = lap.Start({Computer::ImportWord("office")}, options);
  if (run->WaitForError("Insert disk #2")) {
    drive->Insert(disks[1]);
    run->Write("OK\n");
  }
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("Disk error!"));
  EXPECT_THAT(lap.Files(), IsEmpty());
}

TEST_P(Spanning, APayloadOfExactlyOnePieceFitsOneDisk) {
  // Block header, record and file header are 1,536 bytes.
  AddFileItem(office, 1, "a.bin", Pattern(kPiece - 1536), At(2020, 1, 1));
  drive->Insert(drive->Format(kDiskBytes));
  ASSERT_EQ(office.Export("lap", Options()).status, 0);
  EXPECT_EQ(std::filesystem::file_size(Stick() / "lap.cas"), kHeader + kPiece);
  EXPECT_EQ(Waiting("lap.cas").blocks[0].records.size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(OnFolders, Spanning, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(OnMountedDisks, Spanning, testing::Values(true));

}  // namespace
}  // namespace zelkor::tests
