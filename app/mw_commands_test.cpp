#include "app/mw_commands.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "db/memory_rows.h"
#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"
#include "tests/support/scripted_desktop.h"

namespace zelkor::app {
namespace {

using lib::Button;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The item dialog, of which the test says whether it is shown and what was typed.
class ScriptedForm : public db::ItemForm {
 public:
  [[nodiscard]] bool FormShown() const override { return shown; }
  void ShowForm() override { shown = true; }
  void HideForm() override { shown = false; }
  void SetItem(const db::ItemShown& shownItem) override {
    item = shownItem;
    edited.description = shownItem.description;
    edited.fileNameUtf8 = shownItem.fileName;
    edited.codes = shownItem.codes;
    edited.syncMethod = shownItem.syncMethod;
    edited.syncTo = shownItem.syncTo;
  }
  [[nodiscard]] db::ItemEdited Edited() const override { return edited; }
  void SetFileName(const std::string& text) override { edited.fileNameUtf8 = text; }
  [[nodiscard]] bool ApplyEnabled() const override { return apply; }
  void EnableApply(bool enable) override { apply = enable; }
  void EnableFields(bool /*enable*/) override {}

  bool shown = false;
  bool apply = false;
  db::ItemShown item;
  db::ItemEdited edited;
};

class StatusView : public db::CurrentItemView {
 public:
  void ShowCurrentItem(const db::CurrentItem& current) override { item = current; }
  db::CurrentItem item;
};

class MwCommandsTest : public tests::DatabaseFixture {
 protected:
  struct Given {
    std::string description;
    std::string codes = "";  // NOLINT(readability-redundant-string-init): braces may leave it out
    std::int32_t flags = 0;
    std::string fileName = "c:\\a.txt";
    std::int32_t syncMethod = 0;
  };
  void Open(const std::vector<Given>& items) {
    std::string bytes;
    std::int32_t memoId = 0;
    for (const Given& given : items) {
      db::FileRec rec;
      rec.SetText(db::FileRec::kFileName, given.fileName);
      rec.SetText(db::FileRec::kDescription, given.description);
      rec.SetText(db::FileRec::kCodes, given.codes);
      rec.SetNumber(db::FileRec::kFlags, given.flags);
      rec.SetNumber(db::FileRec::kMemoId, ++memoId);
      rec.SetNumber(db::FileRec::kSyncMethod, given.syncMethod);
      bytes.append(rec.Bytes().data(), db::FileRec::kBytes);
    }
    WriteConfigFile(tests::GoldenConfig());
    WriteItemFile(bytes);
    state_.emplace(user_, rows_, ProgramDir());
    state_->computerId = "Office";
    ASSERT_EQ(state_->database.OpenDatabase(), db::Database::Opened::Yes);
    ASSERT_TRUE(state_->remap.LoadRemapTable(ProgramDir(), user_));
    editing_.emplace(state_->catalogue, user_, desktop_);
    editing_->Attach(&form_, &status_);
    commands_.emplace(*state_, *editing_, desktop_);
    state_->catalogue.FillItemList(db::kLiveItems);
    editing_->UpdateCurrentItem();
  }
  [[nodiscard]] MwCommands& Commands() { return *commands_; }
  [[nodiscard]] db::Catalogue& Items() { return state_->catalogue; }
  [[nodiscard]] std::vector<std::string> Listed() {
    std::vector<std::string> texts;
    for (int row = 1; row <= rows_.Count(); ++row) texts.push_back(rows_.Text(row));
    return texts;
  }
  [[nodiscard]] std::string Current() { return state_->database.Item().Text(db::FileRec::kDescription); }
  [[nodiscard]] bool StoredDeleted(std::size_t recno) const { return (ItemFile()[(recno - 1) * 1024 + 592] & 1) != 0; }
  void Select(int row) {
    rows_.Select(row);
    editing_->UpdateCurrentItem();
  }
  // Takes the entry of the list dialog with this text, adding it when there is none.
  void Pick(const std::string& entry) {
    desktop_.useList = [entry](lib::ListDialog& dialog) {
      auto found = std::find(dialog.entries.begin(), dialog.entries.end(), entry);
      if (found == dialog.entries.end()) found = dialog.entries.insert(dialog.entries.end(), entry);
      dialog.selected = static_cast<int>(found - dialog.entries.begin());
    };
  }
  // The user types another description into the item dialog and does not press Apply.
  void EditDescription(const std::string& text) {
    editing_->ShowProperties();
    form_.edited.description = text;
    editing_->Edit();
    ASSERT_TRUE(form_.ApplyEnabled());
  }

