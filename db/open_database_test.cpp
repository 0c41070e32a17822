// What OpenDatabase makes of the files that it finds.
#include <cstddef>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "db/database.h"
#include "lib/files.h"
#include "tests/support/database_fixture.h"
#include "tests/support/full_disk.h"
#include "tests/support/golden_database.h"

namespace zelkor::db {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Opened = Database::Opened;

class OpenDatabase : public tests::DatabaseFixture {
 protected:
  // Signature, version 220 and blanks for the targets; everything else zero bytes.
  static std::string FreshConfig() {
    return "Zelkor! " + tests::Raw("\xdc\x00") + std::string(4086, '\0') + std::string(4096, ' ');
  }
  // The old configuration brought up to date.
  static std::string RenewedConfig() {
    std::string config = tests::OldConfig();
    config.replace(8, 2, tests::Raw("\xdc\x00"));
    return config + std::string(4096, ' ');
  }
  static std::string WithVersion(int version) {
    std::string config = tests::GoldenConfig();
    config[8] = static_cast<char>(version & 0xFF);
    config[9] = static_cast<char>(version >> 8);
    return config;
  }
  void ExpectUnusable(const std::string& part) {
    const std::string config = std::filesystem::is_regular_file(ConfigPath()) ? ConfigFile() : "";
    const std::string items = std::filesystem::is_regular_file(ItemsPath()) ? ItemFile() : "";
    EXPECT_EQ(Open(), Opened::Unusable);
    ASSERT_EQ(user_.boxes.size(), 1U);
    EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
    EXPECT_THAT(user_.boxes[0].text, HasSubstr(part));
    if (std::filesystem::is_regular_file(ConfigPath())) {
      EXPECT_EQ(ConfigFile(), config);
    }
    if (std::filesystem::is_regular_file(ItemsPath())) {
      EXPECT_EQ(ItemFile(), items);
    }
  }
};

TEST_F(OpenDatabase, CreatesBothFilesAtAFirstStartAndAsksNothing) {
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(ConfigFile(), FreshConfig());
  EXPECT_EQ(ItemFile(), "");
  EXPECT_THAT(Names(), ElementsAre("zelkor.cfg", "zelkor.ind"));
}

TEST_F(OpenDatabase, ChangesNothingInADatabaseOfThisVersion) {
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(tests::GoldenItems());
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
  EXPECT_EQ(ItemFile(), tests::GoldenItems());
}

TEST_F(OpenDatabase, AsksNothingForAnEmptyItemFileOfAnOlderVersion) {
  WriteConfigFile(tests::OldConfig());
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(ConfigFile(), RenewedConfig());
}

TEST_F(OpenDatabase, ConvertsThreeOldRecordsAfterAsking) {
  WriteConfigFile(tests::OldConfig());
  WriteItemFile(tests::OldItems());
  user_.answers = {lib::Button::Ok};
  EXPECT_EQ(Open(), Opened::Yes);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Convert file from 1.1 to 2.23?");
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::OkCancel);
  EXPECT_EQ(ItemFile().size(), 3072U);
  EXPECT_EQ(ItemFile(), tests::ConvertedItems());
  EXPECT_EQ(ConfigFile(), RenewedConfig());
  EXPECT_THAT(Names(), ElementsAre("zelkor.cfg", "zelkor.ind"));
  EXPECT_EQ(Data().RecordCount(), 3);
  Data().ReadItem(3);
  EXPECT_EQ(Data().Item().Text(FileRec::kCodes), "home +lap");
}

TEST_F(OpenDatabase, OpensAConvertedDatabaseWithoutAQuestion) {
  WriteConfigFile(tests::OldConfig());
  WriteItemFile(tests::OldItems());
  user_.answers = {lib::Button::Ok};
  ASSERT_EQ(Open(), Opened::Yes);
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(ItemFile(), tests::ConvertedItems());
}

TEST_F(OpenDatabase, ChangesNothingWhenTheConversionIsRefused) {
  WriteConfigFile(tests::OldConfig());
  WriteItemFile(tests::OldItems());
  user_.answers = {lib::Button::Cancel};
  EXPECT_EQ(Open(), Opened::ConversionRefused);
  EXPECT_EQ(ConfigFile(), tests::OldConfig());
  EXPECT_EQ(ItemFile(), tests::OldItems());
  EXPECT_THAT(Names(), ElementsAre("zelkor.cfg", "zelkor.ind"));
}

