#include "app/status_line.h"

#include <wx/settings.h>

#include "lib/gui/text.h"

namespace zelkor::app {

namespace {

constexpr int kPanels = static_cast<int>(kPanelDescriptions.size());

const wxColour kFoundColour(255, 0, 0);
const wxColour kNotFoundColour(0, 0, 255);
// What both can be read on.
const wxColour kLightGround(246, 246, 246);
constexpr double kDark = 0.5;

}  // namespace

StatusLine::StatusLine(wxWindow* parent)
    : wxStatusBar(parent, wxID_ANY, wxSTB_SIZEGRIP | wxSTB_ELLIPSIZE_END | wxFULL_REPAINT_ON_RESIZE) {
  constexpr std::array<int, kPanels> kShares{-4, -6, -2, -3};
  SetFieldsCount(kPanels, kShares.data());
  label_ = new wxStaticText(this, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                            wxST_NO_AUTORESIZE | wxST_ELLIPSIZE_START);
  label_->SetName("Quicksearch");
  label_->SetToolTip(kPanelDescriptions.back());
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    PlaceLabel();
    event.Skip();
  });
  Bind(wxEVT_MOTION, &StatusLine::OnMotion, this);
  Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    event.Skip();
    ShowGround();
  });
  PlaceLabel();
}

// The colours of the text are the same on every desktop, so a dark one gets a light strip behind it.
void StatusLine::ShowGround() {
  const bool dark = wxSystemSettings::GetColour(wxSYS_COLOUR_BTNFACE).GetLuminance() < kDark;
  label_->SetBackgroundColour(dark && !caption_.empty() ? kLightGround : wxColour());
}

void StatusLine::PlaceLabel() {
  wxRect panel;
  if (!GetFieldRect(kPanels - 1, panel)) return;
  const int height = label_->GetBestSize().y;
  label_->SetSize(panel.x + FromDIP(2), panel.y + (panel.height - height) / 2, panel.width - FromDIP(4), height);
}

void StatusLine::OnMotion(wxMouseEvent& event) {
  event.Skip();
  for (int i = 0; i < kPanels; ++i) {
    wxRect panel;
    if (!GetFieldRect(i, panel) || !panel.Contains(event.GetPosition())) continue;
    const wxString text = GetStatusText(i);
    // The text too, which may be longer than its panel.
    const wxString tip = kPanelDescriptions[static_cast<std::size_t>(i)] + (text.empty() ? wxString() : "\n" + text);
    if (GetToolTipText() != tip) SetToolTip(tip);
    return;
  }
  UnsetToolTip();
}

void StatusLine::Show(Panel panel, const std::string& text) { SetStatusText(lib::ToWx(text), static_cast<int>(panel)); }

std::string StatusLine::Shown(Panel panel) const { return lib::FromWx(GetStatusText(static_cast<int>(panel))); }

void StatusLine::SetCaption(const std::string& caption) {
  caption_ = caption;
  label_->SetLabelText(lib::ToWx(caption));
  ShowGround();
  PlaceLabel();
}

void StatusLine::SetFound(bool found) {
  label_->SetForegroundColour(found ? kFoundColour : kNotFoundColour);
  label_->Refresh();
}

}  // namespace zelkor::app
