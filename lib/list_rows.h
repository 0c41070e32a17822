// The rows of a list, wherever they are shown: a list view, or memory in an unattended run. Rows count from 1.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lib/date.h"

namespace zelkor::lib {

class ListRows {
 public:
  ListRows() = default;
  ListRows(const ListRows&) = delete;
  ListRows& operator=(const ListRows&) = delete;
  virtual ~ListRows() = default;

  virtual void Clear() = 0;
  // Whether the rows show each item's date (finding it costs a look at the file), and a new row; `date` is 0 when they
  // do not, or there is none.
  [[nodiscard]] virtual bool WantsDates() const = 0;
  virtual void Add(std::string text, std::string key, Date date) = 0;
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
