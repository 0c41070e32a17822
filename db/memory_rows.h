// The rows of a list that nobody sees: for unattended runs, and for tests.
#pragma once

#include <string>
#include <vector>

#include "lib/list_rows.h"

namespace zelkor::db {

class MemoryRows : public lib::ListRows {
 public:
  void Clear() override;
  void Add(const lib::ListRow& row) override;
  void Replace(int row, const lib::ListRow& shown) override;
  [[nodiscard]] int Count() const override { return static_cast<int>(rows_.size()); }
  [[nodiscard]] std::string Text(int row) const override { return At(row).text; }
  void SetText(int row, const std::string& text) override { At(row).text = text; }
  [[nodiscard]] std::string Key(int row) const override { return At(row).key; }
  void SetKey(int row, const std::string& key) override { At(row).key = key; }
  [[nodiscard]] int Selected() const override { return selected_; }
  // A row that does not exist selects none.
  void Select(int row) override { selected_ = row >= 1 && row <= Count() ? row : 0; }
  // The selection stays with its row, and is gone when the row is.
  void Keep(const std::vector<bool>& keep) override;

 private:
  struct Row {
    std::string text;
    std::string key;
  };
  [[nodiscard]] const Row& At(int row) const { return rows_.at(static_cast<std::size_t>(row) - 1); }
  [[nodiscard]] Row& At(int row) { return rows_.at(static_cast<std::size_t>(row) - 1); }

  std::vector<Row> rows_;
  int selected_ = 0;
};

}  // namespace zelkor::db
