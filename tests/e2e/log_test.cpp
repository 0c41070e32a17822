// The run's log and the history of earlier runs.
#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::Not;

class LogAndHistory : public TwoComputers {
 protected:
  static std::string WithoutReturns(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
  }
};

TEST_F(LogAndHistory, TheFirstRunMakesALogAndAnEmptyHistory) {
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_THAT(office.Log(), testing::ContainsRegex("^[0-9/]+ [0-9:]+ [AP]M Sync - Export"));
  EXPECT_TRUE(std::filesystem::exists(office.Program() / "ZELKOR history.log"));
  EXPECT_EQ(office.History(), "");
}

TEST_F(LogAndHistory, EachRunPutsTheLogOfTheOneBeforeIntoTheHistory) {
  ASSERT_EQ(office.Export("lap").status, 0);
  const std::string first = office.Log();
  ASSERT_EQ(office.Export("lap").status, 0);
  const std::string second = office.Log();
  EXPECT_EQ(office.History(), first);
  EXPECT_EQ(office.Import("lap").status, 1);
  EXPECT_EQ(office.History(), first + second);
  EXPECT_THAT(office.Log(), Says("Sync - Import"));
  EXPECT_THAT(office.Log(), Says("No file to import!"));
}

TEST_F(LogAndHistory, AreNotWrittenWhenSwitchedOff) {
  office.AddSetting("Zelkor", "LogToFile=0");
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, Says("Export completed."));
  EXPECT_FALSE(std::filesystem::exists(office.Program() / "ZELKOR.log"));
  EXPECT_FALSE(std::filesystem::exists(office.Program() / "ZELKOR history.log"));
}

TEST_F(LogAndHistory, HoldEachLineAsSoonAsItIsWritten) {
  AddFileItem(office, 1, "a.txt", "x", At(2020, 1, 1));
  // Killed while it delivers: the lines before that are in the file.
  const Outcome killed = office.Export("lap", {.faults = {.rules = "rename+link:stick:SIGKILL:1"}});
  EXPECT_NE(killed.signal, 0);
  EXPECT_THAT(office.Log(), Says("1 memos, 1 files exported"));
  EXPECT_EQ(WithoutReturns(office.Log()), killed.out);
  const std::string log = office.Log();
  ASSERT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(office.History(), log);
}

TEST_F(LogAndHistory, AFailureToWriteThemDoesNotStopARun) {
  AddFileItem(office, 1, "a.txt", "x", At(2020, 1, 1));
  for (const char* rules : {"write:ZELKOR.log:ENOSPC:1", "open:ZELKOR.log:EACCES:1", "open:history.log:EACCES:1"}) {
    const Outcome outcome = office.Export("lap", {.faults = {.rules = rules}});
    EXPECT_EQ(outcome.signal, 0) << rules << outcome;
    EXPECT_EQ(outcome.status, 0) << rules << outcome;
    EXPECT_THAT(outcome.out, Says("Export completed.")) << rules;
  }
}

TEST_F(LogAndHistory, AreOfTheirOwnersOnly) {
  // A computer whose database the program itself has made.
  const Computer fresh(folder.Path(), "fresh");
  ASSERT_EQ(fresh.Export("lap").status, 1);
  for (const char* name : {"ZELKOR.log", "ZELKOR history.log", "zelkor.cfg", "zelkor.ind"}) {
    const auto permissions = std::filesystem::status(fresh.Program() / name).permissions();
    EXPECT_EQ(permissions, static_cast<std::filesystem::perms>(0600)) << name;
  }
}

TEST_F(LogAndHistory, TextOutsideAsciiIsTextOfTheTerminalOnStandardOutput) {
  office.AddItem({.description = "Gr\xF6\xDF"
                                 "e",
                  .memoId = 1});
  const Outcome outcome = office.Export("lap");
  EXPECT_THAT(outcome.out, Says("Gr\xC3\xB6\xC3\x9F"
                                "e"));
  EXPECT_THAT(outcome.out, Not(Says("Gr\xF6")));
}

}  // namespace
}  // namespace zelkor::tests
