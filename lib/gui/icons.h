// The pictures of the program, by key: those of the toolbars under their buttons' keys, those of the list's rows, and
// the program's own. Their sources are the SVG files of lib/gui/icons, which are built into the program.
#pragma once

#include <string_view>
#include <wx/bmpbndl.h>

namespace zelkor::lib {

// Sharp at any size and resolution; 24 logical pixels wide unless asked for otherwise. An unknown key gives an empty
// bundle.
[[nodiscard]] wxBitmapBundle Picture(std::string_view key);
// The picture of the program itself.
inline constexpr std::string_view kProgramIcon = "Zelkor";

}  // namespace zelkor::lib
