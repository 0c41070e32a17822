// The list of items: `clsList` fronts rows that a window shows or an unattended run keeps in memory, each row's key
// leading to its record.
#pragma once

#include <cstdint>
#include <string>

#include "lib/list_rows.h"

namespace zelkor::db {

// A thin adapter without data of its own. Rows count from 1. A row's record number is kept in its key as "r" and the
// number in decimal, because a list view refuses keys that are numbers.
class clsList {
 public:
  explicit clsList(lib::ListRows& rows) : rows_(rows) {}

  [[nodiscard]] int Count() const;
  [[nodiscard]] std::string Text(int row) const;
  void SetText(int row, const std::string& text);
  // The selected row, 0 when none is.
  [[nodiscard]] int Row() const;
  void SetRow(int row);
  [[nodiscard]] std::int32_t FileRec(int row) const;
  void SetFileRec(int row, std::int32_t recno);
  // The row of a record; 0 when it has none.
  [[nodiscard]] int RowOf(std::int32_t recno) const;
  // `shown` need not have its key.
  void Add(lib::ListRow shown, std::int32_t recno);
  void Replace(int row, lib::ListRow shown, std::int32_t recno);

  [[nodiscard]] lib::ListRows& Rows() { return rows_; }

 private:
  lib::ListRows& rows_;
};

}  // namespace zelkor::db
