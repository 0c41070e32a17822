#include "app/form_position.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/support/sandbox.h"

namespace zelkor::app {
namespace {

class FormPositionTest : public tests::Sandbox {
 protected:
  void Settings(const std::string& text) { WriteNative(SettingsFile(), "[ZELKOR]\r\n" + text); }
  static void ExpectAt(const FormPosition& place, int left, int top, int width, int height) {
    EXPECT_EQ(place.left, left);
    EXPECT_EQ(place.top, top);
    EXPECT_EQ(place.width, width);
    EXPECT_EQ(place.height, height);
  }
  static constexpr FormPosition kDesign{.width = 6000, .height = 4000};
  static constexpr FormPosition kScreen{.width = 19200, .height = 14400};
};

TEST_F(FormPositionTest, WithoutSettingsIsTheTopRightEdgeWith500TwipsLeftFreeBelow) {
  const FormPosition place = LoadFormPosition(kDesign, kScreen, "");
  EXPECT_EQ(place.state, WindowState::Normal);
  ExpectAt(place, 13200, 0, 6000, 13900);
}

TEST_F(FormPositionTest, IsTheOneStored) {
  Settings("FormWindowState=0\r\nFormLeft=-15\r\nFormTop=30\r\nFormWidth=9000\r\nFormHeight=7200\r\n");
  ExpectAt(LoadFormPosition(kDesign, kScreen, ""), -15, 30, 9000, 7200);
}

TEST_F(FormPositionTest, TakesEachDefaultForItself) {
  Settings("FormTop=30\r\nFormWidth=9000\r\n");
  ExpectAt(LoadFormPosition(kDesign, kScreen, ""), 13200, 30, 9000, 13900);
}

TEST_F(FormPositionTest, ReadsNothingButTheStateOfAWindowThatIsNotNormal) {
  Settings("FormWindowState=2\r\nFormLeft=1\r\nFormTop=2\r\nFormWidth=3\r\nFormHeight=4\r\n");
  const FormPosition place = LoadFormPosition(kDesign, kScreen, "");
  EXPECT_EQ(place.state, WindowState::Maximised);
  ExpectAt(place, 13200, 0, 6000, 13900);
  Settings("FormWindowState=1\r\n");
  EXPECT_EQ(LoadFormPosition(kDesign, kScreen, "").state, WindowState::Minimised);
  Settings("FormWindowState=7\r\n");
  EXPECT_EQ(LoadFormPosition(kDesign, kScreen, "").state, WindowState::Normal);
}

TEST_F(FormPositionTest, PutsThePrefixBeforeTheKeys) {
  Settings("FormLeft=1\r\neditFormLeft=2\r\n");
  EXPECT_EQ(LoadFormPosition(kDesign, kScreen, "edit").left, 2);
}

TEST_F(FormPositionTest, PutsASideWindowFlushAgainstTheMainWindowsLeftEdge) {
  ExpectAt(BesideMain({.left = 5, .top = 6, .width = 4000, .height = 3000}, {.left = 13200, .top = 150, .width = 6000}),
           9200, 150, 4000, 3000);
}

TEST_F(FormPositionTest, OfANormalWindowIsSaved) {
  SaveFormPosition({.state = WindowState::Normal, .left = -15, .top = 0, .width = 9000, .height = 7200}, "");
  EXPECT_EQ(ReadNative(SettingsFile()),
            "[ZELKOR]\r\nFormWindowState=0\r\nFormLeft=-15\r\nFormTop=0\r\nFormWidth=9000\r\nFormHeight=7200\r\n");
}

TEST_F(FormPositionTest, OfAWindowClosedWhileMaximisedStaysAsItWas) {
  Settings("FormLeft=7\r\n");
  SaveFormPosition({.state = WindowState::Maximised, .left = 1, .top = 2, .width = 3, .height = 4}, "");
  SaveFormPosition({.state = WindowState::Minimised, .left = 1, .top = 2, .width = 3, .height = 4}, "");
  EXPECT_EQ(ReadNative(SettingsFile()), "[ZELKOR]\r\nFormLeft=7\r\n");
}

}  // namespace
}  // namespace zelkor::app
