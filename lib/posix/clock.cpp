#include "lib/clock.h"

#include <algorithm>
#include <time.h>  // NOLINT(modernize-deprecated-headers): localtime_r, clock_gettime

namespace zelkor::lib {
namespace {

// Local times are kept here as seconds since 1 January 1970 0:00 on the local clock.

// Seconds that the local clock is ahead of UTC at this moment; 0 when the system cannot tell.
std::int64_t OffsetAt(std::int64_t utcSeconds) {
  const time_t moment = utcSeconds;
  tm local{};
  if (localtime_r(&moment, &local) == nullptr) return 0;
  return local.tm_gmtoff;
}

// The moments at which the local clock can show a time: by the offset valid before changes near it, and by the one
// valid after. An offset is at most 15 hours and changes are days apart, so a day to either side is far enough.
struct Moments {
  std::int64_t before;
  std::int64_t after;
  bool beforeHolds;  // that moment does show the local time
  bool afterHolds;
};
Moments MomentsOf(std::int64_t localSeconds) {
  const std::int64_t offsetBefore = OffsetAt(localSeconds - kSecondsPerDay);
  const std::int64_t offsetAfter = OffsetAt(localSeconds + kSecondsPerDay);
  const std::int64_t before = localSeconds - offsetBefore;
  const std::int64_t after = localSeconds - offsetAfter;
  return {.before = before,
          .after = after,
          .beforeHolds = OffsetAt(before) == offsetBefore,
          .afterHolds = OffsetAt(after) == offsetAfter};
}

timespec Present(clockid_t clock) {
  timespec present{};
  clock_gettime(clock, &present);
  return present;
}

}  // namespace

Date UtcToDate(std::int64_t utcSeconds) {
  constexpr std::int64_t kFar = std::int64_t{1} << 50;  // no date; keeps the sums below from overflowing
  if (utcSeconds < -kFar || utcSeconds > kFar) return 0;
  return SecondsToDate(utcSeconds + OffsetAt(utcSeconds) + kUnixEpoch);
}

std::int64_t DateToUtc(Date date) {
  const Moments moments = MomentsOf(DateToSeconds(date) - kUnixEpoch);
  if (moments.beforeHolds && moments.afterHolds) return std::min(moments.before, moments.after);
  // Left out by a change: the offset before the change goes on.
  return moments.afterHolds ? moments.after : moments.before;
}

Date Now() { return UtcToDate(NowUtc()); }

std::int64_t NowUtc() { return Present(CLOCK_REALTIME).tv_sec; }

double SecondsSinceMidnight() {
  const timespec present = Present(CLOCK_REALTIME);
  const std::int64_t local = present.tv_sec + OffsetAt(present.tv_sec);
  const std::int64_t second = (local % kSecondsPerDay + kSecondsPerDay) % kSecondsPerDay;
  return static_cast<double>(second) + static_cast<double>(present.tv_nsec) / 1e9;
}

Date StartOfRepeatedHour(Date date) {
  const std::int64_t local = DateToSeconds(date) - kUnixEpoch;
  const Moments moments = MomentsOf(local);
  if (!moments.beforeHolds || !moments.afterHolds || moments.before >= moments.after) return date;
  // The change lies between the two moments: find the first second of the new offset.
  const std::int64_t newOffset = local - moments.after;
  std::int64_t old = moments.before;
  std::int64_t changed = moments.after;
  while (changed - old > 1) {
    const std::int64_t middle = old + (changed - old) / 2;
    (OffsetAt(middle) == newOffset ? changed : old) = middle;
  }
  return SecondsToDate(changed + newOffset + kUnixEpoch);
}

double Stopwatch() {
  const timespec present = Present(CLOCK_MONOTONIC);
  return static_cast<double>(present.tv_sec) + static_cast<double>(present.tv_nsec) / 1e9;
}

}  // namespace zelkor::lib
