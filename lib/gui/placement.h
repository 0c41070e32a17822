// Where windows stand on the screens.
#pragma once

#include <wx/gdicmn.h>
#include <wx/toplevel.h>
#include <wx/window.h>

namespace zelkor::lib {

// The place for a window that would stand at `wanted`, moved so that it is wholly on a screen: on the one that shows
// most of it, else on the main one. A window larger than the screen is made to fit.
[[nodiscard]] wxRect OntoAScreen(const wxRect& wanted);
// Moves a window so, in its present size; to be called when it is shown.
void MoveOntoAScreen(wxWindow& window);

// A place for `window` right of `other`, else below it, else left of it, wherever `screen` has room for all of it;
// otherwise in the screen's lower right corner, where it covers the least.
[[nodiscard]] wxRect Beside(const wxRect& screen, wxRect window, const wxRect& other);
// Puts a window so beside another one; leaves its place to the window system when that one is not to be seen.
void PlaceBeside(wxWindow& window, const wxTopLevelWindow& other);

// Has a window that is about to be shown keep its size. A size counts the frame, and how thick that is becomes known
// only when the window is on the screen, a moment later; until then it counts as nothing.
void KeepSizeWhenFramed(wxTopLevelWindow& window);

}  // namespace zelkor::lib
