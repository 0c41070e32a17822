// When a time zone's clocks change, worked out for any moment: the system's own conversions use the offset of today.
#pragma once

#include <cstdint>
#include <functional>

#include "lib/windows/system.h"

namespace zelkor::lib::windows {

// The zone's rules for a year, which change from time to time.
using ZoneOfYear = std::function<TIME_ZONE_INFORMATION(int year)>;

// Seconds that the local clock is ahead of UTC at a moment (seconds since 1 January 1970 0:00 UTC).
[[nodiscard]] std::int64_t OffsetIn(const ZoneOfYear& zoneOfYear, std::int64_t utcSeconds);

}  // namespace zelkor::lib::windows
