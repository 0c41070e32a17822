#include "lib/paths.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelkor::lib {
namespace {

using testing::HasSubstr;

TEST(SlashPath, AppendsABackslashOnlyWhereNoneIs) {
  EXPECT_EQ(SlashPath("c:"), "c:\\");
  EXPECT_EQ(SlashPath("c:\\"), "c:\\");
  EXPECT_EQ(SlashPath(""), "\\");
}

TEST(SlashPath, RemovesOneTrailingBackslash) {
  EXPECT_EQ(SlashPath("c:\\", true), "c:");
  EXPECT_EQ(SlashPath("c:\\a\\\\", true), "c:\\a\\");
  EXPECT_EQ(SlashPath("c:\\a", true), "c:\\a");
  EXPECT_EQ(SlashPath("", true), "");
}

TEST(FileNamePart, StandsBehindTheLastBackslashOrColon) {
  EXPECT_EQ(FileNamePart("c:\\a\\b.txt"), "b.txt");
  EXPECT_EQ(FileNamePart("c:b.txt"), "b.txt");
  EXPECT_EQ(FileNamePart("b.txt"), "b.txt");
  EXPECT_EQ(FileNamePart("c:\\a\\"), "");
  EXPECT_EQ(FileNamePart(""), "");
}

TEST(DirectoryPart, IsWhatStandsBeforeTheName) {
  EXPECT_EQ(DirectoryPart("c:\\a\\b.txt"), "c:\\a\\");
  EXPECT_EQ(DirectoryPart("c:b.txt"), "c:");
  EXPECT_EQ(DirectoryPart("b.txt"), "");
}

TEST(FileExtension, StandsBehindTheFirstDotOfTheName) {
  EXPECT_EQ(FileExtension("c:\\a.b\\c.tar.gz"), "tar.gz");
  EXPECT_EQ(FileExtension("c:\\a.b\\c"), "");
  EXPECT_EQ(FileExtension(".profile"), "profile");
  EXPECT_EQ(FileExtension("c."), "");
}

TEST(FileBaseName, StandsBeforeTheFirstDot) {
  EXPECT_EQ(FileBaseName("c.tar.gz"), "c");
  EXPECT_EQ(FileBaseName("c"), "c");
  EXPECT_EQ(FileBaseName(".profile"), "");
}

TEST(IsDrivePath, WantsALetterAColonAndABackslash) {
  EXPECT_TRUE(IsDrivePath("c:\\"));
  EXPECT_TRUE(IsDrivePath("Z:\\a"));
  for (const char* path : {"c:", "c:a", "1:\\", R"(\\server\share)", "/etc", "", "\xC4:\\a", "c:/a"}) {
    EXPECT_FALSE(IsDrivePath(path)) << path;
  }
}

TEST(CheckName, AcceptsNamesThatTheFormCanCarry) {
  for (const char* name : {"a", "a b.txt", ".profile", "..", "a.", "Gru\xDF", "a<b>|c", "\x81"}) {
    EXPECT_TRUE(CheckName(name).Ok()) << name;
  }
}

TEST(CheckName, RefusesWhatThePathsWouldMisread) {
  for (const char* name : {"", "a\\b", "a:b", "a*", "a?", "a\"b", "a/b", "a\tb", "a\x7F", " a", "a ", " "}) {
    EXPECT_EQ(CheckName(name).Why(), Cause::Refused) << name;
  }
  EXPECT_EQ(CheckName(std::string("a\0b", 3)).Why(), Cause::Refused);
}

TEST(CheckName, SaysWhichNameAndWhy) {
  EXPECT_EQ(CheckName("a*b").Message(), "The name \"a*b\" can not be used: it holds the character *");
  EXPECT_EQ(CheckName("a\nb").Message(), "The name \"a?b\" can not be used: it holds a control character");
  EXPECT_EQ(CheckName(" a").Message(), "The name \" a\" can not be used: it begins or ends with a blank");
}

TEST(CheckReceivedPath, AcceptsPathsOnADrive) {
  for (const char* path : {"c:\\a", "Z:\\dir\\a b.txt", "c:\\.profile", "c:\\a..b", "c:\\console", "c:\\com10",
                           "c:\\com0", "c:\\comx", "c:\\nulls.txt"}) {
    EXPECT_TRUE(CheckReceivedPath(path).Ok()) << path << ": " << CheckReceivedPath(path).Message();
  }
}

TEST(CheckReceivedPath, RefusesPathsWithoutADrive) {
  for (const char* path : {"", "a.txt", "c:a.txt", "\\a.txt", "/etc/passwd", "cc:\\a"}) {
    EXPECT_EQ(CheckReceivedPath(path).Why(), Cause::Refused) << path;
  }
}

TEST(CheckReceivedPath, RefusesPathsThatLeadElsewhere) {
  for (const char* path : {"c:\\..\\a", R"(c:\a\.\b)", "c:\\a\\..", "c:\\...\\a", "c:\\a/../b", R"(c:\a\\b)", "c:\\",
                           "c:\\a\\", "c:\\a:stream", "c:\\*.txt", "c:\\a\\b?", "c:\\a\n", "c:\\.. \\a"}) {
    EXPECT_EQ(CheckReceivedPath(path).Why(), Cause::Refused) << path;
  }
}

TEST(CheckReceivedPath, RefusesNamesOfDevices) {
  for (const char* path : {"c:\\nul", "c:\\dir\\CON.txt", "c:\\Com1", "c:\\lpt9.tar.gz", "c:\\aux\\a", "c:\\prn",
                           "c:\\com\xB2", "c:\\con .txt", "c:\\clock$"}) {
    EXPECT_EQ(CheckReceivedPath(path).Why(), Cause::Refused) << path;
  }
  EXPECT_THAT(CheckReceivedPath("c:\\nul.txt").Message(), HasSubstr("\"nul.txt\""));
}

TEST(CheckPath, TakesADriveAndNamesTheLastOfWhichMayBeMissing) {
  EXPECT_TRUE(CheckPath("c:\\").Ok());
  EXPECT_TRUE(CheckPath("Q:\\a b\\c.d").Ok());
  EXPECT_TRUE(CheckPath("c:\\a\\").Ok());
}

TEST(CheckPath, RefusesWhatHasNoDriveOrANameThatCanNotBe) {
  EXPECT_FALSE(CheckPath("").Ok());
  EXPECT_FALSE(CheckPath("c:a.txt").Ok());
  EXPECT_FALSE(CheckPath("/home/a.txt").Ok());
  EXPECT_FALSE(CheckPath("c:\\a\\\\b").Ok());
  EXPECT_FALSE(CheckPath("c:\\a*\\b").Ok());
  EXPECT_FALSE(CheckPath("c:\\a\\b?").Ok());
}

}  // namespace
}  // namespace zelkor::lib
