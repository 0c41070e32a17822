#include "db/equal_memo_ids.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace zelkor::db {

void EqualMemoIds::Report(lib::User& user) {
  std::sort(items_.begin(), items_.end(), [](const Item& a, const Item& b) {
    return a.memoId != b.memoId ? a.memoId < b.memoId : a.recno < b.recno;
  });
  // An item and those before it with its ID, which stand just before it now.
  struct Later {
    std::int32_t recno;
    std::size_t place;
    std::size_t earlier;  // how many
  };
  std::vector<Later> laters;
  std::int64_t pairs = 0;
  for (std::size_t i = 1, first = 0; i < items_.size(); ++i) {
    if (items_[i].memoId != items_[first].memoId) {
      first = i;
      continue;
    }
    laters.push_back({.recno = items_[i].recno, .place = i, .earlier = i - first});
    pairs += static_cast<std::int64_t>(i - first);
  }
  std::sort(laters.begin(), laters.end(), [](const Later& a, const Later& b) { return a.recno < b.recno; });

  std::int64_t rest = kPairsReported;
  for (const Later& later : laters) {
    for (std::size_t back = later.earlier; back > 0 && rest > 0; --back, --rest) {
      user.Message("Item " + std::to_string(later.recno) + " ID = item " +
                   std::to_string(items_[later.place - back].recno) + " ID");
    }
    if (rest == 0) break;
  }
  if (pairs > kPairsReported) {
    user.Message("There are " + std::to_string(pairs - kPairsReported) + " more pairs of items with the same ID.");
  }
}

}  // namespace zelkor::db
