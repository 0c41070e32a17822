// Starts and ends of the built program with its windows.

#include <csignal>

#include "tests/gui/desktop.h"

namespace zelkor::tests {
namespace {

constexpr std::time_t kWritten = 1'700'000'000;

class StartWithWindows : public TwoDesktops {
 protected:
  // Starts and ends the program, which says that the database is as it should be.
  void StartsAndEnds(const Computer& computer) const {
    DesktopProgram program(computer);
    const Outcome outcome = ExitByMenu(screen, computer, program);
    EXPECT_EQ(outcome.status, 0) << outcome;
  }
  // Presses Return for the properties of the current item, which has this description.
  void ExpectCurrentItem(const Computer& computer, const std::string& description) const {
    screen.Activate(MainTitle(computer));
    screen.Press("Return");
    screen.WaitUntilActive("Item - [" + description + "]");
    screen.Press("Escape");
    screen.WaitUntilGone("Item - [" + description + "]");
  }
};

TEST_F(StartWithWindows, ASecondCopySaysThatZelkorIsAlreadyRunningAndEnds) {
  DesktopProgram first(office);
  screen.WaitUntilActive(MainTitle(office));
  DesktopProgram second(office, {"notes.txt"});
  EXPECT_EQ(screen.TextOfBox(kBox), "Zelkor is already running!");
  screen.Press("Return");
  const Outcome outcome = second.WaitForEnd();
  EXPECT_EQ(outcome.status, 2) << outcome;
  EXPECT_THAT(office.Items(), testing::IsEmpty());
  EXPECT_EQ(ExitByMenu(screen, office, first).status, 0);
}

TEST_F(StartWithWindows, ACopyOfAnotherComputerStartsBesideTheFirst) {
  DesktopProgram first(office);
  screen.WaitUntilActive(MainTitle(office));
  DesktopProgram second(lap);
  screen.WaitUntilActive(MainTitle(lap));
  EXPECT_EQ(ExitByMenu(screen, lap, second).status, 0);
  const Outcome outcome = ExitByMenu(screen, office, first);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "") << "nothing for a terminal that nobody looks at";
}

TEST_F(StartWithWindows, CataloguesTheFilesOfTheCommandLine) {
  office.WriteFile("docs/my letter.txt", "dear", kWritten);
  DesktopProgram program(office, {"docs/my letter.txt", "gone.dat"});
  screen.WaitUntilActive(MainTitle(office));
  EXPECT_TRUE(screen.Until([&] { return office.Items().size() == 2; }));
  EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
  const std::vector<Item> items = office.Items();
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].fileName, "c:\\docs\\my letter.txt");
  EXPECT_EQ(items[0].description, "my letter");
  EXPECT_EQ(items[1].fileName, "c:\\gone.dat");
}

TEST_F(StartWithWindows, ImportsASyncFileOfTheCommandLineWhenItsUserAgrees) {
  AddFileItem(office, 11, "plan.txt", "the plan", kWritten);
  ASSERT_EQ(office.Export("lap").status, 0);
  const std::string name = (Stick() / "lap.cas").string();

  for (const bool agreed : {false, true}) {
    DesktopProgram program(lap, {name});
    EXPECT_THAT(screen.TextOfBox(kBox), Says("Proceed?"));
    screen.Press(agreed ? "Alt+y" : "Alt+n");
    EXPECT_TRUE(screen.Until([&] { return !screen.Has(kBox); }));
    if (agreed) {
      EXPECT_TRUE(screen.Until([&] { return lap.TargetWithId("office")->lastImport > 0; }));
    }
    screen.Activate(MainTitle(lap));
    EXPECT_EQ(ExitByMenu(screen, lap, program).status, 0);
    EXPECT_EQ(lap.Items().size(), agreed ? 1U : 0U);
  }
  EXPECT_EQ(lap.ReadFile("plan.txt"), "the plan");
  EXPECT_EQ(lap.FileTime("plan.txt"), kWritten);
  EXPECT_THAT(OnStick(), testing::ElementsAre("lap.cas")) << "a file that somebody named stays";
}

TEST_F(StartWithWindows, TheSelectionOfTheCommandLineIsInForceWhenTheListAppears) {
  office.AddItem({.fileName = "c:\\a", .description = "Plain", .memoId = 1});
  office.AddItem({.fileName = "c:\\b", .description = "Coded", .memoId = 2, .codes = "work"});
  office.AddItem({.fileName = "c:\\c", .description = "Other", .memoId = 3, .codes = "home"});
  {
    DesktopProgram program(office, {"/SELECT:work"});
    ExpectCurrentItem(office, "Coded");
    EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
  }
  DesktopProgram program(office, {"/exclude:work,home", "/select:"});
  ExpectCurrentItem(office, "Plain");
  screen.Press("Down");  // there is no other row
  ExpectCurrentItem(office, "Plain");
  EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
}

TEST_F(StartWithWindows, ASelectionThatNothingCarriesSaysSoBeforeTheMainWindowIsShown) {
  office.AddItem({.fileName = "c:\\a", .description = "Plain", .memoId = 1});
  DesktopProgram program(office, {"/select:none"});
  EXPECT_EQ(screen.TextOfBox(kBox), "Nothing selected!");
  EXPECT_FALSE(screen.Has(MainTitle(office)));
  screen.Press("Return");
  ExpectCurrentItem(office, "Plain");
  EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
}

