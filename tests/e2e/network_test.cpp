// Unattended runs over the network and to FTP servers, with a scripted Vandry at the other end of the program's link.

#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv

#include "lib/native_path.h"
#include "tests/support/e2e.h"
#include "tests/support/fake_ftp.h"
#include "tests/support/fake_vandry.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// The Vandry of a computer: it finds the place of the link by the environment, as the computer's own would.
std::unique_ptr<FakeVandry> VandryOf(const Computer& computer, FakeVandry::Script script) {
  setenv("HOME", computer.Home().c_str(), 1);
  setenv("XDG_CONFIG_HOME", (computer.Folder() / "config").c_str(), 1);
  setenv("XDG_RUNTIME_DIR", (computer.Folder() / "run").c_str(), 1);
  setenv("TMPDIR", computer.Temporary().c_str(), 1);
  lib::ForgetDrives();
  std::string programDir = "z:" + computer.Program().string() + "\\";
  std::replace(programDir.begin(), programDir.end(), '/', '\\');
  auto vandry = std::make_unique<FakeVandry>(programDir, std::move(script));
  unsetenv("TMPDIR");
  return vandry;
}

// The native path of a path on drive z or, below the home directory, c.
fs::path NativePath(const Computer& computer, std::string path) {
  const bool home = path.at(0) == 'c';
  path.erase(0, 2);
  std::replace(path.begin(), path.end(), '\\', '/');
  return home ? fs::path(computer.Home().string() + path) : fs::path(path);
}

std::string LastWord(const std::string& text) { return text.substr(text.rfind(' ') + 1); }

class NetworkRun : public TwoComputers {
 protected:
  NetworkRun() {
    office.SetTarget({.id = "lap", .connectionType = 1, .address = "10.0.0.2"});
    lap.SetTarget({.id = "office", .connectionType = 1, .address = "10.0.0.1"});
    for (const Computer* computer : {&office, &lap}) computer->AddSetting("Zelkor", "AcceptNetConn=1");
  }
  // Vandry for a computer that sends: files go to "sent".
  std::unique_ptr<FakeVandry> Sending(const Computer& computer, const std::string& then) {
    return VandryOf(computer, [this, &computer, then](FakeVandry& vandry, const std::string& command) -> std::string {
      if (command.starts_with("NetFileSend ")) {
        fs::rename(NativePath(computer, LastWord(command)), Sent());
        if (!then.empty()) vandry.Push(then);
      }
      return {};
    });
  }
  [[nodiscard]] fs::path Sent() const { return folder.Path() / "sent"; }
  [[nodiscard]] double ExportDate() const { return office.TargetWithId("lap")->lastExport; }
};

TEST_F(NetworkRun, AnExportEndsWhenItIsConfirmedAndThenHasItsDate) {
  AddFileItem(office, 1, "a.txt", "content", time(nullptr) - 1000);
  const auto vandry = Sending(office, "SyncSuccessfull lap");
  const std::time_t before = time(nullptr);
  const Outcome exported = office.Export("lap");
  EXPECT_EQ(exported.status, 0) << exported;
  EXPECT_THAT(exported.out, Says("Sync confirmation received from [lap]"));
  EXPECT_THAT(ReadBytes(Sent()), HasSubstr("content"));
  // Day 25569 of the program is 1 January 1970.
  EXPECT_GE(ExportDate(), 25569 + static_cast<double>(before - 3) / 86400);
  EXPECT_LE(ExportDate(), 25569 + static_cast<double>(time(nullptr) - 1) / 86400);
  EXPECT_THAT(NamesIn(office.Temporary()), IsEmpty());
}

TEST_F(NetworkRun, AnExportThatNobodyConfirmsFailsAndKeepsItsDateForLater) {
  office.AddSetting("Zelkor", "NetTimeout=1");
  AddFileItem(office, 1, "a.txt", "content", time(nullptr) - 1000);
  const auto vandry = Sending(office, "");
  const Outcome exported = office.Export("lap");
  EXPECT_EQ(exported.status, 1) << exported;
  EXPECT_THAT(exported.err, Says("nothing has moved for 1 seconds"));
  EXPECT_EQ(ExportDate(), 0);
  const std::time_t sent = time(nullptr);
  // The confirmation comes while the next run, a while later, waits for something else.
  vandry->Push("SyncSuccessfull lap");
  const Outcome imported = office.Import("lap", {.faults = {.clock = 5000}});
  EXPECT_EQ(imported.status, 1) << imported;
  EXPECT_LE(ExportDate(), 25569 + static_cast<double>(sent) / 86400);
  EXPECT_GT(ExportDate(), 25569 + static_cast<double>(sent - 60) / 86400);
}

