#include "db/item_editing.h"

#include <cstddef>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "db/item_editing_fixture.h"

namespace zelkor::db {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Showing an item.

TEST_F(ItemEditingTest, ShowsEveryFieldOfTheCurrentItem) {
  WriteFile("plan.txt", "x", tests::At(2026, 3, 4, 15, 6, 7));
  OpenWith({{.description = "Plan",
             .fileName = "c:\\plan.txt\r\nc:\\notes.txt",
             .codes = "+pc1 Work",
             .syncMethod = 1,
             .syncTo = 2,
             .source = "office",
             .imported = 46000.5}});
  Editing().ShowProperties();
  EXPECT_TRUE(form_.shown);
  EXPECT_EQ(form_.last.caption, "Item - [Plan]");
  EXPECT_EQ(form_.last.description, "Plan");
  EXPECT_EQ(form_.last.codes, "+pc1 Work");
  EXPECT_EQ(form_.last.fileName, "c:\\plan.txt\r\nc:\\notes.txt");
  EXPECT_EQ(form_.last.syncMethod, 1);
  EXPECT_EQ(form_.last.syncTo, 2);
  EXPECT_EQ(form_.last.fileDate, "3/4/2026 3:06:07 PM");
  EXPECT_EQ(form_.last.importUserId, "office");
  EXPECT_EQ(form_.last.importDate, "12/9/2025 12:00:00 PM");
  EXPECT_FALSE(form_.applyEnabled);
  EXPECT_TRUE(form_.fieldsEnabled);
}

TEST_F(ItemEditingTest, ShowsDashesForAFileThatDoesNotExist) {
  OpenWith({{.description = "a", .fileName = "c:\\gone.txt"}});
  Editing().ShowProperties();
  EXPECT_EQ(form_.last.fileDate, "- - -");
}

TEST_F(ItemEditingTest, ShowsDashesForASelectionThatNamesADirectory) {
  fs::create_directory(Home() / "folder");
  OpenWith({{.description = "a", .fileName = "c:\\folder"}});
  Editing().ShowProperties();
  EXPECT_EQ(form_.last.fileDate, "- - -");
}

TEST_F(ItemEditingTest, ShowsTheDateOfTheFirstFileThatAWildcardFinds) {
  WriteFile("b.txt", "x", tests::At(2026, 1, 2, 3, 4, 5));
  WriteFile("c.txt", "x", tests::At(2020, 1, 1));
  OpenWith({{.description = "a", .fileName = "c:\\*.txt"}});
  Editing().ShowProperties();
  EXPECT_EQ(form_.last.fileDate, "1/2/2026 3:04:05 AM");
}

TEST_F(ItemEditingTest, ShowsNoImportDateForAnItemThatWasNeverImported) {
  OpenWith({{.description = "a"}, {.description = "b", .imported = -5}});
  Editing().ShowProperties();
  EXPECT_EQ(form_.last.importDate, "");
  Click(2);
  EXPECT_EQ(form_.last.importDate, "");
}

TEST_F(ItemEditingTest, ShowsASyncMethodOf7AsOffAndStores2WhenApplied) {
  OpenWith({{.description = "a", .syncMethod = 7, .syncTo = -3}});
  Editing().ShowProperties();
  EXPECT_EQ(kSyncMethodChoices.at(static_cast<std::size_t>(form_.last.syncMethod)), "Off");
  EXPECT_EQ(kSyncToChoices.at(static_cast<std::size_t>(form_.last.syncTo)), "All");
  Editing().ApplyItem();
  EXPECT_EQ(StoredNumber(1, 618), 2);
  EXPECT_EQ(StoredNumber(1, 752), 0);
}

TEST_F(ItemEditingTest, ShowsTheLinesOfASelectionWithBareLineFeedsEachOnItsOwn) {
  OpenWith({{.description = "a", .fileName = "c:\\a.txt\nc:\\b.txt"}});
  Editing().ShowProperties();
  EXPECT_EQ(form_.last.fileName, "c:\\a.txt\r\nc:\\b.txt");
}

TEST_F(ItemEditingTest, ShowsNoPropertiesWithoutItems) {
  OpenWith({});
  Editing().ShowProperties();
  EXPECT_FALSE(form_.shown);
}

TEST_F(ItemEditingTest, EmptiesTheOpenDialogWhenNoRowIsLeft) {
  OpenWith({{.description = "a", .fileName = "c:\\a.txt"}});
  Editing().ShowProperties();
  rows_.Clear();
  Editing().UpdateCurrentItem();
  EXPECT_EQ(form_.last.caption, "Item - []");
  EXPECT_EQ(form_.last.fileName, "");
  EXPECT_FALSE(form_.fieldsEnabled);
  Editing().Edit();
  EXPECT_FALSE(form_.applyEnabled);
  Editing().ApplyItem();
  EXPECT_EQ(StoredDescription(1), "a");
}

// Changing and applying.

TEST_F(ItemEditingTest, EnablesApplyWithTheFirstChange) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  EXPECT_FALSE(form_.applyEnabled);
  Editing().Edit();
  EXPECT_TRUE(form_.applyEnabled);
}

