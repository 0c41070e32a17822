// Targets in the synchronisation window: made, changed, saved, deleted.

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "net/sync_window.h"
#include "tests/support/foreign_leaks.h"
#include "tests/support/sync_window_fixture.h"

namespace zelkor::net {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::ShownModal;

using SyncWindow = tests::SyncWindowFixture;

constexpr const char* kNamePrompt = "Enter name of new target, 1 to 6 characters, no spaces:";

TEST_F(SyncWindow, MakesATargetByItsKeyItsMenuAndItsButton) {
  Open();
  AnswerInput(kNamePrompt, "one");
  Press('N', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return List().GetStringSelection() == "one"; }));
  EXPECT_THAT(Rows(), ElementsAre("Media=a:\\"));

  AnswerInput(kNamePrompt, "two");
  Menu("TN");
  ASSERT_TRUE(Until([&] { return List().GetStringSelection() == "two"; }));

  AnswerInput(kNamePrompt, "three");
  ClickTool(*window_, "New");
  ASSERT_TRUE(Until([&] { return List().GetStringSelection() == "three"; }));
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("laptop", "tower", "one", "two", "three"));
}

TEST_F(SyncWindow, ANameWithASpaceOrOfSevenCharactersBringsTheQuestionBackAndAnEmptyAnswerEndsIt) {
  Open();
  AnswerInput(kNamePrompt, "a b");
  AnswerInput(kNamePrompt, "seven77");
  AnswerInput(kNamePrompt, "");
  Press('N', wxMOD_CONTROL);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("laptop", "tower"));
  AnswerInput(kNamePrompt, nullptr);  // Cancel
  Press('N', wxMOD_CONTROL);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  Settle();
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("laptop", "tower"));
}

TEST_F(SyncWindow, RefusesA17thTarget) {
  for (int i = 3; i <= 16; ++i) targets_.NewTarget("pc" + std::to_string(i));
  Open();
  AnswerInput(kNamePrompt, "pc17");
  AnswerBox("Sync list is full!", "error", "OK");
  Press('N', wxMOD_CONTROL);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  EXPECT_EQ(Entries().size(), 16U);
}

TEST_F(SyncWindow, DeletesATargetByItsKeyAfterAQuestion) {
  Open();
  List().SetFocus();
  AnswerBox("Delete target?", "question", "Cancel");
  Press(WXK_DELETE);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  EXPECT_THAT(Entries(), ElementsAre("laptop", "tower"));

  AnswerBox("Delete target?", "question", "OK");
  Press(WXK_DELETE);
  ASSERT_TRUE(Until([&] { return Entries().size() == 1; }));
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("tower"));
  EXPECT_EQ(List().GetSelection(), wxNOT_FOUND);
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_FALSE(Enabled(Sync::Target_Delete));
}

TEST_F(SyncWindow, DeletesATargetByItsMenuAndItsButton) {
  Open();
  AnswerBox("Delete target?", "question", "OK");
  Menu("TD");
  ASSERT_TRUE(Until([&] { return Entries() == std::vector<std::string>{"tower"}; }));
  Select(0);
  AnswerBox("Delete target?", "question", "OK");
  ClickTool(*window_, "Delete");
  ASSERT_TRUE(Until([&] { return Entries().empty(); }));
}

TEST_F(SyncWindow, TheDeleteKeyInABoxDeletesText) {
  Open();
  Click(Box("Media"));
  Press('A', wxMOD_CONTROL);
  Press(WXK_DELETE);
  EXPECT_EQ(Box("Media").GetValue(), "");
  EXPECT_THAT(Entries(), ElementsAre("laptop", "tower"));
}

