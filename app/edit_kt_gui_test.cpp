#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>
#include <wx/display.h>
#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/stattext.h>

#include "app/edit_kt.h"
#include "app/form_placement.h"
#include "app/window_desktop.h"
#include "app/window_user.h"
#include "lib/gui/text.h"
#include "lib/settings.h"
#include "tests/support/golden_database.h"
#include "tests/support/gui_testing.h"

namespace zelkor::app {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::ShownModal;

class EditKtTest : public tests::GuiTest {
 protected:
  EditKtTest() : frame_(new wxFrame(nullptr, wxID_ANY, "main", wxPoint(900, 100), wxSize(300, 300))) {
    ShowActive(*frame_);
    desktop_.SetParent(frame_);
    desktop_.OnSaved([this](const std::string& fileName) { saved_.push_back(fileName); });
    WriteNative(File(), "one\r\ntwo\r\n");
  }
  ~EditKtTest() override {
    frame_->Destroy();
    Settle();
  }
  [[nodiscard]] fs::path File() const { return Home() / "note.txt"; }
  [[nodiscard]] std::string Content() const { return ReadNative(File()); }

  // The open editors.
  [[nodiscard]] std::vector<EditKt*> Editors() const {
    std::vector<EditKt*> editors;
    for (wxWindow* child : frame_->GetChildren()) {
      auto* editor = dynamic_cast<EditKt*>(child);
      if (editor != nullptr && !editor->IsBeingDeleted()) editors.push_back(editor);
    }
    return editors;
  }
  // Opens the file and waits until its window has the keyboard.
  EditKt& Open(const std::string& path = "c:\\note.txt") {
    desktop_.EditFile(path);
    EditKt* editor = Editors().back();
    UntilActive(*editor);
    Until([editor] { return Child(*editor, "Text")->HasFocus(); }, "the text to have the keyboard");
    return *editor;
  }
  static wxTextCtrl& Box(const EditKt& editor) { return *dynamic_cast<wxTextCtrl*>(Child(editor, "Text")); }
  static std::string Text(const EditKt& editor) { return Box(editor).GetValue().utf8_string(); }
  static void TypeInto(const EditKt& editor, const char* text) {
    const std::string expected = text + Text(editor);
    Type(text);
    Until([&] { return Text(editor) == expected; }, "the text typed");
  }
  void UntilClosed() const {
    Until([this] { return Editors().empty(); }, "the editor is closed");
  }
  // Answers "Save changes?".
  static void AnswerSave(const std::string& button) {
    Expect([button](ShownModal& box) {
      EXPECT_EQ(box.Title(), "Edit");
      EXPECT_EQ(box.Text(), "Save changes?");
      EXPECT_EQ(box.Icon(), "question");
      EXPECT_THAT(box.Buttons(), testing::UnorderedElementsAre("Yes", "No", "Cancel"));
      box.Click(button);
    });
  }

