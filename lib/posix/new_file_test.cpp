#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lib/files.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

class NewFileTest : public tests::Sandbox {
 protected:
  static struct stat StatOf(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info;
  }
  static mode_t ModeOf(const fs::path& path) { return StatOf(path).st_mode & 07777; }
  [[nodiscard]] std::ptrdiff_t NamesInHome() const { return std::distance(fs::directory_iterator(Home()), {}); }
  static NewFile With(std::string_view path, std::string_view content) {
    Result<NewFile> file = NewFile::Create(path);
    EXPECT_TRUE(file.Ok()) << file.Failure().Message();
    EXPECT_TRUE(file->Content().WriteAt(0, content).Ok());
    return std::move(*file);
  }
};

TEST_F(NewFileTest, IsNotReadableByOthersBeforeItHasItsName) {
  const mode_t mask = umask(022);
  const NewFile file = With("c:\\a.txt", "half");
  for (const auto& entry : fs::directory_iterator(Home())) EXPECT_EQ(ModeOf(entry.path()), 0600U) << entry.path();
  umask(mask);
}

TEST_F(NewFileTest, GetsTheModeOfNewFiles) {
  const mode_t mask = umask(0);
  umask(mask);
  ASSERT_TRUE(With("c:\\a", "").Replace().Ok());
  ASSERT_TRUE(With("c:\\b", "").TakeFreeName().Ok());
  EXPECT_EQ(ModeOf(Home() / "a"), 0666 & ~mask);
  EXPECT_EQ(ModeOf(Home() / "b"), 0666 & ~mask);
}

TEST_F(NewFileTest, CanBeItsOwnersAloneEvenInPlaceOfAnother) {
  const mode_t mask = umask(022);
  WriteNative(Home() / "b.txt", "old");
  ASSERT_EQ(chmod((Home() / "b.txt").c_str(), 0644), 0);
  for (const char* path : {"c:\\a.txt", "c:\\b.txt"}) {
    Result<NewFile> file = NewFile::Create(path, NewFile::Access::OwnerOnly);
    ASSERT_TRUE(file.Ok()) << file.Failure().Message();
    ASSERT_TRUE(file->Content().WriteAt(0, std::string_view("secret")).Ok());
    ASSERT_TRUE(file->Replace().Ok());
  }
  umask(mask);
  for (const char* name : {"a.txt", "b.txt"}) {
    EXPECT_EQ(ReadNative(Home() / name), "secret");
    EXPECT_EQ(ModeOf(Home() / name), 0600U) << name;
  }
}

TEST_F(NewFileTest, KeepsTheModeAndOwnerOfAReplacedFile) {
  for (const mode_t mode : {0600U, 0640U, 0666U, 0755U}) {
    WriteNative(Home() / "a", "old");
    ASSERT_EQ(chmod((Home() / "a").c_str(), mode), 0);
    if (geteuid() == 0) {
      ASSERT_EQ(chown((Home() / "a").c_str(), 1234, 5678), 0);
    }
    ASSERT_TRUE(With("c:\\a", "new").Replace().Ok());
    EXPECT_EQ(ModeOf(Home() / "a"), mode);
    if (geteuid() == 0) {
      EXPECT_EQ(StatOf(Home() / "a").st_uid, 1234U);
      EXPECT_EQ(StatOf(Home() / "a").st_gid, 5678U);
    }
    EXPECT_EQ(ReadNative(Home() / "a"), "new");
    EXPECT_EQ(NamesInHome(), 1);
  }
}

// Where files can be without a name.
class FileMadeAhead : public NewFileTest {};

TEST_F(FileMadeAhead, TakesOverAContentThatWasMadeAhead) {
  WriteNative(Home() / "old", "old");
  fs::permissions(Home() / "old", fs::perms(0640));
  for (const std::string path : {"c:\\OLD", "c:\\new"}) {
    Result<UnnamedFile> ahead = UnnamedFileMaker().Make(path);
    ASSERT_TRUE(ahead.Ok()) << ahead.Failure().Message();
    ASSERT_TRUE(ahead->Content().WriteAt(0, std::string_view("whole")).Ok());
    EXPECT_EQ(NamesInHome(), 1);
    Result<NewFile> file = NewFile::Create(path, *ahead);
    ASSERT_TRUE(file.Ok()) << file.Failure().Message();
    ASSERT_TRUE(file->Replace().Ok());
  }
  EXPECT_EQ(ReadNative(Home() / "old"), "whole");
  EXPECT_EQ(ModeOf(Home() / "old"), 0640U);
  EXPECT_EQ(ReadNative(Home() / "new"), "whole");
  EXPECT_EQ(NamesInHome(), 2);
}

