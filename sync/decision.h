// What import does with one file entry, by comparing its last-write time with the local file's.
#pragma once

#include <array>
#include <string_view>

#include "lib/date.h"

namespace zelkor::sync {

// The cut-off date (the last import from the target) makes the difference between two codes with the same label; they
// are counted apart and added up in the summary.
enum class Decision {
  Identical = 0,
  OlderBeforeCutoff = 1,
  OlderAfterCutoff = 2,
  NewerAfterCutoff = 3,
  NewerBeforeCutoff = 4,
  New = 5,
  CanNotImport = 6,
  DidNotImport = 7,
};
inline constexpr int kDecisions = 8;

// `local` is 0 when there is no local file. Dates are compared to the second.
[[nodiscard]] Decision Decide(lib::Date local, lib::Date entry, lib::Date cutoff);
// Whether the file is to be written.
[[nodiscard]] bool Takes(Decision decision);
// The label that the log shows.
[[nodiscard]] std::string_view Label(Decision decision);

// How many entries of a block met each decision.
class Tally {
 public:
  void Count(Decision decision) { ++counts_[static_cast<std::size_t>(decision)]; }
  [[nodiscard]] int Of(Decision decision) const { return counts_[static_cast<std::size_t>(decision)]; }

 private:
  std::array<int, kDecisions> counts_{};
};

}  // namespace zelkor::sync
