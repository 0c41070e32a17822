#include "net/targets.h"

#include <cstddef>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"

namespace zelkor::net {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TargetsTest : public tests::DatabaseFixture {
 protected:
  void OpenWith(const std::string& config) {
    WriteConfigFile(config);
    ASSERT_EQ(Open(), db::Database::Opened::Yes);
    targets_.emplace(Data(), user_);
  }
  [[nodiscard]] Targets& Table() { return *targets_; }
  [[nodiscard]] std::string Slot(int slot) const {
    return ConfigFile().substr(4096 + (static_cast<std::size_t>(slot) - 1) * 256, 256);
  }
  // The golden configuration with other bytes at an offset.
  static std::string GoldenWith(std::size_t offset, const std::string& bytes) {
    return tests::GoldenConfig().replace(offset, bytes.size(), bytes);
  }

 private:
  std::optional<Targets> targets_;
};

TEST_F(TargetsTest, ReadsAndWritesEverySlotWithoutChangingAByte) {
  OpenWith(tests::GoldenConfig());
  TargetRec rec;
  for (const int slot : {1, 3}) {
    Table().ReadTarget(slot, rec);
    Table().WriteTarget(slot, rec);
  }
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
}

TEST_F(TargetsTest, PadsAShortConfigurationFileWithBlanksAtTheFirstRead) {
  OpenWith(tests::GoldenConfig().substr(0, 4096));
  TargetRec rec;
  Table().ReadTarget(16, rec);
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig().substr(0, 4096) + std::string(4096, ' '));
  EXPECT_EQ(rec.Id(), "");
}

TEST_F(TargetsTest, PadsBehindWhatIsThere) {
  OpenWith(tests::GoldenConfig().substr(0, 5000));
  TargetRec rec;
  Table().ReadTarget(1, rec);
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig().substr(0, 5000) + std::string(3192, ' '));
  EXPECT_EQ(rec.Id(), "office");
}

TEST_F(TargetsTest, TakesOnlyTheLowestBitOfTheFlag) {
  OpenWith(GoldenWith(4096 + 250, "\x33"));
  TargetRec rec;
  Table().ReadTarget(1, rec);
  EXPECT_EQ(rec.Number(TargetRec::kDefaultExclude), 1);
  Table().ReadTarget(2, rec);  // never written: a blank
  EXPECT_EQ(rec.Number(TargetRec::kDefaultExclude), 0);
}

