#include "db/catalogue.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "db/memory_rows.h"
#include "lib/run_time_error.h"
#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"

namespace zelkor::db {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// Rows that keep all that they are given, as a window's do.
class ShownRows : public MemoryRows {
 public:
  void Clear() override {
    MemoryRows::Clear();
    shown.clear();
  }
  void Add(const lib::ListRow& row) override {
    shown.push_back(row);
    MemoryRows::Add(row);
  }
  void Replace(int row, const lib::ListRow& with) override {
    shown.at(static_cast<std::size_t>(row) - 1) = with;
    MemoryRows::Replace(row, with);
  }
  std::vector<lib::ListRow> shown;
};

class CatalogueTest : public tests::DatabaseFixture {
 protected:
  // One item of a test's database.
  struct Given {
    std::string description;
    std::string codes;
    std::int32_t memoId = 0;
    std::int32_t flags = 0;
    std::string fileName = "c:\\a.txt";
  };
  void OpenWith(const std::vector<Given>& items) {
    std::string bytes;
    for (const Given& item : items) {
      FileRec rec;
      rec.SetText(FileRec::kFileName, item.fileName);
      rec.SetText(FileRec::kDescription, item.description);
      rec.SetText(FileRec::kCodes, item.codes);
      rec.SetNumber(FileRec::kMemoId, item.memoId);
      rec.SetNumber(FileRec::kFlags, item.flags);
      bytes.append(rec.Bytes().data(), FileRec::kBytes);
    }
    WriteConfigFile(tests::GoldenConfig());
    WriteItemFile(bytes);
    ASSERT_EQ(Open(), Database::Opened::Yes);
    catalogue_.emplace(Data(), rows_, user_);
  }
  [[nodiscard]] Catalogue& Items() { return *catalogue_; }
  [[nodiscard]] std::vector<std::string> Listed() {
    std::vector<std::string> texts;
    for (int row = 1; row <= Items().ItemList().Count(); ++row) texts.push_back(Items().ItemList().Text(row));
    return texts;
  }
  [[nodiscard]] std::vector<std::int32_t> Recnos() {
    std::vector<std::int32_t> recnos;
    for (int row = 1; row <= Items().ItemList().Count(); ++row) recnos.push_back(Items().ItemList().FileRec(row));
    return recnos;
  }
  [[nodiscard]] std::string Current() { return Data().Item().Text(FileRec::kDescription); }
  bool Filter(const std::string& selection, const std::string& exclusion = "") {
    Items().ItemFilters().activeSelection = selection;
    Items().ItemFilters().activeExclusion = exclusion;
    return Items().ApplySelectFilter();
  }

