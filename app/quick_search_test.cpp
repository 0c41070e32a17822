#include "app/quick_search.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "db/memory_rows.h"

namespace zelkor::app {
namespace {

class Label : public SearchLabel {
 public:
  [[nodiscard]] std::string Caption() const override { return caption; }
  void SetCaption(const std::string& text) override { caption = text; }
  void SetFound(bool hit) override { found = hit; }
  std::string caption;
  bool found = false;
};

class QuickSearchTest : public testing::Test {
 protected:
  QuickSearchTest() { List({"Xylophone", "banana", "Apple", "cab", "Grab"}); }
  void List(const std::vector<std::string>& texts) {
    rows_.Clear();
    std::int32_t recno = 0;
    for (const std::string& text : texts) {
      lib::ListRow row;
      row.text = text;
      list_.Add(row, ++recno);
    }
    list_.SetRow(1);
  }
  void Type(const std::string& characters) {
    for (const char c : characters) EXPECT_EQ(Form_KeyPress(c, state_, label_, list_), Typed::Searched);
  }
  void Backspace() { Type("\b"); }
  void Escape() { Type("\x1b"); }

  db::MemoryRows rows_;
  db::clsList list_{rows_};
  QuickSearchState state_;
  Label label_;
};

TEST_F(QuickSearchTest, FindsTheFirstRowFromTheTopForTheFirstCharacter) {
  list_.SetRow(4);
  Type("a");
  EXPECT_EQ(label_.caption, "a");
  EXPECT_EQ(list_.Row(), 2);
  EXPECT_TRUE(label_.found);
}

TEST_F(QuickSearchTest, GoesOnFromTheRowThatMatchedTheShorterText) {
  Type("ab");
  EXPECT_EQ(list_.Row(), 4);
  EXPECT_EQ(state_.startIndex, 2);
}

TEST_F(QuickSearchTest, SearchesAgainFromRow1AfterBackspace) {
  Type("ab");
  Backspace();
  EXPECT_EQ(label_.caption, "a");
  EXPECT_EQ(state_.startIndex, 1);
  EXPECT_EQ(list_.Row(), 2);
}

TEST_F(QuickSearchTest, ShowsTextThatNoRowFurtherDownContainsAsNotFoundAndKeepsTheRow) {
  Type("ab");
  list_.SetRow(5);
  Type("x");
  EXPECT_FALSE(label_.found);
  EXPECT_EQ(list_.Row(), 5);
  EXPECT_EQ(label_.caption, "abx");
}

TEST_F(QuickSearchTest, NeverWrapsRoundToTheRowsAbove) {
  Type("a");
  list_.SetRow(4);
  Type("n");  // only "banana", above, contains it
  EXPECT_FALSE(label_.found);
  EXPECT_EQ(list_.Row(), 4);
}

TEST_F(QuickSearchTest, ClearsTheTextAndMakesRow1CurrentWithEscape) {
  Type("ab");
  Escape();
  EXPECT_EQ(label_.caption, "");
  EXPECT_EQ(list_.Row(), 1);
  EXPECT_TRUE(label_.found);
}

TEST_F(QuickSearchTest, RunsForBackspaceWithAnEmptyTextToo) {
  list_.SetRow(3);
  Backspace();
  EXPECT_EQ(label_.caption, "");
  EXPECT_EQ(list_.Row(), 1);
}

TEST_F(QuickSearchTest, ComparesWithoutRegardToCaseAnywhereInTheText) {
  Type("LOPH");
  EXPECT_EQ(list_.Row(), 1);
  Escape();
  Type("RAB");
  EXPECT_EQ(list_.Row(), 5);
}

TEST_F(QuickSearchTest, FoldsLettersOfTheUpperHalfOfTheCodePage) {
  List({"one",
        "\xDC"
        "ber"});  // U with diaeresis
  Type("\xFC");
  EXPECT_EQ(list_.Row(), 2);
}

TEST_F(QuickSearchTest, TakesABlankAsAPrintableCharacter) {
  List({"one", "two words"});
  Type("o w");
  EXPECT_EQ(label_.caption, "o w");
  EXPECT_EQ(list_.Row(), 2);
}

TEST_F(QuickSearchTest, FindsNothingInAnEmptyList) {
  rows_.Clear();
  Type("a");
  EXPECT_FALSE(label_.found);
  Escape();
  EXPECT_FALSE(label_.found);
  EXPECT_EQ(list_.Row(), 0);
}

TEST_F(QuickSearchTest, LeavesEnterAndOtherControlKeysAlone) {
  Type("a");
  EXPECT_EQ(Form_KeyPress('\r', state_, label_, list_), Typed::Enter);
  EXPECT_EQ(Form_KeyPress('\t', state_, label_, list_), Typed::Passed);
  EXPECT_EQ(Form_KeyPress('\x01', state_, label_, list_), Typed::Passed);
  EXPECT_EQ(label_.caption, "a");
}

}  // namespace
}  // namespace zelkor::app
