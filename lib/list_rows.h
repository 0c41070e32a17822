// The rows of a list, wherever they are shown: a list view, or memory in an unattended run. Rows count from 1.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lib/date.h"

namespace zelkor::lib {

// What one row shows. A row that nobody sees may keep its text and key alone.
struct ListRow {
  std::string text;  // the item's description
  std::string key;
  std::string selection;  // the item's files; the date that a row shows is that of the first one
  std::string codes;
  int exportState = 0;  // 0 Auto, 1 On, 2 Off
  int syncTo = 0;       // 0 All, 1 All but excluded, 2 Only included
  std::string importSource;
  Date importDate = 0;
  bool deleted = false;
};

class ListRows {
 public:
  ListRows() = default;
  ListRows(const ListRows&) = delete;
  ListRows& operator=(const ListRows&) = delete;
  virtual ~ListRows() = default;

  virtual void Clear() = 0;
  // A new row, not always the last one: rows may stand in an order of their own.
  virtual void Add(const ListRow& row) = 0;
  // Shows a row anew, where it stands.
  virtual void Replace(int row, const ListRow& shown) = 0;
  [[nodiscard]] virtual int Count() const = 0;
  [[nodiscard]] virtual std::string Text(int row) const = 0;
  virtual void SetText(int row, const std::string& text) = 0;
  [[nodiscard]] virtual std::string Key(int row) const = 0;
  virtual void SetKey(int row, const std::string& key) = 0;
  // The selected row; 0 when none is.
  [[nodiscard]] virtual int Selected() const = 0;
  virtual void Select(int row) = 0;
  // Keeps row i when keep[i - 1] is true and removes it otherwise, in one pass. REQUIRES: keep.size() == Count().
  virtual void Keep(const std::vector<bool>& keep) = 0;
};

}  // namespace zelkor::lib