  MemoryRows rows_;
  std::optional<Catalogue> catalogue_;
};

TEST_F(CatalogueTest, ListsTheLiveItemsAndReadsTheFirst) {
  OpenWith({{"gone", "", 1, kItemDeleted}, {"  one ", "", 2}, {"two", "", 3, 0x40}});
  Items().FillItemList(kLiveItems);
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
  EXPECT_THAT(Recnos(), ElementsAre(2, 3));
  EXPECT_EQ(Items().ItemList().Row(), 1);
  EXPECT_EQ(Current(), "one");
}

TEST_F(CatalogueTest, ListsTheItemsThatAMaskKeeps) {
  OpenWith({{"gone", "", 1, kItemDeleted}, {"one", "", 2}, {"odd", "", 3, 5}});
  Items().FillItemList(kDeletedItems);
  EXPECT_THAT(Listed(), ElementsAre("gone", "odd"));
  Items().FillItemList(kAllItems);
  EXPECT_THAT(Listed(), ElementsAre("gone", "one", "odd"));
  Items().FillItemList({.mask = 4, .value = 4});
  EXPECT_THAT(Listed(), ElementsAre("odd"));
}

TEST_F(CatalogueTest, GivesAnEmptyListAndNoMessageForAnEmptyItemFile) {
  OpenWith({});
  Items().FillItemList(kLiveItems);
  EXPECT_THAT(Listed(), IsEmpty());
  EXPECT_EQ(Items().ItemList().Row(), 0);
  EXPECT_TRUE(Filter("a"));
  EXPECT_THAT(Items().CollectCodes(), IsEmpty());
  EXPECT_THAT(user_.Messages(), IsEmpty());
}

TEST_F(CatalogueTest, EmptiesTheActiveCodesWithAFillAndKeepsTheStandardOnes) {
  OpenWith({{"one", "a", 1}});
  Items().ItemFilters() = {
      .activeSelection = "a", .activeExclusion = "b", .standardSelection = "c", .standardExclusion = "d"};
  Items().FillItemList(kLiveItems);
  EXPECT_EQ(Items().ItemFilters().activeSelection, "");
  EXPECT_EQ(Items().ItemFilters().activeExclusion, "");
  EXPECT_EQ(Items().ItemFilters().standardSelection, "c");
  EXPECT_EQ(Items().ItemFilters().standardExclusion, "d");
}

TEST_F(CatalogueTest, ReportsEqualMemoIdsWithEachFillHiddenItemsToo) {
  OpenWith({{"one", "", 7}, {"two", "", 8}, {"gone", "", 7, kItemDeleted}});
  Items().FillItemList(kLiveItems);
  Items().FillItemList(kLiveItems);
  EXPECT_THAT(user_.Messages(), ElementsAre("Item 3 ID = item 1 ID", "Item 3 ID = item 1 ID"));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::None);
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
}

TEST_F(CatalogueTest, FillsUpTo9999Items) {
  OpenWith({{"one", "", 1}});
  std::string items;
  std::string record = ItemFile();
  for (int i = 1; i <= 9999; ++i) {
    record[748] = static_cast<char>(i & 0xFF);
    record[749] = static_cast<char>(i >> 8);
    items += record;
  }
  WriteItemFile(items);
  ASSERT_EQ(Open(), Database::Opened::Yes);
  catalogue_.emplace(Data(), rows_, user_);
  Items().FillItemList(kLiveItems);
  EXPECT_EQ(Items().ItemList().Count(), 9999);
  EXPECT_EQ(Items().ItemList().FileRec(9999), 9999);
  EXPECT_THAT(user_.Messages(), IsEmpty());

  EXPECT_EQ(Items().AddItem("one more", "c:\\b.txt"), std::nullopt);
  EXPECT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(Data().RecordCount(), 9999);
  EXPECT_EQ(ItemFile(), items);
}

TEST_F(CatalogueTest, EndsTheFillOfMoreThan9999ItemsWithARunTimeError) {
  OpenWith({});
  std::filesystem::resize_file(ItemsPath(), std::uintmax_t{10000} * 1024);
  ASSERT_EQ(Open(), Database::Opened::Yes);
  catalogue_.emplace(Data(), rows_, user_);
  try {
    Items().FillItemList(kLiveItems);
    FAIL() << "no run-time error";
  } catch (const lib::RunTimeError& error) {
    EXPECT_THAT(error.what(), testing::HasSubstr("Subscript out of range"));
  }
  EXPECT_THROW(static_cast<void>(Data().FindMemoId(1)), lib::RunTimeError);
}

TEST_F(CatalogueTest, KeepsItemsThatCarryAllSelectionCodes) {
  OpenWith({{"one", "A x B", 1}, {"two", "a", 2}, {"three", "b a", 3}, {"four", "ab", 4}, {"gone", "a b", 5, 1}});
  Items().FillItemList(kLiveItems);
  Items().ItemList().SetRow(2);
  EXPECT_TRUE(Filter("a b"));
  EXPECT_THAT(Listed(), ElementsAre("one", "three"));
  EXPECT_THAT(Recnos(), ElementsAre(1, 3));
  EXPECT_EQ(Items().ItemList().Row(), 1);
  EXPECT_EQ(Current(), "one");
}

