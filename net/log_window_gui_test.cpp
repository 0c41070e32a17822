#include <algorithm>
#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <wx/button.h>
#include <wx/clipbrd.h>

#include "lib/gui/text.h"
#include "net/log_window.h"
#include "tests/support/gui_testing.h"
#include "tests/support/native_windows.h"

namespace zelkor::net {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LogWindowTest : public tests::GuiTest {
 protected:
  LogWindowTest() : parent_(new wxFrame(nullptr, wxID_ANY, "parent", wxPoint(0, 0), wxSize(300, 200))) {
    log_ = new LogWindow(*parent_, [this] { ++cancelled_; });
    log_->Bind(wxEVT_ACTIVATE, [this](wxActivateEvent& event) {
      came_ = came_ || event.GetActive();
      event.Skip();
    });
    Open();
  }
  // At once: its events tell this test, which ends.
  ~LogWindowTest() override {
    delete log_;
    delete parent_;
  }
  // A window manager gives the new window the keyboard, which gives it back; then it is asked for.
  void Open() {
    ShowActive(*parent_);
    came_ = !tests::native::NewWindowsGetTheKeyboard();
    log_->Open("Sync Log");
    Until([&] { return came_ && parent_->IsActive(); }, "the keyboard to come back from the log");
    ShowActive(*log_);
  }
  void Add(int lines) {
    for (int i = 1; i <= lines; ++i) log_->LogLine("line " + std::to_string(i));
    log_->Flush();
    Settle();
  }
  static std::string Clipboard() {
    wxTextDataObject text;
    const wxClipboardLocker clipboard;
    return wxTheClipboard->GetData(text) ? lib::FromWx(text.GetText()) : std::string();
  }

  wxFrame* parent_;
  LogWindow* log_ = nullptr;
  int cancelled_ = 0;
  bool came_ = false;
};

TEST_F(LogWindowTest, DoesNotBringBackAParentThatWasClosedBeforeTheKeyboardCame) {
  log_->Close();
  ShowActive(*parent_);
  came_ = false;
  log_->Open("Sync Log");
  parent_->Hide();
  Until([this] { return came_; }, "the keyboard to come to the log");
  Settle();
  EXPECT_FALSE(tests::native::IsOnScreen(parent_->GetHandle()));
  EXPECT_TRUE(tests::native::IsOnScreen(log_->GetHandle()));
}

TEST_F(LogWindowTest, IsMonospaced) {
  EXPECT_TRUE(log_->List().GetFont().IsFixedWidth());
  EXPECT_EQ(log_->List().GetTextExtent("iiii"), log_->List().GetTextExtent("WWWW"));
}

TEST_F(LogWindowTest, ShowsANewLineSoonWithoutBeingAsked) {
  log_->LogLine("one");
  log_->LogLine("two");
  EXPECT_TRUE(Until([&] { return log_->List().GetItemCount() == 2 && log_->List().IsSelected(1); }));
  EXPECT_EQ(log_->List().GetItemText(1), "two");
}

TEST_F(LogWindowTest, CopiesTheNewestLineUnlessOthersAreSelected) {
  Add(3);
  Press('C', wxMOD_CONTROL);
  EXPECT_EQ(Clipboard(), "line 3\n");
}

TEST_F(LogWindowTest, CopiesTheSelectedLines) {
  Add(5);
  log_->List().SetFocus();
  Press(WXK_UP, wxMOD_SHIFT);
  Press(WXK_UP, wxMOD_SHIFT);
  Press('C', wxMOD_CONTROL);
  EXPECT_EQ(Clipboard(), "line 3\nline 4\nline 5\n");
}

TEST_F(LogWindowTest, SelectsAStretchWithTheShiftKeyAndShortensItAgain) {
  Add(200);
  log_->List().SetFocus();
  const auto selected = [&] { return std::pair(log_->List().GetFirstSelected(), log_->List().GetSelectedItemCount()); };
  Press(WXK_HOME, wxMOD_SHIFT);
  EXPECT_EQ(selected(), std::pair(0L, 200));
  Press(WXK_DOWN, wxMOD_SHIFT);
  EXPECT_EQ(selected(), std::pair(1L, 199));
  Press(WXK_END, wxMOD_SHIFT);
  EXPECT_EQ(selected(), std::pair(199L, 1));
  Press(WXK_PAGEUP, wxMOD_SHIFT);
  EXPECT_GT(selected().second, 5);
  Press(WXK_PAGEDOWN, wxMOD_SHIFT);
  EXPECT_EQ(selected(), std::pair(199L, 1));
  Press(WXK_UP);
  Press(WXK_UP, wxMOD_SHIFT);
  EXPECT_EQ(selected(), std::pair(197L, 2));
}

TEST_F(LogWindowTest, SelectsAStretchWithTheMouse) {
  Add(5);
  wxRect row;
  ASSERT_TRUE(log_->List().GetItemRect(1, row));
  const wxPoint place = log_->List().ClientToScreen(wxPoint(20, row.y + row.height / 2));
  wxUIActionSimulator user;
  // The mouse is there before the key: a window that it comes into asks which keys the user really holds.
  user.MouseMove(place);
  Settle();
  user.KeyDown(WXK_SHIFT);
  Click(place);
  user.KeyUp(WXK_SHIFT);
  Settle();
  EXPECT_EQ(log_->List().GetFirstSelected(), 1);
  EXPECT_EQ(log_->List().GetSelectedItemCount(), 4);
}

TEST_F(LogWindowTest, CopiesAllByKeysAndByButtons) {
  Add(3);
  Press('A', wxMOD_CONTROL);
  Press('C', wxMOD_CONTROL);
  EXPECT_EQ(Clipboard(), "line 1\nline 2\nline 3\n");
  log_->LogLine("\xe4");  // a with two dots
  Settle();
  Click(*Child(*log_, "Select all"));
  EXPECT_TRUE(Until([this] { return log_->List().GetSelectedItemCount() == 4; }));
  Click(*Child(*log_, "Copy"));
  EXPECT_TRUE(Until([] { return Clipboard() == "line 1\nline 2\nline 3\n\xe4\n"; }));
}

TEST_F(LogWindowTest, CopiesByTheMenuOfTheRightButton) {
  Add(3);
  char key = 'a';
  log_->Bind(wxEVT_MENU_OPEN, [&](wxMenuEvent&) {
    log_->CallAfter([&key] {
      wxUIActionSimulator keys;
      Settle();
      keys.Char(key);
    });
  });
  const wxPoint place = log_->List().ClientToScreen(wxPoint(20, 10));
  Click(place, wxMOUSE_BTN_RIGHT);
  ASSERT_TRUE(Until([&] { return log_->List().GetSelectedItemCount() == 3; }));
  key = 'c';
  Click(place + wxPoint(100, 20), wxMOUSE_BTN_RIGHT);  // elsewhere, or it would be a double click
  EXPECT_TRUE(Until([] { return Clipboard() == "line 1\nline 2\nline 3\n"; }));
}

TEST_F(LogWindowTest, ANewLineTakesTheSelectionAndScrolls) {
  Add(500);
  log_->List().SetFocus();
  Press(WXK_HOME);
  EXPECT_TRUE(log_->List().IsSelected(0));
  log_->LogLine("newest");
  log_->Flush();
  EXPECT_EQ(log_->List().GetFirstSelected(), 500);
  wxRect row;
  EXPECT_TRUE(log_->List().GetItemRect(500, row));
  EXPECT_LE(row.GetBottom(), log_->List().GetClientSize().GetHeight());
}

TEST_F(LogWindowTest, StaysQuickAtAHundredThousandLines) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 1; i <= 100000; ++i)
    log_->LogLine("  [c:\\folder\\name of a file " + std::to_string(i) + ".txt]: Newer");
  log_->Flush();
  Settle();
  const auto added = std::chrono::steady_clock::now();
  EXPECT_EQ(log_->List().GetItemCount(), 100000);
  EXPECT_LT(added - start, std::chrono::seconds(3));
  log_->List().SetFocus();
  Press(WXK_HOME);
  Press(WXK_PAGEDOWN);
  Press(WXK_END);
  EXPECT_TRUE(log_->List().IsSelected(99999));
  Press('A', wxMOD_CONTROL);
  Press('C', wxMOD_CONTROL);
  EXPECT_LT(std::chrono::steady_clock::now() - added, std::chrono::seconds(5));
  const std::string copied = Clipboard();
  EXPECT_EQ(std::count(copied.begin(), copied.end(), '\n'), 100000);
}