  wxFrame* frame_;
  WindowUser user_;
  WindowDesktop desktop_{user_};
  std::vector<std::string> saved_;
};

TEST_F(EditKtTest, ShowsTheFileUnderItsName) {
  const EditKt& editor = Open();
  EXPECT_EQ(editor.GetTitle(), "Edit - c:\\note.txt");
  EXPECT_EQ(Text(editor), "one\ntwo\n");
  Screenshot("editor");
}

TEST_F(EditKtTest, ShowsTheProgramsIcon) { EXPECT_FALSE(Open().GetIcons().IsEmpty()); }

TEST_F(EditKtTest, HasAFileMenuWithSaveAndExit) {
  const EditKt& editor = Open();
  ASSERT_EQ(editor.GetMenuBar()->GetMenuCount(), 2U);
  EXPECT_EQ(editor.GetMenuBar()->GetMenuLabel(0), "&File");
  EXPECT_NE(editor.GetMenuBar()->FindItem(wxID_SAVE), nullptr);
  EXPECT_NE(editor.GetMenuBar()->FindItem(wxID_EXIT), nullptr);
}

TEST_F(EditKtTest, SavesByKeyAndTellsSo) {
  const EditKt& editor = Open();
  TypeInto(editor, "new ");
  Press('S', wxMOD_CONTROL);
  Until([this] { return saved_.size() == 1; });
  EXPECT_EQ(Content(), "new one\r\ntwo\r\n");
  EXPECT_THAT(saved_, ElementsAre("c:\\note.txt"));
  Press('W', wxMOD_CONTROL);
  UntilClosed();
}

TEST_F(EditKtTest, SavesByTheMenu) {
  const EditKt& editor = Open();
  TypeInto(editor, "x");
  Press('F', wxMOD_ALT);
  Press('S');
  Until([this] { return saved_.size() == 1; });
  EXPECT_EQ(Content(), "xone\r\ntwo\r\n");
}

TEST_F(EditKtTest, ClosingWithoutAChangeAsksNothing) {
  Open();
  Press('F', wxMOD_ALT);
  Press('X');
  UntilClosed();
  EXPECT_THAT(saved_, IsEmpty());
}

TEST_F(EditKtTest, YesSavesTheChangesAndClosesTheWindow) {
  EditKt& editor = Open();
  TypeInto(editor, "x");
  AnswerSave("Yes");
  Press('W', wxMOD_CONTROL);
  UntilClosed();
  EXPECT_EQ(Content(), "xone\r\ntwo\r\n");
  EXPECT_THAT(saved_, ElementsAre("c:\\note.txt"));
}

TEST_F(EditKtTest, NoDropsTheChangesAndClosesTheWindow) {
  EditKt& editor = Open();
  TypeInto(editor, "x");
  AnswerSave("No");
  editor.Close();
  UntilClosed();
  EXPECT_EQ(Content(), "one\r\ntwo\r\n");
  EXPECT_THAT(saved_, IsEmpty());
}

TEST_F(EditKtTest, CancelAtSaveChangesKeepsTheWindowAndTheText) {
  EditKt& editor = Open();
  TypeInto(editor, "x");
  AnswerSave("Cancel");
  EXPECT_FALSE(editor.Close());
  EXPECT_THAT(Editors(), ElementsAre(&editor));
  EXPECT_EQ(Text(editor), "xone\ntwo\n");
  AnswerSave("No");
  editor.Close();
  UntilClosed();
}

TEST_F(EditKtTest, EscapeAtSaveChangesKeepsTheWindow) {
  EditKt& editor = Open();
  TypeInto(editor, "x");
  Expect([](ShownModal&) { Press(WXK_ESCAPE); });
  EXPECT_FALSE(editor.Close());
  AnswerSave("No");
  EXPECT_TRUE(desktop_.CloseEditors());
  UntilClosed();
}

TEST_F(EditKtTest, AFileNameThatDoesNotExistOpensAnEmptyEditorAndSavingCreatesTheFile) {
  fs::remove(File());
  EditKt& editor = Open();
  EXPECT_EQ(Text(editor), "");
  EXPECT_FALSE(fs::exists(File()));
  TypeInto(editor, "new");
  Press('S', wxMOD_CONTROL);
  Until([this] { return saved_.size() == 1; });
  EXPECT_EQ(Content(), "new");
}

TEST_F(EditKtTest, SaysThatAFileCanNotBeSaved) {
  const EditKt& editor = Open("c:\\missing\\note.txt");
  TypeInto(editor, "x");
  Expect([](ShownModal& box) {
    EXPECT_EQ(box.Text(), "Cannot save c:\\missing\\note.txt");
    EXPECT_EQ(box.Icon(), "error");
    box.Click("OK");
  });
  Press('S', wxMOD_CONTROL);
  Until([] { return StillExpected() == 0; });
  EXPECT_THAT(saved_, IsEmpty());
  AnswerSave("No");
  EXPECT_TRUE(desktop_.CloseEditors());
}

TEST_F(EditKtTest, KeepsEveryByteThroughTheBox) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  bytes += tests::Raw("\r\nCR\rLF\nNULs \0\0 and the end\r\r\n\n");
  WriteNative(File(), bytes);
  const EditKt& editor = Open();
  TypeInto(editor, "x");
  Press('S', wxMOD_CONTROL);
  Until([this] { return saved_.size() == 1; });
  EXPECT_EQ(Content(), "x" + bytes);
  Screenshot("editor_bytes");
}

TEST_F(EditKtTest, TypesALineEndOfTheFilesKind) {
  WriteNative(File(), "one\ntwo\n");
  const EditKt& editor = Open();
  Press(WXK_RETURN);
  Press(WXK_TAB);
  Until([&] { return Text(editor) == "\n\tone\ntwo\n"; }, "a line and a tab");
  Press('S', wxMOD_CONTROL);
  Until([this] { return saved_.size() == 1; });
  EXPECT_EQ(Content(), "\n\tone\ntwo\n");
}

