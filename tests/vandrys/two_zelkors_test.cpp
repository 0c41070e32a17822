// The whole road: two Zelkors, unattended, each with its Vandry, over the network.

#include <gtest/gtest.h>
#include <string>

#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

class TwoZelkorsTest : public Sandbox {
 protected:
  TwoZelkorsTest() {
    for (VandryAt* each : {&office, &lap}) {
      each->AcceptConnections();
      const VandryAt& other = each == &office ? lap : office;
      each->OnComputer().SetTarget({.id = other.OnComputer().Id(), .connectionType = 1, .address = other.Address()});
      // What waits for a program waits until the test starts it.
      each->OnComputer().AddSetting("Zelkor", "Exe=/bin/true");
    }
  }
  void StartVandrys() {
    PairByFingerprints(office, lap);
    office.Start();
    office.Disconnect();
    lap.Start();
    lap.Disconnect();
  }
  // Export on one, import on the other.
  static std::pair<Outcome, Outcome> Synchronise(const VandryAt& from, const VandryAt& to) {
    const auto sender = from.OnComputer().Start({Computer::ExportWord(to.OnComputer().Id())}, {});
    EXPECT_TRUE(sender->WaitForOutput("Sending file to ["));
    const Outcome imported = to.OnComputer().Import(from.OnComputer().Id());
    return {sender->Wait(), imported};
  }

  VandryAt office{Root(), "office"};
  VandryAt lap{Root(), "lap"};
};

TEST_F(TwoZelkorsTest, SynchroniseOverTheNetworkBothWays) {
  office.OnComputer().WriteFile("job/plan.txt", "of office\n", kYesterday);
  office.OnComputer().AddItem({.fileName = "c:\\job\\plan.txt", .description = "Plan", .memoId = 101});
  lap.OnComputer().WriteFile("trip/map.txt", "of lap\n", kYesterday);
  lap.OnComputer().AddItem({.fileName = "c:\\trip\\map.txt", .description = "Map", .memoId = 102});
  StartVandrys();

  const auto [exported, imported] = Synchronise(office, lap);
  EXPECT_EQ(exported.status, 0) << exported;
  EXPECT_EQ(imported.status, 0) << imported;
  EXPECT_EQ(lap.OnComputer().ReadFile("job/plan.txt"), "of office\n");
  EXPECT_EQ(lap.OnComputer().FileTime("job/plan.txt"), kYesterday);
  EXPECT_TRUE(lap.OnComputer().ItemWithId(101).has_value());
  // The confirmation has stored the date.
  EXPECT_GT(office.OnComputer().TargetWithId("lap")->lastExport, 0);
  EXPECT_GT(lap.OnComputer().TargetWithId("office")->lastImport, 0);

  const auto [exportedBack, importedBack] = Synchronise(lap, office);
  EXPECT_EQ(exportedBack.status, 0) << exportedBack;
  EXPECT_EQ(importedBack.status, 0) << importedBack;
  EXPECT_EQ(office.OnComputer().ReadFile("trip/map.txt"), "of lap\n");
  EXPECT_EQ(office.OnComputer().ReadFile("job/plan.txt"), "of office\n");
  EXPECT_EQ(office.OnComputer().Items().size(), 2U);
  EXPECT_EQ(lap.OnComputer().Items().size(), 2U);
}

TEST_F(TwoZelkorsTest, ThatAreNotPairedCarryNothing) {
  office.OnComputer().WriteFile("job/plan.txt", "of office\n", kYesterday);
  office.OnComputer().AddItem({.fileName = "c:\\job\\plan.txt", .description = "Plan", .memoId = 101});
  office.Start();
  office.Disconnect();
  lap.Start();
  lap.Disconnect();
  const Outcome exported = office.OnComputer().Export("lap");
  EXPECT_EQ(exported.status, 1) << exported;
  EXPECT_NE((exported.out + exported.err).find("The two computers are not paired"), std::string::npos) << exported;
  EXPECT_EQ(office.OnComputer().TargetWithId("lap")->lastExport, 0);
  EXPECT_FALSE(lap.OnComputer().HasFile("job/plan.txt"));
}

}  // namespace
}  // namespace zelkor::tests
