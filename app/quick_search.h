// The quick search: text typed straight into the main window makes the row that contains it the current one.
#pragma once

#include <cstdint>
#include <string>

#include "db/item_list.h"

namespace zelkor::app {

// The label whose caption is the search text.
class SearchLabel {
 public:
  SearchLabel() = default;
  SearchLabel(const SearchLabel&) = delete;
  SearchLabel& operator=(const SearchLabel&) = delete;
  virtual ~SearchLabel() = default;

  [[nodiscard]] virtual std::string Caption() const = 0;
  virtual void SetCaption(const std::string& caption) = 0;
  // Red (255, 0, 0) for a hit, blue (0, 0, 255) for none: so it has always been, and users know it.
  virtual void SetFound(bool found) = 0;
};

// What a search leaves for the next one; the widths are fixed by the product.
struct QuickSearchState {
  std::int16_t previousLength = 0;  // of the search text after the last search
  std::string searchText;
  std::int32_t currentIndex = 0;  // the row being tested
  std::int32_t startIndex = 0;    // the row where the last search began
};

// Searches for the label's caption, called after every change of it. A text that has grown goes on from the current
// row, any other starts at row 1; the search never wraps round. Without a hit the current row stays.
void QuickSearch(QuickSearchState& state, SearchLabel& label, db::clsList& list);

// What became of a key typed into the window.
enum class Typed {
  Passed,    // none of the search's keys
  Searched,  // swallowed
  Enter,     // acts as a double click on the list
};

// `character` is a character of the code page, or a control character.
Typed Form_KeyPress(char character, QuickSearchState& state, SearchLabel& label, db::clsList& list);

}  // namespace zelkor::app