TEST_F(CatalogueTest, RemovesItemsThatCarryAnExclusionCode) {
  OpenWith({{"one", "abc", 1}, {"two", "bc", 2}, {"three", "bcd", 3}});
  Items().FillItemList(kLiveItems);
  EXPECT_TRUE(Filter("", "bc"));
  EXPECT_THAT(Listed(), ElementsAre("three"));
  EXPECT_EQ(Current(), "three");
}

TEST_F(CatalogueTest, NarrowsWhatAnEarlierFilterHasLeft) {
  OpenWith({{"one", "a", 1}, {"two", "a b", 2}, {"three", "b", 3}});
  Items().FillItemList(kLiveItems);
  EXPECT_TRUE(Filter("a"));
  EXPECT_TRUE(Filter("b"));
  EXPECT_THAT(Listed(), ElementsAre("two"));
}

TEST_F(CatalogueTest, FiltersRowsInTheOrderThatTheyStandIn) {
  OpenWith({{"one", "a", 1}, {"two", "b", 2}, {"three", "a", 3}});
  for (const int recno : {3, 2, 1}) {
    lib::ListRow row;
    row.text = std::to_string(recno);
    Items().ItemList().Add(row, recno);
  }
  EXPECT_TRUE(Filter("a"));
  EXPECT_THAT(Recnos(), ElementsAre(3, 1));
  EXPECT_EQ(Current(), "three");
}

TEST_F(CatalogueTest, SaysNothingSelectedAndShowsTheFullListAgain) {
  OpenWith({{"one", "a", 1}, {"two", "b", 2}, {"gone", "c", 3, 1}});
  Items().FillItemList(kLiveItems);
  EXPECT_TRUE(Filter("b"));
  EXPECT_FALSE(Filter("c"));
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Nothing selected!");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Exclamation);
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
  EXPECT_EQ(Items().ItemFilters().activeSelection, "");
  EXPECT_EQ(Items().ItemList().Row(), 1);
  EXPECT_EQ(Current(), "one");
}

TEST_F(CatalogueTest, ShowsTheDeletedItemsAgainWhenThoseWereListed) {
  OpenWith({{"one", "a", 1}, {"gone", "c", 3, 1}});
  Items().FillItemList(kDeletedItems);
  EXPECT_FALSE(Filter("a"));
  EXPECT_THAT(Listed(), ElementsAre("gone"));
}

TEST_F(CatalogueTest, CollectsEachCodeOfTheListedItemsOnce) {
  OpenWith({{"one", "b  A", 1}, {"gone", "x", 2, 1}, {"two", "a ab B c", 3}, {"three", "", 4}});
  Items().FillItemList(kLiveItems);
  EXPECT_THAT(Items().CollectCodes(), ElementsAre("b", "A", "ab", "c"));
}

TEST_F(CatalogueTest, ReadsTheItemOfTheSelectedRow) {
  OpenWith({{"gone", "", 1, 1}, {"one", "", 2}, {"two", "", 3}});
  Items().FillItemList(kLiveItems);
  Items().ItemList().SetRow(2);
  Items().ReadCurrentItem();
  EXPECT_EQ(Current(), "two");
  Items().ItemList().SetRow(0);
  Items().ReadCurrentItem();
  EXPECT_EQ(Current(), "two");
}

TEST_F(CatalogueTest, MakesTheFirstItemOfAnEmptyFileRecord1) {
  OpenWith({});
  Items().FillItemList(kLiveItems);
  EXPECT_EQ(Items().AddItem("Plan", "c:\\job\\plan.xls"), 1);
  const std::string record = ItemFile();
  ASSERT_EQ(record.size(), 1024U);
  EXPECT_EQ(record.substr(0, 512), tests::Pad("c:\\job\\plan.xls", 512));
  EXPECT_EQ(record.substr(512, 64), tests::Pad("Plan", 64));
  EXPECT_EQ(record.substr(576, 16), tests::Pad("", 16));
  EXPECT_EQ(record.substr(592, 2), tests::Raw("\0\0"));
  EXPECT_EQ(record.substr(602, 8), std::string(8, '\0'));
  EXPECT_EQ(record.substr(618, 2), tests::Raw("\0\0"));
  EXPECT_EQ(record.substr(620, 128), tests::Pad("", 128));
  EXPECT_EQ(record.substr(752, 2), tests::Raw("\1\0"));
  EXPECT_THAT(Listed(), ElementsAre("Plan"));
  EXPECT_EQ(Items().ItemList().Row(), 1);
  EXPECT_EQ(Items().AddItem("Next", "c:\\job\\next.xls"), 2);
  EXPECT_THAT(Recnos(), ElementsAre(1, 2));
  EXPECT_EQ(Items().ItemList().Row(), 2);
}