  db::MemoryRows rows_;
  tests::ScriptedDesktop desktop_;
  ScriptedForm form_;
  StatusView status_;
  std::optional<ProgramState> state_;
  std::optional<db::ItemEditing> editing_;
  std::optional<MwCommands> commands_;
};

TEST_F(MwCommandsTest, CaptionNamesTheComputerInLowerCase) { EXPECT_EQ(MainCaption("PC01"), "Zelkor! - pc01"); }

TEST_F(MwCommandsTest, SaysWhyTheListIsEmpty) {
  Open({});
  EXPECT_THAT(EmptyListText(Items()), HasSubstr("no items yet"));
  Commands().Filter_SelectDeleted();
  EXPECT_THAT(EmptyListText(Items()), HasSubstr("no items yet"));
}

TEST_F(MwCommandsTest, SaysWhyAFilteredListIsEmptyAndNothingOfOneThatHasRows) {
  Open({{"one"}});
  EXPECT_EQ(EmptyListText(Items()), "");
  Commands().Filter_SelectDeleted();
  EXPECT_THAT(EmptyListText(Items()), HasSubstr("No item is marked as deleted."));
  Commands().Filter_SelectAll();
  user_.answers = {Button::Yes, Button::No};
  Commands().Edit_Delete();
  ASSERT_EQ(rows_.Count(), 0);
  EXPECT_THAT(EmptyListText(Items()), HasSubstr("Every item is marked as deleted."));
  Commands().Filter_SelectDeleted();
  EXPECT_EQ(EmptyListText(Items()), "");
}

TEST_F(MwCommandsTest, DeletesTheCurrentItemAfterTwoQuestions) {
  Open({{"one"}, {" Plan  "}, {"three"}});
  WriteNative(Home() / "a.txt", "x");
  Select(2);
  user_.answers = {Button::Yes, Button::No};
  Commands().Edit_Delete();
  ASSERT_EQ(user_.boxes.size(), 2U);
  EXPECT_EQ(user_.boxes[0].text, "Do you want to delete Plan?");
  EXPECT_EQ(user_.boxes[0].title, "Delete");
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::YesNo);
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Question);
  EXPECT_EQ(user_.boxes[1].text, "Delete file(s) also?");
  EXPECT_EQ(user_.boxes[1].buttons, lib::Buttons::YesNo);
  EXPECT_EQ(user_.boxes[1].icon, lib::Icon::Question);
  EXPECT_EQ(user_.boxes[1].preselected, Button::No);
  EXPECT_TRUE(StoredDeleted(2));
  EXPECT_FALSE(StoredDeleted(1));
  EXPECT_THAT(Listed(), ElementsAre("one", "three"));
  EXPECT_EQ(Current(), "three");
  EXPECT_EQ(status_.item.row, 2);
  EXPECT_TRUE(std::filesystem::exists(Home() / "a.txt"));
}

TEST_F(MwCommandsTest, KeepsTheItemWhenTheFirstAnswerIsNo) {
  Open({{"one"}});
  user_.answers = {Button::No};
  const std::string before = ItemFile();
  Commands().Edit_Delete();
  EXPECT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(ItemFile(), before);
  EXPECT_THAT(Listed(), ElementsAre("one"));
}

TEST_F(MwCommandsTest, DeletesTheFilesOfTheSelectionToo) {
  Open({{"one", "", 0, "c:\\d\\*.txt\r\nc:\\b.doc\r\nc:\\missing.doc"}});
  for (const char* name : {"d/1.txt", "d/2.txt", "d/3.doc", "b.doc"}) WriteNative(Home() / name, "x");
  user_.answers = {Button::Yes, Button::Yes};
  Commands().Edit_Delete();
  EXPECT_TRUE(StoredDeleted(1));
  EXPECT_FALSE(std::filesystem::exists(Home() / "d/1.txt"));
  EXPECT_FALSE(std::filesystem::exists(Home() / "d/2.txt"));
  EXPECT_TRUE(std::filesystem::exists(Home() / "d/3.doc"));
  EXPECT_FALSE(std::filesystem::exists(Home() / "b.doc"));
  EXPECT_EQ(user_.boxes.size(), 2U);
}

