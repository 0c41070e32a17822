#include "lib/text.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace zelkor::lib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Trim, RemovesBlanksAndNothingElseFromBothEnds) {
  EXPECT_EQ(Trim("  a b  "), "a b");
  EXPECT_EQ(Trim("\ta\r\n"), "\ta\r\n");
  EXPECT_EQ(Trim("   "), "");
  EXPECT_EQ(Trim(""), "");
}

TEST(TrimCrLf, RemovesCarriageReturnsAndLineFeedsFromBothEnds) {
  EXPECT_EQ(TrimCrLf("\r\n\n a\r\nb \r\n\r"), " a\r\nb ");
  EXPECT_EQ(TrimCrLf("\r\n"), "");
}

TEST(TrimAtNul, EndsTheTextBeforeTheFirstNul) {
  EXPECT_EQ(TrimAtNul(std::string_view("ab\0cd\0", 6)), "ab");
  EXPECT_EQ(TrimAtNul(std::string_view("\0ab", 3)), "");
  EXPECT_EQ(TrimAtNul(" ab "), " ab ");
}

TEST(FieldText, CutsAtTheNulBeforeItTrims) { EXPECT_EQ(FieldText(std::string_view("  ab  \0xy  ", 11)), "ab"); }

TEST(EqualNoCase, FoldsInTheCodePage) {
  EXPECT_TRUE(
      EqualNoCase("Gr\xDC\xDF"
                  "e",
                  "GR\xFC\xDF"
                  "E"));
  EXPECT_FALSE(EqualNoCase("a", "ab"));
  EXPECT_FALSE(EqualNoCase("[", "{")) << "32 apart, but no letters";
  EXPECT_TRUE(EqualNoCase("", ""));
}

TEST(ContainsNoCase, FindsAPartAnywhere) {
  EXPECT_TRUE(ContainsNoCase("Summer\xC4pfel", "R\xE4P"));
  EXPECT_FALSE(ContainsNoCase("abc", "abcd"));
  EXPECT_TRUE(ContainsNoCase("abc", ""));
  EXPECT_TRUE(ContainsNoCase("", ""));
}

TEST(BeginsWithNoCase, LooksAtTheBeginningOnly) {
  EXPECT_TRUE(BeginsWithNoCase("HTTP://x", "http://"));
  EXPECT_FALSE(BeginsWithNoCase("xhttp://", "http://"));
  EXPECT_FALSE(BeginsWithNoCase("ht", "http://"));
  EXPECT_TRUE(BeginsWithNoCase("", ""));
}

TEST(CountOf, SearchesOnBehindEachMatch) {
  EXPECT_EQ(CountOf("aaaa", "aa"), 2);
  EXPECT_EQ(CountOf("a;b;c", ";"), 2);
  EXPECT_EQ(CountOf("a;b;c", "C"), 0);
}

TEST(CountOf, IsZeroWhenEitherIsEmpty) {
  EXPECT_EQ(CountOf("", "a"), 0);
  EXPECT_EQ(CountOf("a", ""), 0);
}

TEST(GetToken, TakesThePieceOfThatNumber) {
  EXPECT_EQ(GetToken("a;b;;d", ";", 1), "a");
  EXPECT_EQ(GetToken("a;b;;d", ";", 2), "b");
  EXPECT_EQ(GetToken("a;b;;d", ";", 3), "");
  EXPECT_EQ(GetToken("a;b;;d", ";", 4), "d");
  EXPECT_EQ(GetToken("a--b", "--", 2), "b");
}

TEST(GetToken, IsEmptyWhereThereIsNoSuchPiece) {
  EXPECT_EQ(GetToken("a;b", ";", 3), "");
  EXPECT_EQ(GetToken("a;b", ";", 0), "");
  EXPECT_EQ(GetToken("a;b", ";", -1), "");
  EXPECT_EQ(GetToken("", ";", 1), "");
}

TEST(GetToken, IsTheWholeTextForAnEmptySeparator) {
  EXPECT_EQ(GetToken("a;b", "", 1), "a;b");
  EXPECT_EQ(GetToken("a;b", "", 2), "");
}

TEST(ReplaceAll, ReplacesWithRegardToCase) {
  EXPECT_EQ(ReplaceAll("aAa", "a", "xy"), "xyAxy");
  EXPECT_EQ(ReplaceAll("abc", "", "x"), "abc");
  EXPECT_EQ(ReplaceAll("abc", "b", ""), "ac");
  EXPECT_EQ(ReplaceAll("", "b", "x"), "");
}

TEST(ReplaceAll, NeverSearchesInsideAReplacement) {
  EXPECT_EQ(ReplaceAll("aa", "a", "aa"), "aaaa");
  EXPECT_EQ(ReplaceAll("aab", "ab", "b"), "ab") << "nor in what a replacement makes with the text before it";
}

