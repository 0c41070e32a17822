#include "app/tile_layout.h"

#include <algorithm>

namespace zelkor::app {

TileLayout::TileLayout(int count, int cellWidth, int cellHeight, int viewWidth, int viewHeight, bool byColumns)
    : count_(std::max(0, count)),
      cellWidth_(std::max(1, cellWidth)),
      cellHeight_(std::max(1, cellHeight)),
      perLine_(std::max(1, byColumns ? viewHeight / cellHeight_ : viewWidth / cellWidth_)),
      perPage_(std::max(1, byColumns ? viewWidth / cellWidth_ : viewHeight / cellHeight_)),
      byColumns_(byColumns) {}

int TileLayout::Lines() const { return (count_ + perLine_ - 1) / perLine_; }

int TileLayout::Width() const { return (byColumns_ ? Lines() : std::min(perLine_, count_)) * cellWidth_; }

int TileLayout::Height() const { return (byColumns_ ? std::min(perLine_, count_) : Lines()) * cellHeight_; }

TileRect TileLayout::Cell(int row) const {
  const int line = (row - 1) / perLine_;
  const int place = (row - 1) % perLine_;
  return {.x = (byColumns_ ? line : place) * cellWidth_,
          .y = (byColumns_ ? place : line) * cellHeight_,
          .width = cellWidth_,
          .height = cellHeight_};
}

int TileLayout::RowAt(int x, int y) const {
  if (x < 0 || y < 0) return 0;
  const int across = x / cellWidth_;
  const int down = y / cellHeight_;
  const int place = byColumns_ ? down : across;
  const int line = byColumns_ ? across : down;
  if (place >= perLine_ || line >= Lines()) return 0;
  const int row = line * perLine_ + place + 1;
  return row <= count_ ? row : 0;
}

TileLayout::Range TileLayout::RowsIn(const TileRect& area) const {
  const int from = byColumns_ ? area.x / cellWidth_ : area.y / cellHeight_;
  const int to = byColumns_ ? (area.x + area.width - 1) / cellWidth_ : (area.y + area.height - 1) / cellHeight_;
  return {.first = std::max(0, from) * perLine_ + 1, .last = std::min(count_, (to + 1) * perLine_)};
}

int TileLayout::Step(int row, TileStep step) const {
  if (count_ == 0) return 0;
  if (row == 0) return 1;
  int by = 0;
  switch (step) {
    case TileStep::First:
      return 1;
    case TileStep::Last:
      return count_;
    case TileStep::Left:
      by = byColumns_ ? -perLine_ : -1;
      break;
    case TileStep::Right:
      by = byColumns_ ? perLine_ : 1;
      break;
    case TileStep::Up:
      by = byColumns_ ? -1 : -perLine_;
      break;
    case TileStep::Down:
      by = byColumns_ ? 1 : perLine_;
      break;
    case TileStep::PageUp:
      return std::max(row - perLine_ * perPage_, (row - 1) % perLine_ + 1);
    case TileStep::PageDown:
      return std::min(row + perLine_ * perPage_, count_);
  }
  const int to = row + by;
  return to >= 1 && to <= count_ ? to : row;
}

}  // namespace zelkor::app
