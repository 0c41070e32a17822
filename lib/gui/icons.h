// The pictures of the program, by key: those of the toolbars under their buttons' keys, those of the list's rows, and
// the program's own. Their sources are the SVG files of lib/gui/icons, which are built into the program.
#pragma once

#include <string_view>
#include <wx/bmpbndl.h>

namespace zelkor::lib {

inline constexpr int kToolbarPixels = 24;

// A picture of that many logical pixels, sharp at every resolution. An unknown key gives an empty bundle.
[[nodiscard]] wxBitmapBundle Picture(std::string_view key, int pixels = kToolbarPixels);
// The picture of the program itself.
inline constexpr std::string_view kProgramIcon = "Zelkor";

}  // namespace zelkor::lib
