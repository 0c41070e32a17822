// What an unattended run tells its caller: exit status, messages, log lines, and how it takes answers.
#include <csignal>

#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::Not;

class Unattended : public TwoComputers {};

TEST_F(Unattended, AnExportAndAnImportEndWithStatus0) {
  AddFileItem(office, 1, "a.txt", "hello", At(2020, 1, 1));
  const Outcome exported = office.Export("lap");
  EXPECT_EQ(exported.status, 0) << exported;
  EXPECT_EQ(exported.err, "");
  const Outcome imported = lap.Import("office");
  EXPECT_EQ(imported.status, 0) << imported;
  EXPECT_EQ(imported.err, "");
  EXPECT_EQ(lap.ReadFile("a.txt"), "hello");
}

TEST_F(Unattended, HelpAndVersionGoToStandardOutputAndTouchNothing) {
  const TemporaryFolder other;
  const Computer fresh(other.Path(), "fresh");
  const Outcome help = fresh.Run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.err, "");
  for (const char* word : {"Usage: zelkor", "/syncexp:", "/syncimp:", "/select:", "/exclude:", "Exit status"}) {
    EXPECT_THAT(help.out, Says(word));
  }
  const Outcome version = fresh.Run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "Zelkor 2.23\n");
  EXPECT_EQ(NamesIn(fresh.Program()), std::vector<std::string>{});
}

TEST_F(Unattended, WithoutASynchronisationNothingIsDone) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{}, {"c:\\a.txt"}, {"/select:a"}, {"/etc/hostname"}, {"/nothing:1"}}) {
    const Outcome outcome = office.Run(words);
    EXPECT_EQ(outcome.status, 2) << outcome;
    EXPECT_THAT(outcome.err, Says("Zelkor: "));
  }
  EXPECT_EQ(office.Items().size(), 0U);
}

TEST_F(Unattended, AWordThatNamesANativeFileIsThatFileAlsoWhenItBeginsWithASlash) {
  AddFileItem(office, 1, "a.txt", "hello", At(2020, 1, 1));
  const Outcome outcome = office.Run({(office.Home() / "a.txt").string(), Computer::ExportWord("lap")});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(Waiting("lap.cas").blocks[0].records.size(), 1U);
}

TEST_F(Unattended, ThePlaceNeedsNoQuotesWhenItHasNoColon) {
  EXPECT_EQ(office.Run({"/syncexp:lap:" + Stick().string()}).status, 0);
  EXPECT_EQ(OnStick(), (std::vector<std::string>{"lap.cas"}));
}

