#include "net/log_window.h"

#include <array>
#include <wx/accel.h>
#include <wx/button.h>
#include <wx/clipbrd.h>
#include <wx/menu.h>
#include <wx/sizer.h>

#include "lib/clock.h"
#include "lib/gui/icons.h"
#include "lib/gui/placement.h"
#include "lib/gui/text.h"

namespace zelkor::net {

namespace {

// Lines come by the thousand; drawing each would make the run wait for the screen.
constexpr double kDrawEvery = 0.04;  // seconds
constexpr int kDrawEveryMs = 40;

// How soon after its request a window that comes up has the keyboard, where the desktop gives it to every new window;
// seconds.
constexpr double kComesUp = 2;

}  // namespace

LogWindow::LogWindow(wxTopLevelWindow& parent, const std::function<void()>& cancel)
    : wxFrame(&parent, wxID_ANY, "Sync Log"), parent_(parent), timer_(this) {
  SetIcons(lib::ProgramIcons());
  // A key that closes this window must not go on to its parent and close that too.
  SetExtraStyle(GetExtraStyle() | wxWS_EX_BLOCK_EVENTS);
  auto* panel = new wxPanel(this);
  list_ = new LogList(panel);
  progress_ = new ProgressPanel(panel, cancel);
  auto* copy = new wxButton(panel, wxID_COPY, "&Copy");
  copy->SetToolTip("Copy the selected lines (Ctrl+C)");
  auto* selectAll = new wxButton(panel, wxID_SELECTALL, "Select &all");
  selectAll->SetToolTip("Select every line (Ctrl+A)");
  auto* close = new wxButton(panel, wxID_CLOSE, "C&lose");
  close->SetToolTip("Close the log (Esc)");

  const int gap = FromDIP(8);
  auto* buttons = new wxBoxSizer(wxHORIZONTAL);
  buttons->Add(copy);
  buttons->Add(selectAll, wxSizerFlags().Border(wxLEFT, gap));
  buttons->AddStretchSpacer();
  buttons->Add(close);
  auto* all = new wxBoxSizer(wxVERTICAL);
  all->Add(list_, wxSizerFlags(1).Expand());
  all->Add(progress_, wxSizerFlags().Expand().Border(wxLEFT | wxTOP | wxRIGHT, gap));
  all->Add(buttons, wxSizerFlags().Expand().Border(wxALL, gap));
  panel->SetSizer(all);
  SetMinClientSize(FromDIP(wxSize(320, 200)));
  SetClientSize(FromDIP(wxSize(640, 400)));

  std::array keys{
      wxAcceleratorEntry(wxACCEL_CTRL, 'C', wxID_COPY), wxAcceleratorEntry(wxACCEL_CTRL, WXK_INSERT, wxID_COPY),
      wxAcceleratorEntry(wxACCEL_CTRL, 'A', wxID_SELECTALL), wxAcceleratorEntry(wxACCEL_CTRL, 'W', wxID_CLOSE),
      wxAcceleratorEntry(wxACCEL_NORMAL, WXK_ESCAPE, wxID_EXIT)};
  SetAcceleratorTable(wxAcceleratorTable(static_cast<int>(keys.size()), keys.data()));
  const auto bind = [this](int id, const std::function<void()>& command) {
    for (const wxEventTypeTag<wxCommandEvent>& type : {wxEVT_BUTTON, wxEVT_MENU}) {
      Bind(
          type, [command](wxCommandEvent&) { command(); }, id);
    }
  };
  bind(wxID_COPY, [this] { Edit_Copy(); });
  bind(wxID_SELECTALL, [this] { Edit_SelectAll(); });
  bind(wxID_CLOSE, [this] { Close(); });
  bind(wxID_EXIT, [this, cancel] {
    if (progress_->IsShown()) {
      cancel();
    } else {
      Close();
    }
  });
  list_->Bind(wxEVT_CONTEXT_MENU, [this](wxContextMenuEvent&) { ShowMenu(); });
  Bind(wxEVT_TIMER, [this](wxTimerEvent&) { Flush(); });
  Bind(wxEVT_ACTIVATE, &LogWindow::Form_Activate, this);
  Bind(wxEVT_CLOSE_WINDOW, &LogWindow::Form_Unload, this);
}

void LogWindow::Open(const std::string& caption) {
  SetTitle(lib::ToWx(caption));
  if (IsShown()) return;
  list_->Clear();
  if (parent_.IsActive()) keyboardGoesBackUntil_ = lib::Stopwatch() + kComesUp;
  lib::PlaceBeside(*this, parent_);
  ShowWithoutActivating();
}

void LogWindow::LogLine(const std::string& line) {
  list_->Add(line);
  if (lib::Stopwatch() - drawn_ >= kDrawEvery) {
    Flush();
  } else if (!timer_.IsRunning()) {
    timer_.StartOnce(kDrawEveryMs);
  }
}

void LogWindow::Flush() {
  timer_.Stop();
  drawn_ = lib::Stopwatch();
  list_->Flush();
}

void LogWindow::EndRun() {
  // A button that is hidden would take the keyboard with it.
  if (progress_->CancelButton().HasFocus()) list_->SetFocus();
  progress_->End();
  Flush();
}

void LogWindow::Edit_Copy() {
  Flush();
  const std::string text = list_->SelectedText();
  const wxClipboardLocker clipboard;
  if (text.empty() || !clipboard) return;
  wxTheClipboard->SetData(new wxTextDataObject(lib::ToWx(text)));
  wxTheClipboard->Flush();  // it outlives the program
}

void LogWindow::Edit_SelectAll() {
  Flush();
  list_->SelectAll();
}

void LogWindow::ShowMenu() {
  wxMenu menu;
  menu.Append(wxID_COPY, "&Copy\tCtrl+C");
  menu.Append(wxID_SELECTALL, "Select &all\tCtrl+A");
  PopupMenu(&menu);
}

void LogWindow::Form_Activate(wxActivateEvent& event) {
  event.Skip();
  if (!event.GetActive()) return;
  if (lib::Stopwatch() < keyboardGoesBackUntil_) {
    // Once the system is done with this activation, which would win otherwise.
    CallAfter([this] {
      // Raising would show a window that has been closed meanwhile.
      if (parent_.IsShown()) parent_.Raise();
    });
  }
  keyboardGoesBackUntil_ = 0;
}

void LogWindow::Form_Unload(wxCloseEvent& event) {
  if (!event.CanVeto()) {
    event.Skip();
    return;
  }
  event.Veto();
  Hide();
}

}  // namespace zelkor::net
