// The system's own windows as they are on the screen, for boxes that the toolkit leaves to the system. A window is
// named by its native handle.
#pragma once

#include <string>
#include <vector>
#include <wx/gdicmn.h>

namespace zelkor::tests::native {

struct Button {
  std::string caption;  // without access key
  wxPoint centre;       // on the screen
};

// Every modal window that is on the screen.
[[nodiscard]] std::vector<void*> ModalWindows();
// Whether the window has the keyboard.
[[nodiscard]] bool IsActive(void* window);
void Close(void* window);

[[nodiscard]] std::string Title(void* window);
// Of a message box; empty, or no buttons, for other windows. Icons are "error", "question", "warning", "info", "".
[[nodiscard]] std::string MessageText(void* window);
[[nodiscard]] std::string MessageIcon(void* window);
[[nodiscard]] std::vector<Button> Buttons(void* window);
[[nodiscard]] std::string DefaultButton(void* window);

// Returns when the display has dealt with everything sent to it.
void ServerRoundTrip();

}  // namespace zelkor::tests::native
