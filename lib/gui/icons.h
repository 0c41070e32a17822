// The pictures of the program, by key: those of the toolbars under their buttons' keys, those of the list's rows
// ("ItemAuto", "ItemOn", "ItemOff", "ItemDeleted"), and the program's own. Their sources are the SVG files of icons/,
// which are built into the program.
#pragma once

#include <string_view>
#include <wx/bmpbndl.h>
#include <wx/iconbndl.h>

namespace zelkor::lib {

inline constexpr int kToolbarPixels = 24;

// A picture of that many logical pixels, sharp at every resolution. An unknown key gives an empty bundle.
[[nodiscard]] wxBitmapBundle Picture(std::string_view key, int pixels = kToolbarPixels);
// The picture of the program itself, and the one drawn for places too small for it, such as the system tray.
inline constexpr std::string_view kProgramIcon = "Zelkor";
inline constexpr std::string_view kTrayIcon = "ZelkorSmall";

// The program's picture in the sizes that title bars, task bars and task switchers ask for.
[[nodiscard]] wxIconBundle ProgramIcons();

}  // namespace zelkor::lib