TEST_F(OpenDatabase, AppendsOnlyTheMissingBytesToTheConfigurationFile) {
  WriteConfigFile(tests::OldConfig() + "targets of old");
  WriteItemFile(tests::OldItems());
  user_.answers = {lib::Button::Ok};
  ASSERT_EQ(Open(), Opened::Yes);
  EXPECT_EQ(ConfigFile(), RenewedConfig().replace(4096, 14, "targets of old"));
}

TEST_F(OpenDatabase, KeepsTheTargetsThroughAConversion) {
  WriteConfigFile(WithVersion(219));
  WriteItemFile(tests::OldItems());
  user_.answers = {lib::Button::Ok};
  ASSERT_EQ(Open(), Opened::Yes);
  EXPECT_EQ(user_.boxes.at(0).text, "Convert file from 2.19 to 2.23?");
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
}

TEST_F(OpenDatabase, MindsNoLeftoversOfAnEarlierAttempt) {
  WriteConfigFile(tests::OldConfig());
  WriteItemFile(tests::OldItems());
  WriteNative(ProgramFolder() / "zelkor.$$$", std::string(10000, 'z'));
  WriteNative(ProgramFolder() / "memo.$$$", std::string(10000, 'z'));
  user_.answers = {lib::Button::Ok};
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_EQ(ItemFile(), tests::ConvertedItems());
}

TEST_F(OpenDatabase, ConvertsOldItemsBesideALostConfigurationFile) {
  WriteItemFile(tests::OldItems());
  user_.answers = {lib::Button::Ok};
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_EQ(user_.boxes.at(0).text, "Convert file from . to 2.23?");
  EXPECT_EQ(ItemFile(), tests::ConvertedItems());
}

TEST_F(OpenDatabase, DoesNotConvertItemsOfTodayBesideALostConfigurationFile) {
  for (const std::string& config : {std::string(), std::string(3, 'Z'), std::string(8192, '\0')}) {
    WriteConfigFile(config);
    WriteItemFile(tests::GoldenItems());
    EXPECT_EQ(Open(), Opened::Yes);
    EXPECT_EQ(ItemFile(), tests::GoldenItems());
    EXPECT_EQ(ConfigFile().substr(0, 10), "Zelkor! " + tests::Raw("\xdc\x00"));
    EXPECT_EQ(ConfigFile().size(), 8192U);
    EXPECT_EQ(Data().RecordCount(), 2);
  }
  for (const lib::Box& box : user_.boxes) EXPECT_EQ(box.buttons, lib::Buttons::Ok);
}

TEST_F(OpenDatabase, SaysThatALostConfigurationFileHasTakenTheTargetsAlong) {
  WriteItemFile(tests::GoldenItems());
  EXPECT_EQ(Open(), Opened::Yes);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("targets"));
}

TEST_F(OpenDatabase, DoesNotConvertItemsOfTodayBesideAnOlderConfiguration) {
  WriteConfigFile(WithVersion(110));
  WriteItemFile(tests::GoldenItems());
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_EQ(ItemFile(), tests::GoldenItems());
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(OpenDatabase, EndsRatherThanGuessWhatAnItemFileIs) {
  WriteConfigFile("");
  WriteItemFile(std::string(4096, '\0'));
  ExpectUnusable("can not be told");
}

TEST_F(OpenDatabase, CutsOffAnIncompleteLastRecordAndSaysSo) {
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(tests::GoldenItems() + std::string(700, 'x'));
  EXPECT_EQ(Open(), Opened::Yes);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("incomplete"));
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("zelkor.ind"));
  EXPECT_EQ(ItemFile(), tests::GoldenItems());
  EXPECT_EQ(Data().AppendRecNo(), 3);
}

TEST_F(OpenDatabase, LeavesAnIncompleteLastRecordOutOfAConversion) {
  WriteConfigFile(tests::OldConfig());
  WriteItemFile(tests::OldItems() + std::string(100, 'x'));
  user_.answers = {lib::Button::Ok};
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_EQ(ItemFile(), tests::ConvertedItems());
}

TEST_F(OpenDatabase, RefusesAConfigurationFileOfANewerVersion) {
  WriteConfigFile(WithVersion(301));
  WriteItemFile(tests::GoldenItems());
  ExpectUnusable("newer version of Zelkor (database version 3.01)");
}

TEST_F(OpenDatabase, RefusesADamagedConfigurationFile) {
  WriteItemFile(tests::GoldenItems());
  WriteConfigFile("Kelzor! " + tests::GoldenConfig().substr(8));
  ExpectUnusable("zelkor.cfg is damaged");
  user_.boxes.clear();
  WriteConfigFile(std::string(8192, ' '));
  ExpectUnusable("zelkor.cfg is damaged");
  user_.boxes.clear();
  WriteConfigFile(std::string(8192, '\xff'));
  ExpectUnusable("zelkor.cfg is damaged");
}

