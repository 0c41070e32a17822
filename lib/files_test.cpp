#include "lib/files.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

class OpenFileSafely : public tests::Sandbox {
 protected:
  int Open(std::string_view path, char mode, int options = 0) {
    return OpenFileSafe(path, mode, file_, options, user_);
  }

  File file_;
  tests::ScriptedUser user_;
};

TEST_F(OpenFileSafely, OpensByTheLetterInEitherCase) {
  for (const char mode : {'b', 'B', 'r', 'R', 'o', 'O'}) {
    const std::string name = std::string("new-") + std::to_string(static_cast<int>(mode));
    EXPECT_EQ(Open("c:\\" + name, mode), 0) << mode;
    EXPECT_TRUE(fs::exists(Home() / name)) << mode;
    EXPECT_EQ(file_.Path(), "c:\\" + name);
  }
  WriteNative(Home() / "a", "content");
  for (const char mode : {'b', 'R', 'i', 'I'}) {
    EXPECT_EQ(Open("c:\\a", mode), 0);
    EXPECT_EQ(file_.Length().Value(), 7) << mode;
  }
  EXPECT_EQ(Open("c:\\a", 'o'), 0);
  EXPECT_EQ(file_.Length().Value(), 0) << "output empties";
}

TEST_F(OpenFileSafely, GivesTheErrorNumberAndKeepsTheFileGiven) {
  WriteNative(Home() / "a", "");
  ASSERT_EQ(Open("c:\\a", 'i'), 0);
  EXPECT_EQ(Open("c:\\none", 'i'), 53);
  EXPECT_EQ(Open("c:\\none\\a", 'b'), 76);
  EXPECT_NE(Open("c:\\a", 'x'), 0) << "no such mode";
  EXPECT_EQ(file_.Path(), "c:\\a");
  EXPECT_TRUE(user_.boxes.empty());
}

TEST_F(OpenFileSafely, ShowsTheFailureWhenAsked) {
  EXPECT_EQ(Open("c:\\none", 'i', kShowError), 53);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Can not open c:\\none");
  EXPECT_EQ(user_.boxes[0].icon, Icon::Critical);
  WriteNative(Home() / "a", "");
  EXPECT_EQ(Open("c:\\a", 'i', kShowError), 0);
  EXPECT_EQ(user_.boxes.size(), 1U);
}

TEST_F(OpenFileSafely, DeletesTheFileFirstWhenAsked) {
  WriteNative(Home() / "a", "content");
  EXPECT_EQ(Open("c:\\a", 'b', kDeleteFirst), 0);
  EXPECT_EQ(file_.Length().Value(), 0);
  WriteNative(Home() / "b", "content");
  EXPECT_EQ(Open("c:\\b", 'i', kDeleteFirst | kShowError), 53);
  EXPECT_EQ(user_.boxes.size(), 1U);
}

class TemporaryNames : public tests::Sandbox {};

TEST_F(TemporaryNames, CountUpToOneThatIsFree) {
  EXPECT_EQ(TempFileName("c:\\", "", ""), "c:\\~00.tmp");
  WriteNative(Home() / "~00.tmp", "");
  WriteNative(Home() / "~01.tmp", "");
  EXPECT_EQ(TempFileName("c:\\", "", ""), "c:\\~02.tmp");
  EXPECT_EQ(TempFileName("c:", "", ""), "c:\\~02.tmp");
  EXPECT_FALSE(fs::exists(Home() / "~02.tmp")) << "the file is not made";
}

TEST_F(TemporaryNames, HaveAtLeastTwoDigits) {
  for (int i = 0; i < 100; ++i) {
    WriteNative(Home() / ("x" + std::string(i < 10 ? "0" : "") + std::to_string(i) + ".cas"), "");
  }
  EXPECT_EQ(TempFileName("c:\\", "x", "cas"), "c:\\x100.cas");
}

class SmallFiles : public tests::Sandbox {};

TEST_F(SmallFiles, AreReadWhole) {
  WriteNative(Home() / "a", std::string("a\0b", 3));
  EXPECT_EQ(ReadSmallFile("c:\\A", 3).Value(), std::string("a\0b", 3));
  WriteNative(Home() / "empty", "");
  EXPECT_EQ(ReadSmallFile("c:\\empty", 0).Value(), "");
}

TEST_F(SmallFiles, AreRefusedWhenTheyAreLarge) {
  WriteNative(Home() / "a", "1234");
  EXPECT_EQ(ReadSmallFile("c:\\a", 3).Why(), Cause::Damaged);
  EXPECT_EQ(ReadSmallFile("c:\\none", 3).Why(), Cause::NotFound);
}

TEST_F(SmallFiles, AreAppendedToOthers) {
  WriteNative(Home() / "from", std::string(10000, 'n'));
  WriteNative(Home() / "to", "old");
  const Result<File> from = File::Open("c:\\from", OpenMode::Read);
  Result<File> to = File::Open("c:\\to", OpenMode::Existing);
  ASSERT_TRUE(CopyFileData(*from, *to).Ok());
  EXPECT_EQ(ReadNative(Home() / "to"), "old" + std::string(10000, 'n'));
}

}  // namespace
}  // namespace zelkor::lib
