#include "db/memo_index.h"

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace zelkor::db {
namespace {

MemoIndex Of(const std::vector<std::int32_t>& memoIds) {
  MemoIndex index;
  index.Start(memoIds.size());
  for (std::size_t i = 0; i < memoIds.size(); ++i) index.Put(static_cast<std::int32_t>(i) + 1, memoIds[i]);
  return index;
}

TEST(MemoIndex, FindsTheFirstOfSeveralRecords) {
  const MemoIndex index = Of({10, 20, 20, 10});
  EXPECT_EQ(index.Find(10), 1);
  EXPECT_EQ(index.Find(20), 2);
  EXPECT_EQ(index.Find(30), 0);
}

TEST(MemoIndex, ForgetsAnIdThatARecordNoLongerHas) {
  MemoIndex index = Of({10, 20});
  index.Put(1, 11);
  EXPECT_EQ(index.Find(10), 0);
  EXPECT_EQ(index.Find(11), 1);
}

TEST(MemoIndex, GivesWayToTheNextRecordWithTheSameId) {
  MemoIndex index = Of({10, 20, 10, 10});
  index.Put(1, 20);
  EXPECT_EQ(index.Find(10), 3);
  EXPECT_EQ(index.Find(20), 1);
  index.Put(3, 5);
  EXPECT_EQ(index.Find(10), 4);
}

TEST(MemoIndex, TakesAnAppendedRecord) {
  MemoIndex index = Of({10});
  index.Put(2, 99);
  EXPECT_EQ(index.Find(99), 2);
}

TEST(MemoIndex, KnowsNothingBeforeItIsBuilt) {
  MemoIndex index;
  index.Put(1, 10);
  EXPECT_FALSE(index.Built());
  EXPECT_EQ(index.Find(10), 0);
}

}  // namespace
}  // namespace zelkor::db
