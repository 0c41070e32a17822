// The one line that tells how far a run has come.
#pragma once

#include <string>

#include "lib/user.h"

namespace zelkor::lib {

// What is being done, items and bytes done of all, rate, time left; at most `columns` characters, any number when it is
// 0.
[[nodiscard]] std::string ProgressLine(const Progress& progress, double elapsedSeconds, int columns);

}  // namespace zelkor::lib
