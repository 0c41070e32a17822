#include "lib/code_page.h"

#include <gtest/gtest.h>
#include <string>

#include "lib/code_page_table.h"

namespace zelkor::lib {
namespace {

// Each test ends with the code page that the program starts with.
class CodePage : public testing::Test {
 protected:
  ~CodePage() override { EXPECT_TRUE(SetCodePage("WINDOWS-1252")); }

  static std::string AllBytes() {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    return bytes;
  }
};

TEST_F(CodePage, IsWindows1252AtTheStart) {
  EXPECT_EQ(ToUtf8("\x80"), "\xE2\x82\xAC");              // the euro sign, U+20AC
  EXPECT_EQ(ToUtf8("Gr\xFC\xDF"), "Gr\xC3\xBC\xC3\x9F");  // u with diaeresis, sharp s
  EXPECT_EQ(FromUtf8("\xE2\x80\xA6"), "\x85");            // the ellipsis, U+2026
}

TEST_F(CodePage, WrittenOutIsTheOneThatTheSystemKnows) {
  const std::string writtenOut = ToUtf8(AllBytes());
  ASSERT_TRUE(SetCodePage("WINDOWS-1252"));
  EXPECT_EQ(ToUtf8(AllBytes()), writtenOut);
}

TEST_F(CodePage, GivesEachByteOfEachCodePageACharacterOfItsOwn) {
  for (const char* name : {"WINDOWS-1252", "CP1250", "CP1251", "CP1253", "CP1254", "CP1257", "ISO-8859-1",
                           "ISO-8859-15", "KOI8-R", "CP437", "CP850", "ISO-8859-7", "US-ASCII"}) {
    ASSERT_TRUE(SetCodePage(name)) << name;
    EXPECT_EQ(FromUtf8(ToUtf8(AllBytes())), AllBytes()) << name;
  }
}

TEST_F(CodePage, GivesUndefinedBytesTheControlCharacterOfTheirNumber) {
  EXPECT_EQ(ToUtf8("\x81"), "\xC2\x81");
  EXPECT_EQ(FromUtf8("\xC2\x81"), "\x81");
  EXPECT_EQ(FromUtf8("\xC2\x80"), std::nullopt) << "byte 80 has a character of its own";
}

TEST_F(CodePage, GivesUndefinedBytesAboveTheControlsAPrivateCharacter) {
  ASSERT_TRUE(SetCodePage("ISO-8859-7"));     // leaves byte FF undefined
  EXPECT_EQ(ToUtf8("\xFF"), "\xEF\x9F\xBF");  // U+F7FF
  EXPECT_EQ(FromUtf8("\xEF\x9F\xBF"), "\xFF");
}

TEST_F(CodePage, ChangesWhatBytesStandFor) {
  ASSERT_TRUE(SetCodePage("ISO-8859-15"));
  EXPECT_EQ(ToUtf8("\xA4"), "\xE2\x82\xAC");
  ASSERT_TRUE(SetCodePage("CP1251"));
  EXPECT_EQ(ToUtf8("\xC6"), "\xD0\x96");  // Cyrillic capital zhe, U+0416
}

TEST_F(CodePage, RefusesWhatIsNotOneByteACharacterAboveAscii) {
  for (const char* name : {"", "no such page", "UTF-8", "UTF-16", "SHIFT_JIS", "GBK", "BIG5", "EUC-JP", "UTF-7",
                           "ISO-2022-JP", "IBM037", "UCS-4", "CP1252//TRANSLIT", "CP1252/"}) {
    EXPECT_FALSE(SetCodePage(name)) << name;
  }
  EXPECT_EQ(ToUtf8("\x80"), "\xE2\x82\xAC") << "the one in force stays";
}

TEST_F(CodePage, RefusesUtf8ThatIsDamaged) {
  for (const char* text : {"\x80", "a\xC3", "\xC3(", "\xC0\xAF", "\xC1\xBF", "\xE0\x80\xAF", "\xED\xA0\x80",
                           "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF", "\xE2\x82"}) {
    EXPECT_EQ(FromUtf8(text), std::nullopt) << testing::PrintToString(text);
  }
}

TEST_F(CodePage, RefusesCharactersThatItLacks) {
  EXPECT_EQ(FromUtf8("\xD0\x96"), std::nullopt);          // Cyrillic
  EXPECT_EQ(FromUtf8("\xF0\x9F\x98\x80"), std::nullopt);  // beyond 16 bits
}

TEST_F(CodePage, ShowsAQuestionMarkForEachCharacterThatItLacks) {
  EXPECT_EQ(FromUtf8Lossy("a\xD0\x96z\xC3\xBC"), "a?z\xFC");
  EXPECT_EQ(FromUtf8Lossy("\xF0\x9F\x98\x80"), "?");
  EXPECT_EQ(FromUtf8Lossy("x\xC3"), "x?");
  EXPECT_EQ(FromUtf8Lossy("\xC3(y"), "?(y");
}

TEST_F(CodePage, KeepsNulCharacters) {
  const std::string text("a\0b", 3);
  EXPECT_EQ(ToUtf8(text), text);
  EXPECT_EQ(FromUtf8(text), text);
}

TEST_F(CodePage, FoldsTheCaseOfItsOwnLetters) {
  EXPECT_EQ(Lower("GR\xDC\xDF"
                  "E \x8A"),
            "gr\xFC\xDF"
            "e \x9A");
  EXPECT_EQ(Upper("gr\xFC\xDF"
                  "e \xFF"),
            "GR\xDC\xDF"
            "E \x9F");
  EXPECT_EQ(Lower("\xD7\xF7"), "\xD7\xF7") << "the signs of multiplication and division are no letters";
  EXPECT_EQ(LowerChar('\xC4'), '\xE4');
  ASSERT_TRUE(SetCodePage("CP1251"));
  EXPECT_EQ(Lower("\xC6"), "\xE6");
  EXPECT_EQ(Upper("\xE6"), "\xC6");
}

TEST_F(CodePage, LeavesALetterAloneWhoseOtherCaseItLacks) {
  ASSERT_TRUE(SetCodePage("ISO-8859-1"));
  EXPECT_EQ(Upper("\xFF"), "\xFF") << "capital y with diaeresis is not there";
}

}  // namespace
}  // namespace zelkor::lib
