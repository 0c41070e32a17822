#include "lib/clock.h"

#include <algorithm>
#include <chrono>

#include "lib/local_offset.h"

namespace zelkor::lib {
namespace {

// Local times are kept here as seconds since 1 January 1970 0:00 on the local clock.

// The moments at which the local clock can show a time: by the offset valid before changes near it, and by the one
// valid after. An offset is at most 15 hours and changes are days apart, so a day to either side is far enough.
struct Moments {
  std::int64_t before;
  std::int64_t after;
  bool beforeHolds;  // that moment does show the local time
  bool afterHolds;
};
Moments MomentsOf(std::int64_t localSeconds) {
  const std::int64_t offsetBefore = LocalOffsetAt(localSeconds - kSecondsPerDay);
  const std::int64_t offsetAfter = LocalOffsetAt(localSeconds + kSecondsPerDay);
  const std::int64_t before = localSeconds - offsetBefore;
  const std::int64_t after = localSeconds - offsetAfter;
  return {.before = before,
          .after = after,
          .beforeHolds = LocalOffsetAt(before) == offsetBefore,
          .afterHolds = LocalOffsetAt(after) == offsetAfter};
}

}  // namespace

Date UtcToDate(std::int64_t utcSeconds) {
  constexpr std::int64_t kFar = std::int64_t{1} << 50;  // no date; keeps the sums below from overflowing
  if (utcSeconds < -kFar || utcSeconds > kFar) return 0;
  return SecondsToDate(utcSeconds + LocalOffsetAt(utcSeconds) + kUnixEpoch);
}

std::int64_t DateToUtc(Date date) {
  const Moments moments = MomentsOf(DateToSeconds(date) - kUnixEpoch);
  if (moments.beforeHolds && moments.afterHolds) return std::min(moments.before, moments.after);
  // Left out by a change: the offset before the change goes on.
  return moments.afterHolds ? moments.after : moments.before;
}

Date Now() { return UtcToDate(NowUtc()); }

std::int64_t NowUtc() {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()).time_since_epoch().count();
}

double SecondsSinceMidnight() {
  const auto present = std::chrono::system_clock::now();
  const auto whole = std::chrono::floor<std::chrono::seconds>(present);
  const std::int64_t utc = whole.time_since_epoch().count();
  const std::int64_t local = utc + LocalOffsetAt(utc);
  const std::int64_t second = (local % kSecondsPerDay + kSecondsPerDay) % kSecondsPerDay;
  return static_cast<double>(second) + std::chrono::duration<double>(present - whole).count();
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
    (LocalOffsetAt(middle) == newOffset ? changed : old) = middle;
  }
  return SecondsToDate(changed + newOffset + kUnixEpoch);
}

double Stopwatch() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace zelkor::lib
