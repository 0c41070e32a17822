// Reporting items that carry the same memo ID.
#pragma once

#include <cstdint>
#include <vector>

#include "lib/user.h"

namespace zelkor::db {

// Pairs reported one by one; the others are only counted, since a database of 9,999 equal IDs has 50 million pairs.
inline constexpr std::int64_t kPairsReported = 10;

class EqualMemoIds {
 public:
  explicit EqualMemoIds(std::int32_t records) { items_.reserve(static_cast<std::size_t>(records)); }
  // The records in order, from 1.
  void Add(std::int32_t recno, std::int32_t memoId) { items_.push_back({.memoId = memoId, .recno = recno}); }
  // A message for each of the first pairs, ordered by the later item and then the earlier one, and one for the rest.
  // Nothing is added after it.
  void Report(lib::User& user);

 private:
  struct Item {
    std::int32_t memoId;
    std::int32_t recno;
  };
  std::vector<Item> items_;
};

}  // namespace zelkor::db
