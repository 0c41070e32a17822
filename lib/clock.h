// The present moment and the local time of the computer.
#pragma once

#include <cstdint>

#include "lib/date.h"

namespace zelkor::lib {

// Seconds since 1 January 1970 0:00 UTC, and back. Local time uses the offset valid at the moment itself, so a clock
// change makes no file look changed. A local time that the clock change leaves out is taken as if the change had not
// been; one that it repeats is taken as the first of the two.
[[nodiscard]] Date UtcToDate(std::int64_t utcSeconds);
[[nodiscard]] std::int64_t DateToUtc(Date date);

// The present moment in local time, to the second.
[[nodiscard]] Date Now();
// The present moment in UTC seconds.
[[nodiscard]] std::int64_t NowUtc();
// Seconds since local midnight, with fractions.
[[nodiscard]] double SecondsSinceMidnight();

// In the hour that is repeated when clocks go back, the start of that hour; any other date unchanged.
[[nodiscard]] Date StartOfRepeatedHour(Date date);

// Seconds on a clock that only goes forward, for elapsed times.
[[nodiscard]] double Stopwatch();

}  // namespace zelkor::lib
