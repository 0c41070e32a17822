#include "db/database.h"

#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "lib/run_time_error.h"
#include "tests/support/database_fixture.h"
#include "tests/support/full_disk.h"
#include "tests/support/golden_database.h"

namespace zelkor::db {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DatabaseTest : public tests::DatabaseFixture {
 protected:
  // The golden database, opened.
  void OpenGolden() {
    WriteConfigFile(tests::GoldenConfig());
    WriteItemFile(tests::GoldenItems());
    ASSERT_EQ(Open(), Database::Opened::Yes);
    ASSERT_THAT(user_.Messages(), IsEmpty());
  }
};

TEST_F(DatabaseTest, ReadsAndWritesTheItemsWithoutChangingAByte) {
  OpenGolden();
  ASSERT_EQ(Data().RecordCount(), 2);
  Data().ReadItem(1);
  EXPECT_EQ(Data().Item().Text(FileRec::kDescription), "Plan");
  Data().WriteItem(1);
  Data().ReadItem(2);
  EXPECT_EQ(Data().Item().Text(FileRec::kDescription), "Letter");
  Data().WriteItem(2);
  EXPECT_EQ(ItemFile(), tests::GoldenItems());
}

TEST_F(DatabaseTest, ReadsAndWritesTheConfigurationWithoutChangingAByte) {
  ASSERT_EQ(tests::GoldenConfig().size(), 8192U);
  OpenGolden();
  EXPECT_EQ(Data().Config().Number(ConfigRec::kVersion), 220);
  EXPECT_EQ(Data().Config().RawText(ConfigRec::kShellTypes), tests::Pad(" xls doc", 256));
  EXPECT_EQ(Data().Config().RawText(ConfigRec::kEditorTypes), tests::Pad(" txt ini", 256));
  Data().WriteConfig();
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
}

TEST_F(DatabaseTest, WritesTheConfigurationWithoutTouchingTheTargets) {
  OpenGolden();
  WriteConfigFile(std::string(8192, '#') + "tail");
  Data().WriteConfig();
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig().substr(0, 4096) + std::string(4096, '#') + "tail");
}

TEST_F(DatabaseTest, ReadsTheConfigurationAgainOnDemand) {
  OpenGolden();
  Data().Config().SetText(ConfigRec::kShellTypes, " pdf");
  Data().ReadConfig();
  EXPECT_EQ(Data().Config().RawText(ConfigRec::kShellTypes), tests::Pad(" xls doc", 256));
}

TEST_F(DatabaseTest, HasNoRecordsInAnEmptyItemFile) {
  ASSERT_EQ(Open(), Database::Opened::Yes);
  EXPECT_EQ(Data().RecordCount(), 0);
  EXPECT_EQ(Data().AppendRecNo(), 1);
}

TEST_F(DatabaseTest, WritesAnItemAtOnce) {
  ASSERT_EQ(Open(), Database::Opened::Yes);
  std::memcpy(Data().Item().Bytes().data(), tests::GoldenItems().data(), 1024);
  Data().WriteItem(Data().AppendRecNo());
  EXPECT_EQ(ItemFile(), tests::GoldenItems().substr(0, 1024));
  EXPECT_EQ(Data().AppendRecNo(), 2);
}

TEST_F(DatabaseTest, LeavesADeletedItemInPlace) {
  OpenGolden();
  Data().ReadItem(1);
  Data().Item().SetNumber(FileRec::kFlags, kItemDeleted);
  Data().WriteItem(1);
  std::string expected = tests::GoldenItems();
  expected[592] = '\1';
  EXPECT_EQ(ItemFile(), expected);
  EXPECT_EQ(Data().AppendRecNo(), 3);
}

