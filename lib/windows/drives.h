// Native paths: the system's own, in UTF-8. A path in the program's form is one already, unless the settings give its
// drive letter another directory (section "Drives" of "orlim.ini", as on every system).
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "lib/status.h"

namespace zelkor::lib::windows {

class Drives {
 public:
  // The drives as the settings have them; read once, until Forget.
  static const Drives& Current();
  static void Forget();

  // Also for \\server\share\….
  [[nodiscard]] Result<std::string> ToNative(std::string_view path) const;
  // `native` is absolute; "." and empty components do not count, ".." goes up.
  [[nodiscard]] Result<std::string> FromNative(std::string_view native) const;

 private:
  Drives();

  // The directory that the settings give the letter, without a final backslash but for a drive's own; empty: none.
  struct Drive {
    std::string directory;
    std::string refused;  // why what the settings give is no directory
  };
  std::array<Drive, 26> drives_;
};

// As a path of the system's file functions.
[[nodiscard]] Result<std::wstring> ToSystem(std::string_view path);
// `path`, a native one in any form, made absolute against `directory`, without "." and ".." and empty components.
[[nodiscard]] std::string AbsoluteNative(std::string_view path, std::string_view directory);
// The directory of a native path, without a final backslash but for a drive's own.
[[nodiscard]] std::string DirectoryOf(std::string_view native);

}  // namespace zelkor::lib::windows
