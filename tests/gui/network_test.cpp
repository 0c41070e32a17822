// Over the network, with the windows: the built Zelkor and the built Vandry on both sides.

#include "tests/gui/by_windows.h"
#include "tests/support/relay.h"

namespace zelkor::tests {
namespace {

using testing::HasSubstr;

class NetworkByWindows : public ByWindows {
 protected:
  NetworkByWindows() {
    office.AddSetting("Vandry", "Port=" + std::to_string(officePort));
    lap.AddSetting("Vandry", "Port=" + std::to_string(lapPort));
    for (const Computer* each : {&office, &lap}) {
      each->AddSetting("Vandry", "Listen=127.0.0.1");
      const Computer& other = each == &office ? lap : office;
      const std::string shown = RunVandry(other, {"--fingerprint"}).out;
      const Outcome paired = RunVandry(*each, {"--pair", other.Id(), shown.substr(0, shown.find('\n'))});
      EXPECT_EQ(paired.status, 0) << paired;
    }
  }
  static std::string At(std::uint16_t port) { return "127.0.0.1:" + std::to_string(port); }

  void MakeNetworkTarget(const Computer& computer, const std::string& target, const std::string& address) const {
    MakeTarget(computer, target, "Down");
    FillBox(screen, "Alt+i", address);
    Save(computer, target, 1);
    EXPECT_EQ(computer.TargetWithId(target)->address, address);
  }
  // Options/Accept network connections.
  void Accept(const Computer& computer) const {
    screen.Press("Alt+o");
    screen.Press("a");
    EXPECT_TRUE(screen.Until([&] { return Setting(computer, "Zelkor", "AcceptNetConn") == "1"; }));
    screen.WaitUntilActive(kSynchronisation);
  }
  // Asks the other one until its Vandry has followed the option.
  void TestUntilReached(const std::string& id) const {
    EXPECT_TRUE(screen.Until([&] {
      screen.Press("Ctrl+t");
      return TextOfTheTest() == "Reply received from [" + id + "]";
    }));
  }
  void Exit(const Computer& computer) const {
    screen.Activate(MainTitle(computer));
    screen.Press("Alt+f");
    screen.Press("x");
    screen.WaitUntilGone(MainTitle(computer));
  }

