#include "app/list_hint.h"

#include <algorithm>
#include <wx/generic/stattextg.h>
#include <wx/settings.h>

#include "lib/gui/text.h"

namespace zelkor::app {

ListHint::ListHint(wxWindow& view) : view_(view) {
  view_.Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    if (text_ != nullptr) TakeColours();
    event.Skip();
  });
  view_.Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    Place();
  });
}

void ListHint::Show(const std::string& text) {
  if (text == shown_) return;
  shown_ = text;
  // A hidden window in a view that scrolls is not there for the toolkit, which complains of having to move it.
  if (text_ != nullptr) text_->Destroy();
  text_ = nullptr;
  if (text.empty()) return;
  // The toolkit's own label has no window, and a view that has one would cover it.
  text_ = new wxGenericStaticText(&view_, wxID_ANY, wxControl::EscapeMnemonics(lib::ToWx(text)), wxDefaultPosition,
                                  wxDefaultSize, wxALIGN_CENTRE_HORIZONTAL | wxST_NO_AUTORESIZE);
  text_->SetName("Hint");
  TakeColours();
  // The hint is part of the view for whoever clicks on it.
  text_->Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent&) { view_.SetFocus(); });
  Place();
  text_->Raise();
}

void ListHint::TakeColours() {
  text_->SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOX));
  text_->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOXTEXT));
}

void ListHint::Place() {
  if (text_ == nullptr) return;
  const wxSize room = view_.GetClientSize();
  const wxSize best = text_->GetBestSize();
  const wxSize size(std::min(best.x, room.x), std::min(best.y, room.y));
  // In the upper half, where the rows will stand.
  text_->SetSize((room.x - size.x) / 2, std::max(0, room.y / 3 - size.y / 2), size.x, size.y);
}

}  // namespace zelkor::app