TEST_F(DatabaseTest, MakesItsFilesForTheirOwnerAlone) {
  if (!tests::HasModes()) GTEST_SKIP() << "rights are kept otherwise here";
  ASSERT_EQ(Open(), Database::Opened::Yes);
  for (const auto& path : {ConfigPath(), ItemsPath()}) {
    EXPECT_EQ(std::filesystem::status(path).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
        << path;
  }
}

TEST_F(DatabaseTest, GoesThroughTheItemsInOrderAndLeavesTheBufferAlone) {
  OpenGolden();
  Data().ReadItem(2);
  std::vector<std::string> seen;
  Data().ForEachItem([&seen](std::int32_t recno, const FileRec& item) {
    seen.push_back(std::to_string(recno) + item.Text(FileRec::kDescription));
  });
  EXPECT_THAT(seen, ElementsAre("1Plan", "2Letter"));
  EXPECT_EQ(Data().Item().Text(FileRec::kDescription), "Letter");
}

TEST_F(DatabaseTest, GoesThroughMoreItemsThanOnePieceHolds) {
  std::string items;
  for (int i = 0; i < 1000; ++i) items += tests::GoldenItems().substr(0, 1024);
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(items);
  ASSERT_EQ(Open(), Database::Opened::Yes);
  std::int64_t sum = 0;
  Data().ForEachItem([&sum](std::int32_t recno, const FileRec& item) {
    sum += recno;
    EXPECT_EQ(item.Text(FileRec::kDescription), "Plan");
  });
  EXPECT_EQ(sum, 500500);
}

TEST_F(DatabaseTest, FindsAnItemByItsMemoIdADeletedOneToo) {
  OpenGolden();
  EXPECT_EQ(Data().FindMemoId(0x12345678), 1);
  EXPECT_EQ(Data().FindMemoId(0x7fffffff), 2);
  EXPECT_EQ(Data().FindMemoId(1), 0);
}

TEST_F(DatabaseTest, FindsAMemoIdThatAWriteHasBroughtOrChanged) {
  OpenGolden();
  ASSERT_EQ(Data().FindMemoId(5), 0);
  Data().ReadItem(1);
  Data().Item().SetNumber(FileRec::kMemoId, 5);
  Data().WriteItem(1);
  Data().Item().SetNumber(FileRec::kMemoId, 6);
  Data().WriteItem(3);
  EXPECT_EQ(Data().FindMemoId(5), 1);
  EXPECT_EQ(Data().FindMemoId(6), 3);
  EXPECT_EQ(Data().FindMemoId(0x12345678), 0);
}

TEST_F(DatabaseTest, TakesBackWhatAFailedAppendHasWritten) {
  if (!tests::FullDisk::Possible()) GTEST_SKIP() << "no limit on the size of files here";
  OpenGolden();
  {
    const tests::FullDisk full(2048 + 500);
    EXPECT_THROW(Data().WriteItem(3), lib::RunTimeError);
  }
  EXPECT_EQ(ItemFile(), tests::GoldenItems());
  EXPECT_EQ(Data().AppendRecNo(), 3);
}

TEST_F(DatabaseTest, DropsTheDeletedItemsByCompaction) {
  const std::string first = tests::ConvertedItems().substr(0, 1024);
  const std::string deleted = tests::ConvertedItems().substr(1024, 1024);
  const std::string third = tests::ConvertedItems().substr(2048);
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(first + deleted + third + deleted);
  WriteNative(ProgramFolder() / "memo.$$$", std::string(5000, 'z'));  // left by a crash
  ASSERT_EQ(Open(), Database::Opened::Yes);
  EXPECT_EQ(Data().FindMemoId(0x0c0b0a09), 3);
  EXPECT_TRUE(Data().CompactDatabase());
  EXPECT_EQ(ItemFile(), first + third);
  EXPECT_EQ(Data().RecordCount(), 2);
  EXPECT_EQ(Data().FindMemoId(0x0c0b0a09), 2);
  EXPECT_EQ(Data().FindMemoId(0x08070605), 0);
  EXPECT_THAT(Names(), ElementsAre("zelkor.cfg", "zelkor.ind"));
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
  EXPECT_THAT(user_.Messages(), IsEmpty());
}

TEST_F(DatabaseTest, RewritesAFileWithoutDeletedItemsUnchanged) {
  WriteConfigFile(tests::GoldenConfig());
  const std::string live = tests::ConvertedItems().substr(0, 1024) + tests::ConvertedItems().substr(2048);
  WriteItemFile(live);
  ASSERT_EQ(Open(), Database::Opened::Yes);
  EXPECT_TRUE(Data().CompactDatabase());
  EXPECT_EQ(ItemFile(), live);
}

TEST_F(DatabaseTest, LeavesAnEmptyFileWhenAllItemsAreDeleted) {
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(tests::GoldenItems().substr(1024));
  ASSERT_EQ(Open(), Database::Opened::Yes);
  EXPECT_TRUE(Data().CompactDatabase());
  EXPECT_EQ(ItemFile(), "");
  EXPECT_EQ(Data().AppendRecNo(), 1);
}

TEST_F(DatabaseTest, KeepsTheOldFileWhenCompactionFindsTheDiskFull) {
  if (!tests::FullDisk::Possible()) GTEST_SKIP() << "no limit on the size of files here";
  std::string items;
  for (int i = 0; i < 40; ++i) items += tests::GoldenItems();
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(items);
  ASSERT_EQ(Open(), Database::Opened::Yes);
  {
    const tests::FullDisk full(20000);
    EXPECT_FALSE(Data().CompactDatabase());
  }
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_EQ(ItemFile(), items);
  EXPECT_THAT(Names(), ElementsAre("zelkor.cfg", "zelkor.ind"));
  Data().ReadItem(80);
  EXPECT_EQ(Data().Item().Text(FileRec::kDescription), "Letter");
  EXPECT_TRUE(Data().CompactDatabase());
  EXPECT_EQ(Data().RecordCount(), 40);
}

TEST_F(DatabaseTest, KeepsTheOldFileWhenItsPlaceIsTaken) {
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(tests::GoldenItems());
  WriteNative(ProgramFolder() / "memo.$$$" / "x", "");  // a directory where the temporary file should be
  ASSERT_EQ(Open(), Database::Opened::Yes);
  EXPECT_FALSE(Data().CompactDatabase());
  EXPECT_EQ(ItemFile(), tests::GoldenItems());
  Data().ReadItem(1);
  EXPECT_EQ(Data().Item().Text(FileRec::kDescription), "Plan");
}

}  // namespace
}  // namespace zelkor::db
