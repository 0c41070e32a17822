// One running copy of a program for each ProgramDir.
#pragma once

#include <memory>
#include <string_view>

namespace zelkor::lib {

class SingleCopy {
 public:
  // Claims `programDir` for this process until the object goes; each `program` of the suite has a claim of its own.
  explicit SingleCopy(std::string_view programDir, std::string_view program = "zelkor");
  ~SingleCopy();
  SingleCopy(const SingleCopy&) = delete;
  SingleCopy& operator=(const SingleCopy&) = delete;

  // False when another running copy has claimed it.
  [[nodiscard]] bool First() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zelkor::lib
