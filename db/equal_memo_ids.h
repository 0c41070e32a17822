// Reporting items that carry the same memo ID.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "lib/user.h"

namespace zelkor::db {

// Pairs reported one by one; the others are only counted, since a database of 9,999 equal IDs has 50 million pairs.
inline constexpr std::int64_t kPairsReported = 10;

class EqualMemoIds {
 public:
  explicit EqualMemoIds(std::int32_t records);
  // The records in order, from 1.
  void Add(std::int32_t recno, std::int32_t memoId);
  // A message for each of the first pairs, ordered by the later item and then the earlier one, and one for the rest.
  void Report(lib::User& user) const;

 private:
  struct Group {
    std::int32_t first = 0;
    std::int32_t last = 0;
    std::int64_t count = 0;
  };
  struct Pair {
    std::int32_t later;
    std::int32_t earlier;
  };
  std::unordered_map<std::int32_t, Group> groups_;
  std::vector<std::int32_t> next_;  // of record i: the next one with its memo ID
  std::vector<Pair> reported_;
  std::int64_t pairs_ = 0;
};

}  // namespace zelkor::db
