// Memory that the system's own windows never give back is not counted as leaked while this lives.
#pragma once

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace zelkor::tests {

class ForeignLeaks {
 public:
#ifdef __SANITIZE_ADDRESS__
  ForeignLeaks() { __lsan_disable(); }
  ~ForeignLeaks() { __lsan_enable(); }
#else
  ForeignLeaks() = default;
#endif
  ForeignLeaks(const ForeignLeaks&) = delete;
  ForeignLeaks& operator=(const ForeignLeaks&) = delete;
};

}  // namespace zelkor::tests
