#include "net/sync_commands.h"

#include <cstddef>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "db/memory_rows.h"
#include "lib/date.h"
#include "lib/settings.h"
#include "tests/support/office.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_sync_view.h"
#include "tests/support/scripted_user.h"

namespace zelkor::net {
namespace {

namespace fs = std::filesystem;
using lib::Button;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kNamePrompt = "Enter name of new target, 1 to 6 characters, no spaces:";

class RememberingDesktop : public lib::Desktop {
 public:
  std::vector<std::string> edited;
  void ShowList(lib::ListDialog& /*dialog*/) override { ADD_FAILURE() << "no list is asked for"; }
  void EditFile(const std::string& path) override { edited.push_back(path); }
};

// The window of the computer "office" with the targets "laptop" (a folder) and "tower" (FTP).
class SyncCommandsTest : public tests::Office<tests::Sandbox, tests::ScriptedUser> {
 protected:
  SyncCommandsTest() {
    catalogue_.FillItemList(db::kLiveItems);
    targets_.NewTarget("laptop");
    ChangeTarget("laptop", [this](TargetRec& rec) { rec.SetText(TargetRec::kMediaPath, OnDriveZ(Stick())); });
    targets_.NewTarget("tower");
    ChangeTarget("tower", [](TargetRec& rec) {
      rec.SetNumber(TargetRec::kConnectionType, 2);
      rec.SetText(TargetRec::kAddress, "ftp.example.com");
      rec.SetText(TargetRec::kPassword, "secret");
    });
    fs::create_directory(Stick());
    commands_.Load();
    commands_.Editing().FillTargetList();
  }

  TargetRec Target(const std::string& id) {
    EXPECT_NE(targets_.FindTarget(id, false), 0) << id;
    return targets_.Current();
  }
  void Select(const std::string& id) {
    for (std::size_t i = 0; i < view_.targets.size(); ++i) {
      if (!lib::BeginsWithNoCase(view_.targets[i], id)) continue;
      view_.selected = static_cast<int>(i);
      commands_.Editing().List_Click(view_.selected);
      return;
    }
    FAIL() << id << " is not listed";
  }
  void SelectNothing() {
    commands_.Editing().RemoveSelected();
    view_.targets.clear();
    calls_.clear();
  }
  void Type(int row, const std::string& text) {
    view_.Row(row).value = text;
    commands_.Editing().ConPar_Change();
  }
  [[nodiscard]] fs::path History() const { return ProgramFolder() / "ZELKOR history.log"; }

