#include "lib/ini_text.h"

#include <cstddef>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace zelkor::lib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view kFile =
    "; the suite's settings\r\n"
    "stray=1\r\n"
    "\r\n"
    "[Orlim]\r\n"
    "User = pc01 \r\n"
    ";user=commented\r\n"
    "user=second\r\n"
    "\r\n"
    "[ZELKOR]\r\n"
    "FormLeft=120\r\n"
    "no value here\r\n"
    "Empty=\r\n"
    "Equation=a=b;c\r\n";

TEST(IniValue, IsFoundWithoutRegardToCase) {
  EXPECT_EQ(IniValue(kFile, "zelkor", "FORMLEFT"), "120");
  EXPECT_EQ(IniValue(kFile, "ORLIM", "uSER"), "pc01");
}

TEST(IniValue, IsTheFirstOfEqualKeysAndNoComment) { EXPECT_EQ(IniValue(kFile, "Orlim", "user"), "pc01"); }

TEST(IniValue, HasItsSectionsKeysOnly) {
  EXPECT_EQ(IniValue(kFile, "Orlim", "FormLeft"), std::nullopt);
  EXPECT_EQ(IniValue(kFile, "Orlim", "stray"), std::nullopt);
  EXPECT_EQ(IniValue(kFile, "", "stray"), std::nullopt);
  EXPECT_EQ(IniValue(kFile, "Zelkor", ";user"), std::nullopt);
  EXPECT_EQ(IniValue(kFile, "Orlim", ";user"), std::nullopt);
  EXPECT_EQ(IniValue(kFile, "Missing", "user"), std::nullopt);
}

TEST(IniValue, IsEmptyWhereNothingStandsBehindTheSign) {
  EXPECT_EQ(IniValue(kFile, "Zelkor", "Empty"), "");
  EXPECT_EQ(IniValue(kFile, "Zelkor", "no value here"), std::nullopt);
}

TEST(IniValue, RunsToTheEndOfItsLine) { EXPECT_EQ(IniValue(kFile, "Zelkor", "Equation"), "a=b;c"); }

TEST(IniValue, LosesThePairOfQuotesAroundIt) {
  const std::string text = "[a]\n1=\" x \"\n2='y'\n3=\"z'\n4=\"\n5=\"\"\n6=\"a\"b\"\n";
  EXPECT_EQ(IniValue(text, "a", "1"), " x ");
  EXPECT_EQ(IniValue(text, "a", "2"), "y");
  EXPECT_EQ(IniValue(text, "a", "3"), "\"z'");
  EXPECT_EQ(IniValue(text, "a", "4"), "\"");
  EXPECT_EQ(IniValue(text, "a", "5"), "");
  EXPECT_EQ(IniValue(text, "a", "6"), "a\"b");
}

TEST(IniValue, IsReadWithLineFeedsBlanksAndTabsToo) {
  EXPECT_EQ(IniValue(" [ a ] \n\t k \t=\t v \t\n", "a", "k"), "v");
  EXPECT_EQ(IniValue("[a]\nk=v", "a", "k"), "v");
  EXPECT_EQ(IniValue("[a]\nk=v\r", "a", "k"), "v");
}

TEST(IniValue, IsFoundInAnySectionOfThatName) { EXPECT_EQ(IniValue("[a]\nx=1\n[b]\ny=2\n[A]\ny=3\n", "a", "y"), "3"); }

TEST(IniValue, IsFoundBehindAByteOrderMark) { EXPECT_EQ(IniValue("\xEF\xBB\xBF[a]\nk=v\n", "a", "k"), "v"); }

TEST(IniValue, TakesALineWithoutItsBracketForNoSection) {
  EXPECT_EQ(IniValue("[a]\n[b\nk=v\n", "a", "k"), "v");
  EXPECT_EQ(IniValue("[a]\n[b=c]\nk=v\n", "a", "k"), std::nullopt);
}

TEST(IniSectionKeys, AreInOrderInLowerCaseEachOnce) {
  EXPECT_THAT(IniSectionKeys("[Drives]\r\nZ=/\r\nC=/home\r\n;x=1\r\nz=/y\r\n=q\r\n[b]\r\nd=1\r\n", "drives"),
              ElementsAre("z", "c"));
  EXPECT_THAT(IniSectionKeys("", "drives"), IsEmpty());
}

