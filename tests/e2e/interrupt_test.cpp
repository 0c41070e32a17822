// Ctrl-C at any moment of a run: it ends in order, and what it leaves is consistent.
#include <csignal>

#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

class Interrupt : public testing::Test {
 protected:
  struct Scene {
    TemporaryFolder folder;
    Computer office{folder.Path(), "office"};
    Computer lap{folder.Path(), "lap"};
    Scene() {
      office.SetTarget({.id = "lap", .mediaPath = "m:\\", .lastExport = 30000});
      lap.SetTarget({.id = "office", .mediaPath = "m:\\", .lastImport = 30000});
      for (int i = 1; i <= 4; ++i) {
        const std::string name = "file" + std::to_string(i) + ".txt";
        office.WriteFile(name, std::string(50000, static_cast<char>('0' + i)), At(2020, 1, i));
        office.AddItem({.fileName = Computer::PathOf(name), .description = name, .memoId = i});
      }
    }
    [[nodiscard]] std::filesystem::path Stick() const { return folder.Path() / "stick"; }
  };
};

TEST_F(Interrupt, AtAnyCallOfAnExportEndsItInOrder) {
  bool cancelled = false;
  bool done = false;
  const long calls = [] {
    const Scene scene;
    EXPECT_EQ(scene.office.Export("lap", {.faults = {.count = true}}).status, 0);
    return scene.office.ChangingCalls();
  }();
  ASSERT_GT(calls, 5);
  for (long at = 1; at <= calls; ++at) {
    const std::string when = "at " + std::to_string(at);
    const Scene scene;
    const Outcome outcome = scene.office.Export("lap", {.faults = {.killAt = at, .signal = SIGINT}});
    EXPECT_EQ(outcome.signal, 0) << when << outcome;
    EXPECT_EQ(NamesIn(scene.office.Temporary()), std::vector<std::string>{}) << when;
    if (outcome.status == 0) {
      // Too late to cancel: then it is done.
      done = true;
      EXPECT_EQ(NamesIn(scene.Stick()), (std::vector<std::string>{"lap.cas"})) << when;
      EXPECT_GT(scene.office.TargetWithId("lap")->lastExport, 30000) << when;
    } else {
      cancelled = true;
      EXPECT_EQ(outcome.status, 1) << when << outcome;
      EXPECT_EQ(NamesIn(scene.Stick()), std::vector<std::string>{}) << when;
      EXPECT_EQ(scene.office.TargetWithId("lap")->lastExport, 30000) << when;
      EXPECT_THAT(outcome.out, Says("Sync export failed!")) << when;
    }
    EXPECT_EQ(scene.office.Export("lap").status, 0) << when;
  }
  EXPECT_TRUE(cancelled);
  EXPECT_TRUE(done);
}

TEST_F(Interrupt, AtAnyCallOfAnImportKeepsWhatIsWrittenAndTheDate) {
  bool cancelled = false;
  bool some = false;
  const long calls = [] {
    const Scene scene;
    EXPECT_EQ(scene.office.Export("lap").status, 0);
    EXPECT_EQ(scene.lap.Import("office", {.faults = {.count = true}}).status, 0);
    return scene.lap.ChangingCalls();
  }();
  ASSERT_GT(calls, 10);
  for (long at = 1; at <= calls; ++at) {
    const std::string when = "at " + std::to_string(at);
    const Scene scene;
    ASSERT_EQ(scene.office.Export("lap").status, 0);
    const Outcome outcome = scene.lap.Import("office", {.faults = {.killAt = at, .signal = SIGINT}});
    EXPECT_EQ(outcome.signal, 0) << when << outcome;
    EXPECT_EQ(NamesIn(scene.lap.Temporary()), std::vector<std::string>{}) << when;
    for (const std::string& name : scene.lap.Files()) {
      EXPECT_TRUE(scene.lap.ReadFile(name) == scene.office.ReadFile(name)) << when << name;
      EXPECT_TRUE(scene.lap.ItemWithId(name[4] - '0')) << when << name;
    }
    if (outcome.status != 0) {
      cancelled = true;
      some = some || !scene.lap.Files().empty();
      EXPECT_EQ(outcome.status, 1) << when << outcome;
      EXPECT_EQ(scene.lap.TargetWithId("office")->lastImport, 30000) << when;
      EXPECT_THAT(outcome.out, testing::ContainsRegex("[Cc]ancel")) << when;
      EXPECT_EQ(NamesIn(scene.Stick()), (std::vector<std::string>{"lap.cas"})) << when;
      EXPECT_EQ(scene.lap.Import("office").status, 0) << when;
    }
    EXPECT_EQ(scene.lap.Files().size(), 4U) << when;
    EXPECT_EQ(scene.lap.Items().size(), 4U) << when;
  }
  EXPECT_TRUE(cancelled);
  EXPECT_TRUE(some);
}

TEST_F(Interrupt, WhileAQuestionWaitsIsTheSafeAnswer) {
  const Scene scene;
  WriteBytes(scene.Stick() / "file.cas", EncodeSync(OneBlock("other", {})));
  const auto run = scene.lap.Start({Computer::ImportWord("office", "m:\\file.cas")}, {});
  ASSERT_TRUE(run->WaitForError("Continue anyway?"));
  run->Signal(SIGINT);
  // The end of the input comes only after the signal had its time: the signal alone must end the wait.
  EXPECT_FALSE(run->WaitForOutput("Import completed."));
  const Outcome outcome = run->Wait();
  EXPECT_FALSE(outcome.timedOut);
  EXPECT_EQ(outcome.signal, 0) << outcome;
  EXPECT_EQ(outcome.status, 1) << outcome;
}

TEST_F(Interrupt, ByTheKeyOfATerminalEndsTheRunInOrder) {
  const Scene scene;
  const auto run = scene.office.Start({Computer::ExportWord("lap")},
                                      {.faults = {.rules = "read:home/file3.txt:SIGSTOP:1:once"}, .terminal = true});
  ASSERT_TRUE(run->WaitUntilStopped());
  run->Write("\x03");
  // The terminal shows the key once it has sent the signal.
  ASSERT_TRUE(run->WaitForError("^C"));
  run->Signal(SIGCONT);
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(NamesIn(scene.Stick()), std::vector<std::string>{});
}

TEST_F(Interrupt, ProgressIsShownOnATerminalOnlyAndBlankedAtTheEnd) {
  const Scene scene;
  // A clock stopped for a while at each file, so that the line has its time to be drawn.
  for (int i = 5; i < 40; ++i) {
    const std::string name = "more" + std::to_string(i) + ".txt";
    scene.office.WriteFile(name, std::string(200000, 'x'), At(2020, 1, 1));
    scene.office.AddItem({.fileName = Computer::PathOf(name), .description = name, .memoId = i});
  }
  const Outcome shown = scene.office.Run({Computer::ExportWord("lap")}, {.terminal = true});
  EXPECT_EQ(shown.status, 0) << shown;
  EXPECT_THAT(shown.err, Says("Exporting"));
  EXPECT_THAT(shown.err, testing::ContainsRegex("[0-9]+ of 39 items"));
  EXPECT_THAT(shown.out, testing::Not(Says("\r")));
  // The last thing drawn is an empty line.
  const std::string last = shown.err.substr(shown.err.rfind('\r', shown.err.size() - 2));
  EXPECT_EQ(last.find_first_not_of("\r "), std::string::npos) << shown;
  std::filesystem::remove(scene.Stick() / "lap.cas");
  EXPECT_EQ(scene.office.Export("lap").err, "");
}

}  // namespace
}  // namespace zelkor::tests
