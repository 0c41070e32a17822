// The icon of a window in the system tray.
#pragma once

#include <memory>
#include <wx/frame.h>
#include <wx/menu.h>

namespace zelkor::lib {

// Codes of the tray's notifications, those of the window messages of Windows: WM_LBUTTONUP, WM_LBUTTONDBLCLK,
// WM_RBUTTONUP.
inline constexpr int kTrayLeftUp = 514;
inline constexpr int kTrayLeftDoubleClick = 515;
inline constexpr int kTrayRightUp = 517;

// What the mouse does to the icon comes to the window as a mouse-move event (wxEVT_MOTION) whose X coordinate is the
// code of the notification, in pixels. Ordinary moves over the window come by the same event, so a notification counts
// only while there is nothing of the window that the mouse could be over.
class TrayIcon {
 public:
  // The window must outlive the icon, which goes with this object.
  explicit TrayIcon(wxFrame& window);
  ~TrayIcon();
  TrayIcon(const TrayIcon&) = delete;
  TrayIcon& operator=(const TrayIcon&) = delete;

  // Registers the icon. It appears as soon as there is a tray, which need not be now, and again in the next one.
  void Add();
  void Delete();
  // Whether there is a tray that shows icons.
  [[nodiscard]] static bool TrayAnswers();
  // Pops up a menu at the icon and returns when it has closed. What was chosen comes to the window as its menu event.
  // The window gets the keyboard first, where a menu would otherwise stay when its user clicks elsewhere.
  void PopUp(wxMenu& menu);

 private:
  class Native;
  std::unique_ptr<Native> native_;
};

}  // namespace zelkor::lib