TEST_F(ItemEditingTest, StoresTheDialogsFields) {
  OpenWith({{.description = "a", .flags = 0x7F80, .source = "office", .imported = 46000, .memoId = 77}});
  Editing().ShowProperties();
  form_.edited = {.description = "New name",
                  .codes = "x y",
                  .fileNameUtf8 = "c:\\a.txt\nc:\\b.txt\n",
                  .syncMethod = 1,
                  .syncTo = 2};
  Editing().Edit();
  Editing().ApplyItem();
  EXPECT_EQ(StoredDescription(1), "New name");
  EXPECT_EQ(StoredCodes(1), "x y");
  EXPECT_EQ(StoredFiles(1), "c:\\a.txt\r\nc:\\b.txt");
  EXPECT_EQ(StoredNumber(1, 618), 1);
  EXPECT_EQ(StoredNumber(1, 752), 2);
  EXPECT_FALSE(form_.applyEnabled);
  EXPECT_EQ(form_.last.caption, "Item - [New name]");
  // What the dialog does not show stays.
  EXPECT_EQ(StoredNumber(1, 592), 0x7F80);
  EXPECT_EQ(Stored(1, 576, 16), "office");
  EXPECT_EQ(tests::TakeDate(ItemFile(), 602), 46000);
  EXPECT_EQ(tests::TakeI32(ItemFile(), 748), 77);
}

TEST_F(ItemEditingTest, CutsDescriptionAndCodesAtTheirFields) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  Type(&ItemEdited::description, std::string(64, 'd') + "x");
  Type(&ItemEdited::codes, std::string(128, 'c') + "x");
  Editing().ApplyItem();
  EXPECT_EQ(StoredDescription(1), std::string(64, 'd'));
  EXPECT_EQ(StoredCodes(1), std::string(128, 'c'));
  EXPECT_EQ(StoredNumber(1, 592), 0);  // the fields behind them are whole
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(ItemEditingTest, WarnsOfASelectionOf513CharactersAndStoresItCut) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  const std::string path = "c:\\" + std::string(510, 'x');
  Type(&ItemEdited::fileNameUtf8, path);
  Editing().ApplyItem();
  ASSERT_THAT(user_.Messages(), ElementsAre("Filename string is too long!"));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_EQ(ItemFile().substr(0, 512), path.substr(0, 512));
  EXPECT_EQ(StoredDescription(1), "a");
}

TEST_F(ItemEditingTest, StoresASelectionOf512CharactersWithoutAWord) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  const std::string path = "c:\\" + std::string(509, 'x');
  Type(&ItemEdited::fileNameUtf8, path + "\n");  // the line end at the end of the box is not stored
  Editing().ApplyItem();
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(ItemFile().substr(0, 512), path);
}

