// Ports for what a test lets listen.
#pragma once

#include <cstdint>
#include <random>

#include "lib/sockets.h"
#include "tests/support/system.h"

namespace zelkor::tests {

// A port of 127.0.0.1 that nobody listens on now and that no other test gets; 0 when there is none.
inline std::uint16_t FreePort() {
  // Below those that the system gives to connections by itself.
  std::uniform_int_distribution<std::uint16_t> ports(10'000, 32'000);
  std::random_device random;
  for (int tries = 0; tries < 1000; ++tries) {
    const std::uint16_t port = ports(random);
    if (ReservePort(port) && lib::ListenOn(*lib::NumericAddress("127.0.0.1", port)).Ok()) return port;
  }
  return 0;
}

}  // namespace zelkor::tests