  RememberingDesktop desktop_;
  tests::ScriptedSyncView view_;
  // What was asked of others, in order, with the password that the current record held then.
  std::vector<std::string> calls_;
  SyncHooks Hooks() {
    const auto with = [this](const std::string& name) {
      return [this, name] { calls_.push_back(name + " " + targets_.Current().Text(TargetRec::kPassword)); };
    };
    return {.startLink = [this] { calls_.emplace_back("link"); },
            .testConnection = with("test"),
            .showFtpDirectory = with("directory"),
            .beforeRun = [this] { calls_.emplace_back("before"); },
            .itemsChanged = [this] { calls_.emplace_back("items"); }};
  }
  SyncCommands commands_{context_, desktop_, view_, Hooks()};
};

TEST_F(SyncCommandsTest, LoadingSelectsFileAndMarksNoOptionByDefault) {
  EXPECT_FALSE(view_.acceptChecked);
  EXPECT_FALSE(view_.confirmChecked);
  view_.connection = 2;
  commands_.Load();
  EXPECT_EQ(view_.connection, 0);
}

TEST_F(SyncCommandsTest, LoadingMarksTheOptionsThatTheSettingsHold) {
  lib::PutIniValue("Zelkor", "ConfirmUpdates", "-1");
  commands_.Load();
  EXPECT_TRUE(view_.confirmChecked);
  EXPECT_FALSE(view_.acceptChecked);
  lib::PutIniValue("Zelkor", "ConfirmUpdates", "0");
  lib::PutIniValue("Zelkor", "AcceptNetConn", "1");
  commands_.Load();
  EXPECT_FALSE(view_.confirmChecked);
  EXPECT_TRUE(view_.acceptChecked);
}

TEST_F(SyncCommandsTest, ANewTargetIsMadeListedAndSelected) {
  user_.inputs = {"pc9"};
  commands_.Target_New();
  EXPECT_THAT(user_.Messages(), ElementsAre(kNamePrompt));
  EXPECT_THAT(view_.targets, ElementsAre("laptop", "tower", "pc9"));
  EXPECT_EQ(commands_.Editing().SelectedId(), "pc9");
  EXPECT_EQ(view_.selected, 2);
  EXPECT_THAT(view_.Shown(), ElementsAre("Media=a:\\"));
}

TEST_F(SyncCommandsTest, ANameWithASpaceOrOfSevenCharactersBringsTheSameQuestionBack) {
  user_.inputs = {"pc 9", "seven77", "a\tb", " ", "pc9"};
  commands_.Target_New();
  EXPECT_THAT(user_.Messages(), ElementsAre(kNamePrompt, kNamePrompt, kNamePrompt, kNamePrompt, kNamePrompt));
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("laptop", "tower", "pc9"));
}

TEST_F(SyncCommandsTest, NamesOfOneAndOfSixCharactersAreTaken) {
  user_.inputs = {"q"};
  commands_.Target_New();
  user_.inputs = {"six666"};
  commands_.Target_New();
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("laptop", "tower", "q", "six666"));
}

TEST_F(SyncCommandsTest, AnEmptyAnswerMakesNoTarget) {
  user_.inputs = {"pc 9", ""};
  commands_.Target_New();
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("laptop", "tower"));
  EXPECT_EQ(commands_.Editing().SelectedId(), "laptop");
}

TEST_F(SyncCommandsTest, ANewTargetFirstSavesTheEdits) {
  Select("tower");
  Type(3, "better");
  commands_.Target_New();  // nobody answers
  EXPECT_EQ(Target("tower").Text(TargetRec::kPassword), "better");
}

TEST_F(SyncCommandsTest, A17thTargetIsRefusedAndTheSelectionStays) {
  for (int i = 3; i <= 16; ++i) targets_.NewTarget("pc" + std::to_string(i));
  commands_.Editing().FillTargetList();
  user_.inputs = {"pc17"};
  commands_.Target_New();
  EXPECT_THAT(user_.Messages(), ElementsAre(kNamePrompt, "Sync list is full!"));
  EXPECT_EQ(user_.boxes[1].icon, lib::Icon::Critical);
  EXPECT_EQ(view_.targets.size(), 16U);
  EXPECT_EQ(commands_.Editing().SelectedId(), "laptop");
}

TEST_F(SyncCommandsTest, DeletingAsksAndTakesTheEntryFromTheList) {
  user_.answers = {Button::Ok};
  commands_.Target_Delete();
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Delete target?");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Question);
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::OkCancel);
  EXPECT_THAT(view_.targets, ElementsAre("tower"));
  EXPECT_EQ(view_.selected, -1);
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("tower"));
}

TEST_F(SyncCommandsTest, ADeletionThatIsCancelledChangesNothing) {
  user_.answers = {Button::Cancel};
  commands_.Target_Delete();
  EXPECT_THAT(view_.targets, ElementsAre("laptop", "tower"));
  EXPECT_THAT(targets_.TargetIds(), ElementsAre("laptop", "tower"));
}

