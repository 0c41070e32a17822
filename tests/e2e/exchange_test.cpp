// Two computers that exchange their changes, in both directions and over time.
#include "tests/support/e2e.h"

namespace zelkor::tests {
namespace {

using testing::ElementsAre;

class Exchange : public TwoComputers {
 protected:
  // Export, carry, import; both must succeed. The clock of the computers is `clock` seconds ahead.
  void Carry(const Computer& from, const Computer& to, long clock = 0) {
    const Outcome exported = from.Export(to.Id(), {.faults = {.clock = clock}});
    EXPECT_EQ(exported.status, 0) << exported;
    const Outcome imported = to.Import(from.Id(), {.faults = {.clock = clock}});
    EXPECT_EQ(imported.status, 0) << imported;
    EXPECT_EQ(OnStick(), std::vector<std::string>{});
  }
};

TEST_F(Exchange, BringsItemsAndFilesOfBothSidesTogether) {
  AddFileItem(office, 1, "docs/from office.txt", "office", At(2020, 1, 1));
  AddFileItem(lap, 2, "docs/from lap.txt", "lap", At(2020, 1, 2));
  Carry(office, lap);
  Carry(lap, office);
  for (const Computer* computer : {&office, &lap}) {
    EXPECT_THAT(computer->Files(), ElementsAre("docs/from lap.txt", "docs/from office.txt")) << computer->Id();
    EXPECT_EQ(computer->ReadFile("docs/from office.txt"), "office");
    EXPECT_EQ(computer->ReadFile("docs/from lap.txt"), "lap");
    EXPECT_EQ(computer->Items().size(), 2U);
  }
}

TEST_F(Exchange, AFileThatWasJustReceivedIsIdenticalOnTheWayBack) {
  AddFileItem(office, 1, "a.txt", "office", time(nullptr) - 100, 1);
  Carry(office, lap);
  ASSERT_EQ(lap.Export("office").status, 0);
  const Outcome back = office.Import("lap");
  EXPECT_EQ(back.status, 0) << back;
  EXPECT_THAT(back.out, testing::ContainsRegex("Identical: *1"));
  EXPECT_THAT(back.out, testing::ContainsRegex("Updated: *0"));
}

TEST_F(Exchange, TheLaterOfTwoChangesWins) {
  const std::time_t now = time(nullptr);
  AddFileItem(office, 1, "a.txt", "first", now - 1000);
  Carry(office, lap);
  office.WriteFile("a.txt", "office's", now + 100);
  lap.WriteFile("a.txt", "lap's", now + 200);
  Carry(office, lap, 1000);
  EXPECT_EQ(lap.ReadFile("a.txt"), "lap's");
  Carry(lap, office, 1000);
  EXPECT_EQ(office.ReadFile("a.txt"), "lap's");
  EXPECT_EQ(office.FileTime("a.txt"), now + 200);
}

TEST_F(Exchange, WorksBetweenTimeZonesByLocalTime) {
  AddFileItem(office, 1, "a.txt", "x", At(2020, 7, 1, 12, 0, 0));
  ASSERT_EQ(office.Export("lap", {.environment = {{"TZ", "CET-1CEST,M3.5.0,M10.5.0/3"}}}).status, 0);
  ASSERT_EQ(lap.Import("office", {.environment = {{"TZ", "EST5EDT,M3.2.0,M11.1.0"}}}).status, 0);
  // 14:00 in Berlin's summer is 14:00 on the other computer's clock too, four hours behind UTC.
  EXPECT_EQ(lap.FileTime("a.txt"), At(2020, 7, 1, 18, 0, 0));
}

TEST_F(Exchange, ADeletedItemIsMarkedOnTheOtherComputerAndItsFileStays) {
  AddFileItem(office, 1, "a.txt", "x", time(nullptr) - 100);
  Carry(office, lap);
  Item item = office.Items()[0];
  item.flags = 1;
  office.ChangeItem(1, item);
  Carry(office, lap);
  EXPECT_EQ(lap.Items().at(0).flags & 1, 1);
  EXPECT_EQ(lap.ReadFile("a.txt"), "x");
}

TEST_F(Exchange, AnItemEditedWithoutAFileChangeStaysAsItIsThere) {
  AddFileItem(office, 1, "a.txt", "x", time(nullptr) - 100);
  Carry(office, lap);
  Item item = office.Items()[0];
  item.codes = "new code";
  office.ChangeItem(1, item);
  Carry(office, lap);
  EXPECT_EQ(lap.Items().at(0).codes, "");
  // With a changed file the record goes along.
  office.WriteFile("a.txt", "y", time(nullptr) + 100);
  Carry(office, lap, 1000);
  EXPECT_EQ(lap.Items().at(0).codes, "new code");
}

TEST_F(Exchange, CreationTimesTravel) {
  AddFileItem(office, 1, "a.txt", "x", At(2020, 1, 1));
  ASSERT_EQ(office.Export("lap").status, 0);
  SyncImage image = Waiting("lap.cas");
  const double created = image.blocks[0].records[0].files[0].created;
  ASSERT_EQ(lap.Import("office").status, 0);
  lap.WriteFile("a.txt", "y", time(nullptr) + 100);
  ASSERT_EQ(lap.Export("office", {.faults = {.clock = 1000}}).status, 0);
  image = Waiting("office.cas");
  ASSERT_EQ(image.blocks[0].records[0].files.size(), 1U);
  EXPECT_EQ(SecondsOf(image.blocks[0].records[0].files[0].created), SecondsOf(created));
}

TEST_F(Exchange, ThreeComputersPassAFileOn) {
  const Computer third(folder.Path(), "third");
  third.SetTarget({.id = "lap", .mediaPath = "m:\\"});
  lap.SetTarget({.id = "third", .mediaPath = "m:\\"});
  // A last export in the past, after which the file was written.
  AddFileItem(office, 1, "a.txt", "x", time(nullptr) - 100);
  Carry(office, lap);
  Carry(lap, third);
  EXPECT_EQ(third.ReadFile("a.txt"), "x");
  EXPECT_EQ(third.Items().at(0).source, "lap");
}

TEST_F(Exchange, AComputerCanExportToItselfForTrials) {
  office.SetTarget({.id = "test", .mediaPath = "m:\\"});
  AddFileItem(office, 1, "a.txt", "x", At(2020, 1, 1));
  ASSERT_EQ(office.Run({Computer::ExportWord("test")}).status, 0);
  const Outcome outcome = office.Run({Computer::ImportWord("test")});
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.out, testing::ContainsRegex("Identical: *1"));
}

}  // namespace
}  // namespace zelkor::tests
