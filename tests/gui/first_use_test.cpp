// From an empty folder to the first import on a second computer, with the mouse and the keyboard alone.

#include "tests/gui/desktop.h"

namespace zelkor::tests {
namespace {

constexpr std::time_t kReportWritten = 1'700'000'001;
constexpr std::time_t kFirstWritten = 1'600'000'000;
constexpr std::time_t kSecondWritten = 1'650'000'059;
constexpr std::time_t kPrivateWritten = 1'710'000'000;

constexpr const char* kNew = "Item - [Untitled]";
constexpr const char* kSynchronisation = "Synchronisation";
constexpr const char* kLog = "Sync Log";

// Every byte there is, more than once.
std::string EveryByte() {
  std::string bytes;
  for (int i = 0; i < 1024; ++i) bytes.push_back(static_cast<char>(i % 256));
  return bytes;
}

class FirstUse : public WithDisplay {
 protected:
  FirstUse() {
    for (const Computer* computer : {&office, &lap}) std::filesystem::remove(computer->SettingsFile());
    office.WriteFile("Docs/Report.txt", "first line\r\nsecond line", kReportWritten);
    office.WriteFile("data/one.bin", EveryByte(), kFirstWritten);
    office.WriteFile("data/two.bin", "", kSecondWritten);
    office.WriteFile("private.txt", "stays here", kPrivateWritten);
  }

  void StartFirstTime(const Computer& computer, const std::string& typed) const {
    screen.WaitUntilActive(kBox);
    screen.Type(typed);
    screen.Press("Return");
    screen.WaitUntilActive(MainTitle(computer));
  }
  // A new item with this description in its dialog, by the menu.
  void Add(const std::string& description) const {
    screen.WaitUntilActive(MainTitle(office));
    screen.Press("Alt+e");
    screen.Press("a");
    screen.WaitUntilActive(kNew);
    FillBox(screen, "Alt+d", description);
  }
  void CloseItem() const {
    screen.Press("Alt+o");
    screen.WaitUntilGone(kNew);
  }
  // The synchronisation window, by the toolbar's first button, with its first target.
  void MakeTarget(const Computer& computer, const std::string& target) const {
    screen.WaitUntilActive(MainTitle(computer));
    screen.Click(MainTitle(computer), 18, 45);
    screen.WaitUntilActive(kSynchronisation);
    screen.Press("Ctrl+n");
    screen.WaitUntilActive(kBox);
    screen.Type(target + "\n");
    screen.WaitUntilActive(kSynchronisation);
    EXPECT_TRUE(screen.Until([&] { return computer.TargetWithId(target).has_value(); }));
  }
  // A run may still have a moment's work after what it stored; then the window says that it can not be closed yet.
  void CloseSynchronisation() const {
    constexpr int kTries = 20;
    for (int i = 0; i < kTries && screen.ActivateIfThere(kSynchronisation); ++i) {
      screen.Press("Ctrl+w");
      screen.Until([&] { return !screen.Has(kSynchronisation) || screen.Active() == kBox; });
      if (!screen.Has(kSynchronisation)) break;
      screen.Press("Return");
      screen.WaitUntilGone(kBox);
    }
    screen.WaitUntilGone(kSynchronisation);
    screen.WaitUntilGone(kLog);
  }

  [[nodiscard]] std::filesystem::path Stick() const { return folder.Path() / "stick"; }
  // As the program writes it, on drive z.
  [[nodiscard]] std::string StickOnZ() const {
    std::string path = "z:" + Stick().string();
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
  }

  void UseOffice();
  void UseLap();

