// Days when a computer fails: its disk is full, or its Vandry is killed. Two Zelkors, unattended, each with its Vandry.

#include <csignal>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>

#include "tests/support/disks.h"
#include "tests/support/relay.h"
#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::size_t kFilmBytes = 3'000'000;

class BadDays : public Sandbox {
 protected:
  // Office has a film for lap. What waits for a program waits until the test starts it.
  void SetUpComputers() {
    office.OnComputer().SetTarget({.id = "lap", .connectionType = 1, .address = toLap.Address()});
    lap.OnComputer().SetTarget({.id = "office", .connectionType = 1, .address = toOffice.Address()});
    std::mt19937 random(5);
    film.resize(kFilmBytes);
    for (char& c : film) c = static_cast<char>(random());
    office.OnComputer().WriteFile("film.bin", film, kYesterday);
    office.OnComputer().AddItem({.fileName = "c:\\film.bin", .description = "Film", .memoId = 101});
    for (VandryAt* each : {&office, &lap}) {
      each->AcceptConnections();
      each->OnComputer().AddSetting("Zelkor", "Exe=/bin/true");
    }
    PairByFingerprints(office, lap);
    for (VandryAt* each : {&office, &lap}) Restart(*each);
  }
  static void Restart(VandryAt& computer) {
    computer.Start();
    computer.Disconnect();
  }
  [[nodiscard]] static bool Comes(const std::function<bool()>& happened) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!happened() && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    return happened();
  }
  void ExpectNothingCarried() const {
    EXPECT_EQ(office.OnComputer().TargetWithId("lap")->lastExport, 0);
    EXPECT_EQ(lap.OnComputer().TargetWithId("office")->lastImport, 0);
    EXPECT_FALSE(lap.OnComputer().HasFile("film.bin"));
    EXPECT_FALSE(fs::exists(lap.File("lap.cas")));
  }
  // The next run sends what is missing.
  void ExpectTheNextRunWorks() const {
    const auto importing = lap.OnComputer().Start({Computer::ImportWord("office")}, {});
    ASSERT_TRUE(importing->WaitForOutput("Sync request sent to ["));
    const Outcome exported = office.OnComputer().Export("lap");
    EXPECT_EQ(exported.status, 0) << exported;
    const Outcome imported = importing->Wait();
    EXPECT_EQ(imported.status, 0) << imported;
    EXPECT_TRUE(lap.OnComputer().ReadFile("film.bin") == film);
    EXPECT_EQ(lap.OnComputer().FileTime("film.bin"), kYesterday);
    EXPECT_GT(office.OnComputer().TargetWithId("lap")->lastExport, 0);
    EXPECT_GT(lap.OnComputer().TargetWithId("office")->lastImport, 0);
  }
  static std::string VandryLog(const VandryAt& computer) { return ReadBytes(computer.File("Vandry.log")); }

  VandryAt office{Root(), "office"};
  VandryAt lap{Root(), "lap"};
  Relay toLap{lap.Port()};
  Relay toOffice{office.Port()};
  std::string film;
};

TEST_F(BadDays, AFullDiskAtTheReceiverFailsBothRunsAndTheNextOnesSendWhatIsMissing) {
  if (!EnterOwnMountNamespace()) GTEST_SKIP() << "no mount namespace of our own is allowed here";
  const SmallDisk disk(lap.OnComputer().Program(), 16 << 20);
  SetUpComputers();
  disk.FillBut(1'000'000);
  const auto exporting = office.OnComputer().Start({Computer::ExportWord("lap")}, {});
  ASSERT_TRUE(exporting->WaitForOutput("Sending file to ["));
  const Outcome imported = lap.OnComputer().Import("office");
  EXPECT_EQ(imported.status, 1) << imported;
  EXPECT_THAT(imported.out, HasSubstr("The file of [office] was not received. Error 9 "));
  EXPECT_THAT(imported.out, HasSubstr("the disk is full"));
  const Outcome exported = exporting->Wait();
  EXPECT_EQ(exported.status, 1) << exported;
  EXPECT_THAT(exported.err, HasSubstr("NetDelayed NetFileSend " + toLap.Address() + " The disk of [lap] is full"));
  EXPECT_THAT(VandryLog(office),
              HasSubstr("NetFileSend to " + toLap.Address() + " will be tried again: The disk of [lap] is full"));
  ExpectNothingCarried();
  // Neither a part nor a note of the file.
  EXPECT_THAT(NamesIn(lap.File("vandry.dat")), Each(Not(StartsWith("in-"))));

  disk.MakeRoom();
  ExpectTheNextRunWorks();
}

// The request is on its way, on a line that stands still.
TEST_F(BadDays, AVandryThatIsKilledWithARequestFailsTheRunAndTheNextOneWorks) {
  SetUpComputers();
  toOffice.Change([](Line& line) { line.stalls = true; });
  const auto importing = lap.OnComputer().Start({Computer::ImportWord("office")}, {});
  ASSERT_TRUE(importing->WaitForOutput("Sync request sent to ["));
  ASSERT_TRUE(Comes([this] { return toOffice.Connections() > 0; }));
  lap.Kill();
  const Outcome imported = importing->Wait();
  EXPECT_EQ(imported.status, 1) << imported;
  EXPECT_THAT(imported.err, HasSubstr("Waiting for the file of [office]... Vandry has gone"));
  ExpectNothingCarried();

  toOffice.Change([](Line& line) { line.stalls = false; });
  Restart(lap);
  ExpectTheNextRunWorks();
}

TEST_F(BadDays, AVandryThatIsKilledWithAFileUnderWayFailsTheRunAndTheNextOneWorks) {
  SetUpComputers();
  toLap.Change([](Line& line) { line.bytesPerSecond = 500'000; });
  toOffice.Change([](Line& line) { line.bytesPerSecond = 500'000; });
  const auto importing = lap.OnComputer().Start({Computer::ImportWord("office")}, {});
  ASSERT_TRUE(importing->WaitForOutput("Sync request sent to ["));
  const auto exporting = office.OnComputer().Start({Computer::ExportWord("lap")}, {});
  ASSERT_TRUE(Comes([this] { return toLap.Carried() + toOffice.Carried() > 500'000; }));
  office.Kill();
  const Outcome exported = exporting->Wait();
  EXPECT_EQ(exported.status, 1) << exported;
  EXPECT_THAT(exported.err, HasSubstr("Waiting for the confirmation of [lap]... Vandry has gone"));
  ExpectNothingCarried();
  importing->Signal(SIGINT);
  EXPECT_NE(importing->Wait().status, 0);

  toLap.Change([](Line& line) { line.bytesPerSecond = 0; });
  toOffice.Change([](Line& line) { line.bytesPerSecond = 0; });
  Restart(office);
  ExpectTheNextRunWorks();
}

// What Zelkor's windows say then stands beside the tests of a connection's test.
TEST_F(BadDays, AVandryThatIsKilledWithAPingIsFollowedByOneThatAnswers) {
  SetUpComputers();
  lap.Connect();
  toOffice.Change([](Line& line) { line.stalls = true; });
  lap.Execute("NetTrans " + toOffice.Address() + " NetPing");
  ASSERT_TRUE(Comes([this] { return toOffice.Connections() > 0; }));
  lap.Kill();
  toOffice.Change([](Line& line) { line.stalls = false; });
  lap.Start();
  EXPECT_EQ(lap.Ask("NetTrans " + toOffice.Address() + " NetPing"), "OK office");
}

}  // namespace
}  // namespace zelkor::tests
