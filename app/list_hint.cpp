#include "app/list_hint.h"

#include <algorithm>
#include <wx/generic/stattextg.h>
#include <wx/settings.h>

#include "lib/gui/text.h"

namespace zelkor::app {

// The toolkit's own label has no window, and a view that has one would cover it.
ListHint::ListHint(wxWindow& view)
    : view_(view),
      text_(new wxGenericStaticText(&view, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                                    wxALIGN_CENTRE_HORIZONTAL | wxST_NO_AUTORESIZE)) {
  text_->SetName("Hint");
  text_->Hide();
  const auto colours = [this] {
    text_->SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOX));
    text_->SetForegroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOXTEXT));
  };
  colours();
  view_.Bind(wxEVT_SYS_COLOUR_CHANGED, [colours](wxSysColourChangedEvent& event) {
    colours();
    event.Skip();
  });
  view_.Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    Place();
  });
  // The hint is part of the view for whoever clicks on it.
  text_->Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent&) { view_.SetFocus(); });
}

void ListHint::Show(const std::string& text) {
  if (text == shown_) return;
  shown_ = text;
  text_->SetLabel(wxControl::EscapeMnemonics(lib::ToWx(text)));
  Place();
  text_->Show(!text.empty());
  text_->Raise();
}

void ListHint::Place() {
  if (shown_.empty()) return;
  const wxSize room = view_.GetClientSize();
  const wxSize best = text_->GetBestSize();
  const wxSize size(std::min(best.x, room.x), std::min(best.y, room.y));
  // In the upper half, where the rows will stand.
  text_->SetSize((room.x - size.x) / 2, std::max(0, room.y / 3 - size.y / 2), size.x, size.y);
}

}  // namespace zelkor::app