TEST_F(Unattended, AConnectionThatThisVersionHasNotIsRefused) {
  for (const int type : {1, 2}) {
    office.SetTarget({.id = "lap", .mediaPath = "m:\\", .connectionType = type});
    EXPECT_EQ(office.Export("lap").status, 1);
    EXPECT_EQ(office.Import("lap").status, 1);
  }
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

TEST_F(Unattended, AnUnknownTargetEndsWithStatus1) {
  for (const std::string& word : {Computer::ExportWord("nobody"), Computer::ImportWord("nobody")}) {
    const Outcome outcome = office.Run({word});
    EXPECT_EQ(outcome.status, 1) << outcome;
    EXPECT_EQ(outcome.err, "Zelkor: Can not find target [nobody] in database!\n");
  }
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

TEST_F(Unattended, AWrongNumberOfArgumentsEndsWithStatus2) {
  for (const char* word : {"/syncexp", "/syncexp:lap", "/syncexp:a:b:c", "/syncimp", "/syncimp:a:b:c"}) {
    const Outcome outcome = office.Run({word});
    EXPECT_EQ(outcome.status, 2) << word << "\n" << outcome;
    EXPECT_THAT(outcome.err, Says("Wrong number of arguments")) << word;
  }
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

TEST_F(Unattended, ASwitchInCapitalsDoesNothingAndEndsWithStatus2) {
  AddFileItem(office, 1, "a.txt", "hello", At(2020, 1, 1));
  for (const char* word : {"/SYNCEXP:lap:\"\"", "/SyncExp:lap:\"\"", "/SYNCIMP:lap:\"\""}) {
    EXPECT_EQ(office.Run({word}).status, 2) << word;
  }
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

TEST_F(Unattended, WithoutAComputerIdThatCanBeAskedForNothingIsDone) {
  WriteBytes(office.SettingsFile(), "[Drives]\r\nm=" + office.Written(Stick()) + "\r\n");
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 2) << outcome;
  EXPECT_THAT(outcome.err, Says("Enter computer ID. 1 to 6 characters."));
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
}

TEST_F(Unattended, AsksForTheComputerIdUntilItHasTwoToSixCharactersAndStoresIt) {
  WriteBytes(office.SettingsFile(), "[Drives]\r\nm=" + office.Written(Stick()) + "\r\n");
  const Outcome outcome = office.Export("lap", {.input = "A\nComputer1\nPC01\n"});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(ReadBytes(office.SettingsFile()), Says("PC01"));
  EXPECT_EQ(Waiting("lap.cas").sender, "PC01");
  std::filesystem::remove(Stick() / "lap.cas");
  EXPECT_EQ(office.Export("lap").status, 0);
  EXPECT_EQ(Waiting("lap.cas").sender, "pc01");
}

TEST_F(Unattended, UsesAStoredComputerIdOfOneOrManyCharacters) {
  for (const auto& [stored, used] : {std::pair{"A", "a"}, std::pair{"Computer1", "comput"}}) {
    WriteBytes(office.SettingsFile(),
               "[ORLIM]\r\nUSER=" + std::string(stored) + "\r\n[Drives]\r\nm=" + office.Written(Stick()) + "\r\n");
    EXPECT_EQ(office.Export("lap").status, 0);
    EXPECT_EQ(Waiting("lap.cas").sender, used);
    std::filesystem::remove(Stick() / "lap.cas");
  }
}

TEST_F(Unattended, ASecondCopyOnTheSameDatabaseEndsWithStatus2) {
  // The first copy waits for an answer.
  Put("file.cas", OneBlock("other", {}));
  const auto first = lap.Start({Computer::ImportWord("office", "m:\\file.cas")}, {});
  ASSERT_TRUE(first->WaitForError("Continue anyway?"));
  const Outcome second = lap.Export("office");
  EXPECT_EQ(second.status, 2) << second;
  EXPECT_EQ(second.err, "Zelkor: Zelkor is already running!\n");
  // Another computer's copy does not mind.
  EXPECT_EQ(office.Export("lap").status, 0);
  first->Write("n\n");
  EXPECT_EQ(first->Wait().status, 1);
  EXPECT_EQ(lap.Export("office").status, 0);
}

TEST_F(Unattended, OneDatabaseByTwoNamesIsStillOneCopy) {
  Put("file.cas", OneBlock("other", {}));
  const auto first = lap.Start({Computer::ImportWord("office", "m:\\file.cas")}, {});
  ASSERT_TRUE(first->WaitForError("Continue anyway?"));
  std::filesystem::create_directory_symlink(lap.Program(), folder.Path() / "other name");
  const Outcome second = lap.Run({Computer::ExportWord("office")},
                                 {.environment = {{"ZELKOR_DIR", (folder.Path() / "other name").string()}}});
  EXPECT_EQ(second.status, 2) << second;
  first->Write("n\n");
  EXPECT_EQ(first->Wait().status, 1);
}

TEST_F(Unattended, ACopyThatWasKilledDoesNotKeepOthersOut) {
  const Outcome killed = office.Export("lap", {.faults = {.killAt = 3}});
  EXPECT_NE(killed.signal, 0);
  const Outcome outcome = office.Export("lap");
  EXPECT_EQ(outcome.status, 0) << outcome;
}

TEST_F(Unattended, LogLinesGoToStandardOutputAndTheLogFile) {
  AddFileItem(office, 1, "a.txt", "hello", At(2020, 1, 1));
  const Outcome outcome = office.Export("lap");
  EXPECT_THAT(outcome.out, Says("Sync - Export"));
  EXPECT_THAT(outcome.out, testing::ContainsRegex("Exporting to .*lap.cas\n"));
  EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]"));
  EXPECT_THAT(outcome.out, Says("1 memos, 1 files exported"));
  std::string log = office.Log();
  log.erase(std::remove(log.begin(), log.end(), '\r'), log.end());
  EXPECT_EQ(log, outcome.out);
}

TEST_F(Unattended, QuestionsAreAnsweredByNameOrFirstLetterInEitherCase) {
  for (const char* answer : {"Yes\n", "yes\n", "Y\n", "y\n", "YES\n"}) {
    Put("file.cas", OneBlock("other", {}));
    const Outcome outcome = lap.Run({Computer::ImportWord("office", "m:\\file.cas")}, {.input = answer});
    EXPECT_EQ(outcome.status, 0) << answer << outcome;
    EXPECT_THAT(outcome.err, Says("Zelkor: Sync file is not from [office] but from [other]."));
    EXPECT_THAT(outcome.out, Says("Import completed. ")) << answer;
  }
  for (const char* answer : {"No\n", "n\n", "N\n"}) {
    const Outcome outcome = lap.Run({Computer::ImportWord("office", "m:\\file.cas")}, {.input = answer});
    EXPECT_EQ(outcome.status, 1) << answer << outcome;
    EXPECT_THAT(outcome.out, Not(Says("Import completed. "))) << answer;
  }
}

TEST_F(Unattended, AReaderOfTheOutputThatGoesAwayDoesNotStopTheRun) {
  for (int i = 1; i <= 50; ++i) AddFileItem(office, i, std::to_string(i) + ".txt", "x", At(2020, 1, 1));
  const auto run = office.Start({Computer::ExportWord("lap")}, {.faults = {.rules = "open:home/1.txt:SIGSTOP:1:once"}});
  ASSERT_TRUE(run->WaitUntilStopped());
  run->CloseOutputs();
  run->Signal(SIGCONT);
  const Outcome outcome = run->Wait();
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(Waiting("lap.cas").blocks[0].records.size(), 50U);
}

TEST_F(Unattended, ATemporaryFolderThatIsMissingIsSaid) {
  const Outcome outcome = office.Export("lap", {.environment = {{"TMPDIR", (folder.Path() / "none").string()}}});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("Sync export failed!"));
  EXPECT_THAT(outcome.out, Says("Cannot write to temporary file: "));
}

TEST_F(Unattended, TheProgramFolderIsMadeWhenMissing) {
  const Outcome outcome = office.Run({"/syncexp"}, {.environment = {{"ZELKOR_DIR", (folder.Path() / "x/y").string()}}});
  EXPECT_EQ(outcome.status, 2) << outcome;
  EXPECT_TRUE(std::filesystem::exists(folder.Path() / "x/y/zelkor.cfg"));
}

TEST_F(Unattended, AnAnswerThatIsNoButtonIsAskedForAgain) {
  Put("file.cas", OneBlock("other", {}));
  const Outcome outcome = lap.Run({Computer::ImportWord("office", "m:\\file.cas")}, {.input = "perhaps\n\ny\n"});
  EXPECT_EQ(outcome.status, 0) << outcome;
}

TEST_F(Unattended, TheEndOfInputIsTheSafeAnswer) {
  Put("file.cas", OneBlock("other", {{.fileName = "c:\\a.txt",
                                      .description = "A",
                                      .memoId = 5,
                                      .files = {{.path = "c:\\a.txt", .content = "x", .written = 40000}}}}));
  const Outcome outcome = lap.Run({Computer::ImportWord("office", "m:\\file.cas")});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(lap.Files(), std::vector<std::string>{});
  EXPECT_EQ(lap.Items().size(), 0U);
}

TEST_F(Unattended, ConfirmUpdatesAsksForEachFile) {
  lap.AddSetting("Zelkor", "ConfirmUpdates=1");
  const SyncImage image = OneBlock("office", {{.fileName = "c:\\a.txt\r\nc:\\b.txt",
                                               .description = "A",
                                               .memoId = 5,
                                               .files = {{.path = "c:\\a.txt", .content = "x", .written = 40000},
                                                         {.path = "c:\\b.txt", .content = "y", .written = 40000}}}});
  Put("lap.cas", image);
  const Outcome outcome = lap.Import("office", {.input = "n\ny\n"});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.err, Says("Import c:\\a.txt?"));
  EXPECT_THAT(outcome.out, Says("  [c:\\a.txt]: Did not import"));
  EXPECT_THAT(outcome.out, Says("  [c:\\b.txt]: New"));
  EXPECT_THAT(outcome.out, testing::ContainsRegex("Not imported: *1"));
  EXPECT_EQ(lap.Files(), (std::vector<std::string>{"b.txt"}));
}

