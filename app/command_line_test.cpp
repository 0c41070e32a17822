#include "app/command_line.h"

#include "lib/run_time_error.h"
#include "tests/support/sandbox.h"

namespace zelkor::app {
namespace {

class CommandLine : public tests::Sandbox {
 protected:
  std::vector<Word> Parse(const std::vector<std::string>& arguments) {
    return ParseCommandLine(arguments, Root().string());
  }
};

TEST_F(CommandLine, SwitchesAreKnownInEitherCase) {
  EXPECT_EQ(Parse({"/SELECT:a,b"}).at(0).kind, WordKind::Select);
  EXPECT_EQ(Parse({"/Exclude:a"}).at(0).kind, WordKind::Exclude);
  EXPECT_EQ(Parse({"/SYNCEXP:a:b"}).at(0).kind, WordKind::Synchronize);
  EXPECT_EQ(Parse({"/syncimp"}).at(0).kind, WordKind::Synchronize);
  EXPECT_EQ(Parse({"/unknown:x"}).at(0).kind, WordKind::Ignored);
}

TEST_F(CommandLine, TheSelectionCodesAreSeparatedByOneBlank) {
  EXPECT_EQ(CodesOf(Parse({"/SELECT:a,b"}).at(0).argument), "a b");
  EXPECT_EQ(CodesOf(Parse({"/select:abc,def"}).at(0).argument), "abc def");
}

TEST_F(CommandLine, TheTextFromTheSecondColonOnIsDropped) { EXPECT_EQ(Parse({"/select:a:b"}).at(0).argument, "a"); }

TEST_F(CommandLine, AnEmptyArgumentGivesEmptyCodes) {
  EXPECT_EQ(Parse({"/select"}).at(0).argument, "");
  EXPECT_EQ(Parse({"/select:"}).at(0).argument, "");
}

TEST_F(CommandLine, AFileNameWithBlanksIsOneWord) {
  const std::vector<Word> words = Parse({"my file.txt"});
  ASSERT_EQ(words.size(), 1U);
  EXPECT_EQ(words[0].kind, WordKind::File);
  EXPECT_EQ(words[0].text, "my file.txt");
}

TEST_F(CommandLine, AWordThatNamesAnExistingFileIsThatFileAlsoWhenItBeginsWithASlash) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "no path begins with a slash here";
  WriteNative(Root() / "a.txt", "");
  EXPECT_EQ(Parse({(Root() / "a.txt").string()}).at(0).kind, WordKind::File);
  EXPECT_EQ(Parse({(Root() / "b.txt").string()}).at(0).kind, WordKind::Ignored);
}

TEST_F(CommandLine, TheHundredthWordIsOutOfRange) {
  EXPECT_EQ(Parse(std::vector<std::string>(99, "x")).size(), 99U);
  EXPECT_THROW(Parse(std::vector<std::string>(100, "x")), lib::RunTimeError);
}

}  // namespace
}  // namespace zelkor::app
