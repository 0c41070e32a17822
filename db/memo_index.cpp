#include "db/memo_index.h"

#include <algorithm>

namespace zelkor::db {

void MemoIndex::Drop() {
  built_ = false;
  memoIds_.clear();
  firstRecno_.clear();
}

void MemoIndex::Start(std::size_t count) {
  Drop();
  built_ = true;
  memoIds_.reserve(count);
  firstRecno_.reserve(count);
}

void MemoIndex::Put(std::int32_t recno, std::int32_t memoId) {
  if (!built_) return;
  const auto index = static_cast<std::size_t>(recno) - 1;
  if (index == memoIds_.size()) {
    memoIds_.push_back(memoId);
  } else {
    const std::int32_t before = memoIds_[index];
    if (before == memoId) return;
    memoIds_[index] = memoId;
    if (const auto found = firstRecno_.find(before); found->second == recno) {
      // Another record may hold the old ID too; the first of those behind takes its place.
      const auto next = std::find(memoIds_.begin() + recno, memoIds_.end(), before);
      if (next == memoIds_.end()) {
        firstRecno_.erase(found);
      } else {
        found->second = static_cast<std::int32_t>(next - memoIds_.begin()) + 1;
      }
    }
  }
  const auto [entry, isNew] = firstRecno_.try_emplace(memoId, recno);
  if (!isNew) entry->second = std::min(entry->second, recno);
}

std::int32_t MemoIndex::Find(std::int32_t memoId) const {
  const auto found = firstRecno_.find(memoId);
  return found == firstRecno_.end() ? 0 : found->second;
}

}  // namespace zelkor::db
