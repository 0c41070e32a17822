#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include "lib/gui/tray_icon.h"
#include "lib/windows/system.h"
#include "tests/support/gui_testing.h"

// It needs the system's own header before it.
#include <shellapi.h>

namespace zelkor::lib {
namespace {

using testing::ElementsAre;

class TrayIconTest : public tests::GuiTest {
 protected:
  TrayIconTest() : frame_(*new wxFrame(nullptr, wxID_ANY, "tray")), icon_(std::make_unique<TrayIcon>(frame_)) {
    frame_.Bind(wxEVT_MOTION, [this](wxMouseEvent& event) { codes_.push_back(event.GetX()); });
  }
  ~TrayIconTest() override { icon_.reset(); }
  TrayIconTest(const TrayIconTest&) = delete;
  TrayIconTest& operator=(const TrayIconTest&) = delete;

  // What the shell does when the mouse does something to the icon.
  void Notify(int code) const { SendMessageW(frame_.GetHandle(), 512, 1, code); }
  [[nodiscard]] bool Tell(DWORD command) const {
    NOTIFYICONDATAA data{};
    data.cbSize = NOTIFYICONDATAA_V1_SIZE;
    data.hWnd = frame_.GetHandle();
    data.uID = 1;
    return Shell_NotifyIconA(command, &data) != 0;
  }
  // Whether the shell knows the icon: it has one changed in nothing.
  [[nodiscard]] bool Known() const { return Tell(NIM_MODIFY); }
  void AreaMadeAnew() const { SendMessageW(frame_.GetHandle(), RegisterWindowMessageW(L"TaskbarCreated"), 0, 0); }

  wxFrame& frame_;
  std::unique_ptr<TrayIcon> icon_;
  std::vector<int> codes_;
};

TEST_F(TrayIconTest, TellsTheWindowEachCodeWhileItIsHiddenAlsoTheSameTwice) {
  for (const int code : {512, 514, 514, 515, 517}) Notify(code);
  EXPECT_THAT(codes_, ElementsAre(512, 514, 514, 515, 517));
}

TEST_F(TrayIconTest, TellsTheWindowEachCodeWhileItIsMinimised) {
  ShowActive(frame_);
  frame_.Iconize();
  ASSERT_TRUE(Until([this] { return frame_.IsIconized(); }));
  codes_.clear();
  Notify(514);
  Notify(514);
  EXPECT_THAT(codes_, ElementsAre(514, 514));
}

TEST_F(TrayIconTest, ComesBackWithTheNotificationAreaThatWasAway) {
  icon_->Add();
  ASSERT_TRUE(Tell(NIM_DELETE));
  ASSERT_FALSE(Known());
  AreaMadeAnew();
  EXPECT_TRUE(Known());
}

TEST_F(TrayIconTest, StaysAwayFromANewNotificationAreaWhenItWasTakenAway) {
  icon_->Add();
  icon_->Delete();
  EXPECT_FALSE(Known());
  AreaMadeAnew();
  EXPECT_FALSE(Known());
}

TEST_F(TrayIconTest, GoesWithItsObject) {
  icon_->Add();
  ASSERT_TRUE(Known());
  icon_.reset();
  EXPECT_FALSE(Known());
}

}  // namespace
}  // namespace zelkor::lib