TEST_F(SyncWindow, SavesByKeyByMenuByButtonAndByEnter) {
  Open();
  Select(1);
  const auto saved = [&](const char* text) {
    return Until([&] { return Target("tower").Text(TargetRec::kUserName) == text; }) && !CanSave();
  };
  Fill("Username", "first");
  EXPECT_TRUE(CanSave());
  EXPECT_EQ(Target("tower").Text(TargetRec::kUserName), "anna");
  Press('S', wxMOD_CONTROL);
  EXPECT_TRUE(saved("first"));
  Fill("Username", "second");
  Menu("TS");
  EXPECT_TRUE(saved("second"));
  Fill("Username", "third");
  Click(*Child(*window_, "Save"));
  EXPECT_TRUE(saved("third"));
  Fill("Username", "fourth");
  Press(WXK_RETURN);
  EXPECT_TRUE(saved("fourth"));
}

TEST_F(SyncWindow, SavesTheFlag) {
  Open();
  Select(1);
  DefaultExclude().SetFocus();
  Press(WXK_SPACE);
  EXPECT_TRUE(CanSave());
  Press('S', wxMOD_CONTROL);
  EXPECT_EQ(Target("tower").Number(TargetRec::kDefaultExclude), 0);
}

TEST_F(SyncWindow, SelectingAnotherTargetSavesTheEditsOfTheOneLeft) {
  Open();
  Select(1);
  Fill("Password", "better");
  Select(0);
  EXPECT_EQ(Target("tower").Text(TargetRec::kPassword), "better");
  EXPECT_EQ(Connections().GetStringSelection(), "File");
}

TEST_F(SyncWindow, SwitchingTheConnectionThereAndBackShowsTheStoredFields) {
  Open();
  Select(1);
  Fill("Server", "typed");
  Connections().SetFocus();
  Press(WXK_UP);
  Press(WXK_UP);
  ASSERT_TRUE(Until([&] { return Connections().GetStringSelection() == "File"; }));
  EXPECT_THAT(Rows(), ElementsAre("Media=a:\\"));
  Press(WXK_DOWN);
  Press(WXK_DOWN);
  ASSERT_TRUE(Until([&] { return Connections().GetStringSelection() == "FTP"; }));
  EXPECT_THAT(Rows(), ElementsAre("Server=ftp.example.com", "Username=anna", "Password=secret", "Directory=/sync"));
  EXPECT_TRUE(CanSave());
}

TEST_F(SyncWindow, BoxesTakeNoMoreThanTheirFieldsHold) {
  Open();
  Select(1);
  Fill("Username", std::string(40, 'u').c_str());
  EXPECT_EQ(Box("Username").GetValue(), wxString('u', 32));
  Fill("Server", std::string(70, 's').c_str());
  EXPECT_EQ(Box("Server").GetValue(), wxString('s', 64));
}

TEST_F(SyncWindow, ACharacterOutsideTheCodePageIsNotTaken) {
  Open();
  Select(1);
  Box("Password").SetFocus();
  Box("Password").SetInsertionPointEnd();
  Box("Password").WriteText(wxString::FromUTF8("\xe6\x97\xa5"));
  EXPECT_EQ(Box("Password").GetValue(), "secret");
  EXPECT_FALSE(CanSave());
  EXPECT_EQ(Status(), "This character can not be stored.");
  Box("Password").WriteText(wxString::FromUTF8("\xc3\xa4"));  // a with two dots
  Press('S', wxMOD_CONTROL);
  EXPECT_EQ(Target("tower").Text(TargetRec::kPassword), "secret\xe4");
}

TEST_F(SyncWindow, ANativeFolderBecomesOneOfTheProgramWhenItsBoxIsLeft) {
  Open();
  Fill("Media", "/mnt/in");
  Press(WXK_TAB);
  ASSERT_TRUE(Until([&] { return Box("Media").GetValue() == "z:\\mnt\\in"; }));
  EXPECT_TRUE(CanSave());
}

TEST_F(SyncWindow, AFolderThatCanNotBeUsedIsRefusedWithItsName) {
  Open();
  Fill("Media", "/mnt/a:b");
  Expect([](ShownModal& box) {
    EXPECT_THAT(box.Text(), testing::HasSubstr("a:b"));
    EXPECT_EQ(box.Icon(), "error");
    box.Click("OK");
  });
  Press('S', wxMOD_CONTROL);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  EXPECT_EQ(Target("laptop").Text(TargetRec::kMediaPath), OnDriveZ(Stick()));
}