TEST_F(CatalogueTest, GivesANewItemTheRestOfTheBufferLastRead) {
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(tests::GoldenItems());
  ASSERT_EQ(Open(), Database::Opened::Yes);
  catalogue_.emplace(Data(), rows_, user_);
  Items().FillItemList(kLiveItems);  // reads item 1: method On, signature and reserved bytes set
  EXPECT_EQ(Items().AddItem("New", "c:\\n.txt"), 3);
  const std::string record = ItemFile().substr(2048);
  EXPECT_EQ(record.substr(610, 8), "memosign");
  EXPECT_EQ(record.substr(618, 2), tests::Raw("\1\0"));
  EXPECT_EQ(record.substr(754), std::string(270, 'r'));
  EXPECT_EQ(record.substr(576, 16), tests::Pad("", 16));
  EXPECT_EQ(record.substr(602, 8), std::string(8, '\0'));
  EXPECT_NE(record.substr(748, 4), tests::GoldenItems().substr(748, 4));
}

TEST_F(CatalogueTest, StoresCrLfBetweenTheNamesOfASelection) {
  OpenWith({});
  Items().AddItem("Two", "c:\\a.txt\nc:\\b.txt\r\n");
  EXPECT_EQ(ItemFile().substr(0, 512), tests::Pad("c:\\a.txt\r\nc:\\b.txt", 512));
}

TEST_F(CatalogueTest, GivesEveryNewItemAnIdOfItsOwn) {
  OpenWith({});
  std::set<std::int32_t> ids;
  for (int i = 0; i < 200; ++i) {
    Items().AddItem("item", "c:\\a.txt");
    const std::int32_t id = Data().Item().Number(FileRec::kMemoId);
    EXPECT_GE(id, 0);
    ids.insert(id);
  }
  EXPECT_EQ(ids.size(), 200U);
  // Uniform over 2^31, 200 numbers reach into the upper half and stay out of none of the quarters.
  EXPECT_THAT(ids, Contains(testing::Gt(1 << 30)));
  EXPECT_THAT(ids, Contains(testing::Lt(1 << 29)));
}

TEST_F(CatalogueTest, DrawsOtherIdsInEveryRun) {
  OpenWith({});
  Items().AddItem("item", "c:\\a.txt");
  const std::int32_t first = Data().Item().Number(FileRec::kMemoId);
  OpenWith({});
  Items().AddItem("item", "c:\\a.txt");
  EXPECT_NE(Data().Item().Number(FileRec::kMemoId), first);
}

TEST(DrawMemoId, CoversTheRangeAndRoundsToTheNearest) {
  const auto none = [](std::int32_t) { return false; };
  EXPECT_EQ(DrawMemoId([] { return 0.0; }, none), 0);
  EXPECT_EQ(DrawMemoId([] { return 1.6 / 2147483648.0; }, none), 2);
  EXPECT_EQ(DrawMemoId([] { return 2147483647.0 / 2147483648.0; }, none), 2147483647);
}

TEST(DrawMemoId, DrawsAgainWhatIsOutOfRangeOrTaken) {
  std::vector<double> numbers{std::nextafter(1.0, 0.0), 5.0 / 2147483648.0, 6.0 / 2147483648.0};
  std::size_t next = 0;
  EXPECT_EQ(DrawMemoId([&] { return numbers.at(next++); }, [](std::int32_t id) { return id == 5; }), 6);
  EXPECT_EQ(next, 3U);
}

