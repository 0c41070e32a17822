#include "app/startup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "db/memory_rows.h"
#include "lib/single_copy.h"
#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"

namespace zelkor::app {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class NoDesktop : public lib::Desktop {
 public:
  void ShowList(lib::ListDialog& /*dialog*/) override {}
  void EditFile(const std::string& /*path*/) override {}
};

// A main window that notes what it is told.
class NotingView : public MainView {
 public:
  [[nodiscard]] FormPosition Position() const override { return position; }
  [[nodiscard]] FormPosition Screen() const override { return {.width = 19200, .height = 14400}; }
  void Place(const FormPosition& place) override {
    position = place;
    done.emplace_back("place");
  }
  void PlaceSideWindows() override { done.emplace_back("side windows"); }
  void SetCaption(const std::string& caption) override { done.push_back(caption); }
  void ShowWindow() override { done.emplace_back("show"); }
  void Minimise() override { done.emplace_back("minimise"); }
  void ShowStatus(const std::string& text) override { done.push_back("status " + text); }
  void CheckSysTray(bool checked) override { done.emplace_back(checked ? "check" : "uncheck"); }
  bool SetTrayIcon(bool shown) override {
    done.emplace_back(shown ? "tray" : "no tray");
    return trayAnswers;
  }
  void EndProgram() override { done.emplace_back("end"); }

  FormPosition position{.width = 6000, .height = 4000};
  bool trayAnswers = true;
  std::vector<std::string> done;
};

class StartupTest : public tests::DatabaseFixture {
 protected:
  void SetUp() override {
    Settings("[Orlim]\r\nUser=Office\r\n");
    WriteConfigFile(tests::GoldenConfig());
  }
  void Settings(const std::string& text) const { WriteNative(SettingsFile(), text); }
  // Starts the program with these words; `run` stands for the windows.
  int Start(const std::vector<std::string>& arguments, const RunWindows& run) {
    const std::string startDirectory = Home().string();
    return Main(ParseCommandLine(arguments, startDirectory), startDirectory, user_, rows_, run);
  }
  // Starts it up to the shown window.
  void StartWindows(const std::vector<std::string>& arguments = {}) {
    Start(arguments, [this](ProgramState& state, const std::string& files) {
      db::ItemEditing editing(state.catalogue, user_, desktop_);
      ShowMainWindow(state, view_, editing, files);
      return 0;
    });
  }
  [[nodiscard]] std::vector<std::string> Listed() {
    std::vector<std::string> texts;
    for (int row = 1; row <= rows_.Count(); ++row) texts.push_back(rows_.Text(row));
    return texts;
  }

  db::MemoryRows rows_;
  NoDesktop desktop_;
  NotingView view_;
};

TEST_F(StartupTest, TellsWindowsFromUnattendedRunsByTheWords) {
  const std::string here = Home().string();
  EXPECT_FALSE(IsUnattended(ParseCommandLine({}, here)));
  EXPECT_FALSE(IsUnattended(ParseCommandLine({"/select:a", "file.txt", "/other"}, here)));
  EXPECT_TRUE(IsUnattended(ParseCommandLine({"/select:a", "/syncexp:lap:\"\""}, here)));
  EXPECT_TRUE(IsUnattended(ParseCommandLine({"/SYNCIMP:lap:\"\""}, here)));
}

TEST_F(StartupTest, OpensTheDatabaseAndFillsTheListBeforeTheWindowsCome) {
  WriteItemFile(tests::GoldenItems());
  const int status = Start({}, [this](ProgramState& state, const std::string& files) {
    EXPECT_EQ(state.computerId, "office");
    EXPECT_EQ(state.ProgramDir, ProgramDir());
    EXPECT_THAT(Listed(), ElementsAre("Plan"));
    EXPECT_EQ(files, "");
    return 7;
  });
  EXPECT_EQ(status, 7);
}

TEST_F(StartupTest, RefusesASecondCopy) {
  const lib::SingleCopy first(ProgramDir());
  bool ran = false;
  Start({}, [&](ProgramState&, const std::string&) {
    ran = true;
    return 0;
  });
  EXPECT_FALSE(ran);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Zelkor is already running!");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
}

TEST_F(StartupTest, ComparesSwitchesWithoutRegardToCase) {
  Start({"/SELECT:a,b"}, [](ProgramState& state, const std::string&) {
    EXPECT_EQ(state.catalogue.ItemFilters().standardSelection, "a b");
    return 0;
  });
}

TEST_F(StartupTest, DropsAnArgumentFromItsSecondColonOn) {
  Start({"/select:a:b", "/exclude:c:d"}, [](ProgramState& state, const std::string&) {
    EXPECT_EQ(state.catalogue.ItemFilters().standardSelection, "a");
    EXPECT_EQ(state.catalogue.ItemFilters().standardExclusion, "c");
    return 0;
  });
}

TEST_F(StartupTest, HasTheFiltersInForceWhenTheWindowsCome) {
  WriteItemFile(tests::GoldenItems() + tests::GoldenItems().substr(0, 620) + tests::Pad("home", 128) +
                tests::Raw("\x01\x00\x00\x00") + tests::GoldenItems().substr(752, 272));
  Start({"/select:home"}, [this](ProgramState& state, const std::string&) {
    EXPECT_EQ(rows_.Count(), 1);
    EXPECT_EQ(state.catalogue.ItemList().FileRec(1), 3);
    return 0;
  });
}

TEST_F(StartupTest, GivesFileNamesMadeAbsoluteAgainstTheStartDirectory) {
  WriteNative(Home() / "b.txt", "");
  const std::string typed = AsTyped(Home() / "b.txt");
  Start({"my file.txt", "/exclude:x", typed}, [&typed](ProgramState&, const std::string& files) {
    EXPECT_EQ(files, "c:\\my file.txt\r\n" + (tests::NativePathsAreTheForm() ? typed : "c:\\b.txt") + "\r\n");
    return 0;
  });
}

TEST_F(StartupTest, SaysWhichFileNameItCanNotTake) {
  Start({"a b:c?.txt", "b.txt"}, [](ProgramState&, const std::string& files) {
    EXPECT_EQ(files, "c:\\b.txt\r\n");
    return 0;
  });
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, testing::HasSubstr("a b:c?.txt"));
}

