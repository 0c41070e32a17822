#include "db/equal_memo_ids.h"

#include <cstddef>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/scripted_user.h"

namespace zelkor::db {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Report(const std::vector<std::int32_t>& memoIds) {
  EqualMemoIds equal(static_cast<std::int32_t>(memoIds.size()));
  for (std::size_t i = 0; i < memoIds.size(); ++i) equal.Add(static_cast<std::int32_t>(i) + 1, memoIds[i]);
  tests::ScriptedUser user;
  equal.Report(user);
  return user.Messages();
}

TEST(EqualMemoIds, SaysNothingWhenAllDiffer) { EXPECT_THAT(Report({1, 2, 3}), IsEmpty()); }

TEST(EqualMemoIds, NamesTheLaterItemFirst) { EXPECT_THAT(Report({7, 8, 7}), ElementsAre("Item 3 ID = item 1 ID")); }

TEST(EqualMemoIds, NamesEveryPair) {
  EXPECT_THAT(Report({7, 8, 7, 8, 7}), ElementsAre("Item 3 ID = item 1 ID", "Item 4 ID = item 2 ID",
                                                   "Item 5 ID = item 1 ID", "Item 5 ID = item 3 ID"));
}

TEST(EqualMemoIds, CountsThePairsBeyondTheTenth) {
  // Six equal items are 15 pairs; the tenth is the fifth item's last one.
  const std::vector<std::string> messages = Report(std::vector<std::int32_t>(6, 4));
  ASSERT_EQ(messages.size(), 11U);
  EXPECT_EQ(messages[9], "Item 5 ID = item 4 ID");
  EXPECT_EQ(messages[10], "There are 5 more pairs of items with the same ID.");
}

TEST(EqualMemoIds, AddsNoMessageForExactlyTenPairs) { EXPECT_EQ(Report(std::vector<std::int32_t>(5, 4)).size(), 10U); }

TEST(EqualMemoIds, ComputesTheNumberOfPairsOfAFullDatabase) {
  // 9999 * 9998 / 2 pairs, ten of them named.
  EXPECT_EQ(Report(std::vector<std::int32_t>(9999, 4)).back(),
            "There are 49984991 more pairs of items with the same ID.");
}

}  // namespace
}  // namespace zelkor::db
