#include "net/progress_panel.h"

#include <wx/button.h>
#include <wx/gauge.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "lib/gui/text.h"

namespace zelkor::net {

namespace {

constexpr int kFull = 1000;  // the bar is told in thousandths

}  // namespace

ProgressPanel::ProgressPanel(wxWindow* parent, std::function<void()> cancel) : wxPanel(parent) {
  bar_ = new wxGauge(this, wxID_ANY, kFull);
  text_ =
      new wxStaticText(this, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize, wxST_NO_AUTORESIZE | wxST_ELLIPSIZE_END);
  bar_->SetName("Progress");
  text_->SetName("Progress text");
  cancel_ = new wxButton(this, wxID_CANCEL, "Ca&ncel");
  cancel_->SetToolTip("End the run with the file in hand; what is done so far stays consistent (Esc)");
  cancel_->Bind(wxEVT_BUTTON, [stop = std::move(cancel)](wxCommandEvent&) { stop(); });

  auto* told = new wxBoxSizer(wxVERTICAL);
  told->Add(bar_, wxSizerFlags().Expand());
  told->Add(text_, wxSizerFlags().Expand().Border(wxTOP, FromDIP(2)));
  auto* all = new wxBoxSizer(wxHORIZONTAL);
  all->Add(told, wxSizerFlags(1).CenterVertical());
  all->Add(cancel_, wxSizerFlags().CenterVertical().Border(wxLEFT, FromDIP(8)));
  SetSizer(all);
  Hide();
}

void ProgressPanel::Begin() {
  text_->SetLabelText({});
  Show();
  Rest();
  GetParent()->Layout();
}

void ProgressPanel::Draw(const RunProgress::Shown& shown) {
  if (shown.permille) {
    bar_->SetValue(*shown.permille);
  } else {
    bar_->Pulse();
  }
  text_->SetLabelText(lib::ToWx(shown.text));
}

void ProgressPanel::Rest() {
  bar_->SetValue(0);
  text_->SetLabelText({});
}

void ProgressPanel::ShowCancelled() {
  // The button stays enabled: the keyboard may be with it, and must not go astray.
  text_->SetLabelText("Ending with the file in hand...");
}

void ProgressPanel::End() {
  if (!IsShown()) return;
  Hide();
  GetParent()->Layout();
}

}  // namespace zelkor::net
