#include "app/tray.h"

#include <utility>

#include "lib/gui/icons.h"

namespace zelkor::app {

Tray::Tray(std::function<void()> leftClick, std::function<wxMenu*()> menu)
    : leftClick_(std::move(leftClick)), menu_(std::move(menu)) {
  for (const auto& click : {wxEVT_TASKBAR_LEFT_UP, wxEVT_TASKBAR_LEFT_DCLICK}) {
    Bind(click, [this](wxTaskBarIconEvent&) { leftClick_(); });
  }
}

void Tray::ShowIcon() { SetIcon(lib::Picture(lib::kTrayIcon), "Zelkor"); }

void Tray::HideIcon() { RemoveIcon(); }

}  // namespace zelkor::app
