// The names under which viewers know what they are given.
#pragma once

#include <filesystem>
#include <string>

namespace zelkor::lib {

// Viewers tell a web page by the end of its name. A help file (*.hlp) that is one is shown through a copy with that
// end, in `folder`, which is made when missing; the copy's native name is returned. Of any other file, and when no copy
// can be made, the name itself.
[[nodiscard]] std::string NameForViewer(const std::string& native, const std::filesystem::path& folder);

}  // namespace zelkor::lib
