// One of the ways in which the main window shows its rows.
#pragma once

#include <functional>
#include <string>
#include <wx/event.h>
#include <wx/window.h>

#include "app/mw_rows.h"

namespace zelkor::app {

// What the main window wants to hear of a view.
struct ItemViewEvents {
  std::function<void(int row)> click;           // the user made a row the selected one
  std::function<void()> dblClick;               // a double click on the selected row, or Enter
  std::function<void(const wxPoint&)> menu;     // at a place of the screen
  std::function<void(int column)> columnClick;  // columns count from 1
  // True when the key is swallowed.
  std::function<bool(const wxKeyEvent&)> key;
};

class ItemView {
 public:
  ItemView() = default;
  ItemView(const ItemView&) = delete;
  ItemView& operator=(const ItemView&) = delete;
  virtual ~ItemView() = default;

  [[nodiscard]] virtual wxWindow& Window() = 0;
  // Shows the rows, and which one is selected, as they are now. The selected row scrolls into view when it is another
  // one than before, or stands elsewhere.
  virtual void ShowRows() = 0;
  // What stands in the view while it has no rows; empty for nothing.
  virtual void ShowHint(const std::string& text) = 0;
};

}  // namespace zelkor::app
