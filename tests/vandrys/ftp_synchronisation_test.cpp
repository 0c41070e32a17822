// The whole road by an FTP server: two Zelkors, unattended, each with a Vandry that it starts and ends itself.

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "tests/ftp/real_server.h"
#include "tests/ftp/scripted_server.h"
#include "tests/support/computer.h"
#include "tests/support/sandbox.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// Its spelling is looked for in everything that is written.
constexpr const char* kServerPassword = "secret word";

class FtpSynchronisation : public Sandbox {
 protected:
  FtpSynchronisation() {
    for (const Computer* each : {&office, &lap}) {
      each->AddSetting("Vandry", std::string("Exe=") + ZELKOR_VANDRY);
      each->AddSetting("Vandry", "FtpTimeout=5");
    }
    office.WriteFile("job/plan.txt", "of office\n", kYesterday);
    office.AddItem({.fileName = "c:\\job\\plan.txt", .description = "Plan", .memoId = 101});
    lap.WriteFile("trip/map.txt", "of lap\n", kYesterday);
    lap.AddItem({.fileName = "c:\\trip\\map.txt", .description = "Map", .memoId = 102});
  }
  void UseServer(const std::string& address, const std::string& user, const std::string& password) const {
    for (const Computer* each : {&office, &lap}) {
      const Computer& other = each == &office ? lap : office;
      each->SetTarget({.id = other.Id(),
                       .connectionType = 2,
                       .address = address,
                       .userName = user,
                       .password = password,
                       .directory = "in box"});
    }
  }
  static void ExpectNoPassword(const Outcome& outcome) {
    EXPECT_THAT(outcome.out, Not(HasSubstr(kServerPassword)));
    EXPECT_THAT(outcome.err, Not(HasSubstr(kServerPassword)));
  }
  [[nodiscard]] double ExportDate() const { return office.TargetWithId("lap")->lastExport; }

  Computer office{Root(), "office"};
  Computer lap{Root(), "lap"};
};

class BetweenTwo : public FtpSynchronisation, public testing::WithParamInterface<RealFtpOptions> {};

constexpr std::array kServers = {
    RealFtpOptions{.kind = RealFtpOptions::Kind::Vsftpd},
    RealFtpOptions{.kind = RealFtpOptions::Kind::PureFtpd, .tls = RealFtpOptions::Tls::Demanded},
};
INSTANTIATE_TEST_SUITE_P(, BetweenTwo, testing::ValuesIn(kServers), [](const auto& info) {
  return info.param.kind == RealFtpOptions::Kind::Vsftpd ? "Vsftpd" : "PureFtpdWithTls";
});

TEST_P(BetweenTwo, GoesBothWays) {
  const std::string why = RealFtpServer::WhyNot(GetParam().kind);
  if (!why.empty()) GTEST_SKIP() << why;
  const RealFtpServer server(GetParam(), Root() / "server");
  UseServer(server.Address(), server.User(), server.Password());

  const Outcome exported = office.Export("lap");
  EXPECT_EQ(exported.status, 0) << exported;
  ExpectNoPassword(exported);
  EXPECT_GT(ExportDate(), 0);
  // A second one waits beside the first until both are collected.
  office.WriteFile("job/plan.txt", "of office, later\n", kYesterday + 100);
  office.ChangeItem(1, {.fileName = "c:\\job\\plan.txt", .description = "Plan", .memoId = 101, .syncMethod = 1});
  const Outcome again = office.Export("lap");
  EXPECT_EQ(again.status, 0) << again;
  EXPECT_THAT(NamesIn(server.Files() / "in box"), ElementsAre("lap.cas", "lap01.cas"));

  const Outcome imported = lap.Import("office");
  EXPECT_EQ(imported.status, 0) << imported;
  ExpectNoPassword(imported);
  EXPECT_EQ(lap.ReadFile("job/plan.txt"), "of office, later\n");
  EXPECT_EQ(lap.FileTime("job/plan.txt"), kYesterday + 100);
  for (const char* name : {"lap.cas", "lap01.cas"}) EXPECT_EQ(fs::file_size(server.Files() / "in box" / name), 0U);

  EXPECT_EQ(lap.Export("office").status, 0);
  const Outcome back = office.Import("lap");
  EXPECT_EQ(back.status, 0) << back;
  EXPECT_EQ(office.ReadFile("trip/map.txt"), "of lap\n");
  EXPECT_EQ(office.Items().size(), 2U);
  EXPECT_EQ(lap.Items().size(), 2U);
  // Nothing is left to collect.
  EXPECT_EQ(lap.Import("office").status, 1);
}

// Days when nothing goes right: no date is stored, and the next run sends what is missing.
struct BadDay {
  const char* name;
  void (*happens)(FtpScript&);
  const char* says;
};
class OnABadDay : public FtpSynchronisation, public testing::WithParamInterface<BadDay> {};

constexpr std::array kBadDays = {
    BadDay{"LoginRefused", [](FtpScript& script) { script.answers["PASS"] = "530 Login incorrect."; },
           "the server refuses the user name or password"},
    BadDay{"ServerFull", [](FtpScript& script) { script.endOfUpload = "552 quota exceeded"; },
           "the server has no room"},
    BadDay{"DirectoryMissing", [](FtpScript& script) { script.answers["MKD"] = "550 not allowed"; },
           "no such directory on the server"},
    BadDay{"ServerClosing", [](FtpScript& script) { script.closesAt = "STOR"; },
           "the connection with the server broke"},
    BadDay{"ServerSilent", [](FtpScript& script) { script.silentAt = "STOR"; }, "the server does not answer"},
};
INSTANTIATE_TEST_SUITE_P(, OnABadDay, testing::ValuesIn(kBadDays), [](const auto& info) { return info.param.name; });

TEST_P(OnABadDay, TheExportFailsAndTheNextOneSendsEverything) {
  FtpScript script;
  GetParam().happens(script);
  ScriptedFtpServer server(script);
  UseServer(server.Address(), "lap", kServerPassword);
  const Outcome failed = office.Export("lap");
  EXPECT_EQ(failed.status, 1) << failed;
  EXPECT_THAT(failed.out + failed.err, HasSubstr(GetParam().says));
  ExpectNoPassword(failed);
  EXPECT_EQ(ExportDate(), 0);

  server.Change([](FtpScript& changed) { changed = {}; });
  const Outcome exported = office.Export("lap");
  EXPECT_EQ(exported.status, 0) << exported;
  EXPECT_GT(ExportDate(), 0);
  const Outcome imported = lap.Import("office");
  EXPECT_EQ(imported.status, 0) << imported;
  EXPECT_EQ(lap.ReadFile("job/plan.txt"), "of office\n");
}

TEST_F(FtpSynchronisation, AnImportThatBreaksLeavesTheFileForTheNextOne) {
  ScriptedFtpServer server;
  UseServer(server.Address(), "lap", kServerPassword);
  EXPECT_EQ(office.Export("lap").status, 0);
  server.Change([](FtpScript& script) { script.stallAfter = 0; });
  const Outcome failed = lap.Import("office");
  EXPECT_EQ(failed.status, 1) << failed;
  EXPECT_FALSE(lap.HasFile("job/plan.txt"));
  EXPECT_EQ(lap.TargetWithId("office")->lastImport, 0);
  server.Change([](FtpScript& script) { script = {}; });
  const Outcome imported = lap.Import("office");
  EXPECT_EQ(imported.status, 0) << imported;
  EXPECT_EQ(lap.ReadFile("job/plan.txt"), "of office\n");
}

}  // namespace
}  // namespace zelkor::tests
