// Random work on two and three computers, for as long as ZELKOR_RANDOM_SECONDS says (default: a minute, ten seconds
// under the sanitizers). Each round has a seed of its own, which is printed when it fails; ZELKOR_RANDOM_SEED runs the
// round of that seed alone.
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>

#include "tests/random/world.h"

namespace zelkor::tests {
namespace {

constexpr int kStepsOfARound = 60;

// What went wrong in the round of this seed; empty when nothing did.
std::string RunRound(std::uint32_t seed) {
  World world(seed);
  bool good = true;
  for (int i = 0; i < kStepsOfARound && good; ++i) good = world.Step();
  good = good && world.Settle();
  if (good) return {};
  std::string report = "seed " + std::to_string(seed) + ": " + world.Wrong() + "\nwhat happened:\n";
  for (const std::string& line : world.Story()) report += "  " + line + "\n";
  return report;
}

TEST(RandomWork, EndsWithTheSameFilesAndItemsOnAllComputers) {
  if (const char* seed = std::getenv("ZELKOR_RANDOM_SEED"); seed != nullptr) {
    EXPECT_EQ(RunRound(static_cast<std::uint32_t>(std::stoul(seed))), "");
    return;
  }
  const char* given = std::getenv("ZELKOR_RANDOM_SECONDS");
  const std::chrono::seconds seconds{given != nullptr ? std::stol(given) : ZELKOR_SANITIZED ? 10 : 60};
  const auto end = std::chrono::steady_clock::now() + seconds;
  std::uint32_t seed = std::random_device{}();
  std::cout << "first seed: " << seed << "\n";
  int rounds = 0;
  for (; std::chrono::steady_clock::now() < end; ++rounds, ++seed) ASSERT_EQ(RunRound(seed), "");
  std::cout << rounds << " rounds\n";
}

}  // namespace
}  // namespace zelkor::tests
