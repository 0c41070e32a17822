// The wish to stop, as a wait for sockets sees it.
#pragma once

#include "lib/readiness.h"

namespace zelkor::lib::windows {

// Can be read from once an interrupt came; kNoHandle while nobody watches for one.
[[nodiscard]] Handle InterruptHandle();

}  // namespace zelkor::lib::windows