TEST_F(StartWithWindows, WithoutADisplayItSaysSoAndDoesNothing) {
  std::filesystem::remove_all(office.Program());
  for (const char* display : {"", ":987654"}) {
    Computer::Options options;
    options.environment = {{"DISPLAY", display}, {"GDK_BACKEND", "x11"}};
    const Outcome outcome = office.Run({}, options);
    EXPECT_EQ(outcome.status, 2) << outcome;
    EXPECT_THAT(outcome.err, Says("Zelkor: there is no display to show windows on"));
    EXPECT_EQ(outcome.out, "");
  }
  EXPECT_FALSE(std::filesystem::exists(office.Program())) << "nothing was made";
}

TEST_F(StartWithWindows, TheMainWindowComesBackWhereItWas) {
  constexpr int kFreeBelow = 500 / 15;  // pixels for twips
  const Screen::Place wanted{200, 150, 700, 500};
  {
    DesktopProgram program(office);
    screen.WaitUntilActive(MainTitle(office));
    const Screen::Place whole = screen.Whole();
    EXPECT_TRUE(screen.Until([&] {
      const Screen::Place first = screen.FramedPlaceOf(MainTitle(office));
      const bool framed = first != screen.PlaceOf(MainTitle(office));
      return framed && first.y == 0 && first.x + first.width == whole.width &&
             first.height == whole.height - kFreeBelow;
    })) << "without settings it opens at the top right edge";
    screen.Move(MainTitle(office), wanted);
    EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
  }
  const std::string stored = ReadBytes(office.SettingsFile());
  EXPECT_EQ(Setting(office, "ZELKOR", "FormWindowState"), "0");
  // More often than once: a window must not creep across the screen.
  for (int start = 1; start <= 3; ++start) {
    DesktopProgram program(office);
    screen.WaitUntilActive(MainTitle(office));
    EXPECT_TRUE(screen.Stays(MainTitle(office), wanted))
        << "start " << start << ": " << screen.PlaceOf(MainTitle(office)).x << ", "
        << screen.PlaceOf(MainTitle(office)).y << ", " << screen.PlaceOf(MainTitle(office)).width << " x "
        << screen.PlaceOf(MainTitle(office)).height;
    EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
    EXPECT_EQ(ReadBytes(office.SettingsFile()), stored);
  }
}

TEST_F(StartWithWindows, TheTrayIsTakenUpAgainByTheNextStart) {
  {
    DesktopProgram program(office);
    screen.WaitUntilActive(MainTitle(office));
    EXPECT_FALSE(screen.HasTrayIcon());
    screen.Press("Alt+f");
    for (const char* key : {"Up", "Up", "Up", "Return"})
      screen.Press(key);  // from the first entry round to the third last
    EXPECT_TRUE(screen.Until([&] { return screen.HasTrayIcon(); }));
    EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
  }
  EXPECT_EQ(Setting(office, "Zelkor", "SysTray"), "1");
  DesktopProgram program(office);
  ASSERT_TRUE(screen.ClickTrayIcon());
  screen.WaitUntilActive(MainTitle(office));
  EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
  EXPECT_EQ(Setting(office, "Zelkor", "SysTray"), "1");
  EXPECT_TRUE(screen.Until([&] { return !screen.HasTrayIcon(); }));
}

TEST_F(StartWithWindows, ASignalThatEndsTheProgramLeavesTheDatabaseIntact) {
  office.AddItem({.fileName = "c:\\a", .description = "Before", .memoId = 1});
  {
    DesktopProgram program(office);
    screen.WaitUntilActive(MainTitle(office));
    screen.Press("Alt+e");
    screen.Press("a");
    screen.WaitUntilActive("Item - [Untitled]");
    FillBox(screen, "Alt+d", "Given");
    screen.Press("Alt+a");
    EXPECT_TRUE(screen.Until([&] { return office.Items().size() == 2 && office.Items()[1].description == "Given"; }));
    FillBox(screen, "Alt+d", "Not applied yet");
    program.Process().Signal(SIGTERM);
    program.WaitForEnd();
  }
  ASSERT_EQ(office.Items().size(), 2U);
  EXPECT_EQ(office.Items()[0].description, "Before");
  EXPECT_TRUE(office.TargetWithId("lap"));
  StartsAndEnds(office);
  EXPECT_EQ(office.Items().size(), 2U);
}

TEST_F(StartWithWindows, ADisplayThatGoesAwayDuringAnImportLosesNothing) {
  AddFileItem(office, 1, "one.txt", "one", kWritten);
  AddFileItem(office, 2, "two.txt", "two", kWritten + 60);
  ASSERT_EQ(office.Export("lap").status, 0);
  lap.AddSetting("Zelkor", "ConfirmUpdates=1");
  lap.WriteFile("mine.txt", "mine", kWritten);
  AddFileItem(lap, 3, "mine.txt", "mine", kWritten);
  {
    DesktopProgram program(lap, {(Stick() / "lap.cas").string()});
    EXPECT_THAT(screen.TextOfBox(kBox), Says("Proceed?"));
    screen.Press("Alt+y");
    // The question about the first file: the run is in hand.
    screen.WaitUntilActive("Import");
    screen.CutOff(MainTitle(lap));
    const Outcome outcome = program.WaitForEnd();
    EXPECT_FALSE(outcome.timedOut);
    EXPECT_NE(outcome.status, 0) << outcome;
  }
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
  EXPECT_EQ(lap.ReadFile("mine.txt"), "mine");
  // The same once more brings everything.
  ASSERT_EQ(lap.Run({Computer::ImportWord("office")}, {.input = "y\ny\n"}).status, 0);
  EXPECT_EQ(lap.ReadFile("one.txt"), "one");
  EXPECT_EQ(lap.ReadFile("two.txt"), "two");
  EXPECT_EQ(lap.Items().size(), 3U);
  StartsAndEnds(lap);
}

}  // namespace
}  // namespace zelkor::tests
