// Listing an item's files, opening them by type, and items made of files from outside.
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "db/item_editing_fixture.h"

namespace zelkor::db {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Listing the files.

class ItemFilesTest : public ItemEditingTest {};

TEST_F(ItemFilesTest, ListsTheFilesOfTheSelectionWithTheirCountAndSize) {
  WriteFile("docs/a.txt", std::string(1'000'000, 'x'));
  WriteFile("docs/b.txt", std::string(264'192, 'x'));
  OpenWith({{.description = "Plan", .fileName = "c:\\docs\\*.txt\r\nc:\\gone.doc"}});
  Editing().ListItemFiles();
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_EQ(desktop_.lists[0].title, "Plan - 3 files, 1 235 kb");  // 1,264,192 bytes are 1234.6 kb
  EXPECT_THAT(desktop_.lists[0].entries, ElementsAre("c:\\docs\\a.txt", "c:\\docs\\b.txt", "c:\\gone.doc"));
  EXPECT_EQ(desktop_.lists[0].options & lib::kListFileTypes, 0U);
}

TEST_F(ItemFilesTest, ListsNoFilesAs0Kb) {
  OpenWith({{.description = "Empty"}});
  Editing().ListItemFiles();
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_EQ(desktop_.lists[0].title, "Empty - 0 files, 0 kb");
}

TEST_F(ItemFilesTest, AppliesUnappliedChangesBeforeItListsTheFiles) {
  OpenWith({{.description = "a", .fileName = "c:\\old.txt"}});
  Editing().ShowProperties();
  Type(&ItemEdited::fileNameUtf8, "c:\\new.txt");
  Editing().ListItemFiles();
  EXPECT_EQ(StoredFiles(1), "c:\\new.txt");
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_THAT(desktop_.lists[0].entries, ElementsAre("c:\\new.txt"));
}

TEST_F(ItemFilesTest, ListsNothingWithoutAnItem) {
  OpenWith({});
  Editing().ListItemFiles();
  EXPECT_THAT(desktop_.lists, IsEmpty());
}

// Opening by type.

class OpeningTest : public ItemEditingTest {
 protected:
  OpeningTest() { tests::CatchOpenedDocuments(Root() / "bin", Root() / "opened"); }
  // What the system's opener was given; waits for it.
  [[nodiscard]] std::string OpenedBySystem() const { return tests::WaitForFile(Root() / "opened"); }

  void OpenOne(const std::string& fileName, const std::string& editorTypes, const std::string& shellTypes) {
    OpenWith({{.description = "a", .fileName = fileName}});
    Data().Config().SetText(ConfigRec::kEditorTypes, editorTypes);
    Data().Config().SetText(ConfigRec::kShellTypes, shellTypes);
  }
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

TEST_F(ItemFilesTest, AFileFromOutsideBecomesAnItemCalledAfterIt) {
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

TEST_F(ItemFilesTest, AFileWithoutABaseNameGivesItsWholeName) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\.profile");
  EXPECT_EQ(StoredDescription(1), ".profile");
}

TEST_F(ItemFilesTest, AFileThatDoesNotExistIsAddedAndReportedInTheStatus) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\gone.txt");
  EXPECT_EQ(Records(), 1);
  EXPECT_EQ(view_.Last().lastUpdate, "File not found");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(ItemFilesTest, ADroppedFileEndingInCasIsImportedNotCatalogued) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\pc1.cas\r\nc:\\old.one.CAS\r\nc:\\cas\r\nc:\\a.casx");
  EXPECT_THAT(imported_, ElementsAre("c:\\pc1.cas", "c:\\old.one.CAS"));
  EXPECT_EQ(Records(), 2);
}

TEST_F(ItemFilesTest, AFolderBecomesAnItemWithAllThatIsBelowIt) {
  WriteFile("My.Docs/sub/a.txt", "x");
  OpenWith({});
  Editing().OpenItemFiles("c:\\My.Docs");
  EXPECT_EQ(StoredFiles(1), "+- c:\\My.Docs\\*.*");
  EXPECT_EQ(StoredDescription(1), "My.Docs");
  EXPECT_TRUE(view_.Last().fileFound);
}

TEST_F(ItemFilesTest, ADriveBecomesAnItemCalledAfterIt) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\");
  EXPECT_EQ(StoredFiles(1), "+- c:\\*.*");
  EXPECT_EQ(StoredDescription(1), "c:\\");
}

TEST_F(ItemFilesTest, RefusesANameThatTheFormCanNotCarryAndTakesTheOthers) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\a*.txt\r\nplan.txt\r\nc:\\good.txt");
  ASSERT_EQ(user_.boxes.size(), 2U);
  EXPECT_THAT(user_.boxes[0].text, AllOf(HasSubstr("\"a*.txt\""), HasSubstr("character *")));
  EXPECT_THAT(user_.boxes[1].text, HasSubstr("\"plan.txt\" does not begin with a drive"));
  EXPECT_EQ(Records(), 1);
  EXPECT_EQ(StoredFiles(1), "c:\\good.txt");
}

TEST_F(ItemFilesTest, RefusesAPathThatAnItemWouldCut) {
  OpenWith({});
  Editing().OpenItemFiles("c:\\" + std::string(510, 'x'));
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_THAT(user_.boxes[0].text, HasSubstr("longer than 512 characters"));
  EXPECT_EQ(Records(), 0);
}

TEST_F(ItemFilesTest, TakesNoFilesWhileSomethingIsInHand) {
  OpenWith({});
  const lib::Occupation::Guard run(catalogue_->Occupied());
  Editing().OpenItemFiles("c:\\a.txt");
  EXPECT_EQ(Records(), 0);
  EXPECT_EQ(user_.boxes.size(), 1U);
}

TEST_F(ItemFilesTest, AppliesUnappliedChangesBeforeItTakesFiles) {
  OpenWith({{.description = "a"}});
  Editing().ShowProperties();
  Type(&ItemEdited::description, "alpha");
  Editing().OpenItemFiles("c:\\b.txt");
  EXPECT_EQ(StoredDescription(1), "alpha");
  EXPECT_EQ(StoredDescription(2), "b");
  EXPECT_EQ(form_.last.description, "b");
}

}  // namespace
}  // namespace zelkor::db