TEST_F(ItemEditingTest, CountsCharactersOfTheCodePageNotBytesOfUtf8) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  std::string path = "c:\\";
  for (int i = 0; i < 509; ++i) path += "\xC3\xBC";
  Type(&ItemEdited::fileNameUtf8, path);
  Editing().ApplyItem();
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(ItemFile().substr(0, 512), "c:\\" + std::string(509, '\xFC'));
}

TEST_F(ItemEditingTest, RebuildsTheRowOfTheAppliedItem) {
  OpenWith({{.description = "a"}, {.description = "b"}});
  Click(2);
  Editing().ShowProperties();
  Type(&ItemEdited::description, "beta");
  Editing().ApplyItem();
  EXPECT_EQ(rows_.Text(1), "a");
  EXPECT_EQ(rows_.Text(2), "beta");
}

TEST_F(ItemEditingTest, DropsTheExportStateOfTheAppliedItemOnly) {
  OpenWith({{.description = "a"}, {.description = "b"}});
  catalogue_->ChooseExportState(1, 2);
  catalogue_->ChooseExportState(2, 2);
  Editing().ShowProperties();
  Editing().ApplyItem();
  EXPECT_EQ(catalogue_->ChosenExportState(1), std::nullopt);
  EXPECT_EQ(catalogue_->ChosenExportState(2), 2);
}

TEST_F(ItemEditingTest, ClosingTheDialogWithUnappliedChangesSavesThemWithoutAQuestion) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  Type(&ItemEdited::codes, "kept");
  Editing().Close();
  EXPECT_FALSE(form_.shown);
  EXPECT_EQ(StoredCodes(1), "kept");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(ItemEditingTest, ClosingTheDialogWithoutChangesWritesNothing) {
  OpenWith({{.description = "a", .syncMethod = 7}});
  Editing().ShowProperties();
  Editing().Close();
  EXPECT_FALSE(form_.shown);
  EXPECT_EQ(StoredNumber(1, 618), 7);
}

TEST_F(ItemEditingTest, AppliesUnappliedChangesToTheirOwnItemWhenAnotherRowBecomesCurrent) {
  OpenWith({{.description = "a"}, {.description = "b"}});
  Editing().ShowProperties();
  Type(&ItemEdited::description, "alpha");
  Click(2);
  EXPECT_EQ(StoredDescription(1), "alpha");
  EXPECT_EQ(StoredDescription(2), "b");
  EXPECT_EQ(rows_.Text(1), "alpha");
  EXPECT_EQ(form_.last.description, "b");
  EXPECT_FALSE(form_.applyEnabled);
  EXPECT_EQ(Data().Item().Text(FileRec::kDescription), "b");
}

TEST_F(ItemEditingTest, AppliesToTheRecordAsItIsByThen) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  Type(&ItemEdited::description, "alpha");
  Data().ReadItem(1);
  Data().Item().SetNumber(FileRec::kFlags, 1);
  Data().WriteItem(1);
  Editing().ApplyUnapplied();
  EXPECT_EQ(StoredNumber(1, 592), 1);
  EXPECT_EQ(StoredDescription(1), "alpha");
}

TEST_F(ItemEditingTest, AppliesOnceThoughTheMessageLetsOthersAskForIt) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  Type(&ItemEdited::fileNameUtf8, std::string(600, 'x'));
  user_.beforeAnswer = [this](const lib::Box&) { Editing().ApplyUnapplied(); };
  Editing().ApplyItem();
  EXPECT_EQ(user_.boxes.size(), 1U);
}

