// What start-up and shutdown have the main window do.
#pragma once

#include <string>

#include "app/form_position.h"

namespace zelkor::app {

// What the status line says, once, when the tray icon can not be seen.
inline constexpr const char* kNoTray = "No system tray answered: Zelkor stays in the taskbar";

class MainView {
 public:
  MainView() = default;
  MainView(const MainView&) = delete;
  MainView& operator=(const MainView&) = delete;
  virtual ~MainView() = default;

  // Where the window stands; before it is placed, its own width and height.
  [[nodiscard]] virtual FormPosition Position() const = 0;
  // The main screen.
  [[nodiscard]] virtual FormPosition Screen() const = 0;
  virtual void Place(const FormPosition& place) = 0;
  // Puts the item dialog, the text editor and the list dialog beside the main window, wherever that stands.
  virtual void PlaceSideWindows() = 0;
  virtual void SetCaption(const std::string& caption) = 0;
  virtual void ShowWindow() = 0;
  virtual void Minimise() = 0;
  // A text in the status line, until the next one.
  virtual void ShowStatus(const std::string& text) = 0;

  virtual void CheckSysTray(bool checked) = 0;
  // Puts the icon into the system tray, or takes it away, and sets the tray flag. False when no tray answered.
  virtual bool SetTrayIcon(bool shown) = 0;

  // Ends the event loop.
  virtual void EndProgram() = 0;
};

}  // namespace zelkor::app
