// Every command of the main window, by the keys that reach it, and by the toolbar.

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <wx/listbox.h>
#include <wx/textctrl.h>

#include "lib/occupation.h"
#include "tests/support/program_with_windows.h"

namespace zelkor::app {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::ShownModal;

class MwMenus : public tests::ProgramWithWindows {
 protected:
  static wxWindow* TopWindow(const wxString& title) {
    for (wxWindow* window : wxTopLevelWindows) {
      if (window->IsShown() && window->GetLabel() == title) return window;
    }
    return nullptr;
  }
  // Several entries of the File menu share their access keys; this goes to one by its place, counting from 0.
  static void FileEntry(int place) {
    Press('F', wxMOD_ALT);
    Press(WXK_HOME);
    for (int i = 0; i < place; ++i) Press(WXK_DOWN);
  }
  static void FileSettings(char key) {
    FileEntry(1);
    Press(WXK_RIGHT);
    Press(key);
  }
  static void FileComputerName() {
    FileEntry(2);
    Press(WXK_RETURN);
  }
  static void FileCompact() {
    FileEntry(5);
    Press(WXK_RETURN);
  }
  // Takes an entry of the list dialog, counting from 0.
  static void PickEntry(wxListBox& list, int index) {
    list.SetFocus();
    Press(WXK_HOME);
    for (int i = 0; i < index; ++i) Press(WXK_DOWN);
    Press(WXK_RETURN);
  }
  // Answers the box that comes next, which must have this text.
  static void ExpectBox(const std::string& text, const std::string& button) {
    Expect([text, button](ShownModal& box) {
      EXPECT_EQ(box.Text(), text);
      box.Click(button);
    });
  }
  // The list dialog that comes next: its title and entries are looked at, `answer` acts.
  static void ExpectList(const std::string& title, const std::vector<std::string>& entries,
                         const std::function<void(wxListBox&)>& answer) {
    Expect([=](ShownModal& modal) {
      EXPECT_EQ(modal.Title(), title);
      auto& list = dynamic_cast<wxListBox&>(*Child(*modal.Window(), "List"));
      std::vector<std::string> shown;
      for (unsigned i = 0; i < list.GetCount(); ++i) shown.push_back(lib::FromWx(list.GetString(i)));
      EXPECT_EQ(shown, entries);
      answer(list);
    });
  }
};

TEST_F(MwMenus, SynchronizeShowsTheSynchronisationWindow) {
  Start({{"one"}});
  Menu('F', "y");
  EXPECT_TRUE(Until([this] { return windows_->Synchronisation().IsShown(); }));
}

TEST_F(MwMenus, ViewTypesAndRunTypesEditTheirLists) {
  Start({{"one"}});
  ExpectList("View file-types", {"txt", "ini"}, [](wxListBox&) { Press(WXK_ESCAPE); });
  FileSettings('v');
  EXPECT_EQ(StillExpected(), 0U);
  ExpectList("Run file-types", {"xls", "doc"}, [](wxListBox&) { Press(WXK_ESCAPE); });
  ShowActive(Main());
  FileSettings('r');
  EXPECT_EQ(StillExpected(), 0U);
}

TEST_F(MwMenus, ComputerNameChangesTheCaptionAfterYes) {
  Start({{"one"}});
  Expect([](ShownModal& box) {
    EXPECT_THAT(box.Text(), HasSubstr("Your current computer name is [Office]"));
    EXPECT_EQ(box.Icon(), "question");
    EXPECT_EQ(box.DefaultButton(), "No");
    box.Click("Yes");
  });
  Expect([](ShownModal&) {
    Type("home");
    Press(WXK_RETURN);
  });
  FileComputerName();
  EXPECT_EQ(Main().GetTitle(), "Zelkor! - home");
  EXPECT_EQ(SettingsText(), "[Orlim]\r\nUser=home\r\n");
}

TEST_F(MwMenus, ComputerNameStaysAfterNo) {
  Start({{"one"}});
  Expect([](ShownModal& box) { box.Click("No"); });
  FileComputerName();
  EXPECT_EQ(Main().GetTitle(), "Zelkor! - office");
  EXPECT_EQ(SettingsText(), "[Orlim]\r\nUser=Office\r\n");
}

TEST_F(MwMenus, ReMappingOpensTheFileInTheEditor) {
  Start({{"one"}});
  Menu('F', "r");
  const wxString title = "Edit - " + lib::ToWx(ProgramDir()) + "ReMap.txt";
  EXPECT_TRUE(Until([&] { return TopWindow(title) != nullptr; }));
}

TEST_F(MwMenus, CompactRemovesDeletedItemsAfterOk) {
  Start({{"gone", "", 1}, {"one"}});
  ExpectBox("This action will remove all deleted entries.\nContinue?", "Cancel");
  FileCompact();
  EXPECT_EQ(ItemFile().size(), 2048U);
  ExpectBox("This action will remove all deleted entries.\nContinue?", "OK");
  FileCompact();
  EXPECT_TRUE(Until([this] { return ItemFile().size() == 1024U; }));
  EXPECT_THAT(Listed(), ElementsAre("one"));
  EXPECT_EQ(Panel(Panel::Selection), "Zelkor! Ver 2.23, Database:1 rec");
}

TEST_F(MwMenus, ExitEndsTheProgram) {
  Start({{"one"}});
  Menu('F', "x");
  EXPECT_TRUE(ended_);
  EXPECT_THAT(SettingsText(), HasSubstr("SysTray=0"));
}

TEST_F(MwMenus, PropertiesShowsTheItem) {
  Start({{"one"}});
  Menu('E', "p");
  EXPECT_TRUE(Until([this] { return windows_->Item().IsShown(); }));
  EXPECT_EQ(windows_->Item().GetTitle(), "Item - [one]");
}

TEST_F(MwMenus, AddMakesAnItemNamedUntitledAndShowsIt) {
  Start({{"one"}});
  Menu('E', "a");
  EXPECT_TRUE(Until([this] { return windows_->Item().IsShown(); }));
  EXPECT_EQ(windows_->Item().GetTitle(), "Item - [Untitled]");
  EXPECT_THAT(Listed(), ElementsAre("one", "Untitled"));
  EXPECT_EQ(Panel(Panel::ItemNumber), "2 / 2");
}

TEST_F(MwMenus, DeleteAsksTwiceAndListsTheItemNoMore) {
  WriteNative(Home() / "a.dat", "x");
  Start({{"one"}, {"two"}});
  Expect([](ShownModal& box) {
    EXPECT_EQ(box.Title(), "Delete");
    EXPECT_EQ(box.Text(), "Do you want to delete one?");
    EXPECT_EQ(box.Icon(), "question");
    EXPECT_THAT(box.Buttons(), testing::UnorderedElementsAre("Yes", "No"));
    box.Click("Yes");
  });
  Expect([](ShownModal& box) {
    EXPECT_EQ(box.Text(), "Delete file(s) also?");
    EXPECT_EQ(box.Icon(), "question");
    EXPECT_EQ(box.DefaultButton(), "No");
    Press(WXK_RETURN);
  });
  Menu('E', "d");
  EXPECT_THAT(Listed(), ElementsAre("two"));
  EXPECT_TRUE(StoredDeleted(1));
  EXPECT_TRUE(std::filesystem::exists(Home() / "a.dat"));
}

TEST_F(MwMenus, DeleteTakesTheFilesWithItAfterYes) {
  WriteNative(Home() / "a.dat", "x");
  Start({{"one"}});
  ExpectBox("Do you want to delete one?", "Yes");
  ExpectBox("Delete file(s) also?", "Yes");
  Menu('E', "d");
  EXPECT_FALSE(std::filesystem::exists(Home() / "a.dat"));
  EXPECT_THAT(Listed(), IsEmpty());
}

TEST_F(MwMenus, DeleteDoesNothingAfterNo) {
  Start({{"one"}});
  ExpectBox("Do you want to delete one?", "No");
  Menu('E', "d");
  EXPECT_THAT(Listed(), ElementsAre("one"));
  EXPECT_FALSE(StoredDeleted(1));
}

TEST_F(MwMenus, UndeleteStandsInItsPlaceForADeletedItem) {
  Start({{"one"}, {"gone", "", 1}});
  Menu('I', "d");
  EXPECT_THAT(Listed(), ElementsAre("gone"));
  EXPECT_EQ(Panel(Panel::Selection), "Deleted items");
  EXPECT_TRUE(Until([this] { return Main().GetMenuBar()->GetLabel(Edit_Delete) == "&Undelete..."; }));
  Expect([](ShownModal& box) {
    EXPECT_EQ(box.Text(), "Item is undeleted.");
    EXPECT_EQ(box.Icon(), "info");
    box.Click("OK");
  });
  Menu('E', "u");
  EXPECT_FALSE(StoredDeleted(2));
  EXPECT_THAT(Listed(), IsEmpty());
}

TEST_F(MwMenus, ListFilesShowsTheFilesOfTheSelection) {
  WriteNative(Home() / "a.dat", std::string(3000, 'x'));
  Start({{"one"}});
  ExpectList("one - 1 files, 3 kb", {"c:\\a.dat"}, [](wxListBox&) { Press(WXK_ESCAPE); });
  Menu('E', "f");
  EXPECT_EQ(StillExpected(), 0U);
}

TEST_F(MwMenus, AutoOnAndOffChooseTheExportState) {
  Start({{"one"}, {"two"}});
  const std::string before = ItemFile();
  for (const auto& [presses, state] : {std::pair{1, "Off"}, std::pair{2, "On"}, std::pair{3, "Auto"}}) {
    Press('E', wxMOD_ALT);
    for (int i = 0; i < presses; ++i) Press(WXK_UP);  // from the end of the menu
    Press(WXK_RETURN);
    EXPECT_THAT(Listed(3), ElementsAre(state, "Auto"));
    EXPECT_TRUE(Main().GetMenuBar()->IsChecked(Edit_MemoST + 3 - presses));
  }
  EXPECT_EQ(ItemFile(), before);
}

TEST_F(MwMenus, FiltersShowWhatTheySay) {
  Start({{"one", "a"}, {"two", "a b"}, {"gone", "a", 1}});
  ExpectList("Select", {"a", "b"}, [](wxListBox& list) { PickEntry(list, 1); });
  Menu('I', "s");
  EXPECT_THAT(Listed(), ElementsAre("two"));
  EXPECT_EQ(Panel(Panel::Selection), "Selected: b");
  EXPECT_EQ(Panel(Panel::ItemNumber), "1 / 1");
  Menu('I', "a");
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
  ExpectList("Exclude", {"a", "b"}, [](wxListBox& list) { PickEntry(list, 1); });
  Menu('I', "e");
  EXPECT_THAT(Listed(), ElementsAre("one"));
  EXPECT_EQ(Panel(Panel::Selection), "Excluded: b");
  Menu('I', "d");
  EXPECT_THAT(Listed(), ElementsAre("gone"));
  Items().ItemFilters().standardSelection = "b";
  Press('I', wxMOD_ALT);
  Press(WXK_RETURN);  // the first entry
  EXPECT_THAT(Listed(), ElementsAre("two"));
}

TEST_F(MwMenus, ASelectionThatNoItemCarriesSaysSo) {
  Start({{"one", "a"}, {"two"}});
  ExpectList("Select", {"a"}, [](wxListBox& list) {
    Expect([](ShownModal&) {
      Type("nobody");
      Press(WXK_RETURN);
    });
    Press(WXK_INSERT);
    Until([&list] { return list.GetSelection() == 1; });
    Expect([](ShownModal& box) {
      EXPECT_EQ(box.Text(), "Nothing selected!");
      EXPECT_EQ(box.Icon(), "warning");
      box.Click("OK");
    });
    Press(WXK_RETURN);
  });
  Menu('I', "s");
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
}

TEST_F(MwMenus, WwwOpensThePage) {
  CatchOpenedDocuments();
  Start({{"one"}});
  Menu('H', "z");
  EXPECT_EQ(OpenedDocument(), kWebPage);
}

TEST_F(MwMenus, AboutTellsVersionAndLicence) {
  Start({{"one"}});
  Expect([](ShownModal& modal) {
    EXPECT_EQ(modal.Title(), "About Zelkor!");
    EXPECT_EQ(Child(*modal.Window(), "Version")->GetLabel(), "Version 2.23");
    EXPECT_TRUE(dynamic_cast<wxTextCtrl&>(*Child(*modal.Window(), "Licence")).GetValue().Contains("WITHOUT WARRANTY"));
    Screenshot("about");
    Press(WXK_ESCAPE);
  });
  Menu('H', "a");
  EXPECT_EQ(StillExpected(), 0U);
}

TEST_F(MwMenus, ToolbarButtonsRunTheirCommands) {
  Start({{"one", "a"}, {"two"}});
  // The window manager may hold a click back for a moment when another window had the keyboard.
  const auto answered = [] { return Until([] { return StillExpected() == 0; }); };
  const auto itemDialogComesAndGoes = [this] {
    const bool came = Until([this] { return windows_->Item().IsShown() && windows_->Item().IsActive(); });
    windows_->Item().Close();
    ShowActive(Main());
    return came;
  };
  ClickTool("Add an item");
  EXPECT_TRUE(itemDialogComesAndGoes());
  EXPECT_THAT(Listed(), ElementsAre("one", "two", "Untitled"));
  ClickTool("Properties of the item");
  EXPECT_TRUE(itemDialogComesAndGoes());
  ExpectBox("Do you want to delete Untitled?", "No");
  ClickTool("Delete the item");
  EXPECT_TRUE(answered());
  ExpectList("Select", {"a"}, [](wxListBox& list) { PickEntry(list, 0); });
  ClickTool("Select items by codes");
  EXPECT_TRUE(answered());
  EXPECT_TRUE(Until([this] { return rows_->Count() == 1; }));
  ClickTool("Select all items");
  EXPECT_TRUE(Until([this] { return rows_->Count() == 3; }));
  ClickTool("Synchronize");
  EXPECT_TRUE(Until([this] { return windows_->Synchronisation().IsShown(); }));
}

TEST_F(MwMenus, CommandsThatWouldStartInsideARunAreDisabled) {
  Start({{"one"}, {"two"}});
  const wxMenuBar& bar = *Main().GetMenuBar();
  const std::vector<int> disabled{File_Extensions + 1,  File_UserID,     File_ReMap,      File_Optimize,
                                  Edit_Properties,      Edit_Add,        Edit_Delete,     Edit_ListFiles,
                                  Edit_MemoST,          Edit_MemoST + 2, Filter_Standard, Filter_SelectAll,
                                  Filter_SelectDeleted, Filter_Select,   Filter_Exclude};
  for (const int entry : disabled) EXPECT_TRUE(bar.IsEnabled(entry)) << entry;
  {
    const lib::Occupation::Guard run(Items().Occupied());
    ASSERT_TRUE(Until([&] { return !bar.IsEnabled(File_Optimize); }));
    for (const int entry : disabled) EXPECT_FALSE(bar.IsEnabled(entry)) << entry;
    for (const int entry :
         {static_cast<int>(File_Sync), static_cast<int>(File_Exit), View_View + 1, static_cast<int>(Help_About)}) {
      EXPECT_TRUE(bar.IsEnabled(entry)) << entry;
    }
    Press(WXK_RETURN);
    DoubleClick(RowPlace(2));
    EXPECT_FALSE(windows_->Item().IsShown());
    Click(Main().Details().ClientToScreen(wxPoint(30, 10)));
    EXPECT_EQ(rows_->SortedBy(), std::nullopt);
  }
  // The row that was clicked meanwhile is the current item now.
  EXPECT_TRUE(Until([this] { return Panel(Panel::ItemNumber) == "2 / 2"; }));
  EXPECT_EQ(state_->database.Item().Text(db::FileRec::kDescription), "two");
  EXPECT_TRUE(Until([&] { return bar.IsEnabled(File_Optimize); }));
}

TEST_F(MwMenus, CommandsOnAnItemAreDisabledInAnEmptyList) {
  Start({});
  const wxMenuBar& bar = *Main().GetMenuBar();
  EXPECT_TRUE(Until([&] { return !bar.IsEnabled(Edit_Delete); }));
  EXPECT_FALSE(bar.IsEnabled(Edit_Properties));
  EXPECT_FALSE(bar.IsEnabled(Edit_MemoST));
  EXPECT_TRUE(bar.IsEnabled(Edit_Add));
}

TEST_F(MwMenus, ExitWaitsForARunToEndBetweenTwoFiles) {
  Start({{"one"}});
  static_cast<void>(windows_->Synchronisation());
  {
    const lib::Occupation::Guard run(Items().Occupied());
    user_->ShowLog("Sync - Import");
    Settle();
    Main().Close();
    Settle();
    EXPECT_FALSE(ended_);
    EXPECT_TRUE(user_->Cancelled());
  }
  EXPECT_TRUE(Until([this] { return ended_; }));
}

TEST_F(MwMenus, ExitAppliesWhatTheItemDialogHolds) {
  Start({{"one"}});
  Menu('E', "p");
  ASSERT_TRUE(Until([this] { return windows_->Item().IsShown() && windows_->Item().IsActive(); }));
  auto& description = dynamic_cast<wxTextCtrl&>(*Child(windows_->Item(), "Desc"));
  description.SetFocus();
  description.SelectAll();
  Type("changed");
  Main().Close();
  Settle();
  EXPECT_TRUE(ended_);
  EXPECT_EQ(ItemFile().substr(512, 8), "changed ");
}

TEST_F(MwMenus, ExitAsksAboutATextThatWasNotSaved) {
  WriteNative(Home() / "a.txt", "text");
  Start({{"one", "", 0, "c:\\a.txt"}});
  Press(WXK_RETURN);
  wxWindow* editor = nullptr;
  ASSERT_TRUE(Until([&] { return (editor = TopWindow("Edit - c:\\a.txt")) != nullptr; }));
  ASSERT_TRUE(Until([&] { return dynamic_cast<wxTopLevelWindow&>(*editor).IsActive(); }));
  Settle();
  Type("x");
  ExpectBox("Save changes?", "Cancel");
  Main().Close();
  Settle();
  EXPECT_FALSE(ended_);
  ExpectBox("Save changes?", "No");
  Main().Close();
  Settle();
  EXPECT_TRUE(ended_);
  EXPECT_EQ(ReadNative(Home() / "a.txt"), "text");
}

}  // namespace
}  // namespace zelkor::app
