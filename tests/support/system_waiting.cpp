#include <chrono>
#include <fstream>
#include <iterator>

#include "tests/support/system.h"
#include "tests/support/until.h"

namespace zelkor::tests {

namespace {

namespace fs = std::filesystem;

std::string ContentOf(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

constexpr auto kPatience = std::chrono::seconds(30);

}  // namespace

std::string WaitForFile(const fs::path& file) {
  return HoldsWithin(kPatience, [&] { return fs::exists(file); }) ? ContentOf(file) : std::string();
}

std::string ToldBy(const fs::path& program) {
  const fs::path told = program.string() + ".told";
  return HoldsWithin(kPatience, [&] { return ContentOf(told).ends_with('\n'); }) ? ContentOf(told) : std::string();
}

}  // namespace zelkor::tests
