// Where Vandry keeps its own files.
#pragma once

#include <string>
#include <string_view>

namespace zelkor::vandry {

// The folder in ProgramDir for everything of Vandry's but its log. Not "vandry": the program itself may lie beside it.
inline constexpr std::string_view kDataFolder = "vandry.dat";

// With a final backslash, like `programDir`.
[[nodiscard]] inline std::string DataFolder(std::string_view programDir) {
  return std::string(programDir) + std::string(kDataFolder) + "\\";
}

}  // namespace zelkor::vandry