TEST(WithIniValue, ReplacesTheValueAndNoOtherByte) {
  std::string expected(kFile);
  expected.replace(expected.find("pc01"), 4, "laptop");
  EXPECT_EQ(WithIniValue(kFile, "orlim", "user", "laptop"), expected);
}

TEST(WithIniValue, FillsAnEmptyValue) {
  EXPECT_EQ(WithIniValue("[a]\r\nk=\r\nl=1\r\n", "a", "k", "v"), "[a]\r\nk=v\r\nl=1\r\n");
  EXPECT_EQ(WithIniValue("[a]\nk", "a", "k", "v"), "[a]\nk\nk=v\n");
  EXPECT_EQ(WithIniValue("[a]\nk=", "a", "k", "v"), "[a]\nk=v");
}

TEST(WithIniValue, ReplacesAQuotedValueWithItsQuotes) {
  EXPECT_EQ(WithIniValue("[a]\nk = \"x y\" \n", "a", "k", "z"), "[a]\nk = z \n");
}

TEST(WithIniValue, PutsANewKeyBehindTheLastLineOfItsSection) {
  EXPECT_EQ(WithIniValue("[a]\r\nx=1\r\n; note\r\n\r\n\r\n[b]\r\n", "A", "k", "v"),
            "[a]\r\nx=1\r\n; note\r\nk=v\r\n\r\n\r\n[b]\r\n");
  EXPECT_EQ(WithIniValue("[a]\n[b]\n", "a", "k", "v"), "[a]\nk=v\n[b]\n");
  EXPECT_EQ(WithIniValue("[a]\nx=1", "a", "k", "v"), "[a]\nx=1\nk=v\n");
  EXPECT_EQ(WithIniValue("[a]\n[b]\n[a]\nx=1\n", "a", "k", "v"), "[a]\nk=v\n[b]\n[a]\nx=1\n");
}

TEST(WithIniValue, PutsANewSectionToTheEnd) {
  EXPECT_EQ(WithIniValue("[a]\nx=1\n", "b", "k", "v"), "[a]\nx=1\n[b]\nk=v\n");
  EXPECT_EQ(WithIniValue("[a]\r\nx=1", "b", "k", "v"), "[a]\r\nx=1\r\n[b]\r\nk=v\r\n");
}

TEST(WithIniValue, BeginsAnEmptyFileWithCrLf) {
  EXPECT_EQ(WithIniValue("", "Orlim", "user", "pc01"), "[Orlim]\r\nuser=pc01\r\n");
  EXPECT_EQ(WithIniValue("; x", "Orlim", "user", "pc01"), "; x\r\n[Orlim]\r\nuser=pc01\r\n");
}

TEST(WithIniValue, LetsNoValueBecomeALineOfItsOwn) {
  EXPECT_EQ(WithIniValue("[a]\nk=1\n", "a", "k", "v\r\n[Vandry]\r\nExe=x"), "[a]\nk=v\n");
  EXPECT_EQ(WithIniValue("[a]\nk=1\n", "a", "k", std::string("v\0w", 3)), "[a]\nk=v\n");
}

TEST(WithIniValue, IsReadBackFromTheFileCutAtEveryLength) {
  for (std::size_t length = 0; length <= kFile.size(); ++length) {
    const std::string text = WithIniValue(kFile.substr(0, length), "Zelkor", "FormTop", "7");
    ASSERT_EQ(IniValue(text, "zelkor", "formtop"), "7") << length;
    ASSERT_EQ(WithIniValue(text, "Zelkor", "FormTop", "7"), text) << length;
  }
}

TEST(WithIniValue, KeepsEveryByteOfGarbage) {
  std::string garbage;
  unsigned state = 1;  // a fixed sequence; constants of the C standard's sample generator
  for (int i = 0; i < 20000; ++i) {
    state = state * 1103515245U + 12345U;
    garbage += static_cast<char>(state >> 16);
    if (i % 97 == 0) garbage += "\n[\r=\"";
  }
  const std::string text = WithIniValue(garbage, "Orlim", "User", "pc01");
  EXPECT_EQ(text.substr(0, garbage.size()), garbage);
  EXPECT_EQ(IniValue(text, "Orlim", "User"), "pc01");
  EXPECT_THAT(IniSectionKeys(text, "orlim"), ElementsAre("user"));
}

}  // namespace
}  // namespace zelkor::lib
