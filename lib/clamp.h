// Numbers held to a range.
#pragma once

#include <cstdint>

namespace zelkor::lib {

// Below the minimum gives the minimum; otherwise the smaller of the value and the maximum.
template <class T>
[[nodiscard]] constexpr T ClampValue(const T& value, const T& minimum, const T& maximum) {
  if (value < minimum) return minimum;
  return maximum < value ? maximum : value;
}

[[nodiscard]] constexpr std::int32_t ClampInt(std::int32_t value, std::int32_t minimum, std::int32_t maximum) {
  return ClampValue(value, minimum, maximum);
}

}  // namespace zelkor::lib