TEST_F(SyncCommandsTest, ANewTargetInheritsWhatTheDeletedOneLeftInItsSlot) {
  Select("tower");
  user_.answers = {Button::Ok};
  commands_.Target_Delete();
  user_.inputs = {"heir"};
  commands_.Target_New();
  const TargetRec heir = Target("heir");
  EXPECT_EQ(heir.Number(TargetRec::kConnectionType), 2);
  EXPECT_EQ(heir.Text(TargetRec::kAddress), "ftp.example.com");
  EXPECT_EQ(heir.Text(TargetRec::kPassword), "secret");
  EXPECT_EQ(heir.Text(TargetRec::kMediaPath), "a:\\");
  EXPECT_EQ(view_.connection, 2);
}

TEST_F(SyncCommandsTest, SavingWritesTheEdits) {
  Select("tower");
  Type(3, "better");
  commands_.Target_Save();
  EXPECT_EQ(Target("tower").Text(TargetRec::kPassword), "better");
  EXPECT_FALSE(view_.saveEnabled);
}

TEST_F(SyncCommandsTest, ClearingSetsBothDatesToNever) {
  targets_.SetTargetDates("laptop", 46000.5, 45999.25);
  targets_.SetTargetDates("tower", 46000.5, 0);
  commands_.Editing().FillTargetList();
  ASSERT_THAT(view_.targets, Contains("laptop [Imp:12/9/2025] [Exp:12/8/2025]"));
  Select("laptop");
  commands_.Target_Clear();
  EXPECT_THAT(view_.targets, ElementsAre("laptop", "tower [Imp:12/9/2025]"));
  EXPECT_EQ(Target("laptop").Date(TargetRec::kLastImport), 0);
  EXPECT_EQ(Target("laptop").Date(TargetRec::kLastExport), 0);
}

TEST_F(SyncCommandsTest, DateOneSetsTheImportDate) {
  user_.inputs = {"2025-12-09"};
  commands_.Target_Date(1);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Enter date:");
  EXPECT_EQ(user_.boxes[0].title, "Zelkor");
  EXPECT_EQ(Target("laptop").Date(TargetRec::kLastImport), 46000);
  EXPECT_EQ(Target("laptop").Date(TargetRec::kLastExport), 0);
  EXPECT_THAT(view_.targets, ElementsAre("laptop [Imp:12/9/2025]", "tower"));
}

TEST_F(SyncCommandsTest, DateTwoSetsTheExportDate) {
  user_.inputs = {"nonsense", "2025-12-08 06:00"};
  commands_.Target_Date(2);
  EXPECT_THAT(user_.Messages(), ElementsAre("Enter date:", "Invalid date!", "Enter date:"));
  EXPECT_EQ(Target("laptop").Date(TargetRec::kLastExport), 45999.25);
  EXPECT_EQ(Target("laptop").Date(TargetRec::kLastImport), 0);
}

TEST_F(SyncCommandsTest, ACancelledDateChangesNothing) {
  targets_.SetTargetDates("laptop", 46000.5, 45999.25);
  commands_.Target_Date(1);
  EXPECT_EQ(Target("laptop").Date(TargetRec::kLastImport), 46000.5);
}

TEST_F(SyncCommandsTest, TheConnectionTestSeesThePasswordJustTyped) {
  Select("tower");
  Type(3, "better");
  commands_.Target_TestConn();
  EXPECT_THAT(calls_, ElementsAre("test better"));
  EXPECT_EQ(Target("tower").Text(TargetRec::kPassword), "better");
}

TEST_F(SyncCommandsTest, TheConnectionTestIsOfTheSelectedTargetWhateverWasReadLast) {
  Select("tower");
  targets_.FindTarget("laptop", false);
  commands_.Target_TestConn();
  EXPECT_THAT(calls_, ElementsAre("test secret"));
}

TEST_F(SyncCommandsTest, TheDirectoryOfTheServerIsReadWithTheSettingsJustTyped) {
  Select("tower");
  Type(3, "better");
  commands_.Target_FtpDir();
  EXPECT_THAT(calls_, ElementsAre("directory better"));
}

