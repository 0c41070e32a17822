// One file read ahead, as the system does it best; read_ahead.cpp decides which and when.
#pragma once

#include <string>
#include <vector>

#include "lib/read_ahead.h"

namespace zelkor::lib {

// What ReadAhead wants to know of a file: facts, and the content when it is short, was written after `cutoff` (0: any
// time) and stood still meanwhile. The content is in `buffer`, which grows as needed and must stay. False when nothing
// is known of the file. Runs beside the rest of the program.
[[nodiscard]] bool ReadFileAhead(const std::string& path, Date cutoff, std::vector<char>& buffer,
                                 ReadAhead::Found& found);

}  // namespace zelkor::lib