TEST_F(Unattended, FilesDeclinedByTheEndOfInputAreNoSuccess) {
  lap.AddSetting("Zelkor", "ConfirmUpdates=1");
  Put("lap.cas", OneBlock("office", {{.fileName = "c:\\a.txt",
                                      .memoId = 5,
                                      .files = {{.path = "c:\\a.txt", .content = "x", .written = 40000}}}}));
  const Outcome outcome = lap.Import("office");
  EXPECT_EQ(outcome.status, 1) << outcome;
  // Nothing counts as collected.
  EXPECT_EQ(OnStick(), (std::vector<std::string>{"lap.cas"}));
}

TEST_F(Unattended, NothingToImportIsSaidAndEndsWithStatus1) {
  const Outcome outcome = lap.Import("office");
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(outcome.err, "Zelkor: No file to import!\n");
}

TEST_F(Unattended, ANamedFileThatDoesNotExistIsSaidAndEndsWithStatus1) {
  const Outcome outcome = lap.Run({Computer::ImportWord("office", "m:\\none.cas")});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_EQ(outcome.err, "Zelkor: Import file [m:\\none.cas] does not exist!\n");
}

TEST_F(Unattended, ADamagedSyncFileEndsWithStatus3) {
  SyncImage image = OneBlock("office", {{.memoId = 5}});
  image.blocks[0].records[0].signature = "memosigm";
  Put("lap.cas", image);
  EXPECT_EQ(lap.Import("office").status, 3);
  EXPECT_EQ(OnStick(), (std::vector<std::string>{"lap.cas"}));
}