TEST_F(StartupTest, PlacesCaptionsAndShowsTheWindowInThisOrder) {
  StartWindows();
  EXPECT_THAT(view_.done, ElementsAre("place", "side windows", "Zelkor! - office", "show"));
  EXPECT_EQ(view_.position.left, 13200);
  EXPECT_EQ(view_.position.top, 0);
  EXPECT_EQ(view_.position.width, 6000);
  EXPECT_EQ(view_.position.height, 13900);
}

TEST_F(StartupTest, StillPlacesTheSideWindowsWhenItStartsMaximised) {
  Settings("[Orlim]\r\nUser=Office\r\n[ZELKOR]\r\nFormWindowState=2\r\nFormLeft=1\r\nFormTop=2\r\n");
  StartWindows();
  EXPECT_EQ(view_.position.state, WindowState::Maximised);
  EXPECT_EQ(view_.position.left, 13200);
  EXPECT_THAT(view_.done, testing::Contains("side windows"));
}

TEST_F(StartupTest, TurnsFilesOfTheCommandLineIntoItems) {
  StartWindows({"my file.txt", "b.txt"});
  EXPECT_THAT(Listed(), ElementsAre("my file", "b"));
  EXPECT_EQ(ItemFile().substr(0, 16), "c:\\my file.txt  ");
}

TEST_F(StartupTest, GoesIntoTheTrayShownFirst) {
  Settings("[Orlim]\r\nUser=Office\r\n[Zelkor]\r\nSysTray=1\r\n");
  StartWindows();
  EXPECT_THAT(view_.done,
              ElementsAre("place", "side windows", "Zelkor! - office", "show", "check", "tray", "minimise"));
}

TEST_F(StartupTest, StaysReachableWhenNoTrayAnswers) {
  Settings("[Orlim]\r\nUser=Office\r\n[Zelkor]\r\nSysTray=1\r\n");
  view_.trayAnswers = false;
  StartWindows();
  EXPECT_THAT(view_.done, ElementsAre("place", "side windows", "Zelkor! - office", "show", "check", "tray",
                                      "status No system tray answered: Zelkor stays in the taskbar"));
}

TEST_F(StartupTest, ReadsATrayFlagThatIsNoNumberAsOff) {
  Settings("[Orlim]\r\nUser=Office\r\n[Zelkor]\r\nSysTray=yes\r\n");
  StartWindows();
  EXPECT_THAT(view_.done, ElementsAre("place", "side windows", "Zelkor! - office", "show"));
}

TEST_F(StartupTest, SavesWhatBelongsToShutdown) {
  Start({}, [this](ProgramState& state, const std::string&) {
    view_.position = {.left = 150, .top = 300, .width = 7500, .height = 6000};
    state.trayFlag = true;
    state.database.Config().SetText(db::ConfigRec::kEditorTypes, " md");
    ExitProgram(state, view_);
    return 0;
  });
  EXPECT_THAT(view_.done, ElementsAre("no tray", "end"));
  // Names of sections are matched without regard to case.
  EXPECT_EQ(ReadNative(SettingsFile()),
            "[Orlim]\r\nUser=Office\r\n[Zelkor]\r\nSysTray=1\r\nFormWindowState=0\r\nFormLeft=150\r\n"
            "FormTop=300\r\nFormWidth=7500\r\nFormHeight=6000\r\n");
  EXPECT_EQ(ConfigFile().substr(3328, 8), " md     ");
  EXPECT_EQ(ConfigFile().substr(4096), tests::GoldenConfig().substr(4096));
}

TEST_F(StartupTest, LeavesTheTrayAloneWhenItWasNotUsed) {
  Start({}, [this](ProgramState& state, const std::string&) {
    ExitProgram(state, view_);
    return 0;
  });
  EXPECT_THAT(view_.done, ElementsAre("end"));
  EXPECT_THAT(ReadNative(SettingsFile()), testing::HasSubstr("SysTray=0"));
}

}  // namespace
}  // namespace zelkor::app