TEST_F(FileMadeAhead, TakesOverNoContentOfAnotherDirectory) {
  fs::create_directory(Home() / "in");
  Result<UnnamedFile> ahead = UnnamedFileMaker().Make("c:\\in\\a");
  ASSERT_TRUE(ahead.Ok());
  EXPECT_FALSE(NewFile::Create("c:\\a", *ahead).Ok());
}

TEST_F(FileMadeAhead, TakesOverAContentWhoseDirectoryIsMadeLater) {
  Result<UnnamedFile> ahead = UnnamedFileMaker().Make("c:\\new\\deep\\a");
  ASSERT_TRUE(ahead.Ok()) << ahead.Failure().Message();
  ASSERT_TRUE(ahead->Content().WriteAt(0, std::string_view("whole")).Ok());
  EXPECT_EQ(NewFile::Create("c:\\new\\deep\\a", *ahead).Why(), Cause::PathNotFound);
  ASSERT_TRUE(MakePath("c:\\new\\deep"));
  Result<NewFile> file = NewFile::Create("c:\\new\\deep\\a", *ahead);
  ASSERT_TRUE(file.Ok() && file->Replace().Ok());
  EXPECT_EQ(ReadNative(Home() / "new/deep/a"), "whole");
}

// Files get the group of such a directory, and what was made elsewhere would not have it.
TEST_F(FileMadeAhead, TakesOverNoContentWhereTheDirectoryHandsOnItsGroup) {
  Result<UnnamedFile> ahead = UnnamedFileMaker().Make("c:\\new\\a");
  ASSERT_TRUE(ahead.Ok());
  fs::create_directory(Home() / "new");
  fs::permissions(Home() / "new", fs::perms(02755));
  EXPECT_FALSE(NewFile::Create("c:\\new\\a", *ahead).Ok());
  fs::permissions(Home(), fs::perms(02755));
  EXPECT_FALSE(UnnamedFileMaker().Make("c:\\other\\a").Ok());
}

TEST_F(FileMadeAhead, IsMadeWhereItBelongsWhenItsDirectoryHasGoneAndComeBack) {
  fs::create_directory(Home() / "in");
  UnnamedFileMaker maker;
  ASSERT_TRUE(maker.Make("c:\\in\\a").Ok());
  fs::remove(Home() / "in");
  EXPECT_FALSE(maker.Make("c:\\in\\b").Ok());
  fs::create_directory(Home() / "in");
  Result<UnnamedFile> ahead = maker.Make("c:\\in\\c");
  ASSERT_TRUE(ahead.Ok());
  Result<NewFile> file = NewFile::Create("c:\\in\\c", *ahead);
  ASSERT_TRUE(file.Ok() && file->Replace().Ok());
  EXPECT_TRUE(fs::exists(Home() / "in/c"));
}

TEST_F(FileMadeAhead, GivesAContentMadeAheadTheModeOfNewFiles) {
  const mode_t mask = umask(027);
  Result<UnnamedFile> ahead = UnnamedFileMaker().Make("c:\\a");
  umask(mask);
  ASSERT_TRUE(ahead.Ok());
  Result<NewFile> file = NewFile::Create("c:\\a", *ahead);
  ASSERT_TRUE(file.Ok() && file->Replace().Ok());
  EXPECT_EQ(ModeOf(Home() / "a"), 0640U);
}

TEST_F(NewFileTest, TellsAtOnceWhatStandsInTheWay) {
  WriteNative(Home() / "fixed", "f");
  ASSERT_EQ(chmod((Home() / "fixed").c_str(), 0444), 0);
  fs::create_directory(Home() / "dir");
  fs::create_directory_symlink(Home() / "dir", Home() / "linked");
  EXPECT_EQ(NewFile::Create("c:\\fixed").Why(), Cause::ReadOnly);
  EXPECT_EQ(NewFile::Create("c:\\FIXED").Why(), Cause::ReadOnly);
  EXPECT_EQ(NewFile::Create("c:\\dir").Why(), Cause::Exists);
  EXPECT_EQ(NewFile::Create("c:\\linked").Why(), Cause::Exists);
  EXPECT_EQ(NewFile::Create("c:\\none\\a").Why(), Cause::PathNotFound);
  EXPECT_EQ(NewFile::Create("c:\\fixed\\a").Why(), Cause::PathNotFound);
  EXPECT_EQ(NewFile::Create("c:\\a?").Why(), Cause::Refused);
  EXPECT_EQ(NewFile::Create("q:\\a").Why(), Cause::Refused);
  EXPECT_EQ(NamesInHome(), 3);
}

