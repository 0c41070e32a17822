#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>
#include <wx/display.h>
#include <wx/frame.h>

#include "db/frm_item.h"
#include "db/memory_rows.h"
#include "lib/gui/text.h"
#include "tests/support/bytes.h"
#include "tests/support/golden_database.h"
#include "tests/support/gui_testing.h"
#include "tests/support/scripted_desktop.h"
#include "tests/support/scripted_user.h"

namespace zelkor::db {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The item dialog over a real database of two items, beside a frame that stands for the main window.
class FrmItemTest : public tests::GuiTest {
 protected:
  FrmItemTest() {
    std::string config(8192, ' ');
    tests::PutText(config, 0, 8, "Zelkor!");
    tests::PutI16(config, 8, 220);
    WriteNative(ProgramFolder() / "zelkor.cfg", config);
    WriteNative(ProgramFolder() / "zelkor.ind",
                Record("Plan", "c:\\plan.txt", "+pc1 Work", 0, 305419896) + Record("Letter", "c:\\l.doc", "", 1, 2));
    database_.emplace(ProgramDir(), user_);
    EXPECT_EQ(database_->OpenDatabase(), Database::Opened::Yes);
    catalogue_.emplace(*database_, rows_, user_);
    editing_.emplace(*catalogue_, user_, desktop_);
    frame_ = new wxFrame(nullptr, wxID_ANY, "main", wxPoint(700, 60), wxSize(300, 300));
    ShowActive(*frame_);
    form_ = new frmItem(frame_, *editing_);
    form_->SetPosition({100, 60});
    editing_->Attach(form_, nullptr);
    catalogue_->FillItemList(kAllItems);
  }
  ~FrmItemTest() override {
    editing_->Attach(nullptr, nullptr);
    frame_->Destroy();
    Settle();
  }

  static std::string Record(const std::string& description, const std::string& fileName, const std::string& codes,
                            int syncMethod, int memoId) {
    std::string bytes(1024, '\0');
    tests::PutText(bytes, 0, 512, fileName);
    tests::PutText(bytes, 512, 64, description);
    tests::PutText(bytes, 576, 16, "");
    tests::PutI16(bytes, 618, syncMethod);
    tests::PutText(bytes, 620, 128, codes);
    tests::PutI32(bytes, 748, memoId);
    tests::PutI16(bytes, 752, 1);
    return bytes;
  }
  [[nodiscard]] std::string Stored(int recno, std::size_t offset, std::size_t width) const {
    return tests::TakeText(ReadNative(ProgramFolder() / "zelkor.ind"),
                           static_cast<std::size_t>(recno - 1) * 1024 + offset, width);
  }
  [[nodiscard]] int StoredNumber(int recno, std::size_t offset) const {
    return tests::TakeI16(ReadNative(ProgramFolder() / "zelkor.ind"),
                          static_cast<std::size_t>(recno - 1) * 1024 + offset);
  }
  [[nodiscard]] std::string StoredFiles() const { return Stored(1, 0, 512); }
  [[nodiscard]] std::string StoredDescription() const { return Stored(1, 512, 64); }
  [[nodiscard]] std::string StoredCodes() const { return Stored(1, 620, 128); }

  // Shows the first item, and waits until the dialog has the keyboard.
  void Show() {
    editing_->ShowProperties();
    UntilActive(*form_);
    Until([this] { return Control("Desc")->HasFocus(); }, "the description to have the keyboard");
  }
  [[nodiscard]] wxWindow* Control(const char* name) const { return Child(*form_, name); }
  [[nodiscard]] wxTextCtrl* Box(const char* name) const { return dynamic_cast<wxTextCtrl*>(Control(name)); }
  [[nodiscard]] wxChoice* Choice(const char* name) const { return dynamic_cast<wxChoice*>(Control(name)); }
  [[nodiscard]] std::string Text(const char* name) const { return lib::FromWx(Box(name)->GetValue()); }
  [[nodiscard]] std::string Label(const char* name) const {
    return lib::FromWx(wxControl::RemoveMnemonics(Control(name)->GetLabel()));
  }
  [[nodiscard]] bool ApplyEnabled() const { return Control("Apply")->IsEnabled(); }
  // A key with Alt, as the access keys of captions take it; the control gets the keyboard.
  void Access(char key, const char* control) {
    Press(key, wxMOD_ALT);
    Until([this, control] { return Control(control)->HasFocus(); }, std::string("focus on ") + control);
  }

