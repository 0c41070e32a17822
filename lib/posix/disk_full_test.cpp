// What happens when a disk of 1 MiB is full: a file system in memory, mounted for this process alone.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include "lib/files.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

class DiskFull : public tests::Sandbox {
 protected:
  void SetUp() override {
    disk_ = Root() / "disk";
    fs::create_directory(disk_);
    const bool mounted = unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         mount("none", disk_.c_str(), "tmpfs", 0, "size=1m") == 0;
    if (!mounted) GTEST_SKIP() << "can not mount: " << strerror(errno);
  }
  void TearDown() override { umount2(disk_.c_str(), MNT_DETACH); }
  [[nodiscard]] std::string OnDisk(const std::string& name) const { return OnDriveZ(disk_ / name); }

  fs::path disk_;
};

TEST_F(DiskFull, CopyTellsHowFarItCame) {
  WriteNative(Home() / "large", std::string(3 << 20, 'x'));
  const Result<File> from = File::Open("c:\\large", OpenMode::Read);
  Result<File> to = File::Open(OnDisk("copy"), OpenMode::CreateNew);
  ASSERT_TRUE(from.Ok() && to.Ok());
  const CopyOutcome outcome = CopyRange(*from, 0, *to, 0, 3 << 20);
  EXPECT_EQ(outcome.status.Why(), Cause::DiskFull);
  EXPECT_EQ(outcome.status.Message(), "\"" + OnDisk("copy") + "\": the disk is full");
  EXPECT_FALSE(outcome.readFailed);
  EXPECT_GT(outcome.copied, 900 << 10);
  EXPECT_LE(outcome.copied, 1 << 20);
  EXPECT_EQ(to->Length().Value(), outcome.copied);
}

TEST_F(DiskFull, CopyOnTheDiskItselfTellsHowFarItCame) {
  WriteNative(disk_ / "from", std::string(600 << 10, 'x'));
  const Result<File> from = File::Open(OnDisk("from"), OpenMode::Read);
  Result<File> to = File::Open(OnDisk("to"), OpenMode::CreateNew);
  const CopyOutcome outcome = CopyRange(*from, 0, *to, 0, 600 << 10);
  EXPECT_EQ(outcome.status.Why(), Cause::DiskFull);
  EXPECT_GT(outcome.copied, 0);
  EXPECT_LT(outcome.copied, 450 << 10);
}

TEST_F(DiskFull, WritingFailsAndTheFileCanBeTakenBack) {
  Result<NewFile> file = NewFile::Create(OnDisk("a"));
  ASSERT_TRUE(file.Ok());
  const std::string half(512 << 10, 'x');
  ASSERT_TRUE(file->Content().Append(half).Ok());
  EXPECT_EQ(file->Content().Append(half + half).Why(), Cause::DiskFull);
  ASSERT_TRUE(file->Content().SetLength(512 << 10).Ok());
  ASSERT_TRUE(file->Replace().Ok());
  EXPECT_EQ(fs::file_size(disk_ / "a"), 512U << 10);
}

TEST_F(DiskFull, AnAbandonedFileGivesItsRoomBack) {
  const std::string most(900 << 10, 'x');
  for (int i = 0; i < 3; ++i) {
    Result<NewFile> file = NewFile::Create(OnDisk("a"));
    ASSERT_TRUE(file.Ok());
    ASSERT_TRUE(file->Content().Append(most).Ok()) << i;
  }
  EXPECT_TRUE(fs::is_empty(disk_));
}

TEST_F(DiskFull, AReadOnlyMediumIsToldAsSuch) {
  ASSERT_EQ(mount(nullptr, disk_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  EXPECT_EQ(NewFile::Create(OnDisk("a")).Why(), Cause::ReadOnly);
  EXPECT_EQ(File::Open(OnDisk("a"), OpenMode::CreateNew).Why(), Cause::ReadOnly);
}

TEST_F(DiskFull, RenamingToAnotherDiskFails) {
  WriteNative(Home() / "a", "a");
  EXPECT_EQ(RenameFile("c:\\a", OnDisk("a")).Why(), Cause::Failed);
  EXPECT_EQ(ReadNative(Home() / "a"), "a");
}

}  // namespace
}  // namespace zelkor::lib