  std::uint16_t officePort = FreePort();
  std::uint16_t lapPort = FreePort();
  Relay toOffice{officePort};
};

// Office's Vandry runs, as from the start of a session; its Zelkor does not when lap asks. Lap's Zelkor starts its own
// Vandry. Then office asks, while lap's Zelkor runs.
TEST_F(NetworkByWindows, SynchronisesBothWaysAndStartsZelkorWhenItIsAsked) {
  DesktopProgram vandryOfOffice(office, {}, {.program = ZELKOR_VANDRY});
  {
    DesktopProgram program(office);
    MakeNetworkTarget(office, "lap", At(lapPort));
    Accept(office);
    CloseSynchronisation();
    EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
  }
  DesktopProgram program(lap);
  MakeNetworkTarget(lap, "office", toOffice.Address());
  Accept(lap);
  TestUntilReached("office");
  EXPECT_FALSE(screen.Has(MainTitle(office))) << "an answer to a question of Vandry's needs no program";
  Run("Ctrl+i");
  EXPECT_TRUE(screen.Until([&] { return screen.Has(MainTitle(office)); })) << "Vandry starts it";
  EXPECT_TRUE(screen.Until([&] { return lap.TargetWithId("office")->lastImport > 0; }));
  EXPECT_TRUE(screen.Until([&] { return office.TargetWithId("lap")->lastExport > 0; })) << "by the confirmation";
  EXPECT_EQ(lap.ReadFile("job/plan.txt"), EveryByte());
  EXPECT_THAT(lap.Log() + lap.History(), HasSubstr("Sync request sent to [office]"));
  EXPECT_THAT(lap.Log(), HasSubstr("c:\\job\\plan.txt"));
  EXPECT_THAT(office.Log(), HasSubstr("Sending file to [lap]"));
  CloseLogs();
  CloseSynchronisation();

  OpenSynchronisation(office);
  Run("Ctrl+i");
  EXPECT_TRUE(screen.Until([&] { return office.TargetWithId("lap")->lastImport > 0; }));
  EXPECT_TRUE(screen.Until([&] { return lap.TargetWithId("office")->lastExport > 0; }));
  CloseLogs();
  CloseSynchronisation();
  Exit(office);
  EXPECT_EQ(ExitByMenu(screen, lap, program).status, 0);
  ExpectBothInStep();
  // Zelkor ends the Vandry that it has started, and no other.
  EXPECT_TRUE(screen.Until([&] { return lib::ListenOn(*lib::NumericAddress("127.0.0.1", lapPort)).Ok(); }));
  EXPECT_FALSE(lib::ListenOn(*lib::NumericAddress("127.0.0.1", officePort)).Ok());
}

TEST_F(NetworkByWindows, CancelEndsTheWaitForAnAnswer) {
  office.AddSetting("Zelkor", "AcceptNetConn=1");
  DesktopProgram vandryOfOffice(office, {}, {.program = ZELKOR_VANDRY});
  lap.SetTarget({.id = "office", .connectionType = 1, .address = toOffice.Address()});
  toOffice.Change([](Line& line) { line.stalls = true; });
  DesktopProgram program(lap);
  OpenSynchronisation(lap);
  screen.Press("Ctrl+t");
  // At first it waits for its own Vandry; the line stands still only for the wait that is cancelled here.
  EXPECT_TRUE(screen.Until([&] { return toOffice.Connections() > 0; }));
  screen.WaitUntilActive(kBox);
  screen.Press("Escape");
  EXPECT_EQ(TextOfTheTest(), "No reply from target!\nIs the target set to accept net connections?");
  // The answer to the question that was given up comes to nobody.
  toOffice.Change([](Line& line) { line.stalls = false; });
  TestUntilReached("office");
  CloseSynchronisation();
  EXPECT_EQ(ExitByMenu(screen, lap, program).status, 0);
}

// The file comes nevertheless: only the wait for it was given up.
TEST_F(NetworkByWindows, CancelWhileAFileComesLeavesTheRestToVandry) {
  office.AddSetting("Zelkor", "AcceptNetConn=1");
  office.SetTarget({.id = "lap", .connectionType = 1, .address = At(lapPort)});
  lap.SetTarget({.id = "office", .connectionType = 1, .address = toOffice.Address()});
  const std::string film(3'000'000, 'f');
  office.WriteFile("film.bin", film, kPlanWritten);
  office.AddItem({.fileName = "c:\\film.bin", .description = "Film", .memoId = 103});
  toOffice.Change([](Line& line) { line.bytesPerSecond = 100'000; });
  DesktopProgram vandryOfOffice(office, {}, {.program = ZELKOR_VANDRY});
  DesktopProgram program(lap);
  OpenSynchronisation(lap);
  Run("Ctrl+i");
  // "Receiving data from [office]", with its progress.
  EXPECT_TRUE(screen.Until([&] { return toOffice.Carried() > 50'000 && screen.Has(kBox); }));
  PressUntil(kBox, "Escape", [&] { return !screen.Has(kBox); });
  EXPECT_FALSE(lap.HasFile("film.bin"));
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
  toOffice.Change([](Line& line) { line.bytesPerSecond = 0; });
  EXPECT_TRUE(screen.Until([&] { return office.TargetWithId("lap")->lastExport > 0; }));
  EXPECT_TRUE(lap.ReadFile("film.bin") == film);
  EXPECT_GT(lap.TargetWithId("office")->lastImport, 0);
  CloseLogs();
  CloseSynchronisation();
  Exit(office);
  EXPECT_EQ(ExitByMenu(screen, lap, program).status, 0);
}

}  // namespace
}  // namespace zelkor::tests