TEST_F(EditKtTest, TakesChangesBackAndDoesThemAgain) {
  const EditKt& editor = Open();
  TypeInto(editor, "two words ");
  Press('Z', wxMOD_CONTROL);
  EXPECT_TRUE(Until([&] { return Text(editor) == "two one\ntwo\n"; }));
  Press('Z', wxMOD_CONTROL);
  EXPECT_TRUE(Until([&] { return Text(editor) == "one\ntwo\n"; }));
  Press('Z', wxMOD_CONTROL);  // there is nothing more
  Settle();
  EXPECT_EQ(Text(editor), "one\ntwo\n");
  Press('Y', wxMOD_CONTROL);
  EXPECT_TRUE(Until([&] { return Text(editor) == "two one\ntwo\n"; }));
  Press('Z', wxMOD_CONTROL | wxMOD_SHIFT);
  EXPECT_TRUE(Until([&] { return Text(editor) == "two words one\ntwo\n"; }));
  EXPECT_EQ(Box(editor).GetInsertionPoint(), 10);
  AnswerSave("No");
  EXPECT_TRUE(desktop_.CloseEditors());
}

TEST_F(EditKtTest, TakesAPastedTextBackByTheMenu) {
  const EditKt& editor = Open();
  Box(editor).SetSelection(0, 4);
  Box(editor).WriteText("1\n2\n");
  Press('E', wxMOD_ALT);
  Press('U');
  EXPECT_TRUE(Until([&] { return Text(editor) == "one\ntwo\n"; }));
  AnswerSave("No");
  EXPECT_TRUE(desktop_.CloseEditors());
}

TEST_F(EditKtTest, KeepsEveryByteThroughAChangeThatIsTakenBack) {
  std::string bytes = tests::Raw("CR\rLF\nNUL \0 and more\r\n\r\n");
  bytes += "upper half \x80\xE4\xFF";
  WriteNative(File(), bytes);
  const EditKt& editor = Open();
  const std::string before = Text(editor);
  Press('A', wxMOD_CONTROL);
  Press(WXK_DELETE);
  EXPECT_TRUE(Until([&] { return Text(editor).empty(); }));
  Press('Z', wxMOD_CONTROL);
  EXPECT_TRUE(Until([&] { return Text(editor) == before; }));
  Press('S', wxMOD_CONTROL);
  Until([this] { return saved_.size() == 1; });
  EXPECT_EQ(Content(), bytes);
}

TEST_F(EditKtTest, ATextThatWasReadAgainCanNotBeTakenBack) {
  const EditKt& editor = Open();
  WriteNative(File(), "other\r\n");
  Open();
  ASSERT_EQ(Text(editor), "other\n");
  Press('Z', wxMOD_CONTROL);
  Settle();
  EXPECT_EQ(Text(editor), "other\n");
}

TEST_F(EditKtTest, FindsATextFromPlaceToPlace) {
  WriteNative(File(), "a tree\r\nThe Tree house\r\nno bush\r\n");
  const EditKt& editor = Open();
  const auto selected = [&] {
    long begin = 0;
    long end = 0;
    Box(editor).GetSelection(&begin, &end);
    return std::pair(begin, end);
  };
  auto* result = dynamic_cast<wxStaticText*>(Child(editor, "Find result"));
  Press('F', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return Child(editor, "Find what")->HasFocus(); }));
  Type("tree");
  Press(WXK_RETURN);
  EXPECT_TRUE(Until([&] { return selected() == std::pair(2L, 6L); }));
  Press(WXK_F3);
  EXPECT_TRUE(Until([&] { return selected() == std::pair(11L, 15L); }));
  EXPECT_EQ(result->GetLabelText(), "");
  Screenshot("editor_find");
  Press(WXK_F3);
  EXPECT_TRUE(Until([&] { return selected() == std::pair(2L, 6L); }));
  EXPECT_EQ(result->GetLabelText(), "From the top");
  Press(WXK_F3, wxMOD_SHIFT);
  EXPECT_TRUE(Until([&] { return selected() == std::pair(11L, 15L); }));
  EXPECT_EQ(result->GetLabelText(), "From the end");
  Press(WXK_ESCAPE);
  EXPECT_TRUE(Until([&] { return Box(editor).HasFocus() && !Child(editor, "Find bar")->IsShown(); }));
  EXPECT_EQ(selected(), std::pair(11L, 15L)) << "what was found stays selected";
  Press(WXK_F3);  // also without the bar
  EXPECT_TRUE(Until([&] { return selected() == std::pair(2L, 6L); }));
  Press('W', wxMOD_CONTROL);  // looking is no change
  UntilClosed();
}

TEST_F(EditKtTest, SaysWhenATextIsNotFoundAndTakesCaseIntoAccountOnRequest) {
  const EditKt& editor = Open();
  Press(WXK_F3);  // nothing was looked for yet
  ASSERT_TRUE(Until([&] { return Child(editor, "Find what")->HasFocus(); }));
  Type("TWO");
  Press('M', wxMOD_ALT);
  Press('N', wxMOD_ALT);
  auto* result = dynamic_cast<wxStaticText*>(Child(editor, "Find result"));
  EXPECT_TRUE(Until([&] { return result->GetLabelText() == "Not found"; }));
  Press('M', wxMOD_ALT);
  Press('P', wxMOD_ALT);
  EXPECT_TRUE(Until([&] { return Box(editor).GetStringSelection() == "two"; }));
}

