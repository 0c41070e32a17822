#include "db/equal_memo_ids.h"

#include <string>

namespace zelkor::db {

EqualMemoIds::EqualMemoIds(std::int32_t records) : next_(static_cast<std::size_t>(records) + 1) {
  groups_.reserve(static_cast<std::size_t>(records));
}

void EqualMemoIds::Add(std::int32_t recno, std::int32_t memoId) {
  const auto [found, isNew] = groups_.try_emplace(memoId, Group{.first = recno, .last = recno, .count = 1});
  if (isNew) return;
  Group& group = found->second;
  std::int32_t earlier = group.first;
  for (std::int64_t i = 0; i < group.count && static_cast<std::int64_t>(reported_.size()) < kPairsReported; ++i) {
    reported_.push_back({.later = recno, .earlier = earlier});
    earlier = next_[static_cast<std::size_t>(earlier)];
  }
  pairs_ += group.count;
  next_[static_cast<std::size_t>(group.last)] = recno;
  group.last = recno;
  ++group.count;
}

void EqualMemoIds::Report(lib::User& user) const {
  for (const Pair& pair : reported_) {
    user.Message("Item " + std::to_string(pair.later) + " ID = item " + std::to_string(pair.earlier) + " ID");
  }
  if (const std::int64_t rest = pairs_ - static_cast<std::int64_t>(reported_.size()); rest > 0) {
    user.Message("There are " + std::to_string(rest) + " more pairs of items with the same ID.");
  }
}

}  // namespace zelkor::db