TEST_F(MwCommandsTest, IgnoresFilesThatCanNotBeDeleted) {
  Open({{"one", "", 0, "c:\\a.txt\r\nc:\\b.txt"}});
  WriteNative(Home() / "a.txt", "x");
  WriteNative(Home() / "b.txt", "x");
  std::filesystem::permissions(Home() / "a.txt", std::filesystem::perms::owner_read);
  user_.answers = {Button::Yes, Button::Yes};
  Commands().Edit_Delete();
  EXPECT_TRUE(std::filesystem::exists(Home() / "a.txt"));
  EXPECT_FALSE(std::filesystem::exists(Home() / "b.txt"));
  EXPECT_EQ(user_.boxes.size(), 2U);
}

TEST_F(MwCommandsTest, NeverDeletesByTheLastNameOfAFullSelection) {
  // 512 characters: the last name may have been longer.
  const std::string first = "c:\\keep\\1.txt\r\n";
  const std::string last = "c:\\keep\\" + std::string(512 - first.size() - 8, 'n');
  Open({{"one", "", 0, first + last}});
  WriteNative(Home() / "keep/1.txt", "x");
  // A name of that length is none that a file can have; a shorter one of the same kind shows what is left alone.
  const std::string full = first + std::string(512 - first.size() - 12, ' ') + "c:\\keep\\2.tx";
  state_->database.Item().SetText(db::FileRec::kFileName, full);
  state_->database.WriteItem(1);
  WriteNative(Home() / "keep/2.tx", "x");
  user_.answers = {Button::Yes, Button::Yes};
  Commands().Edit_Delete();
  EXPECT_FALSE(std::filesystem::exists(Home() / "keep/1.txt"));
  EXPECT_TRUE(std::filesystem::exists(Home() / "keep/2.tx"));
  ASSERT_EQ(user_.boxes.size(), 3U);
  EXPECT_THAT(user_.boxes[2].text, HasSubstr("2.tx"));
  EXPECT_THAT(user_.boxes[2].text, HasSubstr("may have been cut"));
}

TEST_F(MwCommandsTest, SaysWhichNamesOfTheSelectionItDidNotTouch) {
  Open({{"one", "", 0, "c:\\d\\*"}});
  WriteNative(Home() / "d/fine.txt", "x");
  WriteNative(Home() / "d/bad:name", "x");
  user_.answers = {Button::Yes, Button::Yes};
  Commands().Edit_Delete();
  EXPECT_FALSE(std::filesystem::exists(Home() / "d/fine.txt"));
  EXPECT_TRUE(std::filesystem::exists(Home() / "d/bad:name"));
  ASSERT_EQ(user_.boxes.size(), 3U);
  EXPECT_THAT(user_.boxes[2].text, HasSubstr("bad:name"));
}

TEST_F(MwCommandsTest, TakesADeletionBack) {
  Open({{"one"}, {"gone", "", 0x41}});
  Commands().Filter_SelectDeleted();
  EXPECT_THAT(Listed(), ElementsAre("gone"));
  EXPECT_EQ(status_.item.deleteCaption, "&Undelete...");
  Commands().Edit_Delete();
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Item is undeleted.");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Information);
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::Ok);
  EXPECT_EQ(ItemFile()[1024 + 592], 0x40);
  EXPECT_THAT(Listed(), IsEmpty());
  EXPECT_EQ(status_.item.deleteCaption, "&Delete...");
}

TEST_F(MwCommandsTest, DeletesNothingInAnEmptyList) {
  Open({});
  Commands().Edit_Delete();
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(MwCommandsTest, ReadsTheItemAgainAfterTheQuestions) {
  Open({{"one"}});
  user_.answers = {Button::Yes, Button::No};
  user_.beforeAnswer = [this](const lib::Box&) {
    state_->database.ReadItem(1);
    state_->database.Item().SetText(db::FileRec::kDescription, "imported");
    state_->database.WriteItem(1);
    state_->database.Item().Clear();
  };
  Commands().Edit_Delete();
  EXPECT_EQ(ItemFile().substr(512, 8), "imported");
  EXPECT_TRUE(StoredDeleted(1));
}

TEST_F(MwCommandsTest, DeletesWithTheCodesInForce) {
  Open({{"one", "a"}, {"two", "a"}, {"three", "b"}});
  Pick("a");
  Commands().Filter_Select();
  Select(1);
  user_.answers = {Button::Yes, Button::No};
  Commands().Edit_Delete();
  EXPECT_THAT(Listed(), ElementsAre("two"));
  EXPECT_EQ(Items().ItemFilters().activeSelection, "a");
}

TEST_F(MwCommandsTest, CompactsAfterOk) {
  Open({{"gone", "", 1}, {"one"}, {"two"}});
  Items().ChooseExportState(2, 1);
  Select(2);
  user_.answers = {Button::Ok};
  Commands().File_Optimize();
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "This action will remove all deleted entries.\r\nContinue?");
  EXPECT_EQ(user_.boxes[0].buttons, lib::Buttons::OkCancel);
  EXPECT_EQ(ItemFile().size(), 2048U);
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
  EXPECT_EQ(Items().ItemList().FileRec(1), 1);
  EXPECT_EQ(Current(), "one");
  EXPECT_EQ(Items().ChosenExportState(2), std::nullopt);
}

