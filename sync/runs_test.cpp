// Exports and imports driven as the windows will drive them: what the command line cannot reach.

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "db/memory_rows.h"
#include "lib/clock.h"
#include "lib/file_times.h"
#include "lib/settings.h"
#include "sync/export.h"
#include "sync/import.h"
#include "tests/support/office.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::sync {
namespace {

namespace fs = std::filesystem;
using lib::Button;
using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;

constexpr lib::Date kOld = 40000.25;
constexpr lib::Date kNew = 46000.5;

// The office computer, with the laptop as its target. What it exports for "test" comes back to itself.
class Runs : public tests::Office<tests::Sandbox, tests::ScriptedUser> {
 protected:
  Runs() {
    catalogue_.FillItemList(db::kLiveItems);
    targets_.NewTarget("laptop");
    targets_.NewTarget("test");
    fs::create_directory(Stick());
  }

  [[nodiscard]] Place StickPlace() const { return {.word = AsTyped(Stick()), .startDirectory = "/"}; }

  std::int32_t AddItem(const std::string& description, const std::string& selection,
                       db::SyncMethod method = db::SyncMethod::Auto) {
    const std::int32_t recno = *catalogue_.AddItem(description, selection);
    database_.Item().SetNumber(db::FileRec::kSyncMethod, static_cast<std::int32_t>(method));
    database_.Item().SetNumber(db::FileRec::kSyncTo, static_cast<std::int32_t>(db::SyncTo::All));
    database_.WriteItem(recno);
    return recno;
  }
  void DeleteItem(std::int32_t recno) {
    database_.ReadItem(recno);
    database_.Item().SetNumber(db::FileRec::kFlags, db::kItemDeleted);
    database_.WriteItem(recno);
  }
  ExportResult Export(const std::string& target = "laptop") {
    user_.log.clear();
    return ExportToTarget(context_, target, StickPlace());
  }
  ImportResult Import(ImportMode mode = ImportMode::Import, bool askProceed = false) {
    user_.log.clear();
    return ImportFromTarget(context_,
                            {.targetId = "test", .place = StickPlace(), .askProceed = askProceed, .mode = mode});
  }
  // An empty database, whose items and files are those of another computer with the same ID.
  void ForgetItems() {
    fs::resize_file(ProgramFolder() / "zelkor.ind", 0);
    ASSERT_EQ(database_.OpenDatabase(), db::Database::Opened::Yes);
    catalogue_.FillItemList(db::kLiveItems);
  }
};

TEST_F(Runs, InViewModeNothingIsWrittenEveryEntryIsLoggedAndTheSummaryCounts) {
  PutFile("same.txt", "same", kNew);
  PutFile("older.txt", "x", kOld);
  PutFile("newer.txt", "new version", kNew);
  PutFile("new.txt", "x", kNew);
  AddItem("All", "c:\\same.txt\r\nc:\\older.txt\r\nc:\\newer.txt\r\nc:\\new.txt");
  ASSERT_EQ(Export("test"), ExportResult::Done);
  PutFile("older.txt", "later here", kNew);
  PutFile("newer.txt", "old version", kOld);
  fs::remove(Home() / "new.txt");
  ForgetItems();
  const lib::Date lastImport = LastImport("test");

  EXPECT_EQ(Import(ImportMode::View), ImportResult::Success);
  EXPECT_THAT(user_.log, IsSupersetOf({"All, 4 files", "  [c:\\same.txt]: Identical", "  [c:\\older.txt]: Older",
                                       "  [c:\\newer.txt]: Newer", "  [c:\\new.txt]: New", "Identical: 1", "Older: 1",
                                       "Updated: 1", "Added: 1", "Error when imported: 0", "Not imported: 0"}));
  EXPECT_EQ(Content("newer.txt"), "old version");
  EXPECT_FALSE(fs::exists(Home() / "new.txt"));
  EXPECT_EQ(database_.RecordCount(), 0);
  EXPECT_EQ(LastImport("test"), lastImport);
  EXPECT_TRUE(fs::exists(Stick() / "office.cas"));
}

TEST_F(Runs, ARecordForAnUnknownIdentifierInViewModeIsLoggedButNotAdded) {
  PutFile("a.txt", "a", kNew);
  AddItem("Unknown", "c:\\a.txt");
  ASSERT_EQ(Export("test"), ExportResult::Done);
  ForgetItems();
  EXPECT_EQ(Import(ImportMode::View), ImportResult::Success);
  EXPECT_THAT(user_.log, Contains("Unknown, 1 files"));
  EXPECT_EQ(database_.RecordCount(), 0);
}

TEST_F(Runs, ARecordWithNoFileTakenLeavesTheDatabaseUnchanged) {
  PutFile("a.txt", "a", kNew);
  const std::int32_t recno = AddItem("Before", "c:\\a.txt");
  ASSERT_EQ(Export("test"), ExportResult::Done);
  database_.ReadItem(recno);
  database_.Item().SetText(db::FileRec::kDescription, "Changed here");
  database_.WriteItem(recno);
  const std::string before = ReadNative(ProgramFolder() / "zelkor.ind");
  EXPECT_EQ(Import(), ImportResult::Success);
  EXPECT_EQ(ReadNative(ProgramFolder() / "zelkor.ind"), before);
}

TEST_F(Runs, ADeletedItemGoesWithoutFilesAndItsMarkArrives) {
  PutFile("a.txt", "a", kNew);
  const std::int32_t recno = AddItem("Gone", "c:\\a.txt");
  DeleteItem(recno);
  ASSERT_EQ(Export("test"), ExportResult::Done);
  EXPECT_THAT(user_.log, Not(Contains("  [c:\\a.txt]")));
  database_.ReadItem(recno);
  database_.Item().SetNumber(db::FileRec::kFlags, 0);
  database_.WriteItem(recno);
  EXPECT_EQ(Import(), ImportResult::Success);
  database_.ReadItem(recno);
  EXPECT_TRUE(database_.Item().Deleted());
  EXPECT_EQ(Content("a.txt"), "a");
}

TEST_F(Runs, NoAtProceedEndsTheImport) {
  PutFile("a.txt", "a", kNew);
  AddItem("I", "c:\\a.txt");
  ASSERT_EQ(Export("test"), ExportResult::Done);
  user_.answers = {Button::No};
  EXPECT_EQ(Import(ImportMode::Import, true), ImportResult::Declined);
  EXPECT_EQ(user_.boxes.back().text, "Sync import from [test]. Proceed?");
  EXPECT_EQ(LastImport("test"), 0);
}

TEST_F(Runs, DecliningOneFileCountsItAndGoesOnWithTheNext) {
  PutFile("a.txt", "a", kNew);
  PutFile("b.txt", "b", kNew);
  AddItem("I", "c:\\a.txt\r\nc:\\b.txt");
  ASSERT_EQ(Export("test"), ExportResult::Done);
  fs::remove(Home() / "a.txt");
  fs::remove(Home() / "b.txt");
  lib::PutIniValue("Zelkor", "ConfirmUpdates", 1);
  user_.answers = {Button::No, Button::Yes};
  EXPECT_EQ(Import(), ImportResult::Success);  // a person's No is dealt with
  EXPECT_EQ(user_.boxes.back().text, "Import c:\\b.txt?");
  EXPECT_EQ(user_.boxes.back().title, "Import");
  EXPECT_FALSE(fs::exists(Home() / "a.txt"));
  EXPECT_EQ(Content("b.txt"), "b");
  EXPECT_THAT(user_.log, IsSupersetOf({"  [c:\\a.txt]: Did not import", "Not imported: 1", "Added: 1"}));
}

TEST_F(Runs, DecliningByTheEndOfInputIsNoSuccess) {
  PutFile("a.txt", "a", kNew);
  AddItem("I", "c:\\a.txt");
  ASSERT_EQ(Export("test"), ExportResult::Done);
  fs::remove(Home() / "a.txt");
  lib::PutIniValue("Zelkor", "ConfirmUpdates", 1);
  EXPECT_EQ(Import(), ImportResult::Failed);
  EXPECT_TRUE(fs::exists(Stick() / "office.cas"));
}

TEST_F(Runs, AFileIsPickedFromARemovableMediumAndNeverDeleted) {
  PutFile("a.txt", "a", kNew);
  AddItem("I", "c:\\a.txt");
  ASSERT_EQ(Export("test"), ExportResult::Done);
  fs::remove(Home() / "a.txt");
  user_.canChooseFile = true;
  user_.choices = {OnDriveZ(Stick() / "office.cas")};
  EXPECT_EQ(ImportFromTarget(context_, {.targetId = "test", .place = {}}), ImportResult::Success);
  EXPECT_EQ(user_.boxes.back().text, "Select sync-file from media");
  EXPECT_EQ(Content("a.txt"), "a");
  EXPECT_TRUE(fs::exists(Stick() / "office.cas"));
}

TEST_F(Runs, NoFilePickedIsNoFileToImport) {
  user_.canChooseFile = true;
  EXPECT_EQ(ImportFromTarget(context_, {.targetId = "test", .place = {}}), ImportResult::NoFile);
  EXPECT_EQ(user_.boxes.back().text, "No file to import!");
}

TEST_F(Runs, AChosenExportStateSurvivesTheExportsOwnFill) {
  PutFile("a.txt", "a", kNew);
  PutFile("b.txt", "b", kNew);
  const std::int32_t a = AddItem("A", "c:\\a.txt");
  const std::int32_t b = AddItem("B", "c:\\b.txt", db::SyncMethod::Off);
  catalogue_.ChooseExportState(a, 2);
  catalogue_.ChooseExportState(b, 1);
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_THAT(user_.log, Contains("  [c:\\b.txt]"));
  EXPECT_THAT(user_.log, Not(Contains("  [c:\\a.txt]")));
}

TEST_F(Runs, AFileHeldBackByAChosenExportStateKeepsTheDate) {
  PutFile("a.txt", "a", kNew);
  catalogue_.ChooseExportState(AddItem("A", "c:\\a.txt"), 2);
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_EQ(LastExport("laptop"), 0);
  EXPECT_THAT(user_.log, Contains("Export date kept: [c:\\a.txt] is held back by the export state \"Off\""));
}

TEST_F(Runs, AChosenExportStateIsForOneExportOnly) {
  PutFile("a.txt", "a", kNew);
  const std::int32_t a = AddItem("A", "c:\\a.txt");
  catalogue_.ChooseExportState(a, 2);
  ASSERT_EQ(Export(), ExportResult::Done);
  EXPECT_EQ(catalogue_.ChosenExportState(a), std::nullopt);
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_THAT(user_.log, Contains("  [c:\\a.txt]"));
}

TEST_F(Runs, TheWindowsOwnFilterDoesNotNarrowAnExport) {
  PutFile("a.txt", "a", kNew);
  AddItem("A", "c:\\a.txt");
  AddItem("B", "c:\\b.txt");
  database_.ReadItem(2);
  database_.Item().SetText(db::FileRec::kCodes, "only");
  database_.WriteItem(2);
  catalogue_.ItemFilters().activeSelection = "only";
  ASSERT_TRUE(catalogue_.ApplySelectFilter());
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_THAT(user_.log, Contains("2 memos, 1 files exported"));
  EXPECT_EQ(catalogue_.ItemList().Count(), 1) << "the window's list is the user's";
}

TEST_F(Runs, TheRecordsInHandAreLeftAsTheyWere) {
  PutFile("a.txt", "a", kNew);
  AddItem("A", "c:\\a.txt");
  AddItem("B", "c:\\b.txt");
  database_.ReadItem(1);
  targets_.FindTarget("laptop", false);
  const db::FileRec item = database_.Item();
  const net::TargetRec target = targets_.Current();
  Export("test");
  EXPECT_EQ(database_.Item(), item);
  EXPECT_EQ(targets_.Current(), target);
  Import();
  EXPECT_EQ(database_.Item(), item);
  EXPECT_EQ(targets_.Current(), target);
  EXPECT_FALSE(context_.catalogue.Occupied().InHand());
}

TEST_F(Runs, CancellingAnExportIsAFailedDelivery) {
  PutFile("a.txt", "a", kNew);
  AddItem("A", "c:\\a.txt");
  user_.onPendingEvents = [this] { user_.cancelled = true; };
  EXPECT_EQ(Export(), ExportResult::Failed);
  EXPECT_EQ(LastExport("laptop"), 0);
  EXPECT_TRUE(fs::is_empty(Stick()));
  EXPECT_TRUE(fs::is_empty(Root() / "tmp"));
}

TEST_F(Runs, CancellingAnImportKeepsWhatIsWrittenAndLeavesTheDate) {
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) PutFile(name, name, kNew);
  AddItem("I", "c:\\a.txt\r\nc:\\b.txt\r\nc:\\c.txt");
  ASSERT_EQ(Export("test"), ExportResult::Done);
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) fs::remove(Home() / name);
  user_.onPendingEvents = [this] { user_.cancelled = fs::exists(Home() / "b.txt"); };
  EXPECT_EQ(Import(), ImportResult::Failed);
  EXPECT_EQ(Content("a.txt"), "a.txt");
  EXPECT_EQ(Content("b.txt"), "b.txt");
  EXPECT_FALSE(fs::exists(Home() / "c.txt"));
  EXPECT_EQ(LastImport("test"), 0);
  EXPECT_THAT(user_.log, Contains("Cancelled"));
  EXPECT_TRUE(fs::exists(Stick() / "office.cas"));
}

