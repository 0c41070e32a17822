// A computer with Linux and one with Windows, unattended, each with its Vandry, over the network. On the Windows one
// Zelkor and Vandry speak by DDE. The Windows is Wine's, with the programs of the 64-bit build.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "tests/ftp/real_server.h"
#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

constexpr std::time_t kSummer = 1'784'118'645;  // 15 July 2026

class TwoSystemsTest : public Sandbox {
 protected:
  void SetUp() override {
    if (!HasWindowsPrograms()) GTEST_SKIP() << "no programs for Windows: make windows";
    for (const VandryAt* each : {&office, &lap}) {
      each->AcceptConnections();
      const VandryAt& other = each == &office ? lap : office;
      each->OnComputer().SetTarget({.id = other.OnComputer().Id(), .connectionType = 1, .address = other.Address()});
    }
    // What waits for a program waits until the test starts it.
    office.OnComputer().AddSetting("Zelkor", "Exe=/bin/true");
    lap.OnComputer().AddSetting("Zelkor", "Exe=C:\\windows\\system32\\hostname.exe");
    lap.OnComputer().AddSetting("Vandry", "Exe=" + WindowsPath(WindowsProgram("vandry/Vandry.exe")));
    PairByFingerprints(office, lap);
    office.Start();
    office.Disconnect();
  }
  static void ExpectSynchronised(const VandryAt& from, const VandryAt& to) {
    const auto sender = from.OnComputer().Start({Computer::ExportWord(to.OnComputer().Id())}, {});
    EXPECT_TRUE(sender->WaitForOutput("Sending file to [")) << from.OnComputer().Log();
    const Outcome imported = to.OnComputer().Import(from.OnComputer().Id());
    EXPECT_EQ(imported.status, 0) << imported;
    const Outcome exported = sender->Wait();
    EXPECT_EQ(exported.status, 0) << exported;
  }

  VandryAt office{Root(), "office"};
  VandryAt lap{Root(), "lap", {}, System::Windows};
};

TEST_F(TwoSystemsTest, SynchroniseOverTheNetworkBothWays) {
  std::string content;
  for (int i = 0; i < 300'000; ++i) content += static_cast<char>(i * 7 % 256);
  office.OnComputer().WriteFile("job/plan.bin", content, kSummer);
  office.OnComputer().AddItem({.fileName = "c:\\job\\plan.bin", .description = "Plan", .memoId = 101});
  lap.OnComputer().WriteFile("trip/map.txt", "of lap\n", kSummer + 1);
  lap.OnComputer().AddItem({.fileName = "c:\\trip\\map.txt", .description = "Map", .memoId = 102});
  lap.StartAlone();

  ExpectSynchronised(office, lap);
  EXPECT_TRUE(lap.OnComputer().ReadFile("job/plan.bin") == content) << "byte for byte";
  EXPECT_EQ(lap.OnComputer().FileTime("job/plan.bin"), kSummer);
  EXPECT_TRUE(lap.OnComputer().ItemWithId(101).has_value());
  EXPECT_GT(office.OnComputer().TargetWithId("lap")->lastExport, 0) << "the confirmation stores the date";
  EXPECT_GT(lap.OnComputer().TargetWithId("office")->lastImport, 0);

  ExpectSynchronised(lap, office);
  EXPECT_EQ(office.OnComputer().ReadFile("trip/map.txt"), "of lap\n");
  EXPECT_EQ(office.OnComputer().FileTime("trip/map.txt"), kSummer + 1);
  EXPECT_EQ(office.OnComputer().Items().size(), 2U);
  EXPECT_EQ(lap.OnComputer().Items().size(), 2U);
}

// Zelkor starts its Vandry, greets it, and ends it again.
TEST_F(TwoSystemsTest, TheWindowsOneStartsItsVandryByItself) {
  office.OnComputer().WriteFile("job/plan.txt", "of office\n", kSummer);
  office.OnComputer().AddItem({.fileName = "c:\\job\\plan.txt", .description = "Plan", .memoId = 101});
  const auto sender = office.OnComputer().Start({Computer::ExportWord("lap")}, {});
  EXPECT_TRUE(sender->WaitForOutput("Sending file to ["));
  const Outcome imported = lap.OnComputer().Import("office");
  EXPECT_EQ(imported.status, 0) << imported;
  EXPECT_EQ(sender->Wait().status, 0);
  EXPECT_EQ(lap.OnComputer().ReadFile("job/plan.txt"), "of office\n");
}

// Both demand a certificate that they trust. The system of the Windows one does not know the server's; a file does.
TEST_F(TwoSystemsTest, SynchroniseThroughAServerWithACertificate) {
  constexpr auto kKind = RealFtpOptions::Kind::PureFtpd;
  if (const std::string why = RealFtpServer::WhyNot(kKind); !why.empty()) GTEST_SKIP() << why;
  const RealFtpServer server({.kind = kKind, .tls = RealFtpOptions::Tls::Demanded}, Root() / "server");
  for (const VandryAt* each : {&office, &lap}) {
    each->OnComputer().AddSetting("Vandry", "FtpTls=2");
    each->OnComputer().SetTarget({.id = (each == &office ? lap : office).OnComputer().Id(),
                                  .connectionType = 2,
                                  .address = server.Address(),
                                  .userName = server.User(),
                                  .password = server.Password(),
                                  .directory = "box"});
  }
  office.OnComputer().AddSetting("Vandry", "FtpCertificates=" + server.Certificate().string());
  office.OnComputer().WriteFile("job/plan.txt", "of office\n", kSummer);
  office.OnComputer().AddItem({.fileName = "c:\\job\\plan.txt", .description = "Plan", .memoId = 101});
  const Outcome exported = office.OnComputer().Export("lap");
  EXPECT_EQ(exported.status, 0) << exported;

  const Outcome refused = lap.OnComputer().Import("office");
  EXPECT_EQ(refused.status, 1) << refused;
  EXPECT_THAT(refused.out, testing::HasSubstr("no trusted encrypted connection with the server"));
  EXPECT_FALSE(lap.OnComputer().HasFile("job/plan.txt"));

  lap.OnComputer().AddSetting("Vandry", "FtpCertificates=" + WindowsPath(server.Certificate()));
  const Outcome imported = lap.OnComputer().Import("office");
  EXPECT_EQ(imported.status, 0) << imported;
  EXPECT_EQ(lap.OnComputer().ReadFile("job/plan.txt"), "of office\n");
  EXPECT_EQ(lap.OnComputer().FileTime("job/plan.txt"), kSummer);
}

}  // namespace
}  // namespace zelkor::tests
