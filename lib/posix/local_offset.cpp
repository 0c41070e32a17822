#include "lib/local_offset.h"

#include <time.h>  // NOLINT(modernize-deprecated-headers): localtime_r

namespace zelkor::lib {

std::int64_t LocalOffsetAt(std::int64_t utcSeconds) {
  const time_t moment = utcSeconds;
  tm local{};
  if (localtime_r(&moment, &local) == nullptr) return 0;
  return local.tm_gmtoff;
}

}  // namespace zelkor::lib