TEST_F(Runs, ADateInTheFutureIsReported) {
  targets_.SetTargetDates("laptop", 0, lib::Now() + 30);
  Export();
  EXPECT_THAT(user_.log, Contains(testing::HasSubstr("is in the future")));
}

TEST_F(Runs, ANameThatNoSyncFileCanCarryIsLoggedAndDoesNotHoldTheDate) {
  PutFile("good.txt", "x", kNew);
  // A character outside the code page, and one that some systems have in no name.
  WriteNative(Home() / std::filesystem::path(u8"bad\u65e5.txt"), "x");
  const bool backslashes = !tests::NativePathsAreTheForm();
  if (backslashes) WriteNative(Home() / "bad\\name.txt", "x");
  AddItem("All", "c:\\*.txt");
  EXPECT_EQ(Export(), ExportResult::Done);
  EXPECT_THAT(user_.log, Contains("  [c:\\good.txt]"));
  EXPECT_THAT(user_.log, Contains(testing::HasSubstr("bad?.txt")));
  if (backslashes) {
    EXPECT_THAT(user_.log, Contains(testing::HasSubstr("bad\\name.txt")));
  }
  EXPECT_NE(LastExport("laptop"), 0);
}

TEST_F(Runs, AnItemOnADriveWithoutADirectoryHoldsTheDateAndIsAnError) {
  AddItem("Elsewhere", "q:\\*.txt");
  AddItem("Elsewhere too", "q:\\a.txt");
  EXPECT_EQ(Export(), ExportResult::DoneWithErrors);
  EXPECT_EQ(LastExport("laptop"), 0);
  EXPECT_THAT(user_.log, Contains(testing::HasSubstr("Drives")));
}

