#include "db/item_list.h"

#include <gtest/gtest.h>
#include <string>

#include "db/memory_rows.h"

namespace zelkor::db {
namespace {

lib::ListRow Row(const std::string& text) {
  lib::ListRow row;
  row.text = text;
  return row;
}

class ItemList : public testing::Test {
 protected:
  ItemList() {
    list_.Add(Row("Plan"), 12);
    list_.Add(Row("List"), 3);
    list_.Add(Row("Letter"), 9999);
  }
  MemoryRows rows_;
  clsList list_{rows_};
};

TEST_F(ItemList, KeepsARecordNumberInTheRowsKeyBehindTheLetterR) {
  EXPECT_EQ(rows_.Key(1), "r12");
  EXPECT_EQ(list_.FileRec(1), 12);
  EXPECT_EQ(list_.FileRec(3), 9999);
  list_.SetFileRec(2, 77);
  EXPECT_EQ(rows_.Key(2), "r77");
}

TEST_F(ItemList, HasNoDataOfItsOwn) {
  rows_.SetKey(2, "r41");
  rows_.SetText(2, "Other");
  rows_.Select(3);
  EXPECT_EQ(list_.FileRec(2), 41);
  EXPECT_EQ(list_.Text(2), "Other");
  EXPECT_EQ(list_.Row(), 3);
  rows_.Clear();
  EXPECT_EQ(list_.Count(), 0);
}

TEST_F(ItemList, CountsRowsFrom1) {
  EXPECT_EQ(list_.Count(), 3);
  EXPECT_EQ(list_.Text(1), "Plan");
  EXPECT_EQ(list_.Row(), 0);
  list_.SetRow(2);
  EXPECT_EQ(list_.Row(), 2);
}

TEST_F(ItemList, FindsTheRowOfARecord) {
  EXPECT_EQ(list_.RowOf(3), 2);
  EXPECT_EQ(list_.RowOf(9999), 3);
  EXPECT_EQ(list_.RowOf(999), 0);
}

TEST_F(ItemList, ShowsARowAnewWhereItStands) {
  list_.Replace(2, Row("Shopping"), 3);
  EXPECT_EQ(list_.Text(2), "Shopping");
  EXPECT_EQ(list_.FileRec(2), 3);
  EXPECT_EQ(list_.Count(), 3);
}

TEST_F(ItemList, KeepsTheSelectionOnItsRowWhenRowsGo) {
  list_.SetRow(3);
  rows_.Keep({false, true, true});
  EXPECT_EQ(list_.Count(), 2);
  EXPECT_EQ(list_.FileRec(1), 3);
  EXPECT_EQ(list_.FileRec(2), 9999);
  EXPECT_EQ(list_.Row(), 2);
  rows_.Keep({true, false});
  EXPECT_EQ(list_.Row(), 0);
}

}  // namespace
}  // namespace zelkor::db
