// The help file. It comes with the program, and stands as "zelkor.hlp" in the program's directory, from where the
// system opens it like any other document.
#pragma once

#include <string>
#include <string_view>

#include "lib/status.h"
#include "lib/user.h"

namespace zelkor::app {

// The help file that Help_Help opens.
[[nodiscard]] std::string HelpFile(std::string_view programDir);

// Makes sure that `programDir` holds the help file as it came with this program. `executableDir`, ending in a
// backslash, is where the program itself stands: the file that came with it is beside it, or in share\zelkor beside
// its directory when it is installed. Fails when there is no help file at all; an older one is better than none.
[[nodiscard]] lib::Status PlaceHelpFile(std::string_view programDir, std::string_view executableDir);

// Opens the help file with the program that the desktop shows it in; a message, and false, when there is none.
bool OpenHelp(std::string_view programDir, lib::User& user);

}  // namespace zelkor::app
