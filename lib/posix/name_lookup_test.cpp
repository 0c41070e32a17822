#include "lib/posix/name_lookup.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "lib/code_page.h"
#include "lib/files.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

class NameLookup : public tests::Sandbox {
 protected:
  static std::int64_t ListingsRead() { return posix::NameLookup::Shared().ListingsRead(); }
  static std::string Native(std::string_view path) { return ToNative(path).Value(); }
  void Make(const std::string& name) const { WriteNative(Home() / name, name); }
  static std::string Read(std::string_view path) {
    Result<std::string> content = ReadSmallFile(path, 1000);
    return content.Ok() ? *content : content.Failure().Message();
  }
};

TEST_F(NameLookup, PrefersTheExactSpellingThenTheFirstInByteOrder) {
  Make("readme");
  Make("README");
  Make("Readme");
  EXPECT_EQ(Read("c:\\Readme"), "Readme");
  EXPECT_EQ(Read("c:\\readme"), "readme");
  EXPECT_EQ(Read("c:\\rEADME"), "README");
  fs::remove(Home() / "README");
  EXPECT_EQ(Read("c:\\rEADME"), "Readme");
}

TEST_F(NameLookup, GoesThroughADirectoryNotThroughAFileOfThatName) {
  Make("DATA");
  Make("data/x");
  EXPECT_EQ(Read("c:\\Data\\X"), "data/x");
}

TEST_F(NameLookup, FoldsCaseInTheCodePage) {
  Make("\xC3\x84RGER.txt");
  EXPECT_EQ(Read("c:\\\xE4rger.TXT"), "\xC3\x84RGER.txt");
}

TEST_F(NameLookup, SeesAtOnceWhatOthersMakeAndTakeAway) {
  Make("One.txt");
  EXPECT_EQ(Read("c:\\ONE.txt"), "One.txt");
  for (int i = 0; i < 50; ++i) {  // faster than the times of a directory tick on some systems
    const std::string number = std::to_string(i);
    EXPECT_FALSE(FileExists("c:\\NEW" + number));
    Make("new" + number);
    EXPECT_TRUE(FileExists("c:\\NEW" + number)) << i;
    fs::remove(Home() / ("new" + number));
    EXPECT_FALSE(FileExists("c:\\NEW" + number)) << i;
  }
}

TEST_F(NameLookup, SeesWhatOthersMakeBesideOurOwnFiles) {
  ASSERT_TRUE(File::Open("c:\\a.txt", OpenMode::CreateNew).Ok());
  Make("B.TXT");
  EXPECT_EQ(Read("c:\\b.txt"), "B.TXT");
  fs::rename(Home() / "B.TXT", Home() / "b.TXT");
  EXPECT_EQ(Read("c:\\b.txt"), "B.TXT");
}

TEST_F(NameLookup, FollowsOurOwnCreatingRenamingAndDeleting) {
  ASSERT_TRUE(MakePath("c:\\Box"));
  ASSERT_TRUE(File::Open("c:\\box\\Apple", OpenMode::CreateNew).Ok());
  EXPECT_EQ(Native("c:\\BOX\\APPLE"), (Home() / "Box/Apple").string());
  ASSERT_TRUE(RenameFile("c:\\box\\APPLE", "c:\\box\\Pear").Ok());
  EXPECT_EQ(Native("c:\\BOX\\PEAR"), (Home() / "Box/Pear").string());
  EXPECT_FALSE(FileExists("c:\\box\\apple"));
  ASSERT_TRUE(DeleteFile("c:\\box\\PEAR").Ok());
  EXPECT_FALSE(FileExists("c:\\box\\pear"));
  EXPECT_TRUE(fs::is_empty(Home() / "Box"));
}

// The counts below are what the cost hangs on: reading a directory takes as many steps as it has names.
TEST_F(NameLookup, ReadsALargeDirectoryOnceForManyNamesInAnotherCase) {
  constexpr int kNames = 10000;
  for (int i = 0; i < kNames; ++i) Make("many/f" + std::to_string(i));
  // A listing read in the very moment of the last change is not trusted for long.
  fs::last_write_time(Home() / "many", fs::file_time_type::clock::now() - std::chrono::hours(1));
  const std::int64_t before = ListingsRead();
  for (int i = 0; i < kNames; ++i) {
    ASSERT_EQ(Native("c:\\MANY\\F" + std::to_string(i)), (Home() / ("many/f" + std::to_string(i))).string());
  }
  EXPECT_LE(ListingsRead() - before, 2) << "the home directory and the large one";
}

TEST_F(NameLookup, ReadsADirectoryFewTimesWhileManyNewFilesAreMadeInIt) {
  constexpr int kNew = 5000;
  ASSERT_TRUE(MakePath("c:\\in"));
  const std::int64_t before = ListingsRead();
  for (int i = 0; i < kNew; ++i) {
    const std::string path = "c:\\in\\f" + std::to_string(i);
    ASSERT_FALSE(GetFileInfo(path).Ok());
    Result<NewFile> file = NewFile::Create(path);
    ASSERT_TRUE(file.Ok());
    ASSERT_TRUE(file->Replace().Ok());
  }
  // Now and then it looks whether others made something, for a small part of the time: never again for every file.
  EXPECT_LE(ListingsRead() - before, kNew / 5);
  EXPECT_TRUE(FileExists("c:\\IN\\F4999"));
}

TEST_F(NameLookup, KeepsFewListings) {
  for (int i = 0; i < 100; ++i) {
    Make("d" + std::to_string(i) + "/x");
    EXPECT_TRUE(FileExists("c:\\d" + std::to_string(i) + "\\X"));
  }
  EXPECT_LE(posix::NameLookup::Shared().ListingsKept(), 16U);
}

TEST_F(NameLookup, AsksTheSystemOnceForAPathThatExistsAsWritten) {
  Make("deep/er/file");
  const std::int64_t before = ListingsRead();
  EXPECT_TRUE(FileExists("c:\\deep\\er\\file"));
  EXPECT_EQ(ListingsRead(), before);
}

}  // namespace
}  // namespace zelkor::lib
