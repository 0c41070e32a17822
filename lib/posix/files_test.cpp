#include "lib/files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

class Files : public tests::Sandbox {
 protected:
  static void MakeReadOnly(const fs::path& path) { ASSERT_EQ(chmod(path.c_str(), 0444), 0); }
};

TEST_F(Files, FollowLinksToFilesWhenTheyLook) {
  WriteNative(Home() / "a.txt", "12345");
  fs::create_symlink(Home() / "a.txt", Home() / "link");
  fs::create_symlink(Home() / "nowhere", Home() / "dangling");
  EXPECT_EQ(GetFileInfo("c:\\link")->size, 5);
  EXPECT_FALSE(FileExists("c:\\dangling"));
}

TEST_F(Files, TellTheFactsOfAFile) {
  WriteNative(Home() / "a.txt", "12345");
  WriteNative(Home() / "b.txt", "");
  MakeReadOnly(Home() / "b.txt");
  const FileInfo a = GetFileInfo("c:\\a.txt").Value();
  EXPECT_EQ(a.size, 5);
  EXPECT_FALSE(a.directory);
  EXPECT_FALSE(a.readOnly);
  const FileInfo b = GetFileInfo("c:\\b.txt").Value();
  EXPECT_TRUE(b.readOnly);
  EXPECT_EQ(a.device, b.device);
  EXPECT_NE(a.index, b.index);
  struct stat info {};
  ASSERT_EQ(stat((Home() / "a.txt").c_str(), &info), 0);
  EXPECT_EQ(a.device, info.st_dev);
  EXPECT_EQ(a.index, info.st_ino);
  EXPECT_TRUE(GetFileInfo("c:\\")->directory);
}

TEST_F(Files, ChangeStampFollowsContentAndTimes) {
  WriteNative(Home() / "a.txt", "1");
  const std::int64_t first = GetFileInfo("c:\\a.txt")->changeStamp;
  EXPECT_EQ(GetFileInfo("c:\\a.txt")->changeStamp, first);
  const auto time = fs::last_write_time(Home() / "a.txt");
  fs::last_write_time(Home() / "a.txt", time - std::chrono::nanoseconds(1));
  const std::int64_t second = GetFileInfo("c:\\a.txt")->changeStamp;
  EXPECT_NE(second, first);
}

TEST_F(Files, RenameReplacesAFileInAnyCase) {
  WriteNative(Home() / "New.txt", "new");
  WriteNative(Home() / "Old.txt", "old");
  ASSERT_TRUE(RenameFile("c:\\NEW.txt", "c:\\OLD.txt").Ok());
  EXPECT_EQ(ReadNative(Home() / "Old.txt"), "new");
  EXPECT_FALSE(fs::exists(Home() / "New.txt"));
  EXPECT_FALSE(fs::exists(Home() / "OLD.txt"));
}

TEST_F(Files, RenameCanChangeTheCaseAlone) {
  WriteNative(Home() / "dir/name.txt", "x");
  ASSERT_TRUE(RenameFile("c:\\dir\\NAME.TXT", "c:\\DIR\\Name.txt").Ok());
  EXPECT_EQ(ReadNative(Home() / "dir/Name.txt"), "x");
  EXPECT_FALSE(fs::exists(Home() / "dir/name.txt"));
}

TEST_F(Files, DeleteSparesReadOnlyFilesDirectoriesAndWhatALinkLeadsTo) {
  WriteNative(Home() / "fixed", "f");
  MakeReadOnly(Home() / "fixed");
  fs::create_directory(Home() / "dir");
  WriteNative(Home() / "target", "t");
  fs::create_symlink(Home() / "target", Home() / "link");
  EXPECT_EQ(DeleteFile("c:\\fixed").Why(), Cause::ReadOnly);
  EXPECT_FALSE(DeleteFile("c:\\dir").Ok());
  EXPECT_TRUE(DeleteFile("c:\\link").Ok());
  EXPECT_TRUE(fs::exists(Home() / "fixed"));
  EXPECT_TRUE(fs::exists(Home() / "dir"));
  EXPECT_TRUE(fs::exists(Home() / "target"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(Home() / "link")));
}

TEST_F(Files, KillFileTakesNoWildcards) {
  WriteNative(Home() / "a.txt", "");
  WriteNative(Home() / "*.txt", "");
  KillFile("c:\\*.txt");
  KillFile("c:\\?.txt");
  KillFile("c:\\none");
  EXPECT_TRUE(fs::exists(Home() / "a.txt"));
  EXPECT_TRUE(fs::exists(Home() / "*.txt"));
  KillFile("c:\\a.txt");
  EXPECT_FALSE(fs::exists(Home() / "a.txt"));
}

TEST_F(Files, MakePathMakesEveryLevelAndKeepsSpellings) {
  fs::create_directory(Home() / "Docs");
  EXPECT_TRUE(MakePath("c:\\DOCS\\New\\Newer\\"));
  EXPECT_TRUE(fs::is_directory(Home() / "Docs/New/Newer"));
  EXPECT_FALSE(fs::exists(Home() / "DOCS"));
  EXPECT_TRUE(MakePath("c:\\docs\\new")) << "it exists already";
  EXPECT_TRUE(MakePath("c:\\"));
}

TEST_F(Files, ListDirectoryGivesNamesInByteOrderAndSaysWhatTheyAre) {
  for (const char* name : {"b", "B", "a.txt", ".hidden", "\xC3\xA4"}) WriteNative(Home() / name, "");
  fs::create_directory(Home() / "dir");
  fs::create_directory_symlink(Home() / "dir", Home() / "link-d");
  fs::create_symlink(Home() / "b", Home() / "link-f");
  fs::create_symlink(Home() / "none", Home() / "link-n");
  ASSERT_EQ(mkfifo((Home() / "pipe").c_str(), 0600), 0);
  const std::vector<DirectoryEntry> entries = ListDirectory("C:\\").Value();
  std::string seen;
  for (const DirectoryEntry& entry : entries) {
    seen += entry.name + (entry.directory ? "/" : "") + (entry.link ? ">" : "") + (entry.other ? "?" : "") + " ";
    EXPECT_TRUE(entry.refused.Ok());
  }
  EXPECT_EQ(seen, ".hidden B a.txt b dir/ link-d/> link-f> link-n>? pipe? \xE4 ");
}

TEST_F(Files, ListDirectorySaysWhichNamesCanNotBeUsedAndWhy) {
  for (const char* name : {"good", "q?", "\xCE\xB1", "\xFF"}) WriteNative(Home() / name, "");
  std::vector<std::string> refused;
  const std::vector<DirectoryEntry> entries = ListDirectory("c:\\").Value();
  for (const DirectoryEntry& entry : entries) {
    if (!entry.refused.Ok()) refused.push_back(entry.refused.Message());
  }
  const std::string outside = "The name \"?\" can not be used: it holds a character outside the code page";
  EXPECT_THAT(refused, testing::UnorderedElementsAre(outside, outside,
                                                     "The name \"q?\" can not be used: it holds the character ?"));
}

}  // namespace
}  // namespace zelkor::lib