TEST_F(NetworkRun, ARunEndsWithTheFailureThatIsPushed) {
  const auto vandry = VandryOf(office, [](FakeVandry& self, const std::string& command) -> std::string {
    if (command == "NetTrans 10.0.0.2 SyncMe office") self.Push("NetFailed NetTrans 10.0.0.2 nobody answers");
    return {};
  });
  const Outcome imported = office.Import("lap");
  EXPECT_EQ(imported.status, 1) << imported;
  EXPECT_THAT(imported.err, Says("NetFailed NetTrans 10.0.0.2 nobody answers"));
}

TEST_F(NetworkRun, ARunFailsWhenVandryGoes) {
  const auto vandry = VandryOf(office, [](FakeVandry& self, const std::string&) -> std::string {
    self.DieOfNextCommand();
    self.Push("FileSendReq lap office 1 10.0.0.2");
    return {};
  });
  const Outcome imported = office.Import("lap");
  EXPECT_EQ(imported.status, 1) << imported;
}

TEST_F(NetworkRun, SaysThatVandryCanNotBeReached) {
  office.AddSetting("Vandry", "Exe=/does/not/exist");
  const Outcome imported = office.Import("lap");
  EXPECT_EQ(imported.status, 1) << imported;
  EXPECT_THAT(imported.err, Says("Zelkor: DDE Init error!"));
  EXPECT_THAT(imported.err, Says("Zelkor: Sync import failed"));
}

TEST_F(NetworkRun, ADamagedFileEndsTheRunAndDoesNotComeAgain) {
  const auto vandry = VandryOf(office, [this](FakeVandry& self, const std::string& command) -> std::string {
    if (command.starts_with("NetTrans")) self.Push("FileSendReq lap office 1 10.0.0.2");
    if (!command.starts_with("NetFileRec ")) return {};
    SyncImage image{.sender = "lap"};
    image.blocks = {{.records = {{.fileName = "c:\\a.txt", .signature = "memosigh", .memoId = 1}}}};
    WriteBytes(NativePath(office, LastWord(command)), EncodeSync(image));
    self.Push("NetReceived");
    return "OK 1";
  });
  const Outcome imported = office.Import("lap");
  EXPECT_EQ(imported.status, 3) << imported;
  EXPECT_TRUE(vandry->WaitForHandled(2));
  EXPECT_THAT(vandry->Commands(), Not(Contains(HasSubstr("SyncSuccessfull"))));
}

TEST_F(NetworkRun, TwoComputersExchangeTheirFilesBothWays) {
  AddFileItem(office, 1, "from office.txt", "office", time(nullptr) - 1000);
  AddFileItem(lap, 2, "from lap.txt", "lap", time(nullptr) - 1000);
  // Each Vandry tells the other's program what it is told.
  FakeVandry* vandryOfOffice = nullptr;
  FakeVandry* vandryOfLap = nullptr;
  const auto script = [&](const Computer& own, FakeVandry*& other, const std::string& address) {
    return [this, &own, &other, address](FakeVandry& self, const std::string& command) -> std::string {
      if (command.starts_with("NetFileSend ")) {
        fs::rename(NativePath(own, LastWord(command)), Sent());
        other->Push("FileSendReq " + own.Id() + " target 1 " + address);
      } else if (command.starts_with("NetFileRec ")) {
        fs::rename(Sent(), NativePath(own, LastWord(command)));
        self.Push("NetReceived");
        return "OK 1";
      } else if (command.find("SyncSuccessfull") != std::string::npos) {
        other->Push("SyncSuccessfull " + own.Id());
      }
      return {};
    };
  };
  const auto first = VandryOf(office, script(office, vandryOfLap, "10.0.0.1"));
  const auto second = VandryOf(lap, script(lap, vandryOfOffice, "10.0.0.2"));
  vandryOfOffice = first.get();
  vandryOfLap = second.get();
  for (const auto& [from, to] : {std::pair(&office, &lap), std::pair(&lap, &office)}) {
    const auto importing = to->Start({Computer::ImportWord(from->Id())}, {});
    ASSERT_TRUE(importing->WaitForOutput("Sync request sent to [" + from->Id() + "]"));
    const Outcome exported = from->Export(to->Id());
    EXPECT_EQ(exported.status, 0) << exported;
    const Outcome imported = importing->Wait();
    EXPECT_EQ(imported.status, 0) << imported;
  }
  for (const Computer* computer : {&office, &lap}) {
    EXPECT_EQ(computer->ReadFile("from office.txt"), "office") << computer->Id();
    EXPECT_EQ(computer->ReadFile("from lap.txt"), "lap") << computer->Id();
    EXPECT_EQ(computer->Items().size(), 2U);
  }
}