  tests::ScriptedUser user_;
  tests::ScriptedDesktop desktop_;
  MemoryRows rows_;
  std::optional<Database> database_;
  std::optional<Catalogue> catalogue_;
  std::optional<ItemEditing> editing_;
  wxFrame* frame_ = nullptr;
  frmItem* form_ = nullptr;
};

TEST_F(FrmItemTest, ShowsTheItem) {
  Show();
  EXPECT_EQ(form_->GetTitle(), "Item - [Plan]");
  EXPECT_EQ(Text("Desc"), "Plan");
  EXPECT_EQ(Text("Code"), "+pc1 Work");
  EXPECT_EQ(Text("FileName"), "c:\\plan.txt");
  EXPECT_EQ(Choice("SyncMode")->GetStringSelection(), "Auto");
  EXPECT_EQ(Choice("SyncTo")->GetStringSelection(), "All but excluded");
  EXPECT_EQ(Label("FileDate"), "- - -");
  EXPECT_EQ(Label("FileImportUserID"), "");
  EXPECT_EQ(Label("FileImportDate"), "");
  EXPECT_FALSE(ApplyEnabled());
  Screenshot("item");
}

TEST_F(FrmItemTest, ShowsTheProgramsIcon) { EXPECT_FALSE(form_->GetIcons().IsEmpty()); }

TEST_F(FrmItemTest, OffersTheChoicesInTheOrderOfTheirNumbers) {
  const auto choices = [this](const char* name) {
    std::vector<std::string> texts;
    for (const wxString& text : Choice(name)->GetStrings()) texts.push_back(text.utf8_string());
    return texts;
  };
  EXPECT_THAT(choices("SyncMode"), ElementsAre("Auto", "On", "Off"));
  EXPECT_THAT(choices("SyncTo"), ElementsAre("All", "All but excluded", "Only included"));
}

TEST_F(FrmItemTest, EnablesApplyWhenATextIsTypedAndStoresItWithIt) {
  Show();
  Type("New");
  Until([this] { return Text("Desc") == "New"; });
  EXPECT_TRUE(ApplyEnabled());
  Click(*Control("Apply"));
  Until([this] { return !ApplyEnabled(); });
  EXPECT_EQ(StoredDescription(), "New");
  EXPECT_EQ(form_->GetTitle(), "Item - [New]");
  EXPECT_TRUE(form_->IsShown());
}

TEST_F(FrmItemTest, ReachesEveryTextByItsAccessKey) {
  Show();
  Access('F', "FileName");
  Access('C', "Code");
  Access('D', "Desc");
}

TEST_F(FrmItemTest, GoesThroughTheControlsByTab) {
  Show();
  for (const char* next : {"Code", "FileName", "Browse", "List"}) {
    Press(WXK_TAB);
    Until([this, next] { return Control(next)->HasFocus(); }, std::string("focus on ") + next);
  }
  // The system's lists tell of the keyboard only by what its keys do.
  Press(WXK_TAB);
  Press(WXK_DOWN);
  Until([this] { return Choice("SyncMode")->GetSelection() == 1; });
  Press(WXK_TAB);
  Press(WXK_DOWN);
  Until([this] { return Choice("SyncTo")->GetSelection() == 2; });
}

TEST_F(FrmItemTest, StoresTheChosenPositions) {
  Show();
  Press('S', wxMOD_ALT);
  Press(WXK_DOWN);
  Until([this] { return Choice("SyncMode")->GetSelection() == 1; });
  EXPECT_TRUE(ApplyEnabled());
  Press('T', wxMOD_ALT);
  Press(WXK_DOWN);
  Until([this] { return Choice("SyncTo")->GetSelection() == 2; });
  Press('A', wxMOD_ALT);
  Until([this] { return !ApplyEnabled(); });
  EXPECT_EQ(StoredNumber(1, 618), 1);
  EXPECT_EQ(StoredNumber(1, 752), 2);
}

TEST_F(FrmItemTest, ClosingWithUnappliedChangesSavesThemWithoutAQuestion) {
  Show();
  Access('C', "Code");
  Box("Code")->SelectAll();
  Type("kept");
  Until([this] { return Text("Code") == "kept"; });
  Click(*Control("Close"));
  Until([this] { return !form_->IsShown(); });
  EXPECT_EQ(StoredCodes(), "kept");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(FrmItemTest, EscapeClosesAndSaves) {
  Show();
  Type("By escape");
  Until([this] { return Text("Desc") == "By escape"; });
  Press(WXK_ESCAPE);
  Until([this] { return !form_->IsShown(); });
  EXPECT_EQ(StoredDescription(), "By escape");
}

TEST_F(FrmItemTest, ClosingByTheFrameSavesAndLetsItBeShownAgain) {
  Show();
  Type("By frame");
  Until([this] { return Text("Desc") == "By frame"; });
  form_->Close();
  Until([this] { return !form_->IsShown(); });
  EXPECT_EQ(StoredDescription(), "By frame");
  Show();
  EXPECT_EQ(Text("Desc"), "By frame");
}

TEST_F(FrmItemTest, EnterAppliesInALine) {
  Show();
  Type("By enter");
  Until([this] { return Text("Desc") == "By enter"; });
  Press(WXK_RETURN);
  Until([this] { return !ApplyEnabled(); });
  EXPECT_EQ(StoredDescription(), "By enter");
}

TEST_F(FrmItemTest, TakesSeveralLinesInTheFileSelection) {
  Show();
  Access('F', "FileName");
  Press(WXK_END, wxMOD_CONTROL);
  Press(WXK_RETURN);
  Type("c:two.txt");
  Until([this] { return Text("FileName") == "c:\\plan.txt\nc:two.txt"; }, "two lines");
  Press('A', wxMOD_ALT);
  Until([this] { return !ApplyEnabled(); });
  EXPECT_EQ(StoredFiles(), "c:\\plan.txt\r\nc:two.txt");
}

TEST_F(FrmItemTest, TurnsANativePathIntoTheFormWhenTheFieldIsLeft) {
  Show();
  Access('F', "FileName");
  Box("FileName")->SetValue(wxString::FromUTF8((Home() / "Docs/*.txt").string()));
  EXPECT_TRUE(ApplyEnabled());
  Press(WXK_TAB);
  Until([this] { return Text("FileName") == "c:\\Docs\\*.txt"; }, "a path of the program's form");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(FrmItemTest, SaysWhyANameCanNotBeUsedWhenTheFieldIsLeft) {
  Show();
  Access('F', "FileName");
  Box("FileName")->SetValue(wxString::FromUTF8("c:\\\xE6\x97\xA5.txt"));
  Press(WXK_TAB);
  ASSERT_TRUE(Until([this] { return !user_.boxes.empty(); }));
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("outside the code page"));
  EXPECT_EQ(Box("FileName")->GetValue(), wxString::FromUTF8("c:\\\xE6\x97\xA5.txt"));
}

TEST_F(FrmItemTest, BrowsingTwiceAppendsTwoLines) {
  Show();
  user_.choices = {"C:\\One.TXT", "C:\\Two.txt"};
  Click(*Control("Browse"));
  Until([this] { return Text("FileName") == "c:\\plan.txt\nc:\\one.txt"; });
  EXPECT_TRUE(ApplyEnabled());
  Press('B', wxMOD_ALT);
  Until([this] { return Text("FileName") == "c:\\plan.txt\nc:\\one.txt\nc:\\two.txt"; });
  Press(WXK_ESCAPE);
  Until([this] { return !form_->IsShown(); });
  EXPECT_EQ(StoredFiles(), "c:\\plan.txt\r\nc:\\one.txt\r\nc:\\two.txt");
}

TEST_F(FrmItemTest, ListsTheFilesAfterApplying) {
  Show();
  Type("Listed");
  Until([this] { return ApplyEnabled(); });
  Click(*Control("List"));
  Until([this] { return !desktop_.lists.empty(); });
  EXPECT_EQ(StoredDescription(), "Listed");
  EXPECT_THAT(desktop_.lists[0].title, HasSubstr("Listed"));
}

TEST_F(FrmItemTest, ADoubleClickOnTheCaptionDescriptionShowsTheMemoId) {
  Show();
  DoubleClick(*Control("Description"));
  ASSERT_TRUE(Until([this] { return !user_.boxes.empty(); }));
  EXPECT_EQ(user_.boxes[0].text, "305419896");
  EXPECT_EQ(user_.boxes[0].title, "Memo ID");
}

TEST_F(FrmItemTest, ShowsTheMemoIdByKeyToo) {
  Show();
  Press('I', wxMOD_CONTROL);
  ASSERT_TRUE(Until([this] { return !user_.boxes.empty(); }));
  EXPECT_EQ(user_.boxes[0].title, "Memo ID");
}

TEST_F(FrmItemTest, TakesNoMoreDescriptionAndCodesThanTheirFieldsHold) {
  Show();
  Box("Desc")->ChangeValue(std::string(63, 'd'));
  Box("Desc")->SetInsertionPointEnd();
  Type("xy");
  Until([this] { return Text("Desc").size() == 64; });
  Settle();
  EXPECT_EQ(Text("Desc"), std::string(63, 'd') + "x");
}

TEST_F(FrmItemTest, ShowsLongTextsWithoutGrowing) {
  const wxSize before = form_->GetSize();
  database_->ReadItem(1);
  std::string files;
  for (int i = 0; i < 20; ++i) files += "c:\\a\\long\\path\\to\\a\\file" + std::to_string(i) + "\r\n";
  database_->Item().SetText(FileRec::kFileName, files);
  database_->Item().SetText(FileRec::kDescription, std::string(64, 'W'));
  database_->Item().SetText(FileRec::kCodes, std::string(128, 'W'));
  database_->WriteItem(1);
  Show();
  EXPECT_EQ(form_->GetSize(), before);
  EXPECT_EQ(Text("Desc"), std::string(64, 'W'));
  Screenshot("item_long");
}

TEST_F(FrmItemTest, ShowsAnAmpersandInADescriptionAsItIs) {
  database_->ReadItem(1);
  database_->Item().SetText(FileRec::kDescription, "R&D && more");
  database_->Item().SetText(FileRec::kImportSource, "R&D");
  database_->WriteItem(1);
  Show();
  EXPECT_EQ(Text("Desc"), "R&D && more");
  EXPECT_EQ(Label("FileImportUserID"), "R&D");
}

TEST_F(FrmItemTest, FollowsTheCurrentRowAndKeepsTheEditsOfTheOneBefore) {
  Show();
  Type("First");
  Until([this] { return ApplyEnabled(); });
  rows_.Select(2);
  editing_->UpdateCurrentItem();
  EXPECT_EQ(form_->GetTitle(), "Item - [Letter]");
  EXPECT_EQ(Choice("SyncMode")->GetStringSelection(), "On");
  EXPECT_FALSE(ApplyEnabled());
  EXPECT_EQ(StoredDescription(), "First");
}

TEST_F(FrmItemTest, CanNotBeEditedWhileSomethingIsInHand) {
  catalogue_->Occupied().OnChange([this] { editing_->OccupationChanged(); });
  Show();
  {
    const lib::Occupation::Guard run(catalogue_->Occupied());
    for (const char* name : {"Desc", "Code", "FileName", "SyncMode", "SyncTo", "Browse", "List", "Apply"}) {
      EXPECT_FALSE(Control(name)->IsEnabled()) << name;
    }
    EXPECT_TRUE(Control("Close")->IsEnabled());
  }
  EXPECT_TRUE(Control("Desc")->IsEnabled());
  catalogue_->Occupied().OnChange({});
}

TEST_F(FrmItemTest, ComesOntoTheScreenWhenItStoodOutside) {
  form_->SetPosition({-4000, 5000});
  Show();
  Until([this] { return wxDisplay(0U).GetGeometry().Contains(form_->GetRect()); }, "inside the screen");
}

}  // namespace
}  // namespace zelkor::db