TEST_F(MwCommandsTest, LeavesTheFileAloneAfterCancel) {
  Open({{"gone", "", 1}, {"one"}});
  user_.answers = {Button::Cancel};
  Commands().File_Optimize();
  EXPECT_EQ(ItemFile().size(), 2048U);
}

TEST_F(MwCommandsTest, AppliesWhatTheItemDialogHoldsBeforeCompaction) {
  Open({{"gone", "", 1}, {"one"}});
  EditDescription("edited");
  user_.answers = {Button::Ok};
  Commands().File_Optimize();
  EXPECT_EQ(ItemFile().substr(512, 7), "edited ");
}

TEST_F(MwCommandsTest, AppliesWhatTheItemDialogHoldsBeforeAFill) {
  Open({{"one"}, {"two"}});
  EditDescription("edited");
  Commands().Filter_SelectDeleted();
  EXPECT_EQ(ItemFile().substr(512, 7), "edited ");
  EXPECT_EQ(ItemFile().substr(1024 + 512, 4), "two ");
}

TEST_F(MwCommandsTest, AppliesWhatTheItemDialogHoldsBeforeItDeletes) {
  Open({{"one"}});
  EditDescription("edited");
  user_.answers = {Button::Yes, Button::No};
  Commands().Edit_Delete();
  EXPECT_EQ(user_.boxes[0].text, "Do you want to delete edited?");
  EXPECT_EQ(ItemFile().substr(512, 7), "edited ");
  EXPECT_TRUE(StoredDeleted(1));
}

TEST_F(MwCommandsTest, AddsAnItemNamedUntitledAndShowsIt) {
  Open({{"one", "", 0, "c:\\a.txt", 1}});
  Commands().Edit_Add();
  EXPECT_THAT(Listed(), ElementsAre("one", "Untitled"));
  EXPECT_EQ(Items().ItemList().Row(), 2);
  EXPECT_TRUE(form_.shown);
  EXPECT_EQ(form_.item.caption, "Item - [Untitled]");
  // The sync method is that of the item looked at last.
  EXPECT_EQ(form_.item.syncMethod, 1);
  EXPECT_EQ(form_.item.syncTo, 1);
  EXPECT_EQ(status_.item.count, 2);
}

TEST_F(MwCommandsTest, ChoosesAnExportStateWithoutWritingIt) {
  Open({{"one"}, {"two"}});
  Select(2);
  const std::string before = ItemFile();
  Commands().Edit_MemoST(2);
  EXPECT_EQ(Items().ChosenExportState(2), 2);
  EXPECT_EQ(Items().ChosenExportState(1), std::nullopt);
  EXPECT_EQ(ItemFile(), before);
  Commands().Filter_SelectAll();
  EXPECT_EQ(Items().ChosenExportState(2), std::nullopt);
}

TEST_F(MwCommandsTest, ChoosesNoExportStateInAnEmptyList) {
  Open({});
  Commands().Edit_MemoST(1);
  EXPECT_EQ(Items().ChosenExportState(0), std::nullopt);
}

TEST_F(MwCommandsTest, ShowsTheCodesListedAndSelectsByTheOneTaken) {
  Open({{"one", "b a"}, {"two", "B"}, {"three", "c"}});
  Pick("b");
  Commands().Filter_Select();
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_EQ(desktop_.lists[0].title, "Select");
  EXPECT_THAT(desktop_.lists[0].entries, ElementsAre("b", "a", "c"));
  EXPECT_EQ(desktop_.lists[0].options & (lib::kListOk | lib::kListEdit), lib::kListOk | lib::kListEdit);
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
  EXPECT_EQ(SelectionText(Items()), "Selected: b");
  EXPECT_EQ(status_.item.count, 2);
}

