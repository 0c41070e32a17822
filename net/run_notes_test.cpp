#include "net/run_notes.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "lib/clock.h"
#include "tests/support/sandbox.h"

namespace zelkor::net {
namespace {

using lib::Date;

// 21 November 2026 and the days after it, noon.
constexpr Date kBase = 46347.5;
constexpr Date kFirst = 46348.5;
constexpr Date kSecond = 46349.5;
constexpr Date kThird = 46350.5;

class RunNotesTest : public tests::Sandbox {
 protected:
  void Add(const std::string& id, Date base, Date date, const std::string& address = "10.0.0.2") {
    ASSERT_TRUE(RunNotes(ProgramDir()).Add(id, base, date, address).Ok());
  }
  // Each time as after a new start of the program.
  std::optional<Date> Take(const std::string& id, Date lastExport) {
    return RunNotes(ProgramDir()).Take(id, lastExport);
  }
  [[nodiscard]] std::string File() const { return ReadNative(ProgramFolder() / "zelkor.net"); }
};

TEST_F(RunNotesTest, GiveTheDateOfARunToItsConfirmationOnce) {
  Add("lap", kBase, kFirst);
  EXPECT_EQ(Take("lap", kBase), kFirst);
  EXPECT_EQ(Take("lap", kBase), std::nullopt);
}

TEST_F(RunNotesTest, KnowNothingOfAConfirmationThatNobodyWaitsFor) {
  EXPECT_EQ(Take("lap", kBase), std::nullopt);
  Add("home", kBase, kFirst);
  EXPECT_EQ(Take("lap", kBase), std::nullopt);
  EXPECT_EQ(Take("home", kBase), kFirst);
}

TEST_F(RunNotesTest, CompareIdsTrimmedAndWithoutCase) {
  Add(" Lap", kBase, kFirst);
  EXPECT_EQ(Take("LAP ", kBase), kFirst);
}

TEST_F(RunNotesTest, GiveTheOldestDateSinceItIsNotSaidWhichFileWasImported) {
  Add("lap", kBase, kFirst);
  Add("lap", kBase, kSecond);
  EXPECT_EQ(Take("lap", kBase), kFirst);
  EXPECT_EQ(Take("lap", kFirst), kSecond);
}

TEST_F(RunNotesTest, GiveNoDateAfterTheExportDateWasSetBack) {
  Add("lap", kFirst, kSecond);
  // Cleared, so that everything goes out again: the file that was confirmed does not reach back that far.
  EXPECT_EQ(Take("lap", 0), std::nullopt);
  EXPECT_EQ(Take("lap", kFirst), std::nullopt);
}

TEST_F(RunNotesTest, LetAnotherRunsConfirmationUseUpADateThatIsNotGiven) {
  Add("lap", kFirst, kSecond);
  Add("lap", kBase, kThird);
  EXPECT_EQ(Take("lap", kBase), std::nullopt);
  EXPECT_EQ(Take("lap", kBase), kThird);
}

TEST_F(RunNotesTest, NeverSetTheDateBack) {
  Add("lap", kBase, kFirst);
  EXPECT_EQ(Take("lap", kSecond), std::nullopt);
}

TEST_F(RunNotesTest, ForgetATargetsRuns) {
  Add("lap", kBase, kFirst);
  Add("home", kBase, kFirst);
  RunNotes(ProgramDir()).Forget("Lap");
  EXPECT_EQ(Take("lap", kBase), std::nullopt);
  EXPECT_EQ(Take("home", kBase), kFirst);
}

TEST_F(RunNotesTest, ForgetTheLatestRunToAnAddress) {
  Add("lap", kBase, kFirst, "10.0.0.2");
  Add("lap", kBase, kSecond, "10.0.0.2");
  Add("home", kBase, kThird, "10.0.0.3");
  RunNotes(ProgramDir()).ForgetLast("10.0.0.2");
  RunNotes(ProgramDir()).ForgetLast("10.0.0.9");
  EXPECT_EQ(Take("lap", kBase), kFirst);
  EXPECT_EQ(Take("lap", kFirst), std::nullopt);
  EXPECT_EQ(Take("home", kBase), kThird);
}

TEST_F(RunNotesTest, StandInALineOfTheirFile) {
  // 46347.5 days are 4,004,424,000 seconds.
  Add("lap", kBase, kFirst, "10.0.0.2:4223");
  const std::string line = File();
  EXPECT_TRUE(line.starts_with("lap 4004424000 4004510400 ")) << line;
  EXPECT_TRUE(line.ends_with(" 10.0.0.2:4223\n")) << line;
}

TEST_F(RunNotesTest, AreTheirUsersAlone) {
  if (!tests::HasModes()) GTEST_SKIP() << "rights are kept otherwise here";
  Add("lap", kBase, kFirst);
  Add("lap", kBase, kSecond);
  namespace fs = std::filesystem;
  EXPECT_EQ(fs::status(ProgramFolder() / "zelkor.net").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(RunNotesTest, SweepWhatNobodyCanWaitForAnyMore) {
  const std::int64_t now = lib::NowUtc();
  const auto line = [](const std::string& id, std::int64_t sent) {
    return id + " 4004424000 4004510400 " + std::to_string(sent) + " 10.0.0.2\n";
  };
  WriteNative(ProgramFolder() / "zelkor.net", line("old", now - 32 * 86400) + line("young", now - 30 * 86400));
  Add("lap", kBase, kFirst);
  EXPECT_EQ(Take("old", kBase), std::nullopt);
  EXPECT_EQ(Take("young", kBase), kFirst);
}

TEST_F(RunNotesTest, PassOverLinesThatAreNone) {
  WriteNative(ProgramFolder() / "zelkor.net", "nonsense\nlap x 2 3 a\nlap 4004424000 4004510400 99999999999 10.0.0.2");
  EXPECT_EQ(Take("lap", kBase), kFirst);
}

TEST_F(RunNotesTest, KeepTheOldestOfVeryManyRuns) {
  Add("lap", kBase, kFirst);
  for (int i = 1; i <= 150; ++i) Add("lap", kBase, kFirst + i);
  const std::string file = File();
  EXPECT_EQ(std::count(file.begin(), file.end(), '\n'), 100);
  EXPECT_EQ(Take("lap", kBase), kFirst);
}

TEST_F(RunNotesTest, SayThatADateCanNotBeNoted) {
  std::filesystem::create_directory(ProgramFolder() / "zelkor.net");
  EXPECT_FALSE(RunNotes(ProgramDir()).Add("lap", kBase, kFirst, "10.0.0.2").Ok());
}

}  // namespace
}  // namespace zelkor::net
