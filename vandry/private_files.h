// Vandry's own small files: readable by their owner alone, whole at any instant.
#pragma once

#include <string>
#include <string_view>

#include "lib/status.h"

namespace zelkor::vandry {

// Vandry's folder in a program directory (places.h), with a final backslash; made when missing.
[[nodiscard]] lib::Result<std::string> PrivateFolder(const std::string& programDir);

// Replaces the file, or makes it; on the medium when this returns. The file has mode 0600 from its first instant.
[[nodiscard]] lib::Status WritePrivateFile(const std::string& path, std::string_view content);
// The same unless there is such a file: Exists then.
[[nodiscard]] lib::Status MakePrivateFile(const std::string& path, std::string_view content);

}  // namespace zelkor::vandry
