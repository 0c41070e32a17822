#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

#include "tests/support/system.h"

namespace zelkor::tests {

namespace {

namespace fs = std::filesystem;

std::string ContentOf(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// What is not this process's can not be waited for otherwise.
std::string ContentWhen(const fs::path& file, const std::function<bool()>& ready) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!ready()) {
    if (std::chrono::steady_clock::now() > end) return {};
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return ContentOf(file);
}

}  // namespace

std::string WaitForFile(const fs::path& file) {
  return ContentWhen(file, [&] { return fs::exists(file); });
}

std::string ToldBy(const fs::path& program) {
  const fs::path told = program.string() + ".told";
  return ContentWhen(told, [&] { return ContentOf(told).ends_with('\n'); });
}

}  // namespace zelkor::tests