class FtpRun : public TwoComputers {
 protected:
  FtpRun() {
    for (const auto& [computer, id] : {std::pair(&office, "lap"), std::pair(&lap, "office")}) {
      computer->SetTarget({.id = id,
                           .connectionType = 2,
                           .address = "ftp.example.org",
                           .userName = "me",
                           .password = "top secret",
                           .directory = "in box"});
      vandries_.push_back(VandryOf(*computer, FakeFtp(Server(), [computer = computer](const std::string& path) {
        return NativePath(*computer, path);
      })));
    }
  }
  [[nodiscard]] fs::path Server() const { return folder.Path() / "server"; }
  std::vector<std::unique_ptr<FakeVandry>> vandries_;
};

TEST_F(FtpRun, TwoComputersExchangeTheirFilesBothWays) {
  AddFileItem(office, 1, "from office.txt", "office", time(nullptr) - 1000);
  AddFileItem(lap, 2, "from lap.txt", "lap", time(nullptr) - 1000);
  for (const auto& [from, to] : {std::pair(&office, &lap), std::pair(&lap, &office)}) {
    const Outcome exported = from->Export(to->Id());
    EXPECT_EQ(exported.status, 0) << exported;
    EXPECT_THAT(exported.out + exported.err, Not(HasSubstr("top secret")));
    const Outcome imported = to->Import(from->Id());
    EXPECT_EQ(imported.status, 0) << imported;
    EXPECT_EQ(ReadBytes(Server() / (to->Id() + ".cas")), "");
  }
  for (const Computer* computer : {&office, &lap}) {
    EXPECT_EQ(computer->ReadFile("from office.txt"), "office") << computer->Id();
    EXPECT_EQ(computer->ReadFile("from lap.txt"), "lap") << computer->Id();
  }
  EXPECT_EQ(office.Import("lap").status, 1);  // "No file to import!"
}

TEST_F(FtpRun, AnExportKilledWhileItUploadsSendsEverythingTheNextTime) {
  AddFileItem(office, 1, "a.txt", "content", time(nullptr) - 1000);
  vandries_.clear();
  {
    const auto silent = VandryOf(office, [this](FakeVandry&, const std::string& command) -> std::string {
      if (!command.starts_with("FTPDir ")) return {};
      WriteBytes(NativePath(office, FakeFtp::Quoted(command).at(4)), "");
      return "OK 0";
    });
    const auto exporting = office.Start({Computer::ExportWord("lap")}, {});
    ASSERT_TRUE(silent->WaitUntil([&] { return silent->Commands().size() == 2; }));
    exporting->Signal(SIGKILL);
    exporting->Wait();
  }
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
  vandries_.push_back(
      VandryOf(office, FakeFtp(Server(), [this](const std::string& path) { return NativePath(office, path); })));
  EXPECT_EQ(office.Export("lap").status, 0);
  EXPECT_THAT(ReadBytes(Server() / "lap.cas"), HasSubstr("content"));
}

TEST_F(FtpRun, AnInterruptEndsAnUploadAsFailed) {
  AddFileItem(office, 1, "a.txt", "content", time(nullptr) - 1000);
  vandries_.clear();
  FakeFtp ftp(Server(), [this](const std::string& path) { return NativePath(office, path); });
  ftp.unanswered = "FTPSend";
  const auto vandry = VandryOf(office, ftp);
  const auto exporting = office.Start({Computer::ExportWord("lap")}, {});
  ASSERT_TRUE(vandry->WaitUntil([&] { return vandry->Commands().size() == 2; }));
  exporting->Signal(SIGINT);
  const Outcome exported = exporting->Wait();
  EXPECT_EQ(exported.status, 1) << exported;
  EXPECT_THAT(exported.err, Says("Sync export failed!"));
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
}

}  // namespace
}  // namespace zelkor::tests
