// By the notification area of the system.

#include "lib/gui/tray_icon.h"

#include "lib/windows/notify_icon.h"

// It needs the system's own header before it.
#include <commctrl.h>

namespace zelkor::lib {

class TrayIcon::Native {
 public:
  explicit Native(wxFrame& window) : window_(window), handle_(window.GetHandle()) {
    SetWindowSubclass(handle_, &Native::Look, kSubclass, reinterpret_cast<DWORD_PTR>(this));
  }
  ~Native() {
    Delete();
    RemoveWindowSubclass(handle_, &Native::Look, kSubclass);
  }
  Native(const Native&) = delete;
  Native& operator=(const Native&) = delete;

  void Add() {
    added_ = true;
    windows::AddNotifyIcon(handle_);
  }
  void Delete() {
    if (added_) windows::DeleteNotifyIcon(handle_);
    added_ = false;
  }
  void PopUp(wxMenu& menu) {
    // A click on the icon while its menu is open closes that menu.
    if (poppedUp_) return;
    poppedUp_ = true;
    // Both around the menu as Microsoft has it for TrackPopupMenu and the notification area: the first, or the menu
    // stays when its user clicks elsewhere; the second, or the next one closes at once.
    SetForegroundWindow(handle_);
    window_.PopupMenu(&menu);
    PostMessageW(handle_, WM_NULL, 0, 0);
    poppedUp_ = false;
  }

 private:
  static constexpr UINT_PTR kSubclass = 1;

  // Sees the window's messages before the toolkit does.
  static LRESULT CALLBACK Look(HWND window, UINT message, WPARAM word, LPARAM value, UINT_PTR /*number*/,
                               DWORD_PTR self) {
    // What the shell broadcasts when it has made a notification area, such as after its own crash.
    static const UINT kAreaMade = RegisterWindowMessageW(L"TaskbarCreated");
    auto& native = *reinterpret_cast<Native*>(self);
    if (message == kAreaMade && native.added_) windows::AddNotifyIcon(window);
    // The toolkit takes a code that comes twice for a mouse that has not moved, and would keep it to itself.
    if (message == windows::kNotifyMessage && (IsIconic(window) != 0 || IsWindowVisible(window) == 0)) {
      wxMouseEvent move(wxEVT_MOTION);
      move.SetEventObject(&native.window_);
      move.SetX(static_cast<short>(LOWORD(value)));
      native.window_.HandleWindowEvent(move);
      return 0;
    }
    return DefSubclassProc(window, message, word, value);
  }

  wxFrame& window_;
  HWND handle_;
  bool added_ = false;
  bool poppedUp_ = false;
};

TrayIcon::TrayIcon(wxFrame& window) : native_(std::make_unique<Native>(window)) {}
TrayIcon::~TrayIcon() = default;

void TrayIcon::Add() { native_->Add(); }
void TrayIcon::Delete() { native_->Delete(); }
bool TrayIcon::TrayAnswers() { return windows::HasNotificationArea(); }
void TrayIcon::PopUp(wxMenu& menu) { native_->PopUp(menu); }

}  // namespace zelkor::lib
