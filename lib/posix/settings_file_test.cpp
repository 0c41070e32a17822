// The settings file as it stands on the medium.
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv
#include <string>

#include "lib/settings.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class SettingsFileTest : public tests::Sandbox {
 protected:
  void Write(const std::string& text) const { WriteNative(SettingsFile(), text); }
  [[nodiscard]] std::string Read() const { return ReadNative(SettingsFile()); }
  // The names in the folder of the settings file.
  [[nodiscard]] static std::vector<std::string> NamesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }
};

TEST_F(SettingsFileTest, AreMadeWithTheirDirectoryForTheOwnerOnly) {
  const fs::path directory = Root() / "new" / "config";
  setenv("XDG_CONFIG_HOME", directory.c_str(), 1);
  PutIniValue("Orlim", "user", "pc01");
  EXPECT_EQ(ReadNative(directory / "orlim.ini"), "[Orlim]\r\nuser=pc01\r\n");
  EXPECT_EQ(fs::status(directory / "orlim.ini").permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(fs::status(directory).permissions(), fs::perms::owner_all);
}

TEST_F(SettingsFileTest, StandInTheHomeDirectoryWithoutAnAbsoluteConfigurationDirectory) {
  for (const char* value : {"", "relative"}) {
    setenv("XDG_CONFIG_HOME", value, 1);
    WriteNative(Home() / ".config" / "orlim.ini", "[a]\nk=home\n");
    EXPECT_EQ(GetIniString("a", "k", ""), "home") << value;
  }
}

TEST_F(SettingsFileTest, AreReplacedAsAWholeAndLeaveNothingBehind) {
  Write("[a]\nk=1\n");
  const fs::path link = Root() / "link to the old file";
  fs::create_hard_link(SettingsFile(), link);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(ReadNative(link), "[a]\nk=1\n") << "the old file was never written to";
  EXPECT_EQ(Read(), "[a]\nk=2\n");
  EXPECT_THAT(NamesIn(SettingsFile().parent_path()), ElementsAre("orlim.ini"));
}

TEST_F(SettingsFileTest, AreNotWrittenForAValueThatIsThere) {
  Write("[a]\nk=1\n");
  const fs::path link = Root() / "link to the file";
  fs::create_hard_link(SettingsFile(), link);
  PutIniValue("A", "K", "1");
  EXPECT_TRUE(fs::equivalent(link, SettingsFile()));
}

TEST_F(SettingsFileTest, StayALink) {
  const fs::path target = Root() / "dotfiles" / "suite.ini";
  WriteNative(target, "[a]\nk=1\n");
  fs::create_symlink("../dotfiles/second", SettingsFile());
  fs::create_symlink(target, Root() / "dotfiles" / "second");
  PutIniValue("a", "k", "2");
  EXPECT_TRUE(fs::is_symlink(SettingsFile()));
  EXPECT_TRUE(fs::is_symlink(Root() / "dotfiles" / "second"));
  EXPECT_EQ(ReadNative(target), "[a]\nk=2\n");
}

TEST_F(SettingsFileTest, AreMadeWhereALinkLeads) {
  fs::create_symlink(Root() / "elsewhere" / "suite.ini", SettingsFile());
  PutIniValue("a", "k", "2");
  EXPECT_TRUE(fs::is_symlink(SettingsFile()));
  EXPECT_EQ(ReadNative(Root() / "elsewhere" / "suite.ini"), "[a]\r\nk=2\r\n");
}

TEST_F(SettingsFileTest, BehindLinksInACircleYieldDefaults) {
  fs::create_symlink("orlim.ini", SettingsFile());
  PutIniValue("a", "k", "2");
  EXPECT_EQ(GetIniString("a", "k", "none"), "none");
}

TEST_F(SettingsFileTest, LeaveAFileAloneThatIsTooLong) {
  const std::string text = "[a]\nk=1\n" + std::string((1 << 20) - 7, ';');
  Write(text);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(Read(), text);
  EXPECT_EQ(GetIniString("a", "k", "none"), "none");
  EXPECT_THAT(IniKeys("a"), IsEmpty());
}

TEST_F(SettingsFileTest, NeverGrowPastWhatCanBeRead) {
  const std::string text = "[a]\nk=1\n" + std::string((1 << 20) - 8, ';');
  Write(text);
  EXPECT_EQ(GetIniString("a", "k", ""), "1");
  PutIniValue("a", "k", "22");
  EXPECT_EQ(Read(), text);
}

TEST_F(SettingsFileTest, LeaveAFileOf16BitCharactersAlone) {
  const std::string text("\xFF\xFE[\0a\0]\0", 8);
  Write(text);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(Read(), text);
}

TEST_F(SettingsFileTest, LeaveAFileAloneThatItsOwnerMayNotWrite) {
  Write("[a]\nk=1\n");
  fs::permissions(SettingsFile(), fs::perms::owner_read);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(Read(), "[a]\nk=1\n");
}

TEST_F(SettingsFileTest, SurviveADirectoryInTheirPlace) {
  fs::create_directory(SettingsFile());
  PutIniValue("a", "k", "2");
  EXPECT_EQ(GetIniString("a", "k", "none"), "none");
  EXPECT_TRUE(fs::is_directory(SettingsFile()));
  EXPECT_THAT(NamesIn(SettingsFile().parent_path()), ElementsAre("orlim.ini"));
}

TEST_F(SettingsFileTest, SurviveAFileInThePlaceOfTheirDirectory) {
  const fs::path file = Root() / "file";
  WriteNative(file, "x");
  setenv("XDG_CONFIG_HOME", file.c_str(), 1);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(GetIniString("a", "k", "none"), "none");
  EXPECT_EQ(ReadNative(file), "x");
}

TEST_F(SettingsFileTest, ChangeNothingOfTheFileButTheValue) {
  Write("; mine\n\n[ORLIM]\n  USER =  old  \n[Other]\nuser=x\n");
  PutIniValue("Orlim", "user", "new");
  EXPECT_EQ(Read(), "; mine\n\n[ORLIM]\n  USER =  new  \n[Other]\nuser=x\n");
}

}  // namespace
}  // namespace zelkor::lib