TEST_F(ItemEditingTest, SaysWhichNameItCanNotStore) {
  OpenWith({{.description = "a", .fileName = "c:\\a.txt"}});
  Editing().ShowProperties();
  Type(&ItemEdited::fileNameUtf8, "c:\\a.txt\nc:\\\xE6\x97\xA5.txt");
  Editing().ApplyItem();
  EXPECT_THAT(user_.Messages(), ElementsAre(AllOf(HasSubstr("c:\\?.txt"), HasSubstr("code page"))));
  EXPECT_EQ(StoredFiles(1), "c:\\a.txt");
}

TEST_F(ItemEditingTest, LeavesTheBufferOfARunAsItWas) {
  OpenWith({{.description = "a"}, {.description = "b"}});
  Editing().ShowProperties();
  Type(&ItemEdited::codes, "new");
  const lib::Occupation::Guard run(catalogue_->Occupied());
  Data().ReadItem(2);
  const FileRec before = Data().Item();
  Editing().ApplyUnapplied();
  Editing().ShowMemoId();
  Click(1);
  Editing().ShowItem();
  EXPECT_EQ(Data().Item(), before);
  EXPECT_EQ(StoredCodes(1), "new");
}

TEST_F(ItemEditingTest, LetsNothingBeEditedWhileARunIsInHand) {
  OpenWith({{.description = "a", .fileName = "c:\\a.txt"}});
  catalogue_->Occupied().OnChange([this] { Editing().OccupationChanged(); });
  Editing().ShowProperties();
  {
    const lib::Occupation::Guard run(catalogue_->Occupied());
    EXPECT_FALSE(form_.fieldsEnabled);
    Click(1);
    EXPECT_FALSE(form_.fieldsEnabled);
    user_.choices = {"c:\\b.txt"};
    Editing().Browse();
    EXPECT_EQ(user_.choices.size(), 1U);
    Editing().ListItemFiles();
    EXPECT_THAT(desktop_.lists, IsEmpty());
  }
  EXPECT_TRUE(form_.fieldsEnabled);
  catalogue_->Occupied().OnChange({});
}

// The file selection.

TEST_F(ItemEditingTest, BrowsingTwiceAppendsTwoLinesInLowerCase) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  user_.choices = {
      "C:\\Docs\\\xC4"
      "B.TXT",
      "C:\\Two.txt"};
  Editing().Browse();
  EXPECT_EQ(form_.edited.fileNameUtf8,
            "c:\\docs\\\xC3\xA4"
            "b.txt");
  EXPECT_TRUE(form_.applyEnabled);
  Editing().Browse();
  EXPECT_EQ(form_.edited.fileNameUtf8,
            "c:\\docs\\\xC3\xA4"
            "b.txt\r\nc:\\two.txt");
  Editing().Close();
  EXPECT_EQ(StoredFiles(1),
            "c:\\docs\\\xE4"
            "b.txt\r\nc:\\two.txt");
}

TEST_F(ItemEditingTest, BrowsingTakesLineEndsOffBothEndsOfTheOldText) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  Type(&ItemEdited::fileNameUtf8, "\r\n\nC:\\Old.txt\n\n");
  user_.choices = {"c:\\new.txt"};
  Editing().Browse();
  EXPECT_EQ(form_.edited.fileNameUtf8, "C:\\Old.txt\r\nc:\\new.txt");
}

TEST_F(ItemEditingTest, ACancelledFileDialogLeavesTheTextAsItWas) {
  OpenWith({{.description = "a", .fileName = "c:\\a.txt"}});
  Editing().ShowProperties();
  Editing().Browse();
  EXPECT_EQ(form_.edited.fileNameUtf8, "c:\\a.txt");
  EXPECT_FALSE(form_.applyEnabled);
}

