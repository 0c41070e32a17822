// The icon in the system tray.
#pragma once

#include <functional>
#include <wx/menu.h>
#include <wx/taskbar.h>

namespace zelkor::app {

class Tray : public wxTaskBarIcon {
 public:
  // `leftClick` is called for a click or a double click of the left button; `menu` makes the menu for the right one, or
  // nothing when there is to be none now.
  Tray(std::function<void()> leftClick, std::function<wxMenu*()> menu);

  // Registers the icon. It appears as soon as there is a tray, which need not be now.
  void ShowIcon();
  void HideIcon();
  // Whether there is a tray that shows icons.
  [[nodiscard]] static bool Answers() { return IsAvailable(); }

 private:
  wxMenu* CreatePopupMenu() override { return menu_(); }

  std::function<void()> leftClick_;
  std::function<wxMenu*()> menu_;
};

}  // namespace zelkor::app