TEST_F(CatalogueTest, GivesARowWhatItsRecordHolds) {
  WriteConfigFile(tests::GoldenConfig());
  WriteItemFile(tests::GoldenItems());
  ASSERT_EQ(Open(), Database::Opened::Yes);
  ShownRows rows;
  Catalogue catalogue(Data(), rows, user_);
  catalogue.FillItemList(kAllItems);
  ASSERT_EQ(rows.shown.size(), 2U);
  const lib::ListRow& first = rows.shown[0];
  EXPECT_EQ(first.text, "Plan");
  EXPECT_EQ(first.key, "r1");
  EXPECT_EQ(first.selection, "c:\\job\\finance\\plan.xls\r\nc:\\job\\finance\\notes.txt");
  EXPECT_EQ(first.codes, "+pc1 Work");
  EXPECT_EQ(first.exportState, 1);
  EXPECT_EQ(first.syncTo, 2);
  EXPECT_EQ(first.importSource, "office");
  EXPECT_EQ(first.importDate, 46000.5);
  EXPECT_EQ(rows.shown[1].exportState, 2);
  EXPECT_EQ(rows.shown[1].importDate, 0);
}

TEST_F(CatalogueTest, TellsTheRowsOfDeletedItemsFromTheOthers) {
  OpenWith({{"one", "", 1}, {"two", "", 2}});
  Data().ReadItem(2);
  Data().Item().SetNumber(FileRec::kFlags, kItemDeleted);
  Data().WriteItem(2);
  ShownRows rows;
  Catalogue catalogue(Data(), rows, user_);
  catalogue.FillItemList(kAllItems);
  EXPECT_FALSE(rows.shown.at(0).deleted);
  EXPECT_TRUE(rows.shown.at(1).deleted);
}

TEST_F(CatalogueTest, ShowsRecordValuesOutOfRangeAsTheNearestEnd) {
  OpenWith({{"one", "", 1}});
  Data().ReadItem(1);
  Data().Item().SetNumber(FileRec::kSyncMethod, 7);
  Data().Item().SetNumber(FileRec::kSyncTo, -3);
  Data().Item().SetDate(FileRec::kImportDate, -1);
  Data().WriteItem(1);
  ShownRows rows;
  Catalogue catalogue(Data(), rows, user_);
  catalogue.FillItemList(kLiveItems);
  EXPECT_EQ(rows.shown.at(0).exportState, 2);
  EXPECT_EQ(rows.shown.at(0).syncTo, 0);
  EXPECT_EQ(rows.shown.at(0).importDate, 0);
}

TEST_F(CatalogueTest, ShowsTheSelectedRowAnewWithTheChosenExportState) {
  OpenWith({{"one", "", 1}, {"two", "", 2}});
  ShownRows rows;
  Catalogue catalogue(Data(), rows, user_);
  catalogue.FillItemList(kLiveItems);
  catalogue.ItemList().SetRow(2);
  catalogue.ReadCurrentItem();
  Data().Item().SetText(FileRec::kDescription, "other");
  catalogue.ChooseExportState(2, 1);
  catalogue.ShowCurrentRow();
  EXPECT_EQ(rows.Text(1), "one");
  EXPECT_EQ(rows.Text(2), "other");
  EXPECT_EQ(rows.Key(2), "r2");
  EXPECT_EQ(rows.shown.at(1).exportState, 1);
}

TEST_F(CatalogueTest, RefreshesWithTheMaskAndTheCodesInForce) {
  OpenWith({{"one", "a", 1}, {"gone", "a", 2, 1}, {"two", "b", 3}, {"gone too", "b", 4, 1}});
  Items().FillItemList(kDeletedItems);
  EXPECT_TRUE(Filter("b"));
  Items().Refresh();
  EXPECT_THAT(Listed(), ElementsAre("gone too"));
  EXPECT_EQ(Items().ItemFilters().activeSelection, "b");
  EXPECT_EQ(Items().Shown().value, 1);
}

