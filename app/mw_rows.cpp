#include "app/mw_rows.h"

#include <algorithm>
#include <cassert>
#include <numeric>
#include <utility>

#include "db/item_editing.h"
#include "lib/clamp.h"
#include "lib/code_page.h"
#include "lib/file_times.h"
#include "lib/format.h"
#include "lib/selection.h"

namespace zelkor::app {

namespace {

// The entry of a list of choices; the nearest end for a number out of its range.
const std::string& Choice(const std::vector<std::string>& choices, int index) {
  return choices[static_cast<std::size_t>(lib::ClampInt(index, 0, static_cast<int>(choices.size()) - 1))];
}

std::string DateText(lib::Date date) {
  return date == 0 || !lib::IsDate(date) ? std::string() : lib::GeneralDate(date);
}

// The indices of `keys`, in their order; equal ones stay as they stood.
template <class Key>
std::vector<std::size_t> OrderOf(const std::vector<Key>& keys, bool ascending) {
  std::vector<std::size_t> order(keys.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return ascending ? keys[a] < keys[b] : keys[b] < keys[a]; });
  return order;
}

}  // namespace

lib::Date FirstFileDate(const std::string& selection) {
  const std::string file = lib::FirstSelectedFile(selection);
  return file.empty() ? 0 : lib::GetFileDate(file, lib::FileTime::Written);
}

MwRows::MwRows(std::function<lib::Date(const std::string&)> dateOf) : dateOf_(std::move(dateOf)) {}

const MwRows::Row& MwRows::At(int row) const {
  Sort();
  return rows_.at(static_cast<std::size_t>(row) - 1);
}

MwRows::Row& MwRows::At(int row) {
  Sort();
  return rows_.at(static_cast<std::size_t>(row) - 1);
}

void MwRows::Changed() const {
  if (changed_) changed_();
}

void MwRows::Clear() {
  rows_.clear();
  sorted_ = true;
  Changed();
  Select(0);
}

void MwRows::Add(const lib::ListRow& row) {
  rows_.push_back({.shown = row, .date = std::nullopt});
  if (sortKey_) sorted_ = false;
  Changed();
}

void MwRows::Replace(int row, const lib::ListRow& shown) {
  At(row) = {.shown = shown, .date = std::nullopt};
  Changed();
}

void MwRows::SetText(int row, const std::string& text) {
  At(row).shown.text = text;
  Changed();
}

int MwRows::Selected() const {
  Sort();
  return selected_;
}

void MwRows::Select(int row) {
  Sort();
  const int selected = row >= 1 && row <= Count() ? row : 0;
  if (selected == selected_) return;
  selected_ = selected;
  if (selectedChanged_) selectedChanged_();
}

void MwRows::Keep(const std::vector<bool>& keep) {
  Sort();
  assert(keep.size() == rows_.size());
  std::vector<Row> kept;
  int selected = 0;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    if (!keep[i]) continue;
    kept.push_back(std::move(rows_[i]));
    if (static_cast<int>(i) + 1 == selected_) selected = static_cast<int>(kept.size());
  }
  rows_ = std::move(kept);
  Changed();
  if (selected == selected_) return;
  selected_ = selected;
  if (selectedChanged_) selectedChanged_();
}

lib::Date MwRows::DateOf(const Row& row) const {
  if (!row.date) row.date = dateOf_(row.shown.selection);
  return *row.date;
}

std::string MwRows::Cell(int row, MwColumn column) const {
  const Row& at = At(row);
  const lib::ListRow& shown = at.shown;
  switch (column) {
    case MwColumn::Description:
      return shown.text;
    case MwColumn::Date:
      return DateText(DateOf(at));
    case MwColumn::Codes:
      return shown.codes;
    case MwColumn::SyncMethod:
      return Choice(db::kSyncMethodChoices, shown.exportState);
    case MwColumn::SyncTo:
      return Choice(db::kSyncToChoices, shown.syncTo);
    case MwColumn::LastImport: {
      const std::string date = DateText(shown.importDate);
      return shown.importSource + (shown.importSource.empty() || date.empty() ? "" : " ") + date;
    }
  }
  return {};
}

int MwRows::Picture(int row) const {
  constexpr int kDeleted = 3;
  const lib::ListRow& shown = At(row).shown;
  return shown.deleted ? kDeleted : shown.exportState;
}

void MwRows::List_ColumnClick(int column) {
  assert(column >= 1 && column <= static_cast<int>(kMwColumns.size()));
  sortKey_ = static_cast<MwColumn>(column - 1);
  ascending_ = !ascending_;
  sorted_ = false;
  Changed();
}

std::vector<std::size_t> MwRows::Order() const {
  const auto orderBy = [this](const auto& keyOf) {
    std::vector<decltype(keyOf(rows_[0]))> keys;
    keys.reserve(rows_.size());
    for (const Row& row : rows_) keys.push_back(keyOf(row));
    return OrderOf(keys, ascending_);
  };
  switch (*sortKey_) {
    case MwColumn::Description:
      return orderBy([](const Row& row) { return lib::Lower(row.shown.text); });
    case MwColumn::Date:
      return orderBy([this](const Row& row) { return lib::DateToSeconds(DateOf(row)); });
    case MwColumn::Codes:
      return orderBy([](const Row& row) { return lib::Lower(row.shown.codes); });
    case MwColumn::SyncMethod:
      return orderBy([](const Row& row) { return row.shown.exportState; });
    case MwColumn::SyncTo:
      return orderBy([](const Row& row) { return row.shown.syncTo; });
    case MwColumn::LastImport:
      return orderBy([](const Row& row) {
        return std::make_pair(lib::DateToSeconds(row.shown.importDate), lib::Lower(row.shown.importSource));
      });
  }
  return {};
}

void MwRows::Sort() const {
  if (sorted_) return;
  sorted_ = true;
  const std::vector<std::size_t> order = Order();
  std::vector<Row> rows;
  rows.reserve(rows_.size());
  int selected = 0;
  for (const std::size_t from : order) {
    rows.push_back(std::move(rows_[from]));
    if (static_cast<int>(from) + 1 == selected_) selected = static_cast<int>(rows.size());
  }
  rows_ = std::move(rows);
  selected_ = selected;
}

}  // namespace zelkor::app
