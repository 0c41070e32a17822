// Where the main window and the windows beside it stand.

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <wx/display.h>

#include "lib/gui/twips.h"
#include "tests/support/program_with_windows.h"

namespace zelkor::app {
namespace {

using testing::HasSubstr;

class MwPlace : public tests::ProgramWithWindows {};

TEST_F(MwPlace, KeepsItsPlaceOverARestart) {
  Start({{"one"}});
  Main().SetSize(300, 120, 620, 440);
  Settle();
  const wxRect before = Main().GetRect();
  Main().Close();
  Settle();
  EXPECT_TRUE(ended_);
  EXPECT_THAT(SettingsText(), HasSubstr("FormWindowState=0\r\nFormLeft=" + std::to_string(before.x * 15) + "\r\n"));
  EXPECT_THAT(SettingsText(), HasSubstr("FormWidth=" + std::to_string(before.width * 15) + "\r\n"));
  End();
  StartOnFiles();
  ShowActive(Main());
  EXPECT_EQ(Main().GetRect(), before);
}

TEST_F(MwPlace, OpensAtTheTopRightEdgeWithoutSettings) {
  Start({});
  EXPECT_EQ(Main().Placed().left + Main().Placed().width, Main().Screen().width);
  EXPECT_EQ(Main().Placed().top, 0);
  EXPECT_EQ(Main().Placed().height, Main().Screen().height - 500);
  EXPECT_EQ(Main().GetRect().GetRight() + 1, wxDisplay(0U).GetGeometry().width);
  EXPECT_EQ(Main().GetRect().y, 0);
  EXPECT_EQ(Main().GetRect().height, lib::FromTwips(Main().Screen().height - 500, Main()));
}

TEST_F(MwPlace, ShowsItsStatusLineAboveThePanelsOfTheDesktopAtFirst) {
  // A panel that takes more than the program leaves free.
  constexpr int kPanel = 120;
  auto* panel = new wxFrame(nullptr, wxID_ANY, "panel of the desktop", wxPoint(0, 0), wxSize(100, 100));
  ShowActive(*panel);
  const std::string reserve =
      "xprop -name 'panel of the desktop' -f _NET_WM_STRUT 32c -set _NET_WM_STRUT 0,0,0," + std::to_string(kPanel);
  ASSERT_EQ(std::system(reserve.c_str()), 0);  // NOLINT(concurrency-mt-unsafe): the test has one thread
  const auto above = [] { return wxDisplay(0U).GetGeometry().height - kPanel; };
  ASSERT_TRUE(Until([&] { return wxDisplay(0U).GetClientArea().GetBottom() < above(); }));
  Start({{"one"}});
  EXPECT_LE(Status().GetScreenRect().GetBottom(), above());
  EXPECT_EQ(Main().GetRect().y, 0);
  panel->Destroy();
}

TEST_F(MwPlace, LeavesTheStoredPlaceWhenClosedWhileMaximised) {
  Settings(
      "[Orlim]\r\nUser=Office\r\n[ZELKOR]\r\nFormLeft=1500\r\nFormTop=750\r\nFormWidth=7500\r\nFormHeight=6000\r\n");
  Start({});
  Main().Maximize();
  ASSERT_TRUE(Until([&] { return Main().IsMaximized(); }));
  Main().Close();
  Settle();
  EXPECT_THAT(SettingsText(), HasSubstr("FormLeft=1500\r\nFormTop=750\r\nFormWidth=7500\r\nFormHeight=6000\r\n"));
  EXPECT_THAT(SettingsText(), testing::Not(HasSubstr("FormWindowState")));
}

TEST_F(MwPlace, StartsMaximisedAndStillPlacesTheSideWindows) {
  Settings("[Orlim]\r\nUser=Office\r\n[ZELKOR]\r\nFormWindowState=2\r\nFormLeft=1\r\nFormTop=1\r\n");
  Start({{"one"}});
  EXPECT_TRUE(Until([&] { return Main().IsMaximized(); }));
  const int mainLeft = Main().Placed().left / 15;
  EXPECT_NEAR(windows_->Item().GetPosition().x + windows_->Item().GetSize().x, mainLeft, 2);
}

TEST_F(MwPlace, PlacesTheItemDialogFlushAgainstItsLeftEdge) {
  Settings(
      "[Orlim]\r\nUser=Office\r\n[ZELKOR]\r\nFormLeft=12000\r\nFormTop=450\r\nFormWidth=6000\r\nFormHeight=6000\r\n");
  Start({{"one"}});
  Menu('E', "p");
  ASSERT_TRUE(Until([&] { return windows_->Item().IsShown() && windows_->Item().IsActive(); }));
  Settle();
  EXPECT_NEAR(windows_->Item().GetRect().GetRight() + 1, Main().GetRect().x, 2);
  EXPECT_EQ(windows_->Item().GetRect().y, Main().GetRect().y);
}

TEST_F(MwPlace, MovesASideWindowInThatWouldNotBeOnTheScreen) {
  Settings("[Orlim]\r\nUser=Office\r\n[ZELKOR]\r\nFormLeft=0\r\nFormTop=450\r\nFormWidth=6000\r\nFormHeight=6000\r\n");
  Start({{"one"}});
  Menu('E', "p");
  ASSERT_TRUE(Until([&] { return windows_->Item().IsShown() && windows_->Item().IsActive(); }));
  EXPECT_TRUE(Until([&] { return windows_->Item().GetRect().x >= 0; }));
}

TEST_F(MwPlace, StaysReachableWhenItsStoredPlaceIsOnNoScreen) {
  Settings(
      "[Orlim]\r\nUser=Office\r\n[ZELKOR]\r\nFormLeft=900000\r\nFormTop=900000\r\nFormWidth=0\r\nFormHeight=-7\r\n");
  Start({{"one"}});
  EXPECT_TRUE(wxDisplay(0U).GetGeometry().Contains(Main().GetRect().GetPosition()));
  EXPECT_GT(Main().GetRect().width, 100);
}

}  // namespace
}  // namespace zelkor::app
