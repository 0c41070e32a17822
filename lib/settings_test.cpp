#include "lib/settings.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv
#include <string>

#include "lib/run_time_error.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class Settings : public tests::Sandbox {
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

TEST_F(Settings, YieldTheDefaultWhereSomethingIsMissing) {
  EXPECT_EQ(GetIniString("Orlim", "User", "nobody"), "nobody");
  EXPECT_EQ(GetIniNumber("Zelkor", "SysTray", 7), 7);
  EXPECT_EQ(GetIniPath("Drives", "c"), "");
  EXPECT_THAT(IniKeys("Drives"), IsEmpty());
  Write("[Orlim]\r\n");
  EXPECT_EQ(GetIniString("Orlim", "User", "nobody"), "nobody");
  EXPECT_EQ(GetIniString("Zelkor", "LastTarget", ""), "");
}

TEST_F(Settings, AreOneFileForSectionsInEitherCase) {
  PutIniValue("Orlim", "user", "pc01");
  EXPECT_EQ(GetIniString("orlim", "User", ""), "pc01");
  EXPECT_EQ(Read(), "[Orlim]\r\nuser=pc01\r\n");
}

TEST_F(Settings, ReturnAnEmptyValueAndNotTheDefault) {
  Write("[Orlim]\r\nUser=\r\n");
  EXPECT_EQ(GetIniString("Orlim", "User", "nobody"), "");
}

TEST_F(Settings, ReturnAValueOf63CharactersWhole) {
  const std::string value(63, 'x');
  Write("[a]\nk=" + value + "\n");
  EXPECT_EQ(GetIniString("a", "k", ""), value);
}

TEST_F(Settings, CutALongerValueAt63Characters) {
  const std::string value = std::string(62, 'x') + "yz";
  Write("[a]\nk=" + value + "\n");
  EXPECT_EQ(GetIniString("a", "k", ""), std::string(62, 'x') + "y");
  EXPECT_EQ(GetIniString("a", "missing", value), std::string(62, 'x') + "y") << "a default passes the same buffer";
}

TEST_F(Settings, CutAValueAtItsFirstNul) {
  Write(std::string("[a]\nk=x\0y\n", 10));
  EXPECT_EQ(GetIniString("a", "k", ""), "x");
  EXPECT_EQ(GetIniPath("a", "k"), "x");
}

TEST_F(Settings, ReadPathsWholeAsTheirBytesStandThere) {
  const std::string path = "/media/" + std::string(200, 'x') + "/Gr\xC3\xBC\xC3\x9F";
  Write("[Drives]\nM=" + path + "\n");
  EXPECT_EQ(GetIniPath("drives", "m"), path);
  EXPECT_THAT(IniKeys("Drives"), ElementsAre("m"));
}

TEST_F(Settings, ReadNumbersByTheirBeginning) {
  Write("[Zelkor]\nSysTray=yes\na= 1\nb=12px\nc=-3.7\nd=\ne=2.5\nf=3.5\ng=-2.5\nh=0.5\ni=2.5000001\n");
  EXPECT_EQ(GetIniNumber("Zelkor", "SysTray", 1), 0);
  EXPECT_EQ(GetIniNumber("Zelkor", "a", 0), 1);
  EXPECT_EQ(GetIniNumber("Zelkor", "b", 0), 12);
  EXPECT_EQ(GetIniNumber("Zelkor", "c", 0), -4);
  EXPECT_EQ(GetIniNumber("Zelkor", "d", 5), 0);
  EXPECT_EQ(GetIniNumber("Zelkor", "e", 0), 2) << "halves to the even neighbour";
  EXPECT_EQ(GetIniNumber("Zelkor", "f", 0), 4);
  EXPECT_EQ(GetIniNumber("Zelkor", "g", 0), -2);
  EXPECT_EQ(GetIniNumber("Zelkor", "h", 1), 0);
  EXPECT_EQ(GetIniNumber("Zelkor", "i", 0), 3);
}

