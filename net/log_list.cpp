#include "net/log_list.h"

#include <algorithm>

#include "lib/gui/text.h"

namespace zelkor::net {

LogList::LogList(wxWindow* parent)
    : wxListView(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxLC_REPORT | wxLC_VIRTUAL | wxLC_NO_HEADER) {
  SetName("Log");
  SetFont(wxFont(wxFontInfo(GetFont().GetFractionalPointSize()).Family(wxFONTFAMILY_TELETYPE)));
  AppendColumn({});
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    FitColumn();
    CallAfter([this] { KeepNewestInView(); });
  });
  // The list itself can not extend a selection that was not made by a key or a click.
  Bind(wxEVT_KEY_DOWN, &LogList::List_KeyDown, this);
  Bind(wxEVT_LEFT_DOWN, &LogList::List_LeftDown, this);
}

std::optional<long> LogList::PlaceAfter(const wxKeyEvent& key) const {
  const long last = GetItemCount() - 1L;
  switch (key.GetKeyCode()) {
    case WXK_UP:
      return GetFocusedItem() - 1;
    case WXK_DOWN:
      return GetFocusedItem() + 1;
    case WXK_PAGEUP:
      return GetFocusedItem() - GetCountPerPage();
    case WXK_PAGEDOWN:
      return GetFocusedItem() + GetCountPerPage();
    case WXK_HOME:
      return 0;
    case WXK_END:
      return last;
    default:
      return std::nullopt;
  }
}

void LogList::List_KeyDown(wxKeyEvent& key) {
  const std::optional<long> row = key.ShiftDown() && GetItemCount() > 0 ? PlaceAfter(key) : std::nullopt;
  if (row) {
    ExtendTo(std::clamp(*row, 0L, GetItemCount() - 1L));
  } else {
    key.Skip();
  }
}

void LogList::List_LeftDown(wxMouseEvent& event) {
  int where = 0;
  const long row = HitTest(event.GetPosition(), where);
  if (event.ShiftDown() && row >= 0) {
    SetFocus();
    ExtendTo(row);
  } else {
    event.Skip();
  }
}

void LogList::ExtendTo(long row) {
  // The stretch goes on from where it began, unless something else was selected in between.
  if (stretchEnd_ != GetFocusedItem()) stretchStart_ = std::max(GetFocusedItem(), 0L);
  stretchEnd_ = row;
  DeselectAll();
  for (long i = std::min(stretchStart_, row); i <= std::max(stretchStart_, row); ++i) Select(i);
  Focus(row);
}

void LogList::DeselectAll() {
  for (long row = GetFirstSelected(); row >= 0; row = GetNextSelected(row)) Select(row, false);
}

void LogList::Add(const std::string& line) {
  lines_.push_back(line);
  longest_ = std::max(longest_, line.size());
}

void LogList::Clear() {
  lines_.clear();
  longest_ = 0;
  drawn_ = 0;
  SetItemCount(0);
  FitColumn();
  Refresh();
}

void LogList::Flush() {
  if (drawn_ == lines_.size()) return;
  const auto newest = static_cast<long>(lines_.size()) - 1;
  SetItemCount(newest + 1);
  FitColumn();
  DeselectAll();
  stretchEnd_ = -1;
  drawn_ = lines_.size();
  Select(newest);
  Focus(newest);
}

void LogList::KeepNewestInView() {
  const int newest = GetItemCount() - 1;
  if (newest >= 0 && IsSelected(newest)) EnsureVisible(newest);
}

void LogList::FitColumn() {
  // Every character is as wide as the next one; the last one stands for the margins.
  const int needed = GetTextExtent("0").GetWidth() * static_cast<int>(longest_ + 1) + FromDIP(8);
  const int width = std::max(needed, GetClientSize().GetWidth());
  if (GetColumnWidth(0) != width) SetColumnWidth(0, width);
}

std::string LogList::SelectedText() const {
  std::string text;
  for (long row = GetFirstSelected(); row >= 0; row = GetNextSelected(row)) {
    text += lines_[static_cast<std::size_t>(row)] + "\n";
  }
  return text;
}

void LogList::SelectAll() { SetItemState(-1, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED); }

wxString LogList::OnGetItemText(long item, long /*column*/) const {
  return lib::ToWx(lines_[static_cast<std::size_t>(item)]);
}

}  // namespace zelkor::net