TEST_F(LogWindowTest, ALongLineHasRoomToItsEnd) {
  const std::string line(2000, 'x');
  log_->LogLine(line);
  log_->Flush();
  EXPECT_GE(log_->List().GetColumnWidth(0), log_->List().GetTextExtent(lib::ToWx(line)).GetWidth());
  Screenshot("log-long");
}

TEST_F(LogWindowTest, ClosesByEscapeByKeyAndByButtonAndForgetsItsLines) {
  for (const std::function<void()>& close : std::vector<std::function<void()>>{
           [] { Press(WXK_ESCAPE); }, [] { Press('W', wxMOD_CONTROL); }, [this] { Click(*Child(*log_, "Close")); }}) {
    Add(2);
    close();
    ASSERT_TRUE(Until([&] { return !log_->IsShown(); }));
    Open();
    EXPECT_THAT(log_->List().Lines(), IsEmpty());
  }
}

TEST_F(LogWindowTest, TheKeyThatClosesItDoesNotGoOnToItsParent) {
  int heard = 0;
  parent_->Bind(wxEVT_CHAR_HOOK, [&](wxKeyEvent& event) {
    ++heard;
    event.Skip();
  });
  Press(WXK_ESCAPE);
  EXPECT_TRUE(Until([&] { return !log_->IsShown(); }));
  Settle();
  EXPECT_EQ(heard, 0);
}

TEST_F(LogWindowTest, KeepsItsLinesWhileItIsOpen) {
  Add(2);
  log_->Open("Another caption");
  EXPECT_EQ(log_->GetTitle(), "Another caption");
  EXPECT_THAT(log_->List().Lines(), ElementsAre("line 1", "line 2"));
}

TEST_F(LogWindowTest, CancelsByEscapeWhileARunIsUnderWay) {
  log_->Progress().Begin();
  Press(WXK_ESCAPE);
  EXPECT_EQ(cancelled_, 1);
  EXPECT_TRUE(log_->IsShown());
  log_->Progress().End();
  Press(WXK_ESCAPE);
  EXPECT_TRUE(Until([&] { return !log_->IsShown(); }));
}

}  // namespace
}  // namespace zelkor::net
