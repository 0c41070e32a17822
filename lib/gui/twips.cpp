#include "lib/gui/twips.h"

#include <algorithm>
#include <cmath>

namespace zelkor::lib {

namespace {

// 1440 twips are an inch, and an inch of the screen has 96 logical pixels.
constexpr double kTwipsPerLogicalPixel = 15;

// Logical pixels in one of the window's pixels: 1 where the toolkit itself counts in logical ones.
double LogicalPixels(const wxWindow& window) { return 1000.0 / window.FromDIP(1000); }

}  // namespace

std::int32_t ToTwips(int pixels, const wxWindow& window) {
  return static_cast<std::int32_t>(std::lround(pixels * LogicalPixels(window) * kTwipsPerLogicalPixel));
}

int FromTwips(std::int32_t twips, const wxWindow& window) {
  // Far outside any screen, yet far from the ends of the toolkit's numbers: a settings file can say anything.
  constexpr double kFarthest = 1'000'000;
  return static_cast<int>(
      std::lround(std::clamp(twips / (kTwipsPerLogicalPixel * LogicalPixels(window)), -kFarthest, kFarthest)));
}

}  // namespace zelkor::lib