TEST_F(Settings, TakeDefaultsOfAnyNumber) {
  EXPECT_EQ(GetIniNumber("Zelkor", "x", 2.5), 2);
  EXPECT_EQ(GetIniNumber("Zelkor", "x", -1234567.75), -1234568);
  EXPECT_EQ(GetIniNumber("Zelkor", "x", 1e-300), 0);
  EXPECT_THROW((void)GetIniNumber("Zelkor", "x", 1e300), RunTimeError);
}

TEST_F(Settings, RaiseAnOverflowForANumberThatDoesNotFit) {
  Write("[a]\nmost=2147483647\nleast=-2147483648\nmore=2147483648\nless=-2147483649\nhalf=2147483647.5\nhuge=" +
        std::string(50, '9') + "\n");
  EXPECT_EQ(GetIniNumber("a", "most", 0), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(GetIniNumber("a", "least", 0), std::numeric_limits<std::int32_t>::min());
  for (const char* key : {"more", "less", "half", "huge"}) {
    EXPECT_THROW((void)GetIniNumber("a", key, 0), RunTimeError) << key;
  }
  try {
    (void)GetIniNumber("a", "more", 0);
  } catch (const RunTimeError& error) {
    EXPECT_STREQ(error.what(), "Run-time error 6: Overflow ([a] more=2147483648)");
  }
}

TEST_F(Settings, WriteNumbersWithoutSeparators) {
  PutIniValue("ZELKOR", "FormLeft", -1234567);
  EXPECT_EQ(Read(), "[ZELKOR]\r\nFormLeft=-1234567\r\n");
  EXPECT_EQ(FormatIniNumber(1234567.5), "1234567.5");
  EXPECT_EQ(FormatIniNumber(0), "0");
  EXPECT_EQ(FormatIniNumber(-0.0), "0");
  EXPECT_EQ(FormatIniNumber(0.1), "0.1");
  EXPECT_EQ(FormatIniNumber(1e15), "1000000000000000");
}

TEST_F(Settings, ChangeNothingOfTheFileButTheValue) {
  Write("; mine\n\n[ORLIM]\n  USER =  old  \n[Other]\nuser=x\n");
  PutIniValue("Orlim", "user", "new");
  EXPECT_EQ(Read(), "; mine\n\n[ORLIM]\n  USER =  new  \n[Other]\nuser=x\n");
}

TEST_F(Settings, AreSeenAsOtherProgramsWriteThem) {
  Write("[a]\nk=1\n");
  EXPECT_EQ(GetIniString("a", "k", ""), "1");
  Write("[a]\nk=2\n");
  EXPECT_EQ(GetIniString("a", "k", ""), "2");
}

TEST_F(Settings, AreMadeWithTheirDirectoryForTheOwnerOnly) {
  const fs::path directory = Root() / "new" / "config";
  setenv("XDG_CONFIG_HOME", directory.c_str(), 1);
  PutIniValue("Orlim", "user", "pc01");
  EXPECT_EQ(ReadNative(directory / "orlim.ini"), "[Orlim]\r\nuser=pc01\r\n");
  EXPECT_EQ(fs::status(directory / "orlim.ini").permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(fs::status(directory).permissions(), fs::perms::owner_all);
}

TEST_F(Settings, StandInTheHomeDirectoryWithoutAnAbsoluteConfigurationDirectory) {
  for (const char* value : {"", "relative"}) {
    setenv("XDG_CONFIG_HOME", value, 1);
    WriteNative(Home() / ".config" / "orlim.ini", "[a]\nk=home\n");
    EXPECT_EQ(GetIniString("a", "k", ""), "home") << value;
  }
}

TEST_F(Settings, AreReplacedAsAWholeAndLeaveNothingBehind) {
  Write("[a]\nk=1\n");
  const fs::path link = Root() / "link to the old file";
  fs::create_hard_link(SettingsFile(), link);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(ReadNative(link), "[a]\nk=1\n") << "the old file was never written to";
  EXPECT_EQ(Read(), "[a]\nk=2\n");
  EXPECT_THAT(NamesIn(SettingsFile().parent_path()), ElementsAre("orlim.ini"));
}

TEST_F(Settings, AreNotWrittenForAValueThatIsThere) {
  Write("[a]\nk=1\n");
  const fs::path link = Root() / "link to the file";
  fs::create_hard_link(SettingsFile(), link);
  PutIniValue("A", "K", "1");
  EXPECT_TRUE(fs::equivalent(link, SettingsFile()));
}

TEST_F(Settings, StayALink) {
  const fs::path target = Root() / "dotfiles" / "suite.ini";
  WriteNative(target, "[a]\nk=1\n");
  fs::create_symlink("../dotfiles/second", SettingsFile());
  fs::create_symlink(target, Root() / "dotfiles" / "second");
  PutIniValue("a", "k", "2");
  EXPECT_TRUE(fs::is_symlink(SettingsFile()));
  EXPECT_TRUE(fs::is_symlink(Root() / "dotfiles" / "second"));
  EXPECT_EQ(ReadNative(target), "[a]\nk=2\n");
}

TEST_F(Settings, AreMadeWhereALinkLeads) {
  fs::create_symlink(Root() / "elsewhere" / "suite.ini", SettingsFile());
  PutIniValue("a", "k", "2");
  EXPECT_TRUE(fs::is_symlink(SettingsFile()));
  EXPECT_EQ(ReadNative(Root() / "elsewhere" / "suite.ini"), "[a]\r\nk=2\r\n");
}

TEST_F(Settings, BehindLinksInACircleYieldDefaults) {
  fs::create_symlink("orlim.ini", SettingsFile());
  PutIniValue("a", "k", "2");
  EXPECT_EQ(GetIniString("a", "k", "none"), "none");
}

TEST_F(Settings, LeaveAFileAloneThatIsTooLong) {
  const std::string text = "[a]\nk=1\n" + std::string((1 << 20) - 7, ';');
  Write(text);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(Read(), text);
  EXPECT_EQ(GetIniString("a", "k", "none"), "none");
  EXPECT_THAT(IniKeys("a"), IsEmpty());
}

TEST_F(Settings, NeverGrowPastWhatCanBeRead) {
  const std::string text = "[a]\nk=1\n" + std::string((1 << 20) - 8, ';');
  Write(text);
  EXPECT_EQ(GetIniString("a", "k", ""), "1");
  PutIniValue("a", "k", "22");
  EXPECT_EQ(Read(), text);
}

TEST_F(Settings, LeaveAFileOf16BitCharactersAlone) {
  const std::string text("\xFF\xFE[\0a\0]\0", 8);
  Write(text);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(Read(), text);
}

TEST_F(Settings, LeaveAFileAloneThatItsOwnerMayNotWrite) {
  Write("[a]\nk=1\n");
  fs::permissions(SettingsFile(), fs::perms::owner_read);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(Read(), "[a]\nk=1\n");
}

TEST_F(Settings, SurviveADirectoryInTheirPlace) {
  fs::create_directory(SettingsFile());
  PutIniValue("a", "k", "2");
  EXPECT_EQ(GetIniString("a", "k", "none"), "none");
  EXPECT_TRUE(fs::is_directory(SettingsFile()));
  EXPECT_THAT(NamesIn(SettingsFile().parent_path()), ElementsAre("orlim.ini"));
}

TEST_F(Settings, SurviveAFileInThePlaceOfTheirDirectory) {
  const fs::path file = Root() / "file";
  WriteNative(file, "x");
  setenv("XDG_CONFIG_HOME", file.c_str(), 1);
  PutIniValue("a", "k", "2");
  EXPECT_EQ(GetIniString("a", "k", "none"), "none");
  EXPECT_EQ(ReadNative(file), "x");
}

}  // namespace
}  // namespace zelkor::lib