TEST_F(Unattended, NeedsNoDisplay) {
  const Outcome outcome = office.Export("lap", {.environment = {{"DISPLAY", ":nowhere"}, {"WAYLAND_DISPLAY", "none"}}});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Unattended, WordsBehindTheSwitchAreNotLookedAt) {
  office.AddItem({.fileName = "c:\\a.txt", .description = "A", .memoId = 1, .codes = "x"});
  office.AddItem({.fileName = "c:\\b.txt", .description = "B", .memoId = 2, .codes = "y"});
  const Outcome outcome = office.Run({Computer::ExportWord("lap"), "/select:x", "c:\\new.txt"});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(Waiting("lap.cas").blocks[0].records.size(), 2U);
  EXPECT_EQ(office.Items().size(), 2U);
}

TEST_F(Unattended, ThePlaceIsMadeAbsoluteAgainstTheDirectoryOfTheStart) {
  std::filesystem::create_directory(folder.Path() / "elsewhere");
  const Outcome outcome = office.Run({Computer::ExportWord("lap", ".")}, {.directory = folder.Path() / "elsewhere"});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(NamesIn(folder.Path() / "elsewhere"), (std::vector<std::string>{"lap.cas"}));
}

TEST_F(Unattended, ThePlaceMayBeANativePathOrOneOfTheProgramsForm) {
  std::filesystem::create_directories(Stick() / "sub folder");
  EXPECT_EQ(office.Run({Computer::ExportWord("lap", (Stick() / "sub folder").string())}).status, 0);
  EXPECT_EQ(office.Run({Computer::ExportWord("lap", "m:\\sub folder\\")}).status, 0);
  EXPECT_EQ(NamesIn(Stick() / "sub folder"), (std::vector<std::string>{"lap.cas", "lap01.cas"}));
}

}  // namespace
}  // namespace zelkor::tests