TEST(SplitWords, CutsAtRunsOfTheSeparator) {
  EXPECT_THAT(SplitWords("  one   two three ", ' ', "\""), ElementsAre("one", "two", "three"));
  EXPECT_THAT(SplitWords("a::b:", ':', "\""), ElementsAre("a", "b"));
}

TEST(SplitWords, FindsNoWordsInAnEmptyText) {
  EXPECT_THAT(SplitWords("", ' ', "\""), IsEmpty());
  EXPECT_THAT(SplitWords("   ", ' ', "\""), IsEmpty());
  EXPECT_THAT(SplitWords("::", ':', "\""), IsEmpty());
}

TEST(SplitWords, DropsQuotesThatEncloseAWholeWord) {
  EXPECT_THAT(SplitWords(R"("c:\my files\a.txt" b)", ' ', "\""), ElementsAre(R"(c:\my files\a.txt)", "b"));
}

TEST(SplitWords, KeepsQuotesInsideAWord) {
  EXPECT_THAT(SplitWords(R"(/select:"a b" c)", ' ', "\""), ElementsAre(R"(/select:"a b")", "c"));
  EXPECT_THAT(SplitWords(R"("a b"c)", ' ', "\""), ElementsAre(R"("a b"c)"));
  EXPECT_THAT(SplitWords(R"("a b""c d")", ' ', "\""), ElementsAre(R"("a b""c d")"));
}

TEST(SplitWords, KeepsTheQuotesOfASwitchForTheSecondCut) {
  const std::vector<std::string> words = SplitWords(R"(/syncexp:lap:"z:\a b")", ' ', "\"");
  ASSERT_THAT(words, ElementsAre(R"(/syncexp:lap:"z:\a b")"));
  EXPECT_THAT(SplitWords(words[0], ':', "\""), ElementsAre("/syncexp", "lap", R"(z:\a b)"));
}

TEST(SplitWords, TakesAnEnclosedEmptyWordAsAWord) {
  EXPECT_THAT(SplitWords(R"(a "" b)", ' ', "\""), ElementsAre("a", "", "b"));
  EXPECT_THAT(SplitWords(R"(/syncexp:lap:"")", ':', "\""), ElementsAre("/syncexp", "lap", ""));
}

TEST(SplitWords, LetsAnUnclosedStretchRunToTheEnd) {
  EXPECT_THAT(SplitWords(R"(a "b c)", ' ', "\""), ElementsAre("a", R"("b c)"));
  EXPECT_THAT(SplitWords(R"(a ")", ' ', "\""), ElementsAre("a", "\""));
}

TEST(SplitWords, TellsAnOpeningFromAClosingQuote) {
  EXPECT_THAT(SplitWords("[a b] c]d [x", ' ', "[]"), ElementsAre("a b", "c]d", "[x"));
}

TEST(SplitWords, CutsEverywhereWithoutQuotes) {
  EXPECT_THAT(SplitWords(R"("a b")", ' ', ""), ElementsAre("\"a", "b\""));
}

TEST(Lines, AreCountedAndTakenAtCarriageReturnLineFeed) {
  EXPECT_EQ(LineBreakCount("a\r\nb\r\n\n"), 2);
  EXPECT_EQ(GetLine("a\r\nb\r\n", 1), "a");
  EXPECT_EQ(GetLine("a\r\nb\r\n", 2), "b");
  EXPECT_EQ(GetLine("a\r\nb", 3), "");
}

TEST(FindAnyOf, FindsTheFirstOfSeveralCharacters) {
  EXPECT_EQ(FindAnyOf("a*b?c", "?*"), 1U);
  EXPECT_EQ(FindAnyOf("abc?", "?*"), 3U);
  EXPECT_EQ(FindAnyOf("abc", "?*"), std::string_view::npos);
  EXPECT_EQ(FindAnyOf("", "?*"), std::string_view::npos);
  EXPECT_EQ(FindAnyOf("abc", ""), std::string_view::npos);
}

TEST(TakeLine, TakesOneLineAndItsEnd) {
  std::string_view text = "a\r\n\nb\rc";
  EXPECT_EQ(TakeLine(text), "a");
  EXPECT_EQ(TakeLine(text), "");
  EXPECT_EQ(TakeLine(text), "b");
  EXPECT_EQ(TakeLine(text), "c");
  EXPECT_EQ(text, "");
  EXPECT_EQ(TakeLine(text), "");
}