TEST_F(EditKtTest, LooksForWhatIsSelected) {
  const EditKt& editor = Open();
  Box(editor).SetSelection(4, 7);
  Press('F', wxMOD_CONTROL);
  auto* wanted = dynamic_cast<wxTextCtrl*>(Child(editor, "Find what"));
  EXPECT_TRUE(Until([&] { return wanted->HasFocus() && wanted->GetValue() == "two"; }));
}

TEST_F(EditKtTest, OpensAFileOnceAndReadsItAgainUnlessItWasChanged) {
  EditKt& editor = Open();
  WriteNative(File(), "other\r\n");
  EXPECT_EQ(&Open("C:\\Note.TXT"), &editor);
  EXPECT_EQ(Editors().size(), 1U);
  EXPECT_EQ(Text(editor), "other\n");
  TypeInto(editor, "x");
  WriteNative(File(), "third\r\n");
  Open();
  EXPECT_EQ(Text(editor), "xother\n");
  AnswerSave("No");
  EXPECT_TRUE(desktop_.CloseEditors());
}

TEST_F(EditKtTest, ClosesEveryEditorUnlessOneStays) {
  WriteNative(Home() / "second.txt", "second");
  Open();
  EditKt& second = Open("c:\\second.txt");
  EXPECT_EQ(Editors().size(), 2U);
  TypeInto(second, "x");
  AnswerSave("Cancel");
  EXPECT_FALSE(desktop_.CloseEditors());
  Until([this] { return Editors().size() == 1; });
  EXPECT_THAT(Editors(), ElementsAre(&second));
  AnswerSave("Yes");
  EXPECT_TRUE(desktop_.CloseEditors());
  EXPECT_EQ(ReadNative(Home() / "second.txt"), "xsecond");
}

TEST_F(EditKtTest, ComesBackWhereItStood) {
  EditKt& editor = Open();
  editor.SetSize(140, 150, 500, 300);
  Until([&editor] { return editor.GetRect() == wxRect(140, 150, 500, 300); }, "the window is moved");
  editor.Close();
  UntilClosed();
  // 15 twips are a pixel of 1/96 inch.
  EXPECT_EQ(lib::GetIniString("ZELKOR", "editKtFormLeft", ""), "2100");
  EXPECT_EQ(lib::GetIniString("ZELKOR", "editKtFormTop", ""), "2250");
  EXPECT_EQ(lib::GetIniString("ZELKOR", "editKtFormWidth", ""), "7500");
  EXPECT_EQ(lib::GetIniString("ZELKOR", "editKtFormHeight", ""), "4500");
  const EditKt& again = Open();
  Until([&again] { return again.GetRect() == wxRect(140, 150, 500, 300); }, "the same place");
}

TEST_F(EditKtTest, StandsBesideTheMainWindowWhenNothingIsStored) {
  desktop_.PlaceBeside(PositionOf(*frame_), 500 * 15);
  const EditKt& editor = Open();
  Until([&] { return editor.GetRect().y == frame_->GetRect().y && editor.GetRect().height == 500; }, "placed");
  EXPECT_NEAR(editor.GetRect().GetRight() + 1, frame_->GetRect().x, 1);
}

TEST_F(EditKtTest, TakesEachMissingSettingFromItsDesign) {
  lib::PutIniValue("ZELKOR", "editKtFormLeft", 15 * 30);
  lib::PutIniValue("ZELKOR", "editKtFormWidth", 15 * 400);
  desktop_.PlaceBeside(PositionOf(*frame_), 15 * 350);
  const EditKt& editor = Open();
  Until([&] { return editor.GetRect() == wxRect(30, frame_->GetRect().y, 400, 350); }, "placed");
}

TEST_F(EditKtTest, ComesOntoTheScreenWhenTheSettingsAreOutside) {
  lib::PutIniValue("ZELKOR", "editKtFormLeft", -150'000);
  lib::PutIniValue("ZELKOR", "editKtFormTop", 2'000'000'000);
  lib::PutIniValue("ZELKOR", "editKtFormWidth", 0);
  lib::PutIniValue("ZELKOR", "editKtFormHeight", -5);
  const EditKt& editor = Open();
  Until([&] { return wxDisplay(0U).GetGeometry().Contains(editor.GetRect()); }, "inside the screen");
  EXPECT_GT(Box(editor).GetSize().y, 20);
}

}  // namespace
}  // namespace zelkor::app
