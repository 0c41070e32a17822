// Where windows stand on the screens.
#pragma once

#include <wx/gdicmn.h>
#include <wx/window.h>

namespace zelkor::lib {

// The place for a window that would stand at `wanted`, moved so that it is wholly on a screen: on the one that shows
// most of it, else on the main one. A window larger than the screen is made to fit.
[[nodiscard]] wxRect OntoAScreen(const wxRect& wanted);
// Moves a window so, in its present size; to be called when it is shown.
void MoveOntoAScreen(wxWindow& window);

}  // namespace zelkor::lib
