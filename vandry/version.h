// Vandry's version, as major * 100 + minor.
#pragma once

namespace zelkor::vandry {

inline constexpr int kVandryVersion = 100;

}  // namespace zelkor::vandry
