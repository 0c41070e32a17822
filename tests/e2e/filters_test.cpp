// The filters of the command line, in force for an export behind them.
#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;

class FiltersOfTheCommandLine : public TwoComputers {
 protected:
  FiltersOfTheCommandLine() {
    const auto add = [this](int id, const std::string& codes, int flags = 0) {
      office.AddItem({.description = codes, .memoId = id, .codes = codes, .flags = flags});
    };
    add(1, "a");
    add(2, "B a");
    add(3, "abc");
    add(4, "bc");
    add(5, "bcd");
    add(6, "");
  }
  std::vector<std::int32_t> ExportedWith(const std::vector<std::string>& words) {
    std::vector<std::string> all = words;
    all.push_back(Computer::ExportWord("lap"));
    const Outcome outcome = office.Run(all);
    EXPECT_EQ(outcome.status, 0) << outcome;
    std::vector<std::int32_t> ids;
    const SyncImage image = Waiting("lap.cas");
    for (const SyncRecord& record : image.blocks.at(0).records) ids.push_back(record.memoId);
    return ids;
  }
};

TEST_F(FiltersOfTheCommandLine, SelectKeepsItemsThatCarryAllCodesAsWholeWords) {
  EXPECT_THAT(ExportedWith({"/select:a"}), ElementsAre(1, 2));
}
TEST_F(FiltersOfTheCommandLine, SelectTakesSeveralCodesInAnyOrderAndCase) {
  EXPECT_THAT(ExportedWith({"/SELECT:a,b"}), ElementsAre(2));
}
TEST_F(FiltersOfTheCommandLine, ExcludeAlsoMatchesTheEndOfALongerCode) {
  EXPECT_THAT(ExportedWith({"/exclude:bc"}), ElementsAre(1, 2, 5, 6));
}
TEST_F(FiltersOfTheCommandLine, BothNarrowTogether) {
  EXPECT_THAT(ExportedWith({"/select:a", "/Exclude:b"}), ElementsAre(1));
}
TEST_F(FiltersOfTheCommandLine, TheArgumentEndsAtTheSecondColon) {
  EXPECT_THAT(ExportedWith({"/select:a:b"}), ElementsAre(1, 2));
}
TEST_F(FiltersOfTheCommandLine, AnEmptyArgumentGivesNoCodes) {
  EXPECT_THAT(ExportedWith({"/select:", "/exclude:"}), ElementsAre(1, 2, 3, 4, 5, 6));
}
TEST_F(FiltersOfTheCommandLine, OtherSwitchesAreIgnored) {
  EXPECT_THAT(ExportedWith({"/verbose:9"}), ElementsAre(1, 2, 3, 4, 5, 6));
}
TEST_F(FiltersOfTheCommandLine, AStarIsAnyRunOfCharacters) {
  EXPECT_THAT(ExportedWith({"/select:b*"}), ElementsAre(2, 4, 5));
}
TEST_F(FiltersOfTheCommandLine, NarrowTheDeletedItemsToo) {
  office.AddItem({.description = "deleted", .memoId = 7, .codes = "a", .flags = 1});
  office.AddItem({.description = "deleted", .memoId = 8, .codes = "z", .flags = 1});
  EXPECT_THAT(ExportedWith({"/select:a"}), ElementsAre(1, 2, 7));
}

TEST_F(FiltersOfTheCommandLine, AFilterThatKeepsNothingEndsTheRun) {
  const Outcome outcome = office.Run({"/select:nothing", Computer::ExportWord("lap")});
  EXPECT_EQ(outcome.status, 1) << outcome;
  EXPECT_THAT(outcome.err, Says("Zelkor: Nothing selected!"));
  EXPECT_EQ(OnStick(), std::vector<std::string>{});
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

TEST_F(FiltersOfTheCommandLine, ManyWordsAreTooMany) {
  const Outcome outcome = office.Run(std::vector<std::string>(99, "/select:a"));
  const Outcome tooMany = office.Run(std::vector<std::string>(100, "/select:a"));
  EXPECT_NE(tooMany.status, 0);
  EXPECT_THAT(tooMany.err, testing::ContainsRegex("[Ss]ubscript out of range"));
  EXPECT_THAT(outcome.err, testing::Not(testing::ContainsRegex("[Ss]ubscript out of range")));
}

}  // namespace
}  // namespace zelkor::tests
