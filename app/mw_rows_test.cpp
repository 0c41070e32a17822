#include "app/mw_rows.h"

#include <cstdint>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "lib/clock.h"
#include "tests/support/sandbox.h"

namespace zelkor::app {
namespace {

using testing::ElementsAre;

class MwRowsTest : public testing::Test {
 protected:
  MwRowsTest() {
    rows_.OnSelect([this] { ++selections_; });
    rows_.OnChange([this] { ++changes_; });
  }
  static lib::ListRow Given(const std::string& text) {
    lib::ListRow row;
    row.text = text;
    row.key = "key of " + text;
    return row;
  }
  void Fill(const std::vector<std::string>& texts) {
    rows_.Clear();
    for (const std::string& text : texts) rows_.Add(Given(text));
  }
  [[nodiscard]] std::vector<std::string> Listed(MwColumn column = MwColumn::Description) const {
    std::vector<std::string> texts;
    for (int row = 1; row <= rows_.Count(); ++row) texts.push_back(rows_.Cell(row, column));
    return texts;
  }
  void Click(MwColumn column) { rows_.List_ColumnClick(static_cast<int>(column) + 1); }

  // A selection's date is the number that it consists of.
  int lookedUp_ = 0;
  MwRows rows_{[this](const std::string& selection) {
    ++lookedUp_;
    return selection.empty() ? 0.0 : std::stod(selection);
  }};
  int selections_ = 0;
  int changes_ = 0;
};

TEST_F(MwRowsTest, ShowsWhatTheColumnsSay) {
  lib::ListRow row = Given("Plan");
  row.selection = "46000.5";
  row.codes = "a b";
  row.exportState = 2;
  row.syncTo = 1;
  row.importSource = "lap";
  row.importDate = 45999.25;
  rows_.Add(row);
  rows_.Add(Given("Bare"));
  EXPECT_THAT(kMwColumns, ElementsAre("Description", "Date", "Codes", "Sync method", "Sync to", "Last import"));
  EXPECT_EQ(rows_.Cell(1, MwColumn::Description), "Plan");
  EXPECT_EQ(rows_.Cell(1, MwColumn::Date), "12/9/2025 12:00:00 PM");
  EXPECT_EQ(rows_.Cell(1, MwColumn::Codes), "a b");
  EXPECT_EQ(rows_.Cell(1, MwColumn::SyncMethod), "Off");
  EXPECT_EQ(rows_.Cell(1, MwColumn::SyncTo), "All but excluded");
  EXPECT_EQ(rows_.Cell(1, MwColumn::LastImport), "lap 12/8/2025 6:00:00 AM");
  EXPECT_EQ(rows_.Cell(2, MwColumn::Date), "");
  EXPECT_EQ(rows_.Cell(2, MwColumn::SyncMethod), "Auto");
  EXPECT_EQ(rows_.Cell(2, MwColumn::SyncTo), "All");
  EXPECT_EQ(rows_.Cell(2, MwColumn::LastImport), "");
}

TEST_F(MwRowsTest, ShowsADeletedItemByItsOwnPictureWhateverItsExportState) {
  for (const int state : {0, 1, 2}) {
    lib::ListRow row = Given("row");
    row.exportState = state;
    rows_.Add(row);
    row.deleted = true;
    rows_.Add(row);
  }
  std::vector<std::string_view> pictures;
  for (int row = 1; row <= rows_.Count(); ++row) {
    pictures.push_back(kRowPictures.at(static_cast<std::size_t>(rows_.Picture(row))));
  }
  EXPECT_THAT(pictures, ElementsAre("ItemAuto", "ItemDeleted", "ItemOn", "ItemDeleted", "ItemOff", "ItemDeleted"));
}

TEST_F(MwRowsTest, LooksAtAFileWhenItsDateIsFirstShown) {
  Fill({"a", "b"});
  EXPECT_EQ(lookedUp_, 0);
  EXPECT_EQ(Listed(MwColumn::Date).size(), 2U);
  EXPECT_EQ(lookedUp_, 2);
  EXPECT_EQ(Listed(MwColumn::Date).size(), 2U);
  EXPECT_EQ(lookedUp_, 2);
  rows_.Replace(1, Given("a"));
  EXPECT_EQ(rows_.Cell(1, MwColumn::Date), "");
  EXPECT_EQ(lookedUp_, 3);
}

TEST_F(MwRowsTest, SortsTheSameColumnAscendingThenDescending) {
  Fill({"b", "C", "a"});
  Click(MwColumn::Description);
  EXPECT_TRUE(rows_.Ascending());
  EXPECT_THAT(Listed(), ElementsAre("a", "b", "C"));
  Click(MwColumn::Description);
  EXPECT_FALSE(rows_.Ascending());
  EXPECT_THAT(Listed(), ElementsAre("C", "b", "a"));
}

TEST_F(MwRowsTest, TurnsTheOrderRoundForAnotherColumnToo) {
  for (const auto& [text, codes] : {std::pair{"one", "x"}, std::pair{"two", "z"}, std::pair{"three", "y"}}) {
    lib::ListRow row = Given(text);
    row.codes = codes;
    rows_.Add(row);
  }
  Click(MwColumn::Description);
  Click(MwColumn::Codes);
  EXPECT_EQ(rows_.SortedBy(), MwColumn::Codes);
  EXPECT_THAT(Listed(), ElementsAre("two", "three", "one"));
}

TEST_F(MwRowsTest, SortsDatesByTheirValue) {
  for (const char* date : {"46000", "9000", "100000", "46000.5"}) {
    lib::ListRow row = Given(date);
    row.selection = date;
    row.importDate = std::stod(date);
    rows_.Add(row);
  }
  Click(MwColumn::Date);
  EXPECT_THAT(Listed(), ElementsAre("9000", "46000", "46000.5", "100000"));
  Click(MwColumn::LastImport);
  EXPECT_THAT(Listed(), ElementsAre("100000", "46000.5", "46000", "9000"));
}

TEST_F(MwRowsTest, SortsChoicesByTheirPlacesInTheLists) {
  for (const int choice : {2, 0, 1}) {
    lib::ListRow row = Given(std::to_string(choice));
    row.exportState = choice;
    row.syncTo = 2 - choice;
    rows_.Add(row);
  }
  Click(MwColumn::SyncMethod);
  EXPECT_THAT(Listed(MwColumn::SyncMethod), ElementsAre("Auto", "On", "Off"));
  Click(MwColumn::SyncTo);
  EXPECT_THAT(Listed(MwColumn::SyncTo), ElementsAre("Only included", "All but excluded", "All"));
}

TEST_F(MwRowsTest, KeepsTheOrderOfEqualRows) {
  for (const char* text : {"1", "2", "3"}) rows_.Add(Given(text));
  Click(MwColumn::Codes);
  EXPECT_THAT(Listed(), ElementsAre("1", "2", "3"));
  Click(MwColumn::Codes);
  EXPECT_THAT(Listed(), ElementsAre("1", "2", "3"));
}

TEST_F(MwRowsTest, KeepsTheSelectedRowSelectedWhereverSortingPutsIt) {
  Fill({"b", "c", "a"});
  rows_.Select(1);
  Click(MwColumn::Description);
  EXPECT_EQ(rows_.Selected(), 2);
  EXPECT_EQ(selections_, 1);
}

TEST_F(MwRowsTest, PutsRowsAddedLaterInTheirPlaces) {
  Fill({"b", "a"});
  Click(MwColumn::Description);
  rows_.Select(2);
  rows_.Add(Given("aa"));
  EXPECT_THAT(Listed(), ElementsAre("a", "aa", "b"));
  EXPECT_EQ(rows_.Selected(), 3);
  Fill({"z", "y"});
  EXPECT_THAT(Listed(), ElementsAre("y", "z"));
}

TEST_F(MwRowsTest, LeavesAReplacedRowWhereItStands) {
  Fill({"b", "a"});
  Click(MwColumn::Description);
  rows_.Replace(1, Given("x"));
  EXPECT_THAT(Listed(), ElementsAre("x", "b"));
}

TEST_F(MwRowsTest, TellsOfEachChangeOfTheSelectedRow) {
  Fill({"a", "b", "c"});
  rows_.Select(2);
  rows_.Select(2);
  EXPECT_EQ(selections_, 1);
  rows_.Select(9);
  EXPECT_EQ(rows_.Selected(), 0);
  EXPECT_EQ(selections_, 2);
  rows_.Select(3);
  rows_.Keep({false, true, true});
  EXPECT_EQ(rows_.Selected(), 2);
  EXPECT_THAT(Listed(), ElementsAre("b", "c"));
  EXPECT_EQ(selections_, 4);
  rows_.Keep({true, false});
  EXPECT_EQ(rows_.Selected(), 0);
  rows_.Select(1);
  rows_.Clear();
  EXPECT_EQ(rows_.Selected(), 0);
  EXPECT_EQ(selections_, 7);
}

TEST_F(MwRowsTest, TellsOfEachChangeOfTheRows) {
  Fill({"a", "b"});
  changes_ = 0;
  rows_.SetText(1, "c");
  rows_.Replace(2, Given("d"));
  rows_.Keep({true, false});
  Click(MwColumn::Codes);
  rows_.Add(Given("e"));
  rows_.Clear();
  EXPECT_EQ(changes_, 6);
}

class FirstFileDateTest : public tests::Sandbox {};

TEST_F(FirstFileDateTest, IsTheTimeOfTheFirstFileOfTheSelection) {
  WriteNative(Home() / "a.txt", "x");
  EXPECT_NEAR(FirstFileDate("c:\\a.txt\r\nc:\\b.txt"), lib::Now(), 60.0 / 86400);
  EXPECT_EQ(FirstFileDate("c:\\b.txt\r\nc:\\a.txt"), 0);
  EXPECT_EQ(FirstFileDate(""), 0);
}

}  // namespace
}  // namespace zelkor::app
