// What stands in the middle of a view while it has no rows: why there are none, and what to do.
#pragma once

#include <string>
#include <wx/window.h>

namespace zelkor::app {

class ListHint {
 public:
  // The text belongs to `view`.
  explicit ListHint(wxWindow& view);

  // Lines end with LF; an empty text takes the hint away.
  void Show(const std::string& text);

 private:
  void TakeColours();
  void Place();

  wxWindow& view_;
  wxWindow* text_ = nullptr;  // only while there is a text
  std::string shown_;
};

}  // namespace zelkor::app
