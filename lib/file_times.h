// The three times that the system keeps for a file, read and restored with second precision in local time.
#pragma once

#include <string_view>

#include "lib/date.h"

namespace zelkor::lib {

enum class FileTime { Created = 0, Accessed = 1, Written = 2 };

// The zero date when the file cannot be opened for reading.
[[nodiscard]] Date GetFileDate(std::string_view path, FileTime which);
// True is failure (the file cannot be opened for writing, a read-only one included), and nothing is changed then. The
// two times that are not chosen are written back as they were read.
bool SetFileDate(std::string_view path, FileTime which, Date date);

}  // namespace zelkor::lib
