#include <fstream>
#include <wx/frame.h>
#include <wx/textctrl.h>

#include "app/window_user.h"
#include "tests/support/gui_testing.h"

namespace zelkor::app {
namespace {

using lib::Button;
using tests::ShownModal;

class WindowUserTest : public tests::GuiTest {
 protected:
  WindowUserTest() : frame_(new wxFrame(nullptr, wxID_ANY, "frame")) { ShowActive(*frame_); }

  wxFrame* frame_;
  WindowUser user_;
};

TEST_F(WindowUserTest, ShowsAQuestionWithItsTextTitleIconAndDefaultButton) {
  Expect([](ShownModal& box) {
    EXPECT_EQ(box.Title(), "Delete");
    EXPECT_EQ(box.Text(), "Delete file(s) also?");
    EXPECT_EQ(box.Icon(), "question");
    EXPECT_EQ(box.DefaultButton(), "No");
    Screenshot("question");
    box.Click("Yes");
  });
  EXPECT_EQ(user_.Ask({.text = "Delete file(s) also?",
                       .icon = lib::Icon::Question,
                       .buttons = lib::Buttons::YesNo,
                       .preselected = Button::No,
                       .title = "Delete"}),
            Button::Yes);
}

TEST_F(WindowUserTest, TakesTheDefaultButtonForEnter) {
  Expect([](ShownModal&) { Press(WXK_RETURN); });
  EXPECT_EQ(user_.Ask({.text = "Sure?", .buttons = lib::Buttons::YesNo, .preselected = Button::No, .title = {}}),
            Button::No);
  Expect([](ShownModal&) { Press(WXK_RETURN); });
  EXPECT_EQ(user_.Ask({.text = "Sure?", .buttons = lib::Buttons::OkCancel, .title = {}}), Button::Ok);
}

TEST_F(WindowUserTest, TakesEscapeForTheSafeAnswer) {
  Expect([](ShownModal&) { Press(WXK_ESCAPE); });
  EXPECT_EQ(user_.Ask({.text = "Sure?", .buttons = lib::Buttons::OkCancel, .title = {}}), Button::Cancel);
  Expect([](ShownModal&) { Press(WXK_ESCAPE); });
  EXPECT_EQ(user_.Ask({.text = "Hello", .title = {}}), Button::Ok);
}

TEST_F(WindowUserTest, BreaksTheLinesOfAMessageAndNamesItAfterTheProgram) {
  Expect([](ShownModal& box) {
    EXPECT_EQ(box.Title(), "Zelkor");
    EXPECT_EQ(box.Text(), "first\nsecond");
    EXPECT_EQ(box.Icon(), "error");
    box.Click("OK");
  });
  user_.Message("first\r\nsecond", lib::Icon::Critical);
}

TEST_F(WindowUserTest, AsksForATextAndTakesCancelForAnEmptyOne) {
  Expect([](ShownModal& box) {
    EXPECT_EQ(box.Title(), "Edit");
    Type("two words");
    Press(WXK_RETURN);
  });
  EXPECT_EQ(user_.Input("Add:", "Edit", "preset"), "two words");
  Expect([](ShownModal&) { Press(WXK_ESCAPE); });
  EXPECT_EQ(user_.Input("Add:", "Edit", "preset"), "");
}

TEST_F(WindowUserTest, GivesAWayOutOfAMessageThatComesAgain) {
  Expect([](ShownModal& box) { box.Click("Cancel"); });
  EXPECT_FALSE(user_.Retry({.text = "Replace disk", .icon = lib::Icon::Critical, .title = {}}));
  Expect([](ShownModal& box) { box.Click("OK"); });
  EXPECT_TRUE(user_.Retry({.text = "Replace disk", .icon = lib::Icon::Critical, .title = {}}));
}

TEST_F(WindowUserTest, WaitsUntilSomethingHasCome) {
  int asked = 0;
  Expect([](ShownModal& box) {
    EXPECT_NE(box.Window(), nullptr);
    Screenshot("wait");
  });
  EXPECT_TRUE(user_.WaitFor("Communicating...", [&] { return StillExpected() == 0 && ++asked > 3; }));
}

TEST_F(WindowUserTest, StopsWaitingOnCancel) {
  Expect([](ShownModal& box) { Click(*Child(*box.Window(), "Cancel")); });
  EXPECT_FALSE(user_.WaitFor("Communicating...", [] { return false; }));
}

TEST_F(WindowUserTest, ShowsNoWaitDialogForWhatHasComeAlready) {
  EXPECT_TRUE(user_.WaitFor("Communicating...", [] { return true; }));
}

TEST_F(WindowUserTest, TakesAFileThatTheUserChooses) {
  WriteNative(Home() / "Docs/readme", "");
  Expect([this](ShownModal& dialog) {
    EXPECT_EQ(dialog.Title(), "File selection");
    Screenshot("choose");
    Type((Home() / "Docs/readme").make_preferred().string().c_str());
    Press(WXK_RETURN);
  });
  EXPECT_EQ(user_.ChooseFile("File selection", "*.*", "c:\\Docs\\"), "c:\\Docs\\readme");
}

TEST_F(WindowUserTest, BeginsAChoiceInTheHomeFolderWhenNoFolderIsGiven) {
  WriteNative(Home() / "at home", "");
  Expect([](ShownModal&) {
    Press('L', wxMOD_CONTROL);  // a name, to be looked for where the choice stands
    Type("at home");
    Press(WXK_RETURN);
  });
  EXPECT_EQ(user_.ChooseFile("File selection", "*.*", ""), "c:\\at home");
}

TEST_F(WindowUserTest, TakesNoFileOnCancel) {
  Expect([](ShownModal&) { Press(WXK_ESCAPE); });
  EXPECT_EQ(user_.ChooseFile("File selection", "*.*", ""), "");
}

TEST_F(WindowUserTest, SaysWhyAChosenFileCanNotBeUsed) {
  WriteNative(Home() / "a:b", "");
  Expect([this](ShownModal&) {
    Type((Home() / "a:b").string().c_str());
    Press(WXK_RETURN);
  });
  Expect([](ShownModal& box) {
    EXPECT_NE(box.Text().find("\"a:b\""), std::string::npos);
    box.Click("OK");
  });
  EXPECT_EQ(user_.ChooseFile("File selection", "*.*", ""), "");
}

}  // namespace
}  // namespace zelkor::app
