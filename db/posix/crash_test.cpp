// Replacing the item file, ended at every call of the system.
#include "tests/support/crash.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"

namespace zelkor::db {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::Eq;
using Opened = Database::Opened;

class Crash : public tests::DatabaseFixture {};

TEST_F(Crash, LeavesTheOldOrTheNewItemFileAtEveryInstantOfAConversion) {
  for (int moment = 1;; ++moment) {
    std::filesystem::remove(ProgramFolder() / "zelkor.new");
    WriteConfigFile(tests::OldConfig());
    WriteItemFile(tests::OldItems());
    const tests::Ended ended = tests::CrashAt(moment, [this] {
      user_.answers = {lib::Button::Ok};
      static_cast<void>(Open());
    });
    if (ended == tests::Ended::NotTraced) GTEST_SKIP() << "processes can not be traced here";
    ASSERT_THAT(ItemFile(), AnyOf(Eq(tests::OldItems()), Eq(tests::ConvertedItems()))) << "moment " << moment;

    // The next start brings it to its end, asking again only when nothing had been settled.
    user_.boxes.clear();
    user_.answers = {lib::Button::Ok};
    ASSERT_EQ(Open(), Opened::Yes) << "moment " << moment;
    ASSERT_LE(user_.boxes.size(), 1U) << "moment " << moment;
    ASSERT_EQ(ItemFile(), tests::ConvertedItems()) << "moment " << moment;
    ASSERT_EQ(ConfigFile().size(), 8192U) << "moment " << moment;
    const std::vector<std::string> names = Names();
    ASSERT_EQ(std::count(names.begin(), names.end(), "zelkor.new"), 0) << "moment " << moment;
    if (ended == tests::Ended::Finished) {
      EXPECT_THAT(names, ElementsAre("zelkor.cfg", "zelkor.ind"));
      // Both files opened, one read, one made, written, flushed and renamed twice, the other written and flushed.
      EXPECT_GT(moment, 30);
      return;
    }
  }
}

TEST_F(Crash, LeavesTheOldOrTheNewItemFileAtEveryInstantOfACompaction) {
  const std::string old = tests::ConvertedItems();
  const std::string compacted = old.substr(0, 1024) + old.substr(2048);
  for (int moment = 1;; ++moment) {
    WriteConfigFile(tests::GoldenConfig());
    WriteItemFile(old);
    const tests::Ended ended = tests::CrashAt(moment, [this] {
      static_cast<void>(Open());
      Data().CompactDatabase();
    });
    if (ended == tests::Ended::NotTraced) GTEST_SKIP() << "processes can not be traced here";
    ASSERT_THAT(ItemFile(), AnyOf(Eq(old), Eq(compacted))) << "moment " << moment;
    ASSERT_EQ(Open(), Opened::Yes) << "moment " << moment;
    ASSERT_TRUE(user_.boxes.empty()) << "moment " << moment;
    ASSERT_TRUE(Data().CompactDatabase()) << "moment " << moment;
    ASSERT_EQ(ItemFile(), compacted) << "moment " << moment;
    ASSERT_EQ(ConfigFile(), tests::GoldenConfig()) << "moment " << moment;
    if (ended == tests::Ended::Finished) {
      EXPECT_THAT(Names(), ElementsAre("zelkor.cfg", "zelkor.ind"));
      EXPECT_GT(moment, 30);
      return;
    }
  }
}

}  // namespace
}  // namespace zelkor::db