  Computer office{folder.Path(), "office"};
  Computer lap{folder.Path(), "lap"};
};

void FirstUse::UseOffice() {
  DesktopProgram program(office);
  StartFirstTime(office, "Office");
  EXPECT_EQ(Setting(office, "Orlim", "User"), "Office");

  // A file found with the system's file choice.
  Add("Report of the year");
  screen.Press("Alt+b");
  ChooseNative(screen, "File selection", (office.Home() / "Docs" / "Report.txt").string());
  screen.WaitUntilActive(kNew);
  CloseItem();

  // Two that are typed, with codes, "On".
  Add("Data");
  screen.Press("Tab");
  screen.Type("work y2k");
  screen.Press("Tab");
  screen.Type("c:\\data\\one.bin\nc:\\data\\two.bin");
  screen.Press("Alt+s");
  screen.Press("Down");
  CloseItem();

  // One that stays home.
  Add("Private");
  screen.Press("Alt+f");
  screen.Type("c:\\private.txt");
  screen.Press("Alt+s");
  screen.Press("End");
  CloseItem();

  const std::vector<Item> items = office.Items();
  ASSERT_EQ(items.size(), 3U);
  EXPECT_EQ(items[0].description, "Report of the year");
  EXPECT_EQ(items[0].fileName, "c:\\docs\\report.txt");
  EXPECT_EQ(items[0].syncMethod, 0);
  EXPECT_EQ(items[1].description, "Data");
  EXPECT_EQ(items[1].codes, "work y2k");
  EXPECT_EQ(items[1].fileName, "c:\\data\\one.bin\r\nc:\\data\\two.bin");
  EXPECT_EQ(items[1].syncMethod, 1);
  EXPECT_EQ(items[2].syncMethod, 2);

  // The target, with its folder typed as the system writes it; leaving the box makes the program's form of it.
  MakeTarget(office, "lap");
  FillBox(screen, "Alt+m", Stick().string());
  screen.Press("Ctrl+e");
  EXPECT_TRUE(screen.Until([&] { return std::filesystem::exists(Stick() / "lap.cas"); }));
  EXPECT_TRUE(screen.Until([&] { return office.TargetWithId("lap")->lastExport > 0; }));
  EXPECT_EQ(office.TargetWithId("lap")->mediaPath, StickOnZ());
  EXPECT_TRUE(screen.Until([&] { return screen.Has(kLog); }));
  CloseSynchronisation();

  const Outcome outcome = ExitByMenu(screen, office, program);
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(Setting(office, "Zelkor", "LastTarget"), "lap");
  EXPECT_EQ(Setting(office, "Zelkor", "SysTray"), "0");
  for (const char* key : {"FormWindowState", "FormLeft", "FormTop", "FormWidth", "FormHeight"}) {
    EXPECT_NE(Setting(office, "ZELKOR", key), "") << key;
  }
  EXPECT_THAT(office.Log(), Says("Report of the year"));
  EXPECT_THAT(office.Log(), Says("c:\\data\\two.bin"));
  EXPECT_THAT(office.Log(), testing::Not(Says("private.txt")));
}

void FirstUse::UseLap() {
  DesktopProgram program(lap);
  StartFirstTime(lap, "lap");
  MakeTarget(lap, "office");
  // The folder is chosen this time, and the import started with the toolbar.
  screen.Press("Alt+b");
  ChooseNative(screen, "Folder or medium for the sync files", Stick().string());
  screen.WaitUntilActive(kSynchronisation);
  screen.Click(kSynchronisation, 30, 50);
  EXPECT_TRUE(screen.Until([&] { return lap.TargetWithId("office")->lastImport > 0; }));
  CloseSynchronisation();

  // The frame's button ends the program as the menu does.
  screen.WaitUntilActive(MainTitle(lap));
  screen.Close(MainTitle(lap));
  const Outcome outcome = program.WaitForEnd();
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(lap.TargetWithId("office")->mediaPath, StickOnZ());
  EXPECT_EQ(Setting(lap, "Zelkor", "LastTarget"), "office");
}

TEST_F(FirstUse, GoesFromAnEmptyFolderToTheFirstImportOnASecondComputer) {
  UseOffice();
  UseLap();

  EXPECT_THAT(lap.Files(), testing::ElementsAre("data/one.bin", "data/two.bin", "docs/report.txt"));
  EXPECT_EQ(lap.ReadFile("docs/report.txt"), "first line\r\nsecond line");
  EXPECT_EQ(lap.FileTime("docs/report.txt"), kReportWritten);
  EXPECT_TRUE(lap.ReadFile("data/one.bin") == EveryByte());
  EXPECT_EQ(lap.FileTime("data/one.bin"), kFirstWritten);
  EXPECT_EQ(lap.ReadFile("data/two.bin"), "");
  EXPECT_EQ(lap.FileTime("data/two.bin"), kSecondWritten);
  EXPECT_THAT(NamesIn(Stick()), testing::IsEmpty()) << "collected";

  const std::vector<Item> sent = office.Items();
  const std::vector<Item> taken = lap.Items();
  ASSERT_EQ(taken.size(), 2U);
  for (std::size_t i = 0; i < taken.size(); ++i) {
    EXPECT_EQ(taken[i].description, sent[i].description);
    EXPECT_EQ(taken[i].fileName, sent[i].fileName);
    EXPECT_EQ(taken[i].codes, sent[i].codes);
    EXPECT_EQ(taken[i].memoId, sent[i].memoId);
    EXPECT_EQ(taken[i].source, "Office") << "as it was typed";
    EXPECT_GT(taken[i].imported, 0);
    EXPECT_EQ(taken[i].flags, 0);
    EXPECT_EQ(sent[i].imported, 0) << "never came from elsewhere";
  }
  EXPECT_THAT(lap.Log(), Says("docs\\report.txt"));
}

TEST_F(FirstUse, AsksForTheComputerIdUntilItIsOneOfTwoToSixCharacters) {
  DesktopProgram program(office);
  for (const char* refused : {"A", "sevenly", ""}) {
    screen.WaitUntilActive(kBox);
    const unsigned long before = screen.ActiveWindow();
    screen.Type(refused);
    screen.Press("Return");
    screen.WaitUntilAnotherIsActive(kBox, before);
  }
  const unsigned long before = screen.ActiveWindow();
  screen.Press("Escape");
  screen.WaitUntilAnotherIsActive(kBox, before);
  screen.Type("office\n");
  EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
  EXPECT_EQ(Setting(office, "Orlim", "User"), "office");
}

}  // namespace
}  // namespace zelkor::tests
