#include "net/frm_msg.h"

#include <utility>
#include <wx/button.h>
#include <wx/gauge.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

namespace zelkor::net {

namespace {

constexpr int kAskEveryMs = 20;
constexpr int kCaptionWidth = 320;  // logical pixels, before the caption is wrapped

}  // namespace

frmMsg::frmMsg(wxWindow* parent, const wxString& caption, std::function<bool()> done)
    : wxDialog(parent, wxID_ANY, "Zelkor", wxDefaultPosition, wxDefaultSize, wxCAPTION), done_(std::move(done)) {
  auto* text = new wxStaticText(this, wxID_ANY, wxString());
  text->SetLabelText(caption);
  text->Wrap(FromDIP(kCaptionWidth));
  auto* moving = new wxGauge(this, wxID_ANY, 100, wxDefaultPosition, FromDIP(wxSize(kCaptionWidth, -1)));
  auto* cancel = new wxButton(this, wxID_CANCEL, "Cancel");
  cancel->SetDefault();
  const int gap = FromDIP(12);
  auto* column = new wxBoxSizer(wxVERTICAL);
  column->Add(text, wxSizerFlags().Expand().Border(wxALL, gap));
  column->Add(moving, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT, gap));
  column->Add(cancel, wxSizerFlags().Centre().Border(wxALL, gap));
  SetSizerAndFit(column);
  CentreOnScreen();
  timer_.SetOwner(this);
  Bind(wxEVT_TIMER, [this, moving](wxTimerEvent&) {
    moving->Pulse();
    Ask();
  });
}

void frmMsg::Ask() {
  if (asking_) return;
  asking_ = true;
  const bool isDone = done_();
  asking_ = false;
  if (isDone && IsModal()) EndModal(wxID_OK);
}

bool frmMsg::Wait() {
  timer_.Start(kAskEveryMs);
  const bool isDone = ShowModal() == wxID_OK;
  timer_.Stop();
  return isDone;
}

}  // namespace zelkor::net
