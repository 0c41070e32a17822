#include "db/item_editing.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <utime.h>
#include <vector>

#include "db/memory_rows.h"
#include "tests/support/bytes.h"
#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"
#include "tests/support/scripted_desktop.h"

namespace zelkor::db {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The dialog without a window. `Type…` does what the controls do: it changes the text and says so.
class ScriptedForm : public ItemForm {
 public:
  [[nodiscard]] bool FormShown() const override { return shown; }
  void ShowForm() override { shown = true; }
  void HideForm() override { shown = false; }
  void SetItem(const ItemShown& item) override {
    last = item;
    edited = {.description = item.description,
              .codes = item.codes,
              .fileNameUtf8 = item.fileName,
              .syncMethod = item.syncMethod,
              .syncTo = item.syncTo};
  }
  [[nodiscard]] ItemEdited Edited() const override { return edited; }
  void SetFileName(const std::string& utf8) override { edited.fileNameUtf8 = utf8; }
  [[nodiscard]] bool ApplyEnabled() const override { return applyEnabled; }
  void EnableApply(bool enable) override { applyEnabled = enable; }
  void EnableFields(bool enable) override { fieldsEnabled = enable; }

  bool shown = false;
  bool applyEnabled = false;
  bool fieldsEnabled = true;
  ItemShown last;
  ItemEdited edited;
};

class ScriptedView : public CurrentItemView {
 public:
  void ShowCurrentItem(const CurrentItem& item) override { shown.push_back(item); }
  [[nodiscard]] const CurrentItem& Last() const { return shown.back(); }
  std::vector<CurrentItem> shown;
};

// One item of a test's database, its fields as docs/formats.md places them.
struct Given {
  std::string description;
  std::string fileName{};
  std::string codes{};
  int syncMethod = 0;
  int syncTo = 1;
  int flags = 0;
  std::string source{};
  double imported = 0;
  std::int32_t memoId = 0;
};

std::string RecordOf(const Given& item) {
  std::string bytes(1024, '\0');
  tests::PutText(bytes, 0, 512, item.fileName);
  tests::PutText(bytes, 512, 64, item.description);
  tests::PutText(bytes, 576, 16, item.source);
  tests::PutI16(bytes, 592, item.flags);
  tests::PutDate(bytes, 602, item.imported);
  tests::PutI16(bytes, 618, item.syncMethod);
  tests::PutText(bytes, 620, 128, item.codes);
  tests::PutI32(bytes, 748, item.memoId);
  tests::PutI16(bytes, 752, item.syncTo);
  return bytes;
}

class ItemEditingTest : public tests::DatabaseFixture {
 protected:
  ItemEditingTest() { setenv("TZ", "UTC", 1), tzset(); }

  void OpenWith(const std::vector<Given>& items) {
    std::string bytes;
    std::int32_t memoId = 1000;
    for (Given item : items) {
      if (item.memoId == 0) item.memoId = ++memoId;
      bytes += RecordOf(item);
    }
    WriteConfigFile(tests::GoldenConfig());
    WriteItemFile(bytes);
    ASSERT_EQ(Open(), Database::Opened::Yes);
    catalogue_.emplace(Data(), rows_, user_);
    editing_.emplace(*catalogue_, user_, desktop_);
    editing_->Attach(&form_, &view_);
    editing_->ImportsWith([this](const std::string& path) { imported_.push_back(path); });
    catalogue_->FillItemList(kAllItems);
    editing_->UpdateCurrentItem();
  }
  [[nodiscard]] ItemEditing& Editing() { return *editing_; }
  // The user clicks a row.
  void Click(int row) {
    rows_.Select(row);
    editing_->UpdateCurrentItem();
  }
  void Type(std::string ItemEdited::*field, const std::string& text) {
    form_.edited.*field = text;
    editing_->Edit();
  }
  // A field of a record on the disk.
  [[nodiscard]] std::string Stored(int recno, std::size_t offset, std::size_t width) const {
    return tests::TakeText(ItemFile(), static_cast<std::size_t>(recno - 1) * 1024 + offset, width);
  }
  [[nodiscard]] int StoredNumber(int recno, std::size_t offset) const {
    return tests::TakeI16(ItemFile(), static_cast<std::size_t>(recno - 1) * 1024 + offset);
  }
  [[nodiscard]] std::string StoredFiles(int recno) const { return Stored(recno, 0, 512); }
  [[nodiscard]] std::string StoredDescription(int recno) const { return Stored(recno, 512, 64); }
  [[nodiscard]] std::string StoredCodes(int recno) const { return Stored(recno, 620, 128); }
  [[nodiscard]] int Records() const { return static_cast<int>(ItemFile().size() / 1024); }

