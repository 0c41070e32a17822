#include <gtest/gtest.h>
#include <wx/display.h>
#include <wx/frame.h>

#include "lib/gui/placement.h"
#include "tests/support/gui_testing.h"

namespace zelkor::lib {
namespace {

class Placement : public tests::GuiTest {
 protected:
  const wxRect screen_ = wxDisplay(0U).GetClientArea();
};

TEST_F(Placement, LeavesAWindowThatIsWhollyOnTheScreen) {
  const wxRect inside(screen_.x + 10, screen_.y + 20, 300, 200);
  EXPECT_EQ(OntoAScreen(inside), inside);
}

TEST_F(Placement, MovesAWindowInThatReachesOverAnEdge) {
  EXPECT_EQ(OntoAScreen({-100, screen_.y + 5, 300, 200}), wxRect(screen_.x, screen_.y + 5, 300, 200));
  EXPECT_EQ(OntoAScreen({screen_.GetRight() - 10, screen_.GetBottom() - 10, 300, 200}),
            wxRect(screen_.x + screen_.width - 300, screen_.y + screen_.height - 200, 300, 200));
}

TEST_F(Placement, BringsAWindowBackFromFarOutside) {
  EXPECT_EQ(OntoAScreen({-900000, 900000, 300, 200}), wxRect(screen_.x, screen_.y + screen_.height - 200, 300, 200));
}

TEST_F(Placement, MakesAWindowFitThatIsLargerThanTheScreen) { EXPECT_EQ(OntoAScreen({0, 0, 90000, 90000}), screen_); }

TEST_F(Placement, MovesTheWindowItself) {
  auto* frame = new wxFrame(nullptr, wxID_ANY, "frame", wxPoint(-200, 50), wxSize(300, 200));
  MoveOntoAScreen(*frame);
  EXPECT_EQ(frame->GetPosition().x, screen_.x);
  EXPECT_EQ(frame->GetSize(), wxSize(300, 200));
}

}  // namespace
}  // namespace zelkor::lib