TEST_F(SyncWindow, BrowsingCancelledLeavesTheFolder) {
  Open();
  Expect([](ShownModal& dialog) {
    EXPECT_EQ(dialog.Title(), "Folder or medium for the sync files");
    Press(WXK_ESCAPE);
  });
  Press('B', wxMOD_ALT);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  Settle();
  EXPECT_THAT(Rows(), ElementsAre("Media=" + OnDriveZ(Stick())));
  EXPECT_FALSE(CanSave());
}

TEST_F(SyncWindow, BrowsingTakesThePickedFolder) {
  fs::create_directory(Home() / "stick2");
  fs::create_directories(Home() / ".local" / "share");  // the system's dialog notes there what was picked
  Open();
  Expect([this](ShownModal&) {
    TypePath((Home() / "stick2").make_preferred());
    Press(WXK_RETURN);
  });
  {
    [[maybe_unused]] const tests::ForeignLeaks ofTheDialog;
    Click(*Child(*window_, "Browse..."));
    ASSERT_TRUE(Until([&] { return Box("Media").GetValue() == "c:\\stick2"; }));
  }
  EXPECT_TRUE(CanSave());
  Press('S', wxMOD_CONTROL);
  EXPECT_EQ(Target("laptop").Text(TargetRec::kMediaPath), "c:\\stick2");
}

TEST_F(SyncWindow, ClearsBothDates) {
  targets_.SetTargetDates("laptop", 46000.5, 45999.25);
  Open();
  EXPECT_EQ(Entries()[0], "laptop [Imp:12/9/2025] [Exp:12/8/2025]");
  Menu("TC");
  ASSERT_TRUE(Until([&] { return Entries()[0] == "laptop"; }));
  EXPECT_EQ(List().GetSelection(), 0);
}

TEST_F(SyncWindow, SetsTheImportAndTheExportDate) {
  Open();
  AnswerInput("Enter date:", "2025-12-09");
  Menu("TAI");
  ASSERT_TRUE(Until([&] { return Entries()[0] == "laptop [Imp:12/9/2025]"; }));
  AnswerInput("Enter date:", "nonsense");
  AnswerBox("Invalid date!", "error", "OK");
  AnswerInput("Enter date:", "2025-12-08 06:00");
  Menu("TAE");
  ASSERT_TRUE(Until([&] { return Entries()[0] == "laptop [Imp:12/9/2025] [Exp:12/8/2025]"; }));
  EXPECT_EQ(Target("laptop").Date(TargetRec::kLastExport), 45999.25);
  AnswerInput("Enter date:", nullptr);
  Menu("TAE");
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  Settle();
  EXPECT_EQ(Entries()[0], "laptop [Imp:12/9/2025] [Exp:12/8/2025]");
}

TEST_F(SyncWindow, TheConnectionTestUsesThePasswordJustTyped) {
  Open();
  Select(1);
  Fill("Password", "better");
  Press('T', wxMOD_CONTROL);
  EXPECT_THAT(calls_, ElementsAre("test better"));
  EXPECT_EQ(Target("tower").Text(TargetRec::kPassword), "better");
  Menu("TT");
  EXPECT_THAT(calls_, ElementsAre("test better", "test better"));
}

TEST_F(SyncWindow, ListsTheFtpDirectory) {
  Open();
  Press('D', wxMOD_CONTROL);  // a folder has none
  EXPECT_THAT(calls_, IsEmpty());
  Select(1);
  Press('D', wxMOD_CONTROL);
  EXPECT_THAT(calls_, ElementsAre("directory secret"));
  Menu("TF");
  EXPECT_THAT(calls_, ElementsAre("directory secret", "directory secret"));
}

}  // namespace
}  // namespace zelkor::net
