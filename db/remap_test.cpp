#include "db/remap.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "lib/files.h"
#include "lib/run_time_error.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::db {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Remap : public tests::Sandbox {
 protected:
  [[nodiscard]] std::filesystem::path File() const { return ProgramFolder() / "ReMap.txt"; }
  void Load(const std::string& content) {
    WriteNative(File(), content);
    table_.LoadRemapTable(ProgramDir(), user_);
  }
  [[nodiscard]] std::string ToShared(const std::string& paths) const { return table_.RemapPath(paths, false); }
  [[nodiscard]] std::string ToLocal(const std::string& paths) const { return table_.RemapPath(paths, true); }
  static std::string Invalid(int line) {
    return "Invalid remapping in ReMap.txt, line no:" + std::to_string(line) + "\r\nSee File/Settings/ReMapping.";
  }

  RemapTable table_;
  tests::ScriptedUser user_;
};

TEST_F(Remap, CreatesTheFileWithAnExplanationWhenItIsMissing) {
  EXPECT_TRUE(table_.LoadRemapTable(ProgramDir(), user_));
  EXPECT_EQ(ReadNative(File()),
            ";Drive/directory remapping\r\n"
            ";Lines beginning with ; are treated as comments\r\n"
            ";\r\n"
            ";Example:\r\n"
            ";  c:\\job\\finance\\=c:\\finance\\\r\n"
            ";  will ReMap all files in c:\\job\\finance\\ on this computer\r\n"
            ";  to c:\\finance\\ on all other targets\r\n"
            ";\r\n");
  EXPECT_EQ(table_.Count(), 0U);
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(Remap, TakesTheFileThatItHasCreatedAsEmpty) {
  table_.LoadRemapTable(ProgramDir(), user_);
  table_.LoadRemapTable(ProgramDir(), user_);
  EXPECT_EQ(table_.Count(), 0U);
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(Remap, LeavesEveryPathUnchangedWithoutEntries) {
  EXPECT_EQ(ToShared("c:\\a.txt\r\nc:\\b.txt\r\n"), "c:\\a.txt\r\nc:\\b.txt\r\n");
  EXPECT_EQ(ToLocal(""), "");
}

TEST_F(Remap, RewritesADirectoryBothWays) {
  Load("c:\\job\\finance\\=c:\\finance\\\r\n");
  EXPECT_EQ(ToShared("c:\\job\\finance\\plan.xls"), "c:\\finance\\plan.xls");
  EXPECT_EQ(ToLocal("c:\\finance\\plan.xls"), "c:\\job\\finance\\plan.xls");
}

TEST_F(Remap, LeavesAPathThatDiffersInCaseUnchanged) {
  Load("c:\\job\\finance\\=c:\\finance\\\r\n");
  EXPECT_EQ(ToShared("C:\\JOB\\FINANCE\\plan.xls"), "C:\\JOB\\FINANCE\\plan.xls");
}

TEST_F(Remap, ReplacesEveryOccurrenceInEveryLineAndNeverInWhatItInserted) {
  Load("ab=aab\r\n");
  EXPECT_EQ(ToShared("c:\\ab\\ab.txt\r\nd:\\ab"), "c:\\aab\\aab.txt\r\nd:\\aab");
}

TEST_F(Remap, MatchesInTheMiddleOfAPath) {
  Load("\\job\\=\\work\\\r\n");
  EXPECT_EQ(ToShared("c:\\x\\job\\a.txt"), "c:\\x\\work\\a.txt");
}

TEST_F(Remap, LetsTheFirstOfOverlappingEntriesWin) {
  Load("c:\\job\\=d:\\\r\nc:\\job\\finance\\=e:\\\r\n");
  EXPECT_EQ(ToShared("c:\\job\\finance\\a.txt"), "d:\\finance\\a.txt");
}

TEST_F(Remap, AppliesLaterEntriesToTheResultOfEarlierOnes) {
  Load("c:\\one\\=c:\\two\\\r\nc:\\one\\x=never\r\ntxt=doc\r\n");
  EXPECT_EQ(ToShared("c:\\one\\x.txt"), "c:\\two\\x.doc");
}

TEST_F(Remap, AsksTheWholeTextAsGivenWhetherAnEntryApplies) {
  Load("a=b\r\nb=c\r\n");
  // The second entry's path is not in the text as given, so the result of the first is left alone …
  EXPECT_EQ(ToShared("a"), "b");
  // … unless another line has it, in whatever case.
  EXPECT_EQ(ToShared("a\r\nb"), "c\r\nc");
  EXPECT_EQ(ToShared("a\r\nB"), "c\r\nB");
}

TEST_F(Remap, KeepsTheLineBreaksOfAList) {
  Load("x=y\r\n");
  EXPECT_EQ(ToShared("c:\\x\r\n\r\nc:\\z"), "c:\\y\r\n\r\nc:\\z");
  EXPECT_EQ(ToShared("c:\\x\r\n"), "c:\\y\r\n");
  EXPECT_EQ(ToShared("c:\\x\nc:\\xx"), "c:\\y\r\nc:\\yy");
  EXPECT_EQ(ToShared("x"), "y");
}

TEST_F(Remap, TakesThePathsAsTheyStand) {
  Load("  C:\\Job = D:\\Work  \r\n");
  EXPECT_EQ(ToShared("C:\\Job \\a"), " D:\\Work\\a");
  EXPECT_EQ(ToShared("C:\\Job\\a"), "C:\\Job\\a");
}

TEST_F(Remap, CanTakeAPathAway) {
  Load("\\extra=\r\n");
  EXPECT_EQ(ToShared("c:\\extra\\a.txt"), "c:\\a.txt");
  EXPECT_EQ(ToLocal("c:\\a.txt"), "c:\\a.txt");
}

TEST_F(Remap, ReportsInvalidLinesByTheirNumberInTheFile) {
  Load("; a comment\r\n\r\na=b=c\r\nx=y\r\nno equals sign\r\n");
  EXPECT_THAT(user_.Messages(), ElementsAre(Invalid(3), Invalid(5)));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_EQ(table_.Count(), 1U);
  EXPECT_EQ(ToShared("x"), "y");
}

TEST_F(Remap, IgnoresALineOfBlanksAndAnIndentedComment) {
  Load("     \r\n   ;x\r\n");
  EXPECT_EQ(table_.Count(), 0U);
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(Remap, ReadsALastLineWithoutALineBreak) {
  Load("x=y");
  EXPECT_EQ(ToShared("x"), "y");
}

TEST_F(Remap, PutsLaterLoadsBehindTheEarlierOnes) {
  Load("c:\\a\\=d:\\first\\\r\n");
  Load("c:\\a\\=d:\\second\\\r\nx=y\r\n");
  EXPECT_EQ(table_.Count(), 3U);
  EXPECT_EQ(ToShared("c:\\a\\x"), "d:\\first\\y");
}

TEST_F(Remap, CountsTheInvalidLinesBeyondTheTenth) {
  std::string content;
  for (int i = 0; i < 25; ++i) content += "not a remapping\r\n";
  Load(content);
  ASSERT_EQ(user_.boxes.size(), 11U);
  EXPECT_EQ(user_.boxes[9].text, Invalid(10));
  EXPECT_EQ(user_.boxes[10].text, "Invalid remapping in ReMap.txt: 15 more lines\r\nSee File/Settings/ReMapping.");
}

TEST_F(Remap, SurvivesContentThatIsNoText) {
  std::string content;
  for (unsigned i = 0, x = 7; i < 100000; ++i) content += static_cast<char>((x = x * 1664525U + 1013904223U) >> 24);
  Load(content);
  EXPECT_EQ(user_.boxes.size(), 11U);
}

TEST_F(Remap, RefusesAFileThatIsTooLargeToBeATable) {
  WriteNative(File(), "");
  ASSERT_TRUE(lib::File::Open(OnDriveZ(File()), lib::OpenMode::Existing)->SetLength(std::int64_t{100} << 30).Ok());
  table_.LoadRemapTable(ProgramDir(), user_);
  EXPECT_EQ(table_.Count(), 0U);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("ReMap.txt"));
}

TEST_F(Remap, ReplacesNothingThatItCanNotRead) {
  std::filesystem::create_directory(File());
  EXPECT_FALSE(table_.LoadRemapTable(ProgramDir(), user_));
  EXPECT_EQ(table_.Count(), 0U);
  EXPECT_TRUE(std::filesystem::is_directory(File()));
  EXPECT_EQ(user_.boxes.size(), 1U);
}

TEST_F(Remap, HoldsUpTo999Entries) {
  std::string content;
  for (int i = 1; i <= 999; ++i) content += "l" + std::to_string(i) + "z=s" + std::to_string(i) + "z\r\n";
  Load(content);
  EXPECT_EQ(table_.Count(), 999U);
  EXPECT_EQ(ToShared("l999z"), "s999z");
  EXPECT_THROW(Load("x=y\r\n"), lib::RunTimeError);
}

}  // namespace
}  // namespace zelkor::db