  void WriteFile(const std::string& name, const std::string& content, std::time_t written = 0) const {
    WriteNative(Home() / name, content);
    if (written == 0) return;
    const utimbuf times{written, written};
    utime((Home() / name).c_str(), &times);
  }

  MemoryRows rows_;
  tests::ScriptedDesktop desktop_;
  ScriptedForm form_;
  ScriptedView view_;
  std::vector<std::string> imported_;
  std::optional<Catalogue> catalogue_;
  std::optional<ItemEditing> editing_;
};

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
  OpenWith({{.description = "a", .fileName = "c:\\a.txt"}});
  Editing().ShowProperties();
  Type(&ItemEdited::fileNameUtf8, "c:\\a.txt\n" + (Home() / "b.txt").string());
  Editing().LeaveFileName();
  EXPECT_EQ(form_.edited.fileNameUtf8, "c:\\a.txt\r\nc:\\b.txt");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(ItemEditingTest, TellsWhyANativePathCanNotBeUsedAndLeavesItForMending) {
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

// Listing the files.

TEST_F(ItemEditingTest, ListsTheFilesOfTheSelectionWithTheirCountAndSize) {
  WriteFile("docs/a.txt", std::string(1'000'000, 'x'));
  WriteFile("docs/b.txt", std::string(264'192, 'x'));
  OpenWith({{.description = "Plan", .fileName = "c:\\docs\\*.txt\r\nc:\\gone.doc"}});
  Editing().ListItemFiles();
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_EQ(desktop_.lists[0].title, "Plan - 3 files, 1 235 kb");  // 1,264,192 bytes are 1234.6 kb
  EXPECT_THAT(desktop_.lists[0].entries, ElementsAre("c:\\docs\\a.txt", "c:\\docs\\b.txt", "c:\\gone.doc"));
  EXPECT_EQ(desktop_.lists[0].options & lib::kListFileTypes, 0U);
}

TEST_F(ItemEditingTest, ListsNoFilesAs0Kb) {
  OpenWith({{.description = "Empty"}});
  Editing().ListItemFiles();
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_EQ(desktop_.lists[0].title, "Empty - 0 files, 0 kb");
}

TEST_F(ItemEditingTest, AppliesUnappliedChangesBeforeItListsTheFiles) {
  OpenWith({{.description = "a", .fileName = "c:\\old.txt"}});
  Editing().ShowProperties();
  Type(&ItemEdited::fileNameUtf8, "c:\\new.txt");
  Editing().ListItemFiles();
  EXPECT_EQ(StoredFiles(1), "c:\\new.txt");
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_THAT(desktop_.lists[0].entries, ElementsAre("c:\\new.txt"));
}

TEST_F(ItemEditingTest, TellsInOneBoxOfNamesThatItCanNotList) {
  for (int i = 10; i < 22; ++i) WriteFile("a:" + std::to_string(i) + ".txt", "");
  WriteFile("good.txt", "");
  OpenWith({{.description = "a", .fileName = "c:\\*.txt"}});
  Editing().ListItemFiles();
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, AllOf(HasSubstr("a:10.txt"), HasSubstr("a:19.txt"), HasSubstr("and 2 more")));
  EXPECT_THAT(user_.boxes[0].text, testing::Not(HasSubstr("a:20.txt")));
  EXPECT_THAT(desktop_.lists.at(0).entries, ElementsAre("c:\\good.txt"));
}

TEST_F(ItemEditingTest, ListsNothingWithoutAnItem) {
  OpenWith({});
  Editing().ListItemFiles();
  EXPECT_THAT(desktop_.lists, IsEmpty());
}

// Opening by type.

class OpeningTest : public ItemEditingTest {
 protected:
  // An opener of the test's own, which tells what it was given through a named pipe.
  OpeningTest() {
    if (const char* path = getenv("PATH")) path_ = path;
    const fs::path opener = Root() / "bin/xdg-open";
    WriteNative(opener, "#!/bin/sh\nprintf '%s' \"$1\" > '" + Pipe().string() + "'\n");
    fs::permissions(opener, fs::perms::owner_all);
    setenv("PATH", ((Root() / "bin").string() + ":" + path_).c_str(), 1);
    EXPECT_EQ(mkfifo(Pipe().c_str(), 0600), 0);
  }
  ~OpeningTest() override { setenv("PATH", path_.c_str(), 1); }
  [[nodiscard]] fs::path Pipe() const { return Root() / "pipe"; }
  // What the system's opener was given; waits for it.
  [[nodiscard]] std::string OpenedBySystem() const { return ReadNative(Pipe()); }

  void OpenOne(const std::string& fileName, const std::string& editorTypes, const std::string& shellTypes) {
    OpenWith({{.description = "a", .fileName = fileName}});
    Data().Config().SetText(ConfigRec::kEditorTypes, editorTypes);
    Data().Config().SetText(ConfigRec::kShellTypes, shellTypes);
  }

 private:
  std::string path_;
};

TEST_F(OpeningTest, OpensAnEditorTypeInTheEditorThoughItIsAShellTypeToo) {
  OpenOne("c:\\Docs\\Read.TXT\r\nc:\\other.doc", "ini txt ", "txt doc ");
  EXPECT_TRUE(Editing().OpenItem());
  EXPECT_THAT(desktop_.edited, ElementsAre("c:\\Docs\\Read.TXT"));
}

TEST_F(OpeningTest, OpensAShellTypeByTheSystem) {
  WriteFile("a.doc", "");
  OpenOne("c:\\a.doc", "txt ", "DOC ");
  EXPECT_TRUE(Editing().OpenItem());
  EXPECT_EQ(OpenedBySystem(), (Home() / "a.doc").string());
  EXPECT_THAT(desktop_.edited, IsEmpty());
}

TEST_F(OpeningTest, FindsATypeOnlyFromItsBeginning) {
  OpenOne("c:\\a.txt", "mtxt ", "");
  EXPECT_FALSE(Editing().OpenItem());
}

TEST_F(OpeningTest, OpensNothingWithoutAnExtension) {
  OpenOne("c:\\README", "txt ", "doc ");
  EXPECT_FALSE(Editing().OpenItem());
  EXPECT_THAT(desktop_.edited, IsEmpty());
}

TEST_F(OpeningTest, RefreshesTheCurrentItemAfterwards) {
  OpenOne("c:\\a.txt", "txt ", "");
  view_.shown.clear();
  Editing().OpenItem();
  EXPECT_EQ(view_.shown.size(), 1U);
}

TEST_F(OpeningTest, ADoubleClickOpensByTypeWhatHasAType) {
  OpenOne("c:\\a.txt", "txt ", "");
  Editing().OpenItemOrProperties();
  EXPECT_EQ(desktop_.edited.size(), 1U);
  EXPECT_FALSE(form_.shown);
}

TEST_F(OpeningTest, ADoubleClickShowsThePropertiesOfAnythingElse) {
  OpenOne("c:\\a.xyz", "txt ", "doc ");
  Editing().OpenItemOrProperties();
  EXPECT_THAT(desktop_.edited, IsEmpty());
  EXPECT_TRUE(form_.shown);
}

TEST_F(OpeningTest, ADoubleClickOnAnEmptyListDoesNothing) {
  OpenWith({});
  Editing().OpenItemOrProperties();
  EXPECT_FALSE(form_.shown);
}

// Files from outside.

TEST_F(ItemEditingTest, AFileFromOutsideBecomesAnItemCalledAfterIt) {
  OpenWith({{.description = "first", .codes = "old", .syncMethod = 1}});
  Editing().OpenItemFiles("c:\\Docs\\Plan 2026.v2.TXT\r\nc:\\b.doc\r\n");
  ASSERT_EQ(Records(), 3);
  EXPECT_EQ(StoredFiles(2), "c:\\Docs\\Plan 2026.v2.TXT");
  EXPECT_EQ(StoredDescription(2), "Plan 2026");
  EXPECT_EQ(StoredCodes(2), "");
  EXPECT_EQ(StoredNumber(2, 618), 1);  // the sync method of the item last looked at
  EXPECT_EQ(StoredNumber(2, 752), 1);  // "All but excluded"
  EXPECT_EQ(StoredDescription(3), "b");
  EXPECT_EQ(rows_.Selected(), 3);
  EXPECT_EQ(view_.Last().row, 3);
  EXPECT_EQ(view_.Last().count, 3);
}

TEST_F(ItemEditingTest, AFileWithoutABaseNameGivesItsWholeName) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\.profile");
  EXPECT_EQ(StoredDescription(1), ".profile");
}

TEST_F(ItemEditingTest, AFileThatDoesNotExistIsAddedAndReportedInTheStatus) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\gone.txt");
  EXPECT_EQ(Records(), 1);
  EXPECT_EQ(view_.Last().lastUpdate, "File not found");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(ItemEditingTest, ADroppedFileEndingInCasIsImportedNotCatalogued) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\pc1.cas\r\nc:\\old.one.CAS\r\nc:\\cas\r\nc:\\a.casx");
  EXPECT_THAT(imported_, ElementsAre("c:\\pc1.cas", "c:\\old.one.CAS"));
  EXPECT_EQ(Records(), 2);
}

TEST_F(ItemEditingTest, AFolderBecomesAnItemWithAllThatIsBelowIt) {
  WriteFile("My.Docs/sub/a.txt", "x");
  OpenWith({});
  Editing().OpenItemFiles("c:\\My.Docs");
  EXPECT_EQ(StoredFiles(1), "+- c:\\My.Docs\\*.*");
  EXPECT_EQ(StoredDescription(1), "My.Docs");
  EXPECT_TRUE(view_.Last().fileFound);
}

TEST_F(ItemEditingTest, ADriveBecomesAnItemCalledAfterIt) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\");
  EXPECT_EQ(StoredFiles(1), "+- c:\\*.*");
  EXPECT_EQ(StoredDescription(1), "c:\\");
}

