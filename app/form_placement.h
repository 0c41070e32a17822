// The way between a window's place on the screen and its place in the settings.
#pragma once

#include <wx/toplevel.h>

#include "app/form_position.h"

namespace zelkor::app {

[[nodiscard]] FormPosition PositionOf(const wxTopLevelWindow& window);
// Moves a window to where `place` says; its state stays.
void PlaceForm(wxTopLevelWindow& window, const FormPosition& place);

}  // namespace zelkor::app
