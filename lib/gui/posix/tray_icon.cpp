// By the desktop's status notifier.

#include "lib/gui/tray_icon.h"

#include <wx/taskbar.h>

#include "lib/gui/icons.h"

namespace zelkor::lib {

class TrayIcon::Native : public wxTaskBarIcon {
 public:
  explicit Native(wxFrame& window) : window_(window) {
    Notify(wxEVT_TASKBAR_LEFT_UP, kTrayLeftUp);
    Notify(wxEVT_TASKBAR_LEFT_DCLICK, kTrayLeftDoubleClick);
    Notify(wxEVT_TASKBAR_CLICK, kTrayRightUp);  // what the desktop calls for a menu by
    Bind(wxEVT_MENU, [this](wxCommandEvent& event) { window_.HandleWindowEvent(event); });
  }

 private:
  void Notify(const wxEventTypeTag<wxTaskBarIconEvent>& what, int code) {
    Bind(what, [this, code](wxTaskBarIconEvent&) {
      wxMouseEvent move(wxEVT_MOTION);
      move.SetEventObject(&window_);
      move.SetX(code);
      window_.HandleWindowEvent(move);
    });
  }

  wxFrame& window_;
};

TrayIcon::TrayIcon(wxFrame& window) : native_(std::make_unique<Native>(window)) {}
TrayIcon::~TrayIcon() = default;

void TrayIcon::Add() { native_->SetIcon(Picture(kTrayIcon), "Zelkor"); }
void TrayIcon::Delete() { native_->RemoveIcon(); }
bool TrayIcon::TrayAnswers() { return wxTaskBarIcon::IsAvailable(); }
void TrayIcon::PopUp(wxMenu& menu) { native_->PopupMenu(&menu); }

}  // namespace zelkor::lib