TEST_F(ItemEditingTest, RefusesANameThatTheFormCanNotCarryAndTakesTheOthers) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\a*.txt\r\nplan.txt\r\nc:\\good.txt");
  ASSERT_EQ(user_.boxes.size(), 2U);
  EXPECT_THAT(user_.boxes[0].text, AllOf(HasSubstr("\"a*.txt\""), HasSubstr("character *")));
  EXPECT_THAT(user_.boxes[1].text, HasSubstr("\"plan.txt\" does not begin with a drive"));
  EXPECT_EQ(Records(), 1);
  EXPECT_EQ(StoredFiles(1), "c:\\good.txt");
}

TEST_F(ItemEditingTest, RefusesAPathThatAnItemWouldCut) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\" + std::string(510, 'x'));
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("longer than 512 characters"));
  EXPECT_EQ(Records(), 0);
}

TEST_F(ItemEditingTest, TakesNoFilesWhileSomethingIsInHand) {
  OpenWith({});
  const lib::Occupation::Guard run(catalogue_->Occupied());
  Editing().OpenItemFiles("c:\\a.txt");
  EXPECT_EQ(Records(), 0);
  EXPECT_EQ(user_.boxes.size(), 1U);
}

TEST_F(ItemEditingTest, AppliesUnappliedChangesBeforeItTakesFiles) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  Type(&ItemEdited::description, "alpha");
  Editing().OpenItemFiles("c:\\b.txt");
  EXPECT_EQ(StoredDescription(1), "alpha");
  EXPECT_EQ(StoredDescription(2), "b");
  EXPECT_EQ(form_.last.description, "b");
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
