#include "db/memory_rows.h"

#include <cassert>
#include <utility>

namespace zelkor::db {

void MemoryRows::Clear() {
  rows_.clear();
  selected_ = 0;
}

void MemoryRows::Add(const lib::ListRow& row) { rows_.push_back({.text = row.text, .key = row.key}); }

void MemoryRows::Replace(int row, const lib::ListRow& shown) { At(row) = {.text = shown.text, .key = shown.key}; }

void MemoryRows::Keep(const std::vector<bool>& keep) {
  assert(keep.size() == rows_.size());
  std::size_t kept = 0;
  int selected = 0;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (!keep[i]) continue;
    if (kept != i) rows_[kept] = std::move(rows_[i]);
    ++kept;
    if (static_cast<int>(i) + 1 == selected_) selected = static_cast<int>(kept);
  }
  rows_.resize(kept);
  selected_ = selected;
}

}  // namespace zelkor::db