TEST(SplitLines, EndsALineAtEveryKindOfLineEnd) {
  EXPECT_THAT(SplitLines("a\r\nb\nc\rd"), ElementsAre("a", "b", "c", "d"));
  EXPECT_THAT(SplitLines("a\n\r\nb\r\n"), ElementsAre("a", "", "b"));
  EXPECT_THAT(SplitLines("\r\n"), ElementsAre(""));
  EXPECT_THAT(SplitLines(""), IsEmpty());
}

TEST(IsFileList, WantsAWildcardOrTwoLineBreaks) {
  EXPECT_TRUE(IsFileList("c:\\a?.txt"));
  EXPECT_TRUE(IsFileList("c:\\*"));
  EXPECT_TRUE(IsFileList("a\r\nb\r\n"));
  EXPECT_FALSE(IsFileList("a\r\n")) << "one name with its break is a single file";
  EXPECT_FALSE(IsFileList(""));
}

TEST(MatchesCode, MatchesTheWholeTextWithoutRegardToCase) {
  EXPECT_TRUE(MatchesCode("Work", "wORK"));
  EXPECT_FALSE(MatchesCode("Work", "wor"));
  EXPECT_FALSE(MatchesCode("Work", "works"));
  EXPECT_TRUE(MatchesCode("\xC4", "\xE4"));
}

TEST(MatchesCode, TakesOnlyTheAsteriskAsSpecial) {
  EXPECT_TRUE(MatchesCode("work", "w*k"));
  EXPECT_TRUE(MatchesCode("wk", "w*k"));
  EXPECT_TRUE(MatchesCode("anything", "*"));
  EXPECT_TRUE(MatchesCode("", "**"));
  EXPECT_FALSE(MatchesCode("", "*a"));
  EXPECT_TRUE(MatchesCode("abcbc", "a*bc"));
  EXPECT_FALSE(MatchesCode("work", "w?rk"));
  EXPECT_TRUE(MatchesCode("w?rk", "w?rk"));
  EXPECT_TRUE(MatchesCode("[a-z]#", "[A-Z]#"));
  EXPECT_FALSE(MatchesCode("b", "[a-z]"));
}

TEST(MatchesCode, DecidesHardPatternsAtOnce) {
  const std::string text(20000, 'a');
  std::string pattern;
  for (int i = 0; i < 100; ++i) pattern += "a*";
  EXPECT_TRUE(MatchesCode(text, pattern));
  EXPECT_FALSE(MatchesCode(text, pattern + "b"));
}

TEST(MatchesFileName, KnowsBothWildcards) {
  EXPECT_TRUE(MatchesFileName("Letter.TXT", "l*.t?t"));
  EXPECT_FALSE(MatchesFileName("letter.tt", "l*.t?t"));
  EXPECT_FALSE(MatchesFileName("a", "a?"));
  EXPECT_TRUE(MatchesFileName("a.b.c", "*.c"));
}

TEST(MatchesFileName, TakesAsteriskDotAsteriskAsEveryName) {
  EXPECT_TRUE(MatchesFileName("Makefile", "*.*"));
  EXPECT_TRUE(MatchesFileName("a.b", "*.*"));
  EXPECT_FALSE(MatchesFileName("Makefile", "M*.*"));
}

TEST(LeadingNumber, ReadsUpToTheFirstCharacterThatCanNotGoOn) {
  EXPECT_EQ(LeadingNumber("12"), 12);
  EXPECT_EQ(LeadingNumber("  -3.5kg"), -3.5);
  EXPECT_EQ(LeadingNumber("+7 8"), 7);
  EXPECT_EQ(LeadingNumber(".5"), 0.5);
  EXPECT_EQ(LeadingNumber("5."), 5);
  EXPECT_EQ(LeadingNumber("1.2.3"), 1.2);
  EXPECT_EQ(LeadingNumber("1,234"), 1);
  EXPECT_EQ(LeadingNumber("1e3"), 1);
  EXPECT_EQ(LeadingNumber("0x10"), 0);
}

TEST(LeadingNumber, IsZeroWhereThereIsNone) {
  for (const char* text : {"", " ", "yes", "-", "+", ".", "-.", "--1", "- 1", "\t1", "inf", "nan"}) {
    EXPECT_EQ(LeadingNumber(text), 0) << text;
  }
}

TEST(LeadingNumber, TakesDigitsOfAnyNumber) {
  EXPECT_TRUE(std::isinf(LeadingNumber(std::string(400, '9'))));
  EXPECT_LT(LeadingNumber("-" + std::string(400, '9')), -1e300);
  EXPECT_EQ(LeadingNumber("0." + std::string(400, '0') + "1"), 0);
  EXPECT_EQ(LeadingNumber(std::string(400, '0') + "7"), 7);
}

}  // namespace
}  // namespace zelkor::lib
