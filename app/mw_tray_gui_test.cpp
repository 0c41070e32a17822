#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <wx/timer.h>
#include <wx/uiaction.h>

#include "tests/support/program_with_windows.h"

namespace zelkor::app {
namespace {

using testing::HasSubstr;
using tests::native::TrayIcon;

class MwTray : public tests::ProgramWithWindows {
 protected:
  static constexpr const char* kInTray = "[Orlim]\r\nUser=Office\r\n[Zelkor]\r\nSysTray=1\r\n";

  // By its place in the File menu: another entry has its access key too.
  static void SwitchByMenu() {
    Press('F', wxMOD_ALT);
    Press(WXK_HOME);
    for (int i = 0; i < 4; ++i) Press(WXK_DOWN);
    Press(WXK_RETURN);
  }
  // Waits for the icon, which the tray takes in and moves to its place, and clicks it.
  static void ClickIcon(wxMouseButton button = wxMOUSE_BTN_LEFT) {
    Icon();
    tests::native::ClickTrayIcon(button);
    Settle();
  }
  static void Icon() {
    Until(
        [] {
          const auto now = TrayIcon();
          Settle();
          return now && TrayIcon() == now && now->x > 0;
        },
        "the icon in the tray");
  }
  // Starts as a program that was in the tray when it ended; it is out of sight afterwards.
  void StartInTray() {
    Settings(kInTray);
    WriteItems({{"one"}});
    StartOnFiles();  // and does not fetch the window, which may be on its way still
    EXPECT_TRUE(Until([this] { return !Main().IsShown(); }, "the window to hide"));
  }
  // What the tray tells the window, by its code.
  void Notify(int code) {
    wxMouseEvent move(wxEVT_MOTION);
    move.SetX(code);
    Main().HandleWindowEvent(move);
    Settle();
  }
  // Has the tray's menu, once it is open, get this key.
  class MenuKey : public wxTimer {
   public:
    explicit MenuKey(char key) : key_(key) { Start(10); }
    void Notify() override {
      if (!tests::native::MenuIsOpen()) return;
      Stop();
      Screenshot("tray-menu");
      wxUIActionSimulator().Char(key_);
    }

