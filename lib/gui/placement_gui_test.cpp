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

TEST_F(Placement, PutsAWindowBesideAnotherWhereThereIsRoom) {
  const wxRect screen(0, 0, 1000, 800);
  const wxRect window(0, 0, 300, 200);
  EXPECT_EQ(Beside(screen, window, {100, 50, 400, 300}), wxRect(500, 50, 300, 200));    // right
  EXPECT_EQ(Beside(screen, window, {500, 50, 400, 300}), wxRect(500, 350, 300, 200));   // below
  EXPECT_EQ(Beside(screen, window, {500, 450, 400, 300}), wxRect(200, 450, 300, 200));  // left
}

TEST_F(Placement, CoversAsLittleAsItCanOfAWindowThatFillsTheScreen) {
  EXPECT_EQ(Beside({0, 0, 1000, 800}, {0, 0, 300, 200}, {0, 0, 1000, 800}), wxRect(700, 600, 300, 200));
}

TEST_F(Placement, PutsTheWindowItselfBesideAnother) {
  auto* other = new wxFrame(nullptr, wxID_ANY, "other", wxPoint(0, 0), wxSize(300, 200));
  auto* frame = new wxFrame(nullptr, wxID_ANY, "frame", wxPoint(0, 0), wxSize(200, 100));
  const wxPoint before = frame->GetPosition();
  PlaceBeside(*frame, *other);  // the other one is not shown
  EXPECT_EQ(frame->GetPosition(), before);
  ShowActive(*other);
  PlaceBeside(*frame, *other);
  EXPECT_EQ(frame->GetPosition().x, other->GetRect().x + other->GetRect().width);
}

}  // namespace
}  // namespace zelkor::lib
