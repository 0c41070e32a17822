// Dates as text in locales made for the test from the system's own locale sources.
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv, mkdtemp
#include <string>

#include "lib/date.h"
#include "lib/date_fixture.h"
#include "lib/format.h"

// Up to 2.36 at least, glibc's newlocale does not free the list that it makes of LOCPATH; nobody but a test sets that.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's name
  return "leak:__argz_add_sep";
}

namespace zelkor::lib {
namespace {

// Locales compiled into a folder of the test; the C locale is in force again afterwards.
class LocaleDates : public testing::Test {
 protected:
  LocaleDates() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zelkor-test-XXXXXX").string();
    root_ = mkdtemp(pattern.data());
    setenv("LOCPATH", root_.c_str(), 1);
  }
  ~LocaleDates() override {
    for (const char* name : {"LC_ALL", "LC_TIME", "LANG", "LOCPATH"}) unsetenv(name);
    UseLocaleOfEnvironment();
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }

  // False on a system that lacks the sources.
  [[nodiscard]] bool Compile(const std::string& language, const std::string& characterSet) const {
    const std::string name = language + "." + characterSet;
    const std::string command = "localedef -i " + language + " -f " + characterSet + " '" + (root_ / name).string() +
                                "' >'" + (root_ / "localedef.log").string() + "' 2>&1";
    return std::system(command.c_str()) == 0;
  }

 private:
  std::filesystem::path root_;
};

TEST_F(LocaleDates, AreWrittenAndReadAsTheUserWritesThem) {
  if (!Compile("de_DE", "UTF-8")) GTEST_SKIP() << "no locale sources";
  setenv("LC_TIME", "de_DE.UTF-8", 1);
  UseLocaleOfEnvironment();
  const Date date = DateOf(2026, 11, 2, 14, 15, 37);
  EXPECT_EQ(GeneralDate(date), "02.11.2026 14:15:37");
  EXPECT_EQ(GeneralDate(DateOf(2026, 11, 2)), "02.11.2026");
  EXPECT_EQ(GeneralDate(0.25), "06:00:00");
  EXPECT_EQ(ShortDate(date), "02.11.2026");
  EXPECT_EQ(ParseDate("2.11.2026 14:15:37"), date);
  EXPECT_EQ(ParseDate("02.11.2026"), DateOf(2026, 11, 2));
  EXPECT_EQ(ParseDate("06:00:00"), 0.25);
  EXPECT_EQ(ParseDate("2026-11-02"), DateOf(2026, 11, 2));
  EXPECT_EQ(ParseDate("31.11.2026"), std::nullopt);
  EXPECT_EQ(ParseDate("11/02/2026"), std::nullopt);
  EXPECT_EQ(ParseDate("02.11.2026 x"), std::nullopt);
}

TEST_F(LocaleDates, AreReadWithTwoOrFourDigitsOfTheYear) {
  if (!Compile("en_GB", "UTF-8")) GTEST_SKIP() << "no locale sources";
  setenv("LC_ALL", "en_GB.UTF-8", 1);
  UseLocaleOfEnvironment();
  EXPECT_EQ(ShortDate(DateOf(2026, 11, 2)), "02/11/26");
  EXPECT_EQ(ParseDate("02/11/26"), DateOf(2026, 11, 2));
  EXPECT_EQ(ParseDate("02/11/2026 10:20:30"), DateOf(2026, 11, 2, 10, 20, 30));
}

TEST_F(LocaleDates, ComeFromTheVariableThatCountsMost) {
  if (!Compile("de_DE", "UTF-8")) GTEST_SKIP() << "no locale sources";
  setenv("LANG", "de_DE.UTF-8", 1);
  UseLocaleOfEnvironment();
  EXPECT_EQ(ShortDate(DateOf(2026, 11, 2)), "02.11.2026");
  setenv("LC_TIME", "C", 1);
  UseLocaleOfEnvironment();
  EXPECT_EQ(ShortDate(DateOf(2026, 11, 2)), "11/2/2026");
  setenv("LC_ALL", "de_DE.UTF-8", 1);
  UseLocaleOfEnvironment();
  EXPECT_EQ(ShortDate(DateOf(2026, 11, 2)), "02.11.2026");
}

TEST_F(LocaleDates, AreYearMonthDayWhereTheCodePageLacksTheirCharacters) {
  if (!Compile("ja_JP", "EUC-JP")) GTEST_SKIP() << "no locale sources";
  setenv("LC_TIME", "ja_JP.EUC-JP", 1);
  UseLocaleOfEnvironment();
  const Date date = DateOf(2026, 11, 2, 4, 15, 37);
  EXPECT_EQ(GeneralDate(date), "2026-11-02 04:15:37");
  EXPECT_EQ(ParseDate(GeneralDate(date)), date);
}

TEST_F(LocaleDates, ReadAsInTheCLocaleWhereTheSystemLacksTheLocale) {
  for (const char* name : {"xx_XX.UTF-8", "POSIX", "C.UTF-8", "C"}) {
    setenv("LC_ALL", name, 1);
    UseLocaleOfEnvironment();
    EXPECT_EQ(GeneralDate(DateOf(2026, 11, 21, 14, 15, 37)), "11/21/2026 2:15:37 PM") << name;
  }
}

}  // namespace
}  // namespace zelkor::lib