TEST_F(SyncCommandsTest, ExportsToTheSelectedTargetAndListsItsDate) {
  commands_.Sync_Export();
  EXPECT_TRUE(fs::exists(Stick() / "laptop.cas"));
  EXPECT_THAT(user_.log, Contains(StartsWith("Export completed.")));
  EXPECT_THAT(view_.targets[0], StartsWith("laptop [Exp:"));
  EXPECT_THAT(calls_, ElementsAre("before"));
}

TEST_F(SyncCommandsTest, ARunGoesToTheFolderJustTyped) {
  fs::create_directory(Root() / "other");
  Type(1, AsTyped(Root() / "other"));
  commands_.Sync_Export();
  EXPECT_TRUE(fs::exists(Root() / "other" / "laptop.cas"));
}

TEST_F(SyncCommandsTest, NoRunStartsWhileTheEditsCanNotBeSaved) {
  Type(1, "/mnt/a:b");
  commands_.Sync_Export();
  EXPECT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.log, IsEmpty());
}

TEST_F(SyncCommandsTest, ImportsFromTheSelectedTargetAndTellsThatTheItemsChanged) {
  // What this computer exports for "test" comes back to itself.
  targets_.NewTarget("test");
  ChangeTarget("test", [this](TargetRec& rec) { rec.SetText(TargetRec::kMediaPath, OnDriveZ(Stick())); });
  commands_.Editing().FillTargetList();
  Select("test");
  commands_.Sync_Export();
  ASSERT_TRUE(fs::exists(Stick() / "office.cas"));
  calls_.clear();
  user_.log.clear();

  commands_.Sync_View();
  EXPECT_THAT(user_.log, Contains(testing::EndsWith(" Sync - View")));
  EXPECT_TRUE(fs::exists(Stick() / "office.cas"));
  EXPECT_THAT(calls_, ElementsAre("before"));
  EXPECT_EQ(Target("test").Date(TargetRec::kLastImport), 0);
  calls_.clear();

  commands_.Sync_Import();
  EXPECT_THAT(user_.log, Contains(testing::EndsWith(" Sync - Import")));
  EXPECT_FALSE(fs::exists(Stick() / "office.cas"));
  EXPECT_THAT(calls_, ElementsAre("before", "items"));
  EXPECT_THAT(view_.targets[2], StartsWith("test [Imp:"));
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(SyncCommandsTest, CommandsThatNeedATargetDoNothingWithoutOne) {
  SelectNothing();
  commands_.Target_Delete();
  commands_.Target_Save();
  commands_.Target_Clear();
  commands_.Target_Date(1);
  commands_.Target_TestConn();
  commands_.Target_FtpDir();
  commands_.Sync_Import();
  commands_.Sync_View();
  commands_.Sync_Export();
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_THAT(user_.log, IsEmpty());
  EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(SyncCommandsTest, NoCommandStartsInsideARun) {
  const lib::Occupation::Guard run(catalogue_.Occupied());
  user_.inputs = {"pc9"};
  commands_.Target_New();
  commands_.Target_Delete();
  commands_.Target_Clear();
  commands_.Target_Date(1);
  commands_.Target_TestConn();
  commands_.Target_FtpDir();
  commands_.Sync_Import();
  commands_.Sync_View();
  commands_.Sync_Export();
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_THAT(user_.log, IsEmpty());
  EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(SyncCommandsTest, TheLogOfTheLastRunOpensInTheEditor) {
  commands_.Log_View();
  EXPECT_THAT(desktop_.edited, ElementsAre(ProgramDir() + "ZELKOR.log"));
}

TEST_F(SyncCommandsTest, AHistoryOf64000BytesIsOpened) {
  WriteNative(History(), std::string(64000, 'x'));
  commands_.Log_History();
  EXPECT_THAT(desktop_.edited, ElementsAre(ProgramDir() + "ZELKOR history.log"));
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(SyncCommandsTest, AHistoryOf64001BytesIsRefused) {
  WriteNative(History(), std::string(64001, 'x'));
  commands_.Log_History();
  EXPECT_THAT(desktop_.edited, IsEmpty());
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "File too big");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
}

TEST_F(SyncCommandsTest, TheHistoryIsDeletedAfterAQuestion) {
  WriteNative(History(), "old");
  WriteNative(ProgramFolder() / "ZELKOR.log", "last");
  user_.answers = {Button::Ok};
  commands_.Log_Delete();
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Delete history log?");
  EXPECT_EQ(user_.boxes[0].title, "Memo!");
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::OkCancel);
  EXPECT_FALSE(fs::exists(History()));
  EXPECT_TRUE(fs::exists(ProgramFolder() / "ZELKOR.log"));
}

TEST_F(SyncCommandsTest, TheHistoryStaysWhenTheQuestionIsCancelled) {
  WriteNative(History(), "old");
  user_.answers = {Button::Cancel};
  commands_.Log_Delete();
  EXPECT_TRUE(fs::exists(History()));
}

TEST_F(SyncCommandsTest, AcceptingConnectionsOpensTheLinkAndIsRemembered) {
  commands_.Options_AcceptNetConn();
  EXPECT_TRUE(view_.acceptChecked);
  EXPECT_THAT(calls_, ElementsAre("link"));
  EXPECT_EQ(lib::GetIniString("Zelkor", "AcceptNetConn", ""), "1");

  commands_.Options_AcceptNetConn();
  EXPECT_FALSE(view_.acceptChecked);
  EXPECT_THAT(calls_, ElementsAre("link"));
  EXPECT_EQ(lib::GetIniString("Zelkor", "AcceptNetConn", ""), "0");
}

TEST_F(SyncCommandsTest, ConfirmingUpdatesIsRemembered) {
  commands_.Options_Confirm();
  EXPECT_TRUE(view_.confirmChecked);
  EXPECT_EQ(lib::GetIniString("Zelkor", "ConfirmUpdates", ""), "1");
  commands_.Options_Confirm();
  EXPECT_FALSE(view_.confirmChecked);
  EXPECT_EQ(lib::GetIniString("Zelkor", "ConfirmUpdates", ""), "0");
}

TEST_F(SyncCommandsTest, ClosingFirstSavesTheEdits) {
  Select("tower");
  Type(3, "better");
  commands_.Sync_Close();
  EXPECT_EQ(Target("tower").Text(TargetRec::kPassword), "better");
  EXPECT_EQ(view_.closed, 1);
}

TEST_F(SyncCommandsTest, ClosingDuringARunIsRefused) {
  view_.logOpen = true;
  const lib::Occupation::Guard run(catalogue_.Occupied());
  EXPECT_FALSE(commands_.Closing());
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Sync-process in progress.\r\nCannot close window");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_TRUE(view_.logOpen);
  EXPECT_EQ(lib::GetIniString("Zelkor", "LastTarget", "unset"), "unset");
}

TEST_F(SyncCommandsTest, ClosingStoresTheIdWithoutItsDatesAndClosesTheLog) {
  targets_.SetTargetDates("tower", 46000.5, 45999.25);
  commands_.Editing().FillTargetList();
  Select("tower");
  view_.logOpen = true;
  EXPECT_TRUE(commands_.Closing());
  EXPECT_EQ(lib::GetIniString("Zelkor", "LastTarget", ""), "tower");
  EXPECT_FALSE(view_.logOpen);
}

TEST_F(SyncCommandsTest, ClosingWithNothingSelectedRemembersNothing) {
  lib::PutIniValue("Zelkor", "LastTarget", "tower");
  SelectNothing();
  EXPECT_TRUE(commands_.Closing());
  EXPECT_EQ(lib::GetIniString("Zelkor", "LastTarget", "unset"), "");
}

}  // namespace
}  // namespace zelkor::net
