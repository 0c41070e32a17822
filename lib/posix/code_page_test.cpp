// Case folding beside that of the C library.
#include "lib/code_page.h"

#include <clocale>
#include <gtest/gtest.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale
#include <string>
#include <wctype.h>  // NOLINT(modernize-deprecated-headers): towlower_l

#include "lib/code_page_table.h"

namespace zelkor::lib {
namespace {

// Each test ends with the code page that the program starts with.
class CaseFolding : public testing::Test {
 protected:
  ~CaseFolding() override { EXPECT_TRUE(SetCodePage("WINDOWS-1252")); }
};

TEST_F(CaseFolding, FoldsTheSameInEveryLocale) {
  ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
  EXPECT_EQ(Lower("\xC4"), "\xE4");
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(Lower("\xC4"), "\xE4");
}

// The system's own case tables are the judge, for every letter whose two forms are a pair.
TEST_F(CaseFolding, FoldsLikeTheSystemsCaseTables) {
  const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  ASSERT_NE(unicode, nullptr);
  for (const char* name :
       {"CP1250",     "CP1251",      "WINDOWS-1252", "CP1253",      "CP1254",      "CP1255",      "CP1256",
        "CP1257",     "ISO-8859-1",  "ISO-8859-2",   "ISO-8859-3",  "ISO-8859-4",  "ISO-8859-5",  "ISO-8859-7",
        "ISO-8859-9", "ISO-8859-10", "ISO-8859-13",  "ISO-8859-14", "ISO-8859-15", "ISO-8859-16", "KOI8-R",
        "KOI8-U",     "CP437",       "CP850",        "CP852",       "CP866",       "ISO-8859-9E", "WIN-SAMI-2",
        "PT154",      "KOI8-T",      "MACINTOSH",    "CP1258"}) {
    const auto table = ReadCodePage(name);
    ASSERT_TRUE(table && SetCodePage(name)) << name;
    for (std::size_t byte = 1; byte < table->size(); ++byte) {
      const auto character = static_cast<wint_t>((*table)[byte]);
      const wint_t small = towlower_l(character, unicode);
      const bool pair = small != character && towupper_l(small, unicode) == character;
      std::size_t expected = byte;
      for (std::size_t other = 1; pair && other < table->size(); ++other) {
        if ((*table)[other] == static_cast<char32_t>(small)) expected = other;
      }
      EXPECT_EQ(LowerChar(static_cast<char>(byte)), static_cast<char>(expected)) << name << " byte " << byte;
      if (expected != byte) {
        EXPECT_EQ(Upper(std::string(1, static_cast<char>(expected))), std::string(1, static_cast<char>(byte)))
            << name << " byte " << byte;
      }
    }
  }
  freelocale(unicode);
}

}  // namespace
}  // namespace zelkor::lib
