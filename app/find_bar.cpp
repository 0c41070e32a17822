#include "app/find_bar.h"

#include <utility>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

namespace zelkor::app {

namespace {

constexpr int kGap = 6;
constexpr int kWantedWidth = 180;
constexpr int kLeastWantedWidth = 60;

}  // namespace

FindBar::FindBar(wxWindow* parent, std::function<void(bool backwards)> find, std::function<void()> closed)
    : wxPanel(parent), find_(std::move(find)), closed_(std::move(closed)) {
  SetName("Find bar");
  auto* caption = new wxStaticText(this, wxID_ANY, "Fin&d");
  wanted_ =
      new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, FromDIP(wxSize(kWantedWidth, -1)), wxTE_PROCESS_ENTER);
  wanted_->SetName("Find what");
  wanted_->SetMinSize(FromDIP(wxSize(kLeastWantedWidth, -1)));
  auto* next = new wxButton(this, wxID_ANY, "&Next", wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
  next->SetToolTip("The next place (F3, Enter)");
  auto* previous = new wxButton(this, wxID_ANY, "&Previous", wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
  previous->SetToolTip("The place before (Shift+F3, Shift+Enter)");
  matchCase_ = new wxCheckBox(this, wxID_ANY, "&Match case");
  result_ = new wxStaticText(this, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize, wxST_ELLIPSIZE_END);
  result_->SetName("Find result");
  result_->SetMinSize(wxSize(GetTextExtent("From the top ").x, -1));
  auto* close = new wxButton(this, wxID_ANY, "C&lose", wxDefaultPosition, wxDefaultSize, wxBU_EXACTFIT);
  close->SetToolTip("Closes the bar (Esc)");

  const wxSizerFlags each = wxSizerFlags().CentreVertical().Border(wxLEFT, FromDIP(kGap));
  auto* row = new wxBoxSizer(wxHORIZONTAL);
  row->Add(caption, each);
  row->Add(wanted_, wxSizerFlags(each).Proportion(2));
  row->Add(next, each);
  row->Add(previous, each);
  row->Add(matchCase_, each);
  row->Add(result_, wxSizerFlags(each).Proportion(1));
  row->Add(close, each);
  row->AddSpacer(FromDIP(kGap));
  auto* all = new wxBoxSizer(wxVERTICAL);
  all->Add(row, wxSizerFlags().Expand().Border(wxTOP | wxBOTTOM, FromDIP(kGap)));
  SetSizer(all);

  next->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { find_(false); });
  previous->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { find_(true); });
  close->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { CloseBar(); });
  wanted_->Bind(wxEVT_TEXT, [this](wxCommandEvent&) { Say({}); });
  Bind(wxEVT_CHAR_HOOK, &FindBar::OnKey, this);
  Hide();
}

void FindBar::OnKey(wxKeyEvent& event) {
  const int key = event.GetKeyCode();
  if (key == WXK_ESCAPE) {
    CloseBar();
  } else if ((key == WXK_RETURN || key == WXK_NUMPAD_ENTER) && wanted_->HasFocus()) {
    find_(event.ShiftDown());
  } else {
    event.Skip();
  }
}

void FindBar::Open(const wxString& wanted) {
  if (!wanted.empty()) wanted_->ChangeValue(wanted);
  Say({});
  Show();
  GetParent()->Layout();
  wanted_->SetFocus();
  wanted_->SelectAll();
}

void FindBar::CloseBar() {
  Hide();
  GetParent()->Layout();
  closed_();
}

wxString FindBar::Wanted() const { return wanted_->GetValue(); }

bool FindBar::MatchCase() const { return matchCase_->GetValue(); }

void FindBar::Say(const wxString& result) {
  if (result_->GetLabelText() == result) return;
  result_->SetLabelText(result);
  Layout();
}

}  // namespace zelkor::app
