// The lines of a log in a list that asks for them one by one as they come into view.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>
#include <wx/listctrl.h>

namespace zelkor::net {

class LogList : public wxListView {
 public:
  explicit LogList(wxWindow* parent);

  // The lines are in the code page. A new line is drawn by the next Flush.
  void Add(const std::string& line);
  void Clear();
  // Draws what was added, and selects the newest line, so that it is in view.
  void Flush();

  [[nodiscard]] const std::vector<std::string>& Lines() const { return lines_; }
  [[nodiscard]] std::string SelectedText() const;
  void SelectAll();

 private:
  [[nodiscard]] wxString OnGetItemText(long item, long column) const override;
  // The line that the key leads to; nothing for any other key.
  [[nodiscard]] std::optional<long> PlaceAfter(const wxKeyEvent& key) const;
  void List_KeyDown(wxKeyEvent& key);
  void List_LeftDown(wxMouseEvent& event);
  void ExtendTo(long row);
  void DeselectAll();
  void FitColumn();
  // In a list that has become smaller.
  void KeepNewestInView();

  std::vector<std::string> lines_;
  std::size_t longest_ = 0;  // characters of the longest line
  std::size_t drawn_ = 0;    // lines that the control knows of
  // The stretch that is being selected with the shift key; an end of -1: none.
  long stretchStart_ = 0;
  long stretchEnd_ = -1;
};

}  // namespace zelkor::net
