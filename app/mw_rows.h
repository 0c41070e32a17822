// The rows of the main window's list, without the window: what each row shows in the detailed view, their order, and
// which one is selected. The window draws the rows that are in view and asks here for nothing else, so that a list of
// any length is filled at once.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lib/date.h"
#include "lib/list_rows.h"

namespace zelkor::app {

// The columns of the detailed view, in their order.
enum class MwColumn { Description, Date, Codes, SyncMethod, SyncTo, LastImport };
inline constexpr std::array<std::string_view, 6> kMwColumns{"Description", "Date",    "Codes",
                                                            "Sync method", "Sync to", "Last import"};

// The pictures of the rows: of the three export states, and of a deleted item.
inline constexpr std::array<std::string_view, 4> kRowPictures{"ItemAuto", "ItemOn", "ItemOff", "ItemDeleted"};

// When the first file of a selection was last written; 0 when there is none.
[[nodiscard]] lib::Date FirstFileDate(const std::string& selection);

class MwRows : public lib::ListRows {
 public:
  // `dateOf` is asked for a row's date when the date is first shown or sorted by.
  explicit MwRows(std::function<lib::Date(const std::string& selection)> dateOf = FirstFileDate);

  // Told after any change of the rows or their order, and after a change of the selected row. Neither may change rows.
  void OnChange(std::function<void()> listener) { changed_ = std::move(listener); }
  void OnSelect(std::function<void()> listener) { selectedChanged_ = std::move(listener); }

  void Clear() override;
  void Add(const lib::ListRow& row) override;
  void Replace(int row, const lib::ListRow& shown) override;
  [[nodiscard]] int Count() const override { return static_cast<int>(rows_.size()); }
  [[nodiscard]] std::string Text(int row) const override { return At(row).shown.text; }
  void SetText(int row, const std::string& text) override;
  [[nodiscard]] std::string Key(int row) const override { return At(row).shown.key; }
  void SetKey(int row, const std::string& key) override { At(row).shown.key = key; }
  [[nodiscard]] int Selected() const override;
  // A row that does not exist selects none.
  void Select(int row) override;
  void Keep(const std::vector<bool>& keep) override;

  // The text of a row in a column.
  [[nodiscard]] std::string Cell(int row, MwColumn column) const;
  [[nodiscard]] int ExportState(int row) const { return At(row).shown.exportState; }
  // An index of kRowPictures.
  [[nodiscard]] int Picture(int row) const;

  // A click on a column's head, `column` counting from 1: sorts by it and turns the order round, whichever column was
  // clicked before. At the start the order is descending and no column is sorted by, so the first click sorts
  // ascending. The selected row stays selected. Rows added later take their places in the order.
  void List_ColumnClick(int column);
  [[nodiscard]] std::optional<MwColumn> SortedBy() const { return sortKey_; }
  [[nodiscard]] bool Ascending() const { return ascending_; }

 private:
  struct Row {
    lib::ListRow shown;
    mutable std::optional<lib::Date> date;  // once it was asked for
  };

  [[nodiscard]] const Row& At(int row) const;
  [[nodiscard]] Row& At(int row);
  [[nodiscard]] lib::Date DateOf(const Row& row) const;
  [[nodiscard]] std::vector<std::size_t> Order() const;
  void Sort() const;
  void Changed() const;

  std::function<lib::Date(const std::string&)> dateOf_;
  std::function<void()> changed_;
  std::function<void()> selectedChanged_;
  std::optional<MwColumn> sortKey_;
  bool ascending_ = false;
  // Put into their order when they are next looked at, so that a fill sorts once.
  mutable std::vector<Row> rows_;
  mutable int selected_ = 0;
  mutable bool sorted_ = true;
};

}  // namespace zelkor::app