// Enough items that their files are read ahead: what is not plainly there must come out as it would without that.
TEST_F(Runs, ManyItemsGoOutInTheirOrderWhateverTheirFilesAre) {
  constexpr int kItems = 300;
  std::vector<std::string> expected;
  for (int i = 0; i < kItems; ++i) {
    const std::string number = std::to_string(i);
    const std::string name = "f" + number + ".txt";
    expected.push_back("Item " + number);
    switch (i % 5) {
      case 0:
        AddItem("Item " + number, "c:\\F" + number + ".TXT");  // spelled otherwise
        PutFile(name, number, kNew);
        expected.push_back("  [c:\\F" + number + ".TXT]");
        break;
      case 1:
        AddItem("Item " + number, "c:\\" + name);
        expected.push_back("  [c:\\" + name + "]: not found");
        break;
      case 2:
        AddItem("Item " + number, "c:\\" + name + "\r\nc:\\twin.txt");
        PutFile(name, number, kNew);
        PutFile("twin.txt", "twin", kNew);
        expected.push_back("  [c:\\" + name + "]");
        expected.emplace_back("  [c:\\twin.txt]");
        break;
      case 3:
        AddItem("Item " + number, "c:\\" + name);
        PutFile(name, std::string(100'000, 'x'), kNew);
        expected.push_back("  [c:\\" + name + "]");
        break;
      default:
        AddItem("Item " + number, "c:\\" + name);
        PutFile(name, number, kNew);
        expected.push_back("  [c:\\" + name + "]");
    }
  }
  ASSERT_EQ(Export("test"), ExportResult::Done);
  const auto lines = [&](const std::string& first, std::size_t count) {
    const auto begin = std::find(user_.log.begin(), user_.log.end(), first);
    const auto left = static_cast<std::size_t>(user_.log.end() - begin);
    return std::vector<std::string>(begin, begin + static_cast<std::ptrdiff_t>(std::min(left, count)));
  };
  EXPECT_EQ(lines("Item 0", expected.size()), expected);
  EXPECT_THAT(user_.log, Contains("300 memos, 300 files exported"));

  // All is here as it went out, but for one file that is gone meanwhile.
  fs::remove(Home() / "f4.txt");
  ASSERT_EQ(Import(), ImportResult::Success);
  EXPECT_EQ(Content("f4.txt"), "4");
  EXPECT_THAT(user_.log, Contains("Identical: 299"));

  PutFile("f9.txt", "changed", lib::Now());
  ASSERT_EQ(Export("test"), ExportResult::Done);
  EXPECT_THAT(lines("Item 9", 2), testing::ElementsAre("Item 9", "  [c:\\f9.txt]"));
  EXPECT_EQ(lines("Item 14", 2)[1].rfind("  no files newer than ", 0), 0U);
  EXPECT_THAT(user_.log, Contains("300 memos, 1 files exported"));
}

}  // namespace
}  // namespace zelkor::sync
