#include "lib/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelkor::lib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(CommandLineWords, AreSplitAtBlanksOutsideQuotes) {
  EXPECT_THAT(SplitCommandLine(R"(/select:a,b  c:\a.txt "c:\my files\b.txt")"),
              ElementsAre("/select:a,b", R"(c:\a.txt)", R"(c:\my files\b.txt)"));
  EXPECT_THAT(SplitCommandLine(""), IsEmpty());
  EXPECT_THAT(SplitCommandLine("   "), IsEmpty());
}

TEST(CommandLineWords, KeepTheQuotesInsideAWord) {
  EXPECT_THAT(SplitCommandLine(R"(/syncexp:lap:"e:\my stick")"), ElementsAre(R"(/syncexp:lap:"e:\my stick")"));
  EXPECT_THAT(SplitCommandLine(R"(/syncexp:lap:"")"), ElementsAre(R"(/syncexp:lap:"")"));
}

TEST(CommandLineWords, LetAFolderEndWithABackslashBeforeItsQuote) {
  EXPECT_THAT(SplitCommandLine(R"(/syncexp:lap:"e:\" "c:\a b\" d)"),
              ElementsAre(R"(/syncexp:lap:"e:\")", R"(c:\a b\)", "d"));
}

TEST(CommandLineWords, AreTheSameWhenAProgramPutBackslashesBeforeTheQuotes) {
  EXPECT_THAT(SplitCommandLine(R"(/syncexp:lap:\"e:\stick\")"), ElementsAre(R"(/syncexp:lap:"e:\stick")"));
  EXPECT_THAT(SplitCommandLine(R"("/syncexp:lap:\"e:\my stick\"" "c:\a b.txt" d)"),
              ElementsAre(R"(/syncexp:lap:"e:\my stick")", R"(c:\a b.txt)", "d"));
  EXPECT_THAT(SplitCommandLine(R"(/syncexp:lap:\"\")"), ElementsAre(R"(/syncexp:lap:"")"));
}

TEST(CommandLineWords, HaveTwoBackslashesForOneBeforeAQuoteOnlyThen) {
  EXPECT_THAT(SplitCommandLine(R"(\\server\a /x:\"e:\\\")"), ElementsAre(R"(\\server\a)", R"(/x:"e:\")"));
  EXPECT_THAT(SplitCommandLine(R"(x\"y "a b\\" "c""d" "")"), ElementsAre(R"(x"y)", R"(a b\)", R"(c"d)", ""));
}

TEST(CommandLineWords, ComeBehindTheProgramsName) {
  EXPECT_EQ(BehindProgramName(R"("C:\Program Files\Zelkor\zelkor.exe"  a "b c")"), R"(a "b c")");
  EXPECT_EQ(BehindProgramName(R"(zelkor.exe a)"), "a");
  EXPECT_EQ(BehindProgramName("zelkor.exe"), "");
  EXPECT_EQ(BehindProgramName(R"("zelkor.exe")"), "");
}

}  // namespace
}  // namespace zelkor::lib
