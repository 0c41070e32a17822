// The names under which viewers know what they are given.
#pragma once

#include <string>

namespace zelkor::lib::posix {

// Viewers tell a web page by the end of its name. A help file (*.hlp) that is one is shown through a copy with that
// end, in the user's cache folder; its name is returned. Of any other file, and when no copy can be made, the name
// itself.
[[nodiscard]] std::string NameForViewer(const std::string& native);

}  // namespace zelkor::lib::posix
