// What the system knows of the local clock; clock.cpp makes dates of it.
#pragma once

#include <cstdint>

namespace zelkor::lib {

// Seconds that the local clock is ahead of UTC at this moment (seconds since 1 January 1970 0:00 UTC); 0 when the
// system cannot tell.
[[nodiscard]] std::int64_t LocalOffsetAt(std::int64_t utcSeconds);

}  // namespace zelkor::lib
