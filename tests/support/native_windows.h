// The system's own windows as they are on the screen, for boxes that the toolkit leaves to the system. A window is
// named by its native handle.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>
#include <wx/gdicmn.h>
#include <wx/mousestate.h>

namespace zelkor::tests::native {

struct Button {
  std::string caption;  // without access key
  wxPoint centre;       // on the screen
};

// What a watcher of modal windows keeps with a window.
struct Watched {
  std::optional<std::chrono::steady_clock::time_point> since;  // when it was first seen, or answered
  bool answering = false;
  bool answered = false;
};
// The window's state; it lives as long as the window.
[[nodiscard]] Watched& WatchedState(void* window);

// Keeps a window's memory from being freed while this lives.
class KeepAlive {
 public:
  explicit KeepAlive(void* window);
  ~KeepAlive();
  KeepAlive(const KeepAlive&) = delete;
  KeepAlive& operator=(const KeepAlive&) = delete;

 private:
  void* window_;
};

// Every modal window that is on the screen.
[[nodiscard]] std::vector<void*> ModalWindows();
// Whether the window has the keyboard.
[[nodiscard]] bool IsActive(void* window);
// Whether the window system gives each new window the keyboard, also one that does not want it and gives it back.
[[nodiscard]] bool NewWindowsGetTheKeyboard();
// Whether the window system shows it, whatever the toolkit believes.
[[nodiscard]] bool IsOnScreen(void* window);
void Close(void* window);

[[nodiscard]] std::string Title(void* window);
// Of a message box; empty, or no buttons, for other windows. Icons are "error", "question", "warning", "info", "".
[[nodiscard]] std::string MessageText(void* window);
[[nodiscard]] std::string MessageIcon(void* window);
[[nodiscard]] std::vector<Button> Buttons(void* window);
[[nodiscard]] std::string DefaultButton(void* window);

// The buttons of the toolbars in a window, by their captions.
[[nodiscard]] std::vector<Button> ToolButtons(void* window);

// Whether a menu is open and takes the keys.
[[nodiscard]] bool MenuIsOpen();
// Whether the key opens a menu of the active window that takes further keys in a loop of its own.
[[nodiscard]] bool OpensMenuOfItsOwn(int key, int modifiers);

// How soon after a click another one at its place would make a double click of both; 0 where tests need not care.
[[nodiscard]] std::chrono::milliseconds DoubleClickTime();

// What the system's controls do for a key that was pressed, where a stand-in for the system leaves it out.
void FinishKey(int key, int modifiers);

// The middle of this program's icon in the system tray, on the screen; nothing when there is no icon.
[[nodiscard]] std::optional<wxPoint> TrayIcon();
// Has the icon get a click of the mouse's button, which is on its way then.
void ClickTrayIcon(wxMouseButton button);
// Has the display be one without a system tray from now on.
void TakeTrayAway();

// Has the next look at the screen see what is there by then: the window system may keep an earlier picture of it.
void ForgetScreen();

// What the toolkit does once there are no events, where its loop does not do so with the last one: windows that were
// closed go then.
void ServeIdle();

// Returns when the display has dealt with everything sent to it.
void ServerRoundTrip();

}  // namespace zelkor::tests::native
