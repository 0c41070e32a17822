#include "sync/media.h"

#include <filesystem>

#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::sync {
namespace {

namespace fs = std::filesystem;
using lib::Button;

class Media : public tests::Sandbox {
 protected:
  Media() { fs::create_directory(Drive()); }

  [[nodiscard]] fs::path Drive() const { return Root() / "drive"; }
  [[nodiscard]] std::string Name() const { return OnDriveZ(Drive() / "lap.cas"); }

  // A sync file with this many bytes behind its header.
  std::string MakeSource(std::size_t payload) {
    const SyncFileHeader header = MakeSyncFileHeader("office", 46000.5);
    std::string bytes(header.Bytes().begin(), header.Bytes().end());
    for (std::size_t i = 0; i < payload; ++i) bytes.push_back(static_cast<char>(i * 7 + i / 251));
    WriteNative(Root() / "source", bytes);
    return bytes;
  }
  int Write() {
    lib::Result<lib::File> source = lib::File::Open(OnDriveZ(Root() / "source"), lib::OpenMode::Read);
    return WriteToMedia(*source, Name(), log_, user_);
  }
  int Read() {
    fs::remove(Root() / "assembled");
    lib::Result<lib::File> assembled = lib::File::Open(OnDriveZ(Root() / "assembled"), lib::OpenMode::CreateNew);
    return ReadFromMedia(Name(), *assembled, log_, user_);
  }
  [[nodiscard]] std::string Assembled() const { return ReadNative(Root() / "assembled"); }

  // Writes the disks of a span by hand: the payload cut into pieces of `perDisk`.
  std::vector<std::string> MakeDisks(const std::string& source, std::size_t perDisk) {
    std::vector<std::string> disks;
    for (std::size_t at = 256; at < source.size(); at += perDisk) {
      SyncFileHeader header = MakeSyncFileHeader("office", 46000.5);
      header.SetNumber(SyncFileHeader::kDisk, static_cast<int>(disks.size()) + 1);
      header.SetNumber(SyncFileHeader::kLastDisk, at + perDisk >= source.size() ? -1 : 0);
      disks.emplace_back(header.Bytes().begin(), header.Bytes().end());
      disks.back() += source.substr(at, perDisk);
    }
    return disks;
  }
  void Insert(const std::string& disk) { WriteNative(Drive() / "lap.cas", disk); }

  tests::ScriptedUser user_;
  SyncLog log_{ProgramDir(), user_};
};

TEST_F(Media, ASyncFileThatFitsOneDiskIsOneDiskFileAndReadBackByteForByte) {
  const std::string source = MakeSource(100'000);
  ASSERT_EQ(Write(), 0);
  EXPECT_EQ(ReadNative(Drive() / "lap.cas"), source);
  ASSERT_EQ(Read(), 0);
  EXPECT_EQ(Assembled(), source);
}

TEST_F(Media, ASourceOfExactlyOnePieceIsCopied) {
  const std::string source = MakeSource(16384);
  ASSERT_EQ(Write(), 0);
  EXPECT_EQ(ReadNative(Drive() / "lap.cas"), source);
}

TEST_F(Media, AnEmptySyncFileIsCopied) {
  const std::string source = MakeSource(0);
  ASSERT_EQ(Write(), 0);
  EXPECT_EQ(ReadNative(Drive() / "lap.cas"), source);
}

TEST_F(Media, AMissingFolderIsReported) {
  MakeSource(10);
  fs::remove_all(Drive());
  EXPECT_EQ(Write(), 1);
  ASSERT_FALSE(user_.boxes.empty());
  EXPECT_EQ(user_.boxes.back().text, "Can not open files!");
}

TEST_F(Media, AFileThatTookTheNameMeanwhileIsNotReplaced) {
  MakeSource(10);
  Insert("somebody's");
  EXPECT_EQ(Write(), 1);
  EXPECT_EQ(user_.boxes.back().text, "Can not write to " + Name());
  EXPECT_EQ(ReadNative(Drive() / "lap.cas"), "somebody's");
}

TEST_F(Media, DisksReadInOrderYieldTheSameFile) {
  const std::string source = MakeSource(70'000);
  const std::vector<std::string> disks = MakeDisks(source, 32768);
  ASSERT_EQ(disks.size(), 3U);
  Insert(disks[0]);
  user_.answers = {Button::Ok, Button::Ok};
  int next = 1;
  user_.beforeAnswer = [&](const lib::Box& box) {
    EXPECT_EQ(box.text, "Insert disk #" + std::to_string(next + 1));
    Insert(disks[static_cast<std::size_t>(next++)]);
  };
  ASSERT_EQ(Read(), 0);
  EXPECT_EQ(Assembled(), source);
}

TEST_F(Media, GivingDiskTwoWhenDiskOneIsExpectedRepeatsTheQuestion) {
  const std::string source = MakeSource(40'000);
  const std::vector<std::string> disks = MakeDisks(source, 32768);
  Insert(disks[1]);
  user_.answers = {Button::Ok, Button::Ok, Button::Ok};
  user_.beforeAnswer = [&, asked = 0](const lib::Box&) mutable {
    ++asked;
    if (asked == 2) Insert(disks[0]);
    if (asked == 3) Insert(disks[1]);
  };
  ASSERT_EQ(Read(), 0);
  EXPECT_EQ(user_.Messages(), (std::vector<std::string>{"Insert disk #1", "Insert disk #1", "Insert disk #2"}));
  EXPECT_EQ(Assembled(), source);
}

TEST_F(Media, ADiskOfAnotherSyncFileIsAWrongDisk) {
  const std::vector<std::string> disks = MakeDisks(MakeSource(40'000), 32768);
  SyncFileHeader other = MakeSyncFileHeader("office", 46001.5);
  other.SetNumber(SyncFileHeader::kDisk, 2);
  Insert(disks[0]);
  user_.answers = {Button::Ok, Button::Cancel};
  user_.beforeAnswer = [&](const lib::Box&) { Insert(std::string(other.Bytes().begin(), other.Bytes().end()) + "x"); };
  EXPECT_EQ(Read(), 1);
  EXPECT_EQ(user_.Messages(), (std::vector<std::string>{"Insert disk #2", "Insert disk #2"}));
}

TEST_F(Media, AForeignDiskEndsTheReading) {
  Insert(std::string(5000, 'x'));
  EXPECT_EQ(Read(), 1);
  EXPECT_EQ(user_.Messages(), std::vector<std::string>{"File is not a Sync-file!"});
}

TEST_F(Media, AMissingFileIsAskedForUntilCancel) {
  user_.answers = {Button::Ok, Button::Cancel};
  EXPECT_EQ(Read(), 1);
  EXPECT_EQ(user_.Messages(), (std::vector<std::string>{"Insert disk #1", "Insert disk #1"}));
}

TEST_F(Media, CancelWhileWritingLeavesNothing) {
  MakeSource(100'000);
  user_.onPendingEvents = [this] { user_.cancelled = true; };
  EXPECT_EQ(Write(), 1);
  EXPECT_TRUE(fs::is_empty(Drive()));
}

}  // namespace
}  // namespace zelkor::sync