TEST_F(CatalogueTest, SelectsTheSameItemAfterARefresh) {
  OpenWith({{"one", "", 1}, {"two", "", 2}, {"three", "", 3}});
  Items().FillItemList(kLiveItems);
  Items().ItemList().SetRow(3);
  Data().ReadItem(1);
  Data().Item().SetNumber(FileRec::kFlags, kItemDeleted);
  Data().WriteItem(1);
  Items().Refresh();
  EXPECT_THAT(Listed(), ElementsAre("two", "three"));
  EXPECT_EQ(Items().ItemList().Row(), 2);
  EXPECT_EQ(Current(), "three");
}

TEST_F(CatalogueTest, SelectsTheNeighbourWhenARefreshDoesNotListTheItem) {
  OpenWith({{"one", "", 1}, {"two", "", 2}, {"three", "", 3}});
  Items().FillItemList(kLiveItems);
  const auto removeRow = [this](int row) {
    Items().ItemList().SetRow(row);
    Items().ReadCurrentItem();
    Data().Item().SetNumber(FileRec::kFlags, kItemDeleted);
    Data().WriteItem(Items().ItemList().FileRec(row));
    Items().Refresh();
  };
  removeRow(2);
  EXPECT_EQ(Current(), "three");
  EXPECT_EQ(Items().ItemList().Row(), 2);
  removeRow(2);
  EXPECT_EQ(Current(), "one");
  removeRow(1);
  EXPECT_THAT(Listed(), IsEmpty());
  EXPECT_EQ(Items().ItemList().Row(), 0);
}

TEST_F(CatalogueTest, KeepsTheExportStatesChosenInTheMenuOverARefresh) {
  OpenWith({{"one", "", 1}, {"two", "", 2}});
  Items().FillItemList(kLiveItems);
  Items().ChooseExportState(2, 1);
  Items().Refresh();
  EXPECT_EQ(Items().ChosenExportState(2), 1);
}

TEST_F(CatalogueTest, ShowsTheFullListWhenARefreshFindsNothingOfTheCodesLeft) {
  OpenWith({{"one", "a", 1}, {"two", "b", 2}});
  Items().FillItemList(kLiveItems);
  EXPECT_TRUE(Filter("a"));
  Items().ReadCurrentItem();
  Data().Item().SetNumber(FileRec::kFlags, kItemDeleted);
  Data().WriteItem(1);
  Items().Refresh();
  EXPECT_THAT(user_.Messages(), ElementsAre("Nothing selected!"));
  EXPECT_THAT(Listed(), ElementsAre("two"));
  EXPECT_EQ(Current(), "two");
}

TEST_F(CatalogueTest, SelectsTheRowOfANewItemWhereverItStands) {
  OpenWith({{"one", "", 1}});
  // Rows that put a new one first, as a sorted list may.
  class FirstRows : public ShownRows {
   public:
    void Add(const lib::ListRow& row) override {
      ShownRows::Add(row);
      for (int i = Count(); i > 1; --i) {
        const std::string key = Key(i);
        SetKey(i, Key(i - 1));
        SetKey(i - 1, key);
      }
    }
  } rows;
  Catalogue catalogue(Data(), rows, user_);
  catalogue.FillItemList(kLiveItems);
  EXPECT_EQ(catalogue.AddItem("new", "c:\\n.txt"), 2);
  EXPECT_EQ(catalogue.ItemList().Row(), 1);
}

TEST_F(CatalogueTest, RemembersExportStatesByRecordUntilTheNextFill) {
  OpenWith({{"one", "", 1}, {"two", "", 2}});
  Items().FillItemList(kLiveItems);
  Items().ChooseExportState(2, 1);
  Items().ChooseExportState(1, 2);
  Items().DropExportState(1);
  EXPECT_EQ(Items().ChosenExportState(1), std::nullopt);
  EXPECT_EQ(Items().ChosenExportState(2), 1);
  Items().FillItemList(kLiveItems);
  EXPECT_EQ(Items().ChosenExportState(2), std::nullopt);
}

}  // namespace
}  // namespace zelkor::db
