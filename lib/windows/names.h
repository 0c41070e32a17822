// Names of the system's objects that belong to one ProgramDir.
#pragma once

#include <string>
#include <string_view>

namespace zelkor::lib::windows {

// `kind` and a number that only this ProgramDir (in the program's form) gives, however it is spelled.
[[nodiscard]] std::string NameForProgramDir(std::string_view kind, std::string_view programDir);

}  // namespace zelkor::lib::windows