TEST_F(OpenDatabase, TakesAConfigurationFileThatIsCutShort) {
  for (std::size_t length : {10U, 11U, 3000U, 4095U, 4096U, 5000U, 8191U}) {
    WriteConfigFile(tests::GoldenConfig().substr(0, length));
    WriteItemFile(tests::GoldenItems());
    EXPECT_EQ(Open(), Opened::Yes) << length;
    EXPECT_EQ(ItemFile(), tests::GoldenItems()) << length;
  }
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(OpenDatabase, RefusesADirectoryInThePlaceOfAFile) {
  std::filesystem::create_directory(ConfigPath());
  ExpectUnusable("zelkor.cfg");
  std::filesystem::remove(ConfigPath());
  user_.boxes.clear();
  std::filesystem::create_directory(ItemsPath());
  ExpectUnusable("zelkor.ind");
}

TEST_F(OpenDatabase, RefusesAFileThatCanNotBeOpened) {
  if (!tests::HasModes()) GTEST_SKIP() << "links are made otherwise here";
  // A link to itself: not even root can follow it.
  std::filesystem::create_symlink(ConfigPath(), ConfigPath());
  EXPECT_EQ(Open(), Opened::Unusable);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("zelkor.cfg"));
  EXPECT_TRUE(std::filesystem::is_symlink(ConfigPath()));
}

TEST_F(OpenDatabase, OpensAnItemFileOfManyGigabytesWithoutReadingIt) {
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile("");
  ASSERT_TRUE(lib::File::Open(OnDriveZ(ItemsPath()), lib::OpenMode::Existing)->SetLength(std::int64_t{3} << 40).Ok());
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_GT(Data().RecordCount(), kMaxItems);
}

TEST_F(OpenDatabase, FinishesAnInterruptedConversionWithoutAQuestion) {
  WriteConfigFile(tests::OldConfig());
  WriteItemFile(tests::OldItems());
  WriteNative(ProgramFolder() / "zelkor.new", tests::ConvertedItems());
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(ItemFile(), tests::ConvertedItems());
  EXPECT_EQ(ConfigFile(), RenewedConfig());
  EXPECT_THAT(Names(), ElementsAre("zelkor.cfg", "zelkor.ind"));
}

TEST_F(OpenDatabase, FinishesAConversionThatHadWrittenTheVersion) {
  WriteConfigFile(RenewedConfig());
  WriteItemFile(tests::OldItems());
  WriteNative(ProgramFolder() / "zelkor.new", tests::ConvertedItems());
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(ItemFile(), tests::ConvertedItems());
  EXPECT_EQ(Data().RecordCount(), 3);
}

TEST_F(OpenDatabase, PutsNoConvertedFileOverItemsThatItWasNotMadeOf) {
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(tests::GoldenItems());
  WriteNative(ProgramFolder() / "zelkor.new", tests::ConvertedItems());
  ExpectUnusable("does not belong to");
}

TEST_F(OpenDatabase, KeepsTheOldFilesWhenTheDiskIsFullDuringTheConversion) {
  if (!tests::FullDisk::Possible()) GTEST_SKIP() << "no limit on the size of files here";
  WriteConfigFile(tests::OldConfig());
  WriteItemFile(tests::OldItems());
  user_.answers = {lib::Button::Ok};
  {
    const tests::FullDisk full(2000);
    EXPECT_EQ(Open(), Opened::Unusable);
  }
  EXPECT_EQ(user_.boxes.size(), 2U);
  EXPECT_EQ(ConfigFile(), tests::OldConfig());
  EXPECT_EQ(ItemFile(), tests::OldItems());
  EXPECT_THAT(Names(), ElementsAre("zelkor.cfg", "zelkor.ind"));
}

TEST_F(OpenDatabase, GoesOnWhereAFullDiskHasStoppedIt) {
  if (!tests::FullDisk::Possible()) GTEST_SKIP() << "no limit on the size of files here";
  // Room for the items, not for the configuration file.
  WriteConfigFile(tests::OldConfig());
  WriteItemFile(tests::OldItems());
  user_.answers = {lib::Button::Ok};
  {
    const tests::FullDisk full(5000);
    EXPECT_EQ(Open(), Opened::Unusable);
  }
  EXPECT_EQ(ItemFile(), tests::OldItems());
  user_.boxes.clear();
  EXPECT_EQ(Open(), Opened::Yes);
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(ItemFile(), tests::ConvertedItems());
  EXPECT_EQ(ConfigFile(), RenewedConfig());
}

}  // namespace
}  // namespace zelkor::db
