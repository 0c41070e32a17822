// Programs for Windows, run under Wine: the Windows that they run in, and the words in which they are told of folders.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace zelkor::tests {

// Where the build for Windows puts a program; whether there is one, and Wine to run it.
[[nodiscard]] std::filesystem::path WindowsProgram(const std::string& name);
[[nodiscard]] bool HasWindowsPrograms();

// A program of Wine's: that of the folder ZELKOR_WINE, or the system's.
[[nodiscard]] std::filesystem::path WineProgram(const std::string& name);

// A native path as Windows has it: the root is drive Z.
[[nodiscard]] std::string WindowsPath(const std::filesystem::path& path);

// The environment that Wine needs: the Windows of WINEPREFIX, or one that is made at the first call and goes with this
// process.
[[nodiscard]] std::map<std::string, std::string> WineEnvironment();

}  // namespace zelkor::tests
