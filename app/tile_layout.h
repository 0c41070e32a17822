// Where the tiles of a list stand in its icon, small icon and list views: equal cells, filled line by line, or column
// by column in the list view. Pixels count from the top left of the whole, scrolled or not; rows count from 1.
#pragma once

namespace zelkor::app {

struct TileRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  bool operator==(const TileRect&) const = default;
};

// A step of the keyboard.
enum class TileStep { Left, Right, Up, Down, PageUp, PageDown, First, Last };

class TileLayout {
 public:
  // `byColumns`: a column is filled from top to bottom before the next one, and the list scrolls sideways.
  TileLayout(int count, int cellWidth, int cellHeight, int viewWidth, int viewHeight, bool byColumns);

  [[nodiscard]] int Width() const;
  [[nodiscard]] int Height() const;
  [[nodiscard]] TileRect Cell(int row) const;
  // The row whose cell holds the point; 0 when none does.
  [[nodiscard]] int RowAt(int x, int y) const;
  // The rows from first to last are all that show in `area` (some of them may not); none when first > last.
  struct Range {
    int first = 1;
    int last = 0;
  };
  [[nodiscard]] Range RowsIn(const TileRect& area) const;
  // The row that a step leads to from `row`, which stays where the step leads outside; from no row (0) to the first.
  [[nodiscard]] int Step(int row, TileStep step) const;

 private:
  [[nodiscard]] int Lines() const;  // of cells across the direction of filling

  int count_;
  int cellWidth_;
  int cellHeight_;
  int perLine_;  // cells in a line, or in a column
  int perPage_;  // lines, or columns, in view
  bool byColumns_;
};

}  // namespace zelkor::app
