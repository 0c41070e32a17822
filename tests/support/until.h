// Waiting for what tells nobody that it has happened: another program's windows, files or end.
#pragma once

#include <chrono>
#include <thread>

namespace zelkor::tests {

// Looks again and again until the condition holds; false when it does not within `patience`.
template <class Condition>
[[nodiscard]] bool HoldsWithin(std::chrono::milliseconds patience, const Condition& condition) {
  constexpr auto kLookAgain = std::chrono::milliseconds(5);
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(kLookAgain);
  }
  return true;
}

}  // namespace zelkor::tests