TEST_F(MwCommandsTest, TakesFreeTextAsCodes) {
  Open({{"one", "b a"}, {"two", "b"}});
  Pick("a b");
  Commands().Filter_Select();
  EXPECT_THAT(Listed(), ElementsAre("one"));
}

TEST_F(MwCommandsTest, ExcludesByTheCodeTakenAndKeepsTheSelection) {
  Open({{"one", "a"}, {"two", "a b"}, {"three", "b"}});
  Pick("a");
  Commands().Filter_Select();
  Pick("b");
  Commands().Filter_Exclude();
  EXPECT_EQ(desktop_.lists[1].title, "Exclude");
  EXPECT_THAT(desktop_.lists[1].entries, ElementsAre("a", "b"));
  EXPECT_THAT(Listed(), ElementsAre("one"));
  EXPECT_EQ(SelectionText(Items()), "Selected: a, Excluded: b");
}

TEST_F(MwCommandsTest, SelectsAnewAmongAllAndKeepsTheExclusion) {
  Open({{"one", "a"}, {"two", "c"}, {"three", "b"}});
  Pick("b");
  Commands().Filter_Exclude();
  Pick("a");
  Commands().Filter_Select();
  EXPECT_THAT(Listed(), ElementsAre("one"));
  Pick("c");
  Commands().Filter_Select();
  EXPECT_THAT(Listed(), ElementsAre("two"));
  EXPECT_EQ(Items().ItemFilters().activeExclusion, "b");
}

TEST_F(MwCommandsTest, FiltersNothingAfterCancel) {
  Open({{"one", "a"}, {"two", "b"}});
  Commands().Filter_Select();
  Commands().Filter_Exclude();
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
}

TEST_F(MwCommandsTest, FiltersDeletedItemsWhenThoseAreListed) {
  Open({{"one", "a"}, {"gone", "a", 1}, {"gone too", "b", 1}});
  Commands().Filter_SelectDeleted();
  EXPECT_EQ(SelectionText(Items()), "Deleted items");
  Pick("a");
  Commands().Filter_Select();
  EXPECT_THAT(Listed(), ElementsAre("gone"));
  EXPECT_EQ(SelectionText(Items()), "Deleted items, Selected: a");
}

TEST_F(MwCommandsTest, ShowsTheWholeListForACodeThatNoItemCarries) {
  Open({{"one", "a"}, {"two", "b"}});
  Pick("x");
  Commands().Filter_Select();
  EXPECT_THAT(user_.Messages(), ElementsAre("Nothing selected!"));
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
  EXPECT_EQ(Items().ItemFilters().activeSelection, "");
}

TEST_F(MwCommandsTest, GoesBackToTheCodesOfTheCommandLine) {
  Open({{"one", "a"}, {"two", "a b"}, {"three", "c"}});
  Items().ItemFilters().standardSelection = "a";
  Items().ItemFilters().standardExclusion = "b";
  Commands().Filter_SelectDeleted();
  Commands().Filter_Standard();
  EXPECT_THAT(Listed(), ElementsAre("one"));
  Commands().Filter_SelectAll();
  EXPECT_THAT(Listed(), ElementsAre("one", "two", "three"));
  EXPECT_EQ(Items().ItemFilters().standardSelection, "a");
}

TEST_F(MwCommandsTest, ShowsVersionAndRecordsWhileNothingNarrowsTheList) {
  Open({{"one"}, {"gone", "", 1}});
  EXPECT_EQ(SelectionText(Items()), "Zelkor! Ver 2.23, Database:2 rec");
}

TEST_F(MwCommandsTest, OpensTheRemappingFileAndLoadsItAgainAfterASave) {
  Open({});
  Commands().File_ReMap();
  EXPECT_THAT(desktop_.edited, ElementsAre(ProgramDir() + "ReMap.txt"));
  WriteNative(ProgramFolder() / "ReMap.txt", "c:\\x\\=c:\\y\\\r\n");
  Commands().Saved("c:\\other.txt");
  EXPECT_EQ(state_->remap.RemapPath("c:\\x\\1", false), "c:\\x\\1");
  Commands().Saved(ProgramDir() + "remap.txt");
  EXPECT_EQ(state_->remap.RemapPath("c:\\x\\1", false), "c:\\y\\1");
}

TEST_F(MwCommandsTest, ChangesTheComputerId) {
  Open({});
  user_.answers = {Button::Yes};
  user_.inputs = {"home"};
  Commands().File_UserID();
  EXPECT_EQ(state_->computerId, "home");
}

}  // namespace
}  // namespace zelkor::app
