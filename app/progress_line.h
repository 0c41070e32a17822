// The one updating line that a run shows on a terminal.
#pragma once

#include <string>

#include "lib/user.h"

namespace zelkor::app {

// What is being done, items and bytes done of all, rate, time left; at most `columns` characters.
[[nodiscard]] std::string ProgressLine(const lib::Progress& progress, double elapsedSeconds, int columns);

}  // namespace zelkor::app