   private:
    char key_;
  };
};

TEST_F(MwTray, TheEntryPutsTheIconIntoTheTrayAtOnceAndTakesItAwayAtOnce) {
  Start({{"one"}});
  EXPECT_FALSE(TrayIcon());
  SwitchByMenu();
  EXPECT_TRUE(Until([] { return TrayIcon().has_value(); }));
  EXPECT_TRUE(state_->trayFlag);
  EXPECT_TRUE(Main().IsShown());
  EXPECT_TRUE(Main().GetMenuBar()->IsChecked(File_SysTray));
  ShowActive(Main());  // some trays take the keyboard with a new icon
  SwitchByMenu();
  EXPECT_TRUE(Until([] { return !TrayIcon(); }));
  EXPECT_FALSE(state_->trayFlag);
  EXPECT_FALSE(Main().GetMenuBar()->IsChecked(File_SysTray));
}

TEST_F(MwTray, StartsOutOfSightAndComesBackByAClick) {
  StartInTray();
  EXPECT_TRUE(Main().GetMenuBar()->IsChecked(File_SysTray));
  ClickIcon();
  EXPECT_TRUE(Until([this] { return Main().IsShown(); }));
  EXPECT_TRUE(Until([this] { return !Main().IsIconized(); }));
  EXPECT_TRUE(Until([this] { return tests::native::IsActive(Main().GetHandle()); }));
  EXPECT_TRUE(TrayIcon());
}

TEST_F(MwTray, MinimisedTheWindowLeavesTheTaskbar) {
  Start({{"one"}});
  Main().CheckSysTray(true);
  EXPECT_TRUE(Main().SetTrayIcon(true));
  Main().Iconize();
  EXPECT_TRUE(Until([this] { return !Main().IsShown(); }));
  ClickIcon();
  EXPECT_TRUE(Until([this] { return Main().IsShown() && !Main().IsIconized(); }));
}

TEST_F(MwTray, WithoutTheIconAMinimisedWindowStaysInTheTaskbar) {
  Start({{"one"}});
  Main().Iconize();
  EXPECT_TRUE(Until([this] { return Main().IsIconized(); }));
  EXPECT_TRUE(Main().IsShown());
}

TEST_F(MwTray, ComesBackByADoubleClick) {
  StartInTray();
  Notify(515);
  EXPECT_TRUE(Until([this] { return Main().IsShown() && !Main().IsIconized(); }));
}

TEST_F(MwTray, ComesBackByAClickWhenItIsMinimisedInTheTaskbar) {
  Start({{"one"}});
  Main().Iconize();
  ASSERT_TRUE(Until([this] { return Main().IsIconized(); }));
  EXPECT_TRUE(Main().SetTrayIcon(true));
  ASSERT_TRUE(Main().IsShown());
  ClickIcon();
  EXPECT_TRUE(Until([this] { return !Main().IsIconized(); }));
  EXPECT_TRUE(Until([this] { return tests::native::IsActive(Main().GetHandle()); }));
}

// The mouse over the icon, its other buttons and how these begin, and codes of later systems.
TEST_F(MwTray, PassesOverAllOtherNotifications) {
  StartInTray();
  for (const int code : {0, 1, 512, 513, 516, 518, 519, 520, 521, 123, 1024, 1026, -514}) {
    Notify(code);
    EXPECT_FALSE(Main().IsShown()) << code;
    EXPECT_FALSE(tests::native::MenuIsOpen()) << code;
  }
}

TEST_F(MwTray, MovesOverTheWindowAreNoClicksWhateverTheirPlace) {
  Start({{"one"}});
  Main().SetTrayIcon(true);
  Icon();
  auto* other = new wxFrame(nullptr, wxID_ANY, "other", wxPoint(700, 400), wxSize(200, 150));
  ShowActive(*other);
  for (const int code : {514, 515, 517}) {
    Notify(code);
    // Over the toolbar, the list and the status line of the window too.
    for (const int y : {5, 150, Main().GetClientSize().y - 5}) {
      wxUIActionSimulator().MouseMove(Main().ClientToScreen(wxPoint(code, y)));
      Settle();
    }
    EXPECT_FALSE(tests::native::MenuIsOpen()) << code;
  }
  EXPECT_TRUE(tests::native::IsActive(other->GetHandle()));
}

TEST_F(MwTray, ClicksDoNothingWhileTheWindowIsNotMinimised) {
  Start({{"one"}});
  Main().SetTrayIcon(true);
  bool iconized = false;
  Main().Bind(wxEVT_ICONIZE, [&](wxIconizeEvent& event) {
    iconized = true;
    event.Skip();
  });
  ClickIcon();
  ClickIcon(wxMOUSE_BTN_RIGHT);
  EXPECT_FALSE(iconized);
  EXPECT_FALSE(tests::native::MenuIsOpen());
  EXPECT_TRUE(Main().IsShown());
}

TEST_F(MwTray, TheMenuRestoresTheWindow) {
  StartInTray();
  const MenuKey key('r');
  ClickIcon(wxMOUSE_BTN_RIGHT);
  EXPECT_TRUE(Until([this] { return Main().IsShown() && !Main().IsIconized(); }));
}

TEST_F(MwTray, TheMenuEndsTheProgramWhichStartsInTheTrayAgain) {
  StartInTray();
  const MenuKey key('x');
  ClickIcon(wxMOUSE_BTN_RIGHT);
  EXPECT_TRUE(Until([this] { return ended_; }));
  EXPECT_THAT(SettingsText(), HasSubstr("SysTray=1\r\n"));
  EXPECT_TRUE(Until([] { return !TrayIcon(); }));
}

TEST_F(MwTray, WithoutATrayTheWindowStaysAndTheStatusLineSaysSo) {
  tests::native::TakeTrayAway();
  Settings(kInTray);
  Start({{"one"}});
  EXPECT_TRUE(Main().IsShown());
  EXPECT_FALSE(Main().IsIconized());
  EXPECT_EQ(Panel(Panel::Selection), "No system tray answered: Zelkor stays in the taskbar");
  Main().Iconize();
  EXPECT_TRUE(Until([this] { return Main().IsIconized(); }));
  EXPECT_TRUE(Main().IsShown());
  Main().Iconize(false);
  Until([this] { return !Main().IsIconized(); });
  Main().Close();
  EXPECT_TRUE(Until([this] { return ended_; }));
  EXPECT_THAT(SettingsText(), HasSubstr("SysTray=1\r\n"));
}

}  // namespace
}  // namespace zelkor::app