TEST_F(NewFileTest, ReplacesALinkItselfAndNeverWritesThroughIt) {
  WriteNative(Root() / "target", "target");
  fs::create_symlink(Root() / "target", Home() / "link");
  fs::create_symlink(Root() / "none", Home() / "dangling");
  ASSERT_TRUE(With("c:\\link", "new").Replace().Ok());
  ASSERT_TRUE(With("c:\\dangling", "new").Replace().Ok());
  EXPECT_EQ(ReadNative(Root() / "target"), "target");
  EXPECT_FALSE(fs::exists(Root() / "none"));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(Home() / "link")));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(Home() / "dangling")));
  fs::create_symlink(Root() / "none", Home() / "taken");
  EXPECT_EQ(With("c:\\taken", "new").TakeFreeName().Why(), Cause::Exists);
}

TEST_F(NewFileTest, TakesOneNameAfterAnotherInOneDirectory) {
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 200; ++i) {
      const std::string name = "f" + std::to_string(i);
      ASSERT_TRUE(With("c:\\" + name, name + std::to_string(round)).Replace().Ok());
      ASSERT_EQ(ReadNative(Home() / name), name + std::to_string(round));
    }
  }
  EXPECT_EQ(NamesInHome(), 200);
}

TEST_F(NewFileTest, AFinishedFileMovesToAFreeNameWithTheModeOfNewFiles) {
  const mode_t mask = umask(0);
  umask(mask);
  Result<File> file = File::Open(OnDriveZ(Root() / "tmp" / "work"), OpenMode::CreateNew);
  ASSERT_TRUE(file->WriteAt(0, std::string_view("whole")).Ok());
  ASSERT_TRUE(MoveToFreeName(*file, "c:\\a.txt").Ok());
  EXPECT_EQ(ReadNative(Home() / "a.txt"), "whole");
  EXPECT_EQ(ModeOf(Home() / "a.txt"), 0666 & ~mask);
  EXPECT_FALSE(fs::exists(Root() / "tmp" / "work"));
  EXPECT_TRUE(FileExists("c:\\A.TXT"));
}

TEST_F(NewFileTest, AFinishedFileDoesNotMoveToATakenNameOrAwayFromAForeignOne) {
  const fs::path work = Root() / "tmp" / "work";
  Result<File> file = File::Open(OnDriveZ(work), OpenMode::CreateNew);
  ASSERT_TRUE(file->WriteAt(0, std::string_view("whole")).Ok());
  WriteNative(Home() / "Taken", "old");
  EXPECT_EQ(MoveToFreeName(*file, "c:\\taken").Why(), Cause::Exists);
  EXPECT_EQ(ReadNative(Home() / "Taken"), "old");
  EXPECT_EQ(MoveToFreeName(*file, "c:\\missing\\a").Why(), Cause::PathNotFound);
  fs::remove(work);
  WriteNative(work, "somebody else's");
  EXPECT_FALSE(MoveToFreeName(*file, "c:\\a").Ok());
  EXPECT_EQ(ReadNative(work), "somebody else's");
  EXPECT_EQ(NamesInHome(), 1);
}

TEST_F(NewFileTest, AFinishedFileDoesNotMoveWhereNewFilesGetTheDirectorysGroup) {
  Result<File> file = File::Open(OnDriveZ(Root() / "tmp" / "work"), OpenMode::CreateNew);
  ASSERT_TRUE(file.Ok());
  ASSERT_EQ(chmod(Home().c_str(), 02755), 0);
  EXPECT_FALSE(MoveToFreeName(*file, "c:\\a").Ok());
  EXPECT_TRUE(fs::exists(Root() / "tmp" / "work"));
  EXPECT_EQ(NamesInHome(), 0);
}

TEST_F(NewFileTest, LeavesReadersOfTheOldFileTheirContent) {
  WriteNative(Home() / "a", "old");
  const Result<File> reader = File::Open("c:\\a", OpenMode::Read);
  ASSERT_TRUE(With("c:\\a", "new").Replace().Ok());
  std::string content(3, '\0');
  EXPECT_EQ(reader->ReadAt(0, content).Value(), 3U);
  EXPECT_EQ(content, "old");
}

}  // namespace
}  // namespace zelkor::lib