TEST_F(TargetsTest, FindsATargetInEitherCase) {
  OpenWith(tests::GoldenConfig());
  EXPECT_EQ(Table().FindTarget("OFFICE", true), 1);
  EXPECT_EQ(Table().Current().Text(TargetRec::kAddress), "ftp.example.com");
  EXPECT_EQ(Table().FindTarget("lap", true), 3);
  EXPECT_EQ(Table().Current().Id(), "lap");
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(TargetsTest, DoesNotTrimTheIdThatItIsGiven) {
  OpenWith(tests::GoldenConfig());
  EXPECT_EQ(Table().FindTarget(" office", false), 0);
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(TargetsTest, SaysThatATargetIsUnknownWhenAsked) {
  OpenWith(tests::GoldenConfig());
  EXPECT_EQ(Table().FindTarget("Nobody", true), 0);
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Can not find target [Nobody] in database!");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
}

TEST_F(TargetsTest, FindsNoFreeSlotForAnEmptyId) {
  OpenWith(tests::GoldenConfig());
  EXPECT_EQ(Table().FindTarget("", false), 0);
  Table().SetTargetDates("", 1, 2);
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
}

TEST_F(TargetsTest, FindsAnIdWithANulBehindIt) {
  OpenWith(GoldenWith(4096, tests::Raw("pc1\0zzzz")));
  EXPECT_EQ(Table().FindTarget("PC1", false), 1);
}

TEST_F(TargetsTest, TakesTheFirstFreeSlotWithTypeFileAndNoFlag) {
  OpenWith(tests::GoldenConfig());
  EXPECT_TRUE(Table().NewTarget("pc7"));
  EXPECT_EQ(Slot(2), tests::Pad("pc7", 8) + tests::kNever + tests::kNever + tests::Pad("a:\\", 64) +
                         tests::Raw("\0\0") + tests::Pad("", 64 + 32 + 32 + 32) + tests::Raw("\0") + tests::Pad("", 5));
  EXPECT_EQ(ConfigFile().substr(0, 4096 + 256), tests::GoldenConfig().substr(0, 4096 + 256));
  EXPECT_THAT(Table().TargetIds(), ElementsAre("office", "pc7", "lap"));
}

TEST_F(TargetsTest, GivesANewTargetTheConnectionOfTheOneDeletedThere) {
  OpenWith(GoldenWith(4096 + 24, tests::Pad("c:\\elsewhere\\", 64)));
  Table().DeleteTarget(1);
  EXPECT_EQ(Slot(1).substr(0, 8), tests::Pad("", 8));
  EXPECT_EQ(Slot(1).substr(8), GoldenWith(4096 + 24, tests::Pad("c:\\elsewhere\\", 64)).substr(4096 + 8, 248));
  EXPECT_TRUE(Table().NewTarget("new"));
  EXPECT_EQ(Slot(1), tests::Pad("new", 8) + tests::kNever + tests::kNever + tests::Pad("a:\\", 64) +
                         tests::GoldenConfig().substr(4096 + 88, 168));
}

TEST_F(TargetsTest, RefusesA17thTarget) {
  OpenWith(tests::GoldenConfig().substr(0, 4096));
  for (int i = 1; i <= 16; ++i) EXPECT_TRUE(Table().NewTarget("pc" + std::to_string(i)));
  const std::string full = ConfigFile();
  EXPECT_FALSE(Table().NewTarget("pc17"));
  ASSERT_EQ(user_.boxes.size(), 1U);
  EXPECT_EQ(user_.boxes[0].text, "Sync list is full!");
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_EQ(ConfigFile(), full);
  EXPECT_EQ(Table().TargetIds().size(), 16U);
}

TEST_F(TargetsTest, SetsOnlyTheExportDate) {
  OpenWith(tests::GoldenConfig());
  Table().SetTargetDates("Office", 0, 46000.5);
  EXPECT_EQ(ConfigFile(), GoldenWith(4096 + 16, tests::kNoon46000));
}

TEST_F(TargetsTest, SetsOnlyTheImportDate) {
  OpenWith(tests::GoldenConfig());
  Table().SetTargetDates("lap", 45999.25, 0);
  EXPECT_EQ(ConfigFile(), GoldenWith(4096 + 512 + 8, tests::kSix45999));
}

TEST_F(TargetsTest, ChangesNothingForAnUnknownId) {
  OpenWith(tests::GoldenConfig());
  Table().SetTargetDates("nobody", 1, 2);
  EXPECT_EQ(ConfigFile(), tests::GoldenConfig());
  EXPECT_THAT(user_.boxes, IsEmpty());
}

TEST_F(TargetsTest, DoesNotCutAStoredIdAtANulToSetItsDates) {
  const std::string config = GoldenWith(4096, tests::Raw("pc1\0    "));
  OpenWith(config);
  Table().SetTargetDates("pc1", 1, 2);
  EXPECT_EQ(ConfigFile(), config);
}

TEST_F(TargetsTest, ClearsBothDates) {
  OpenWith(tests::GoldenConfig());
  Table().ClearTargetDates(1);
  EXPECT_EQ(ConfigFile(), GoldenWith(4096 + 8, tests::kNever + tests::kNever));
}

TEST_F(TargetsTest, ListsTheIdsAndLeavesTheCurrentRecordAlone) {
  OpenWith(GoldenWith(4096, "OFFICE  "));
  ASSERT_EQ(Table().FindTarget("lap", false), 3);
  EXPECT_THAT(Table().TargetIds(), ElementsAre("office", "lap"));
  EXPECT_EQ(Table().Current().Id(), "lap");
}

TEST_F(TargetsTest, ReadsASlotOfAnyBytes) {
  OpenWith(tests::GoldenConfig().substr(0, 4096) + std::string(4096, '\xff'));
  TargetRec rec;
  Table().ReadTarget(5, rec);
  EXPECT_EQ(rec.Number(TargetRec::kConnectionType), -1);
  EXPECT_EQ(Table().FindTarget("office", false), 0);
  EXPECT_FALSE(Table().NewTarget("pc1"));
}

}  // namespace
}  // namespace zelkor::net