TEST_F(ItemEditingTest, TurnsANativePathIntoTheFormWhenTheFieldIsLeft) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  OpenWith({{.description = "a", .fileName = "c:\\a.txt"}});
  Editing().ShowProperties();
  Type(&ItemEdited::fileNameUtf8, "c:\\a.txt\n" + (Home() / "b.txt").string());
  Editing().LeaveFileName();
  EXPECT_EQ(form_.edited.fileNameUtf8, "c:\\a.txt\r\nc:\\b.txt");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(ItemEditingTest, TellsWhyANativePathCanNotBeUsedAndLeavesItForMending) {
  if (tests::NativePathsAreTheForm()) GTEST_SKIP() << "what is native is the form already";
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  const std::string native = (Home() / "a:b.txt").string();
  Type(&ItemEdited::fileNameUtf8, native);
  Editing().LeaveFileName();
  EXPECT_THAT(user_.Messages(), ElementsAre(HasSubstr("a:b.txt")));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Exclamation);
  EXPECT_EQ(form_.edited.fileNameUtf8, native);
}

TEST_F(ItemEditingTest, LeavesAnUnchangedSelectionAlone) {
  OpenWith({{.description = "a", .fileName = "/old/native.txt"}});
  Editing().ShowProperties();
  Editing().LeaveFileName();
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_EQ(form_.edited.fileNameUtf8, "/old/native.txt");
}

TEST_F(ItemEditingTest, ShowsTheMemoIdInAPlainBox) {
  OpenWith({{.description = "a", .memoId = 305419896}});
  Editing().ShowProperties();
  Editing().ShowMemoId();
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "305419896");
  EXPECT_EQ(user_.boxes[0].title, "Memo ID");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::None);
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::Ok);
}

// After a change.

TEST_F(ItemEditingTest, TellsTheRowTheCountAndTheDateOfTheFirstFile) {
  WriteFile("b.txt", "x", tests::At(2026, 3, 4, 15, 6, 7));
  OpenWith({{.description = "a"}, {.description = "b", .fileName = "c:\\b.txt"}, {.description = "c"}});
  Click(2);
  EXPECT_EQ(view_.Last().row, 2);
  EXPECT_EQ(view_.Last().count, 3);
  EXPECT_EQ(view_.Last().lastUpdate, "3/4/2026 3:06:07 PM");
  EXPECT_TRUE(view_.Last().fileFound);
}

TEST_F(ItemEditingTest, TellsNothingOfAnItemWithoutRows) {
  OpenWith({});
  EXPECT_EQ(view_.Last().row, 0);
  EXPECT_EQ(view_.Last().count, 0);
  EXPECT_EQ(view_.Last().lastUpdate, "");
  EXPECT_EQ(view_.Last().deleteCaption, "&Delete...");
}

TEST_F(ItemEditingTest, CallsTheDeleteEntryUndeleteForADeletedItem) {
  OpenWith({{.description = "a", .flags = 1}, {.description = "b", .flags = 2}});
  EXPECT_TRUE(view_.Last().deleted);
  EXPECT_EQ(view_.Last().deleteCaption, "&Undelete...");
  Click(2);
  EXPECT_FALSE(view_.Last().deleted);
  EXPECT_EQ(view_.Last().deleteCaption, "&Delete...");
}

TEST_F(ItemEditingTest, ReloadsTheDialogOnlyWhileItIsShown) {
  OpenWith({{.description = "a"}, {.description = "b"}});
  Click(2);
  EXPECT_EQ(form_.last.caption, "");
  Editing().ShowProperties();
  Click(1);
  EXPECT_EQ(form_.last.caption, "Item - [a]");
}

TEST_F(ItemEditingTest, ReadsTheCurrentItemIntoTheBuffer) {
  OpenWith({{.description = "a"}, {.description = "b"}});
  Click(2);
  EXPECT_EQ(Data().Item().Text(FileRec::kDescription), "b");
}

TEST_F(ItemEditingTest, WorksBeforeTheWindowsAreThere) {
  OpenWith({{.description = "a"}});
  Editing().Attach(nullptr, nullptr);
  Editing().OpenItemFiles("c:\\b.txt");
  Editing().ShowProperties();
  Editing().Close();
  EXPECT_EQ(Records(), 2);
}

}  // namespace
}  // namespace zelkor::db
