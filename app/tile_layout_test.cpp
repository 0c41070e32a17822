#include "app/tile_layout.h"

#include <gtest/gtest.h>

namespace zelkor::app {
namespace {

// Ten tiles of 100 x 50 in a view of 350 x 120: three in a line; or two in a column.
const TileLayout kLines(10, 100, 50, 350, 120, false);
const TileLayout kColumns(10, 100, 50, 350, 120, true);

TEST(TileLayout, FillsLineByLine) {
  EXPECT_EQ(kLines.Cell(1), (TileRect{0, 0, 100, 50}));
  EXPECT_EQ(kLines.Cell(3), (TileRect{200, 0, 100, 50}));
  EXPECT_EQ(kLines.Cell(4), (TileRect{0, 50, 100, 50}));
  EXPECT_EQ(kLines.Width(), 300);
  EXPECT_EQ(kLines.Height(), 200);
}

TEST(TileLayout, FillsColumnByColumnInTheListView) {
  EXPECT_EQ(kColumns.Cell(2), (TileRect{0, 50, 100, 50}));
  EXPECT_EQ(kColumns.Cell(3), (TileRect{100, 0, 100, 50}));
  EXPECT_EQ(kColumns.Width(), 500);
  EXPECT_EQ(kColumns.Height(), 100);
}

TEST(TileLayout, FindsTheRowUnderAPoint) {
  for (int row = 1; row <= 10; ++row) {
    for (const TileLayout& layout : {kLines, kColumns}) {
      const TileRect cell = layout.Cell(row);
      EXPECT_EQ(layout.RowAt(cell.x, cell.y), row);
      EXPECT_EQ(layout.RowAt(cell.x + 99, cell.y + 49), row);
    }
  }
  EXPECT_EQ(kLines.RowAt(300, 0), 0);    // right of the third column
  EXPECT_EQ(kLines.RowAt(100, 150), 0);  // behind the last tile
  EXPECT_EQ(kLines.RowAt(0, 200), 0);
  EXPECT_EQ(kLines.RowAt(-1, 0), 0);
  EXPECT_EQ(kColumns.RowAt(0, 100), 0);
  EXPECT_EQ(kColumns.RowAt(500, 0), 0);
}

TEST(TileLayout, NamesTheRowsThatShowInAnArea) {
  EXPECT_EQ(kLines.RowsIn({0, 50, 350, 60}).first, 4);
  EXPECT_EQ(kLines.RowsIn({0, 50, 350, 60}).last, 9);
  EXPECT_EQ(kLines.RowsIn({0, 150, 350, 500}).last, 10);
  EXPECT_EQ(kColumns.RowsIn({100, 0, 100, 120}).first, 3);
  EXPECT_EQ(kColumns.RowsIn({100, 0, 100, 120}).last, 4);
  const TileLayout empty(0, 100, 50, 350, 120, false);
  EXPECT_GT(empty.RowsIn({0, 0, 350, 120}).first, empty.RowsIn({0, 0, 350, 120}).last);
}

TEST(TileLayout, StepsByTheKeyboard) {
  EXPECT_EQ(kLines.Step(5, TileStep::Left), 4);
  EXPECT_EQ(kLines.Step(5, TileStep::Right), 6);
  EXPECT_EQ(kLines.Step(5, TileStep::Up), 2);
  EXPECT_EQ(kLines.Step(5, TileStep::Down), 8);
  EXPECT_EQ(kColumns.Step(5, TileStep::Left), 3);
  EXPECT_EQ(kColumns.Step(5, TileStep::Right), 7);
  EXPECT_EQ(kColumns.Step(5, TileStep::Up), 4);
  EXPECT_EQ(kColumns.Step(5, TileStep::Down), 6);
  EXPECT_EQ(kLines.Step(5, TileStep::First), 1);
  EXPECT_EQ(kLines.Step(5, TileStep::Last), 10);
  EXPECT_EQ(kLines.Step(2, TileStep::PageDown), 8);
  EXPECT_EQ(kLines.Step(8, TileStep::PageDown), 10);
  EXPECT_EQ(kLines.Step(8, TileStep::PageUp), 2);
  EXPECT_EQ(kLines.Step(5, TileStep::PageUp), 2);
}

TEST(TileLayout, StaysWhereAStepLeadsOutside) {
  EXPECT_EQ(kLines.Step(1, TileStep::Left), 1);
  EXPECT_EQ(kLines.Step(2, TileStep::Up), 2);
  EXPECT_EQ(kLines.Step(8, TileStep::Down), 8);
  EXPECT_EQ(kLines.Step(10, TileStep::Right), 10);
  EXPECT_EQ(kLines.Step(0, TileStep::Down), 1);
  EXPECT_EQ(TileLayout(0, 100, 50, 350, 120, false).Step(0, TileStep::Last), 0);
}

TEST(TileLayout, HasOneTileInALineThatIsTooNarrow) {
  const TileLayout narrow(3, 100, 50, 20, 20, false);
  EXPECT_EQ(narrow.Cell(2), (TileRect{0, 50, 100, 50}));
  EXPECT_EQ(narrow.Step(1, TileStep::PageDown), 2);
}

}  // namespace
}  // namespace zelkor::app
