#include "db/code_filter.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/support/golden_database.h"

namespace zelkor::db {
namespace {

// The field as a record stores it.
bool Keeps(const std::string& selection, const std::string& exclusion, const std::string& codes) {
  return CodeFilter(selection, exclusion).Keeps(tests::Pad(codes, 128));
}

TEST(CodeFilter, KeepsEverythingWithoutCodes) {
  EXPECT_TRUE(Keeps("", "", ""));
  EXPECT_TRUE(Keeps("   ", " ", "a"));
}

TEST(CodeFilter, WantsEverySelectionCodeInAnyOrderAndCase) {
  EXPECT_TRUE(Keeps("a b", "", "a b"));
  EXPECT_TRUE(Keeps("a b", "", "x B y A"));
  EXPECT_TRUE(Keeps("A  B", "", "b a"));
  EXPECT_FALSE(Keeps("a b", "", "a"));
  EXPECT_FALSE(Keeps("a b", "", "b c"));
}

TEST(CodeFilter, WantsSelectionCodesAsWholeWords) {
  EXPECT_FALSE(Keeps("a", "", "ab"));
  EXPECT_FALSE(Keeps("a", "", "ba"));
  EXPECT_FALSE(Keeps("a", "", "bab"));
}

TEST(CodeFilter, ExcludesTheEndOfALongerCodeToo) {
  EXPECT_FALSE(Keeps("", "bc", "abc"));
  EXPECT_FALSE(Keeps("", "bc", "bc"));
  EXPECT_FALSE(Keeps("", "bc", "x ABC y"));
  EXPECT_TRUE(Keeps("", "bc", "bcd"));
}

TEST(CodeFilter, ExcludesWithAnyOfTheCodes) {
  EXPECT_FALSE(Keeps("", "x bc", "a bc"));
  EXPECT_TRUE(Keeps("", "x y", "a bc"));
}

TEST(CodeFilter, LetsExclusionWinOverSelection) { EXPECT_FALSE(Keeps("a", "b", "a b")); }

TEST(CodeFilter, TakesAStarForAnyRunOfCharacters) {
  EXPECT_TRUE(Keeps("pro*", "", "x project"));
  EXPECT_TRUE(Keeps("p*t", "", "project"));
  EXPECT_FALSE(Keeps("pro*", "", "aproject"));
}

TEST(CodeFilter, TakesOtherCharactersForThemselves) {
  EXPECT_FALSE(Keeps("a?", "", "ab"));
  EXPECT_TRUE(Keeps("a?", "", "a?"));
  EXPECT_FALSE(Keeps("#", "", "1"));
  EXPECT_FALSE(Keeps("[ab]", "", "a"));
  EXPECT_TRUE(Keeps("[ab]", "", "[ab]"));
}

TEST(CodeFilter, MissesTheLastCodeOfAFieldThatItFills) {
  // Without a blank of padding behind it the last word has no end.
  EXPECT_FALSE(CodeFilter("last", "").Keeps(std::string(123, 'a') + " last"));
  EXPECT_TRUE(CodeFilter("last", "").Keeps(std::string(122, 'a') + " last "));
}

}  // namespace
}  // namespace zelkor::db
