// The built Vandry and the built Zelkor with a bad line between two computers.

#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "tests/support/relay.h"
#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

class BuiltBadLines : public Sandbox {
 protected:
  BuiltBadLines() {
    for (VandryAt* each : {&office, &lap}) {
      each->AcceptConnections();
      each->OnComputer().AddSetting("Zelkor", "Exe=/bin/true");
    }
    PairByFingerprints(office, lap);
  }
  void StartFile(std::size_t bytes) {
    office.Start();
    lap.Start();
    content.resize(bytes);
    std::mt19937 random(4711);
    for (char& c : content) c = static_cast<char>(random());
    WriteBytes(office.File("out.tmp"), content);
    office.Execute("NetFileSend " + toLap.Address() + " office lap " + office.PathOf("out.tmp"));
    EXPECT_EQ(lap.Push().substr(0, 23), "FileSendReq office lap ");
    receiving = lap.Execute("NetFileRec " + lap.PathOf("lap.cas"));
  }
  void ExpectWhole() {
    EXPECT_EQ(lap.Reply(receiving), "OK " + std::to_string(content.size()));
    EXPECT_TRUE(ReadBytes(lap.File("lap.cas")) == content);
    EXPECT_EQ(lap.Push(), "NetReceived");
    EXPECT_GT(lap.ProgressSteps(), 0);
  }
  [[nodiscard]] bool Comes(std::uint64_t carried) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (toLap.Carried() < carried && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    return toLap.Carried() >= carried;
  }

  VandryAt office{Root(), "office"};
  VandryAt lap{Root(), "lap"};
  Relay toLap{lap.Port()};
  Relay toOffice{office.Port()};
  std::string content;
  std::uint32_t receiving = 0;
};

TEST_F(BuiltBadLines, ThatAreSlowAndLateOnlyTakeTheirTime) {
  toLap.Change([](Line& line) {
    line.delay = milliseconds(60);
    line.bytesPerSecond = 1'500'000;
  });
  StartFile(3'000'000);
  ExpectWhole();
  EXPECT_EQ(toLap.Connections(), 1);
}

TEST_F(BuiltBadLines, ThatBreakAgainAndAgainBringTheFileWhole) {
  std::mt19937 random(11);
  int breaks = 6;
  toLap.Change([&](Line& line) {
    line.breaksAfter = [&]() -> std::uint64_t { return breaks-- > 0 ? 300'000 + random() % 3'000'000 : UINT64_MAX; };
  });
  StartFile(20'000'000);
  ExpectWhole();
  EXPECT_EQ(toLap.Broken(), 6);
  // It went on each time, from the last whole piece (256 kB), and did not begin again.
  EXPECT_LE(toLap.Carried(), content.size() + std::uint64_t{7} * 450'000);
}

TEST_F(BuiltBadLines, ThatStandStillForAWhileGoOn) {
  // Slow enough to be stopped in the middle.
  toLap.Change([](Line& line) { line.bytesPerSecond = 4'000'000; });
  StartFile(8'000'000);
  ASSERT_TRUE(Comes(2'000'000));
  toLap.Change([](Line& line) { line.stalls = true; });
  lap.Listen(milliseconds(2500));
  EXPECT_FALSE(fs::exists(lap.File("lap.cas")));
  toLap.Change([](Line& line) { line.stalls = false; });
  ExpectWhole();
  EXPECT_EQ(toLap.Connections(), 1);
}

// The whole road of two Zelkors, each of which knows the other by a line that is late, and that breaks in the middle of
// the first file.
TEST_F(BuiltBadLines, CarryAWholeSynchronisationBothWays) {
  office.OnComputer().SetTarget({.id = "lap", .connectionType = 1, .address = toLap.Address()});
  lap.OnComputer().SetTarget({.id = "office", .connectionType = 1, .address = toOffice.Address()});
  std::string film(6'000'000, '\0');
  std::mt19937 random(5);
  for (char& c : film) c = static_cast<char>(random());
  office.OnComputer().WriteFile("film.bin", film, kYesterday);
  office.OnComputer().AddItem({.fileName = "c:\\film.bin", .description = "Film", .memoId = 101});
  lap.OnComputer().WriteFile("map.txt", "of lap\n", kYesterday);
  lap.OnComputer().AddItem({.fileName = "c:\\map.txt", .description = "Map", .memoId = 102});
  for (Relay* relay : {&toLap, &toOffice}) {
    relay->Change([](Line& line) {
      line.delay = milliseconds(40);
      line.breaksAfter = [first = true]() mutable {
        return std::exchange(first, false) ? std::uint64_t{2'000'000} : UINT64_MAX;
      };
    });
  }
  for (VandryAt* each : {&office, &lap}) {
    each->Start();
    each->Disconnect();
  }
  const auto synchronise = [](const VandryAt& from, const VandryAt& to) {
    const auto importing = to.OnComputer().Start({Computer::ImportWord(from.OnComputer().Id())}, {});
    EXPECT_TRUE(importing->WaitForOutput("Sync request sent to ["));
    const Outcome exported = from.OnComputer().Export(to.OnComputer().Id());
    EXPECT_EQ(exported.status, 0) << exported;
    const Outcome imported = importing->Wait();
    EXPECT_EQ(imported.status, 0) << imported;
    EXPECT_GT(from.OnComputer().TargetWithId(to.OnComputer().Id())->lastExport, 0);
    EXPECT_GT(to.OnComputer().TargetWithId(from.OnComputer().Id())->lastImport, 0);
  };
  synchronise(office, lap);
  EXPECT_GE(toLap.Broken() + toOffice.Broken(), 1);
  synchronise(lap, office);
  for (const VandryAt* each : {&office, &lap}) {
    EXPECT_TRUE(each->OnComputer().ReadFile("film.bin") == film);
    EXPECT_EQ(each->OnComputer().ReadFile("map.txt"), "of lap\n");
    EXPECT_EQ(each->OnComputer().FileTime("film.bin"), kYesterday);
    EXPECT_EQ(each->OnComputer().FileTime("map.txt"), kYesterday);
    EXPECT_EQ(each->OnComputer().Items().size(), 2U);
  }
}

}  // namespace
}  // namespace zelkor::tests
