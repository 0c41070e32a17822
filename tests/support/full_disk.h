// A disk that is full: no file can grow past a limit while the object lives.
#pragma once

#include <cstdint>
#include <memory>

namespace zelkor::tests {

class FullDisk {
 public:
  // False where the system knows no such limit.
  [[nodiscard]] static bool Possible();
  explicit FullDisk(std::uint64_t largestFileBytes);
  ~FullDisk();
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zelkor::tests
