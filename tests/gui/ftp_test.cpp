// Through an FTP server, with the windows: the built Zelkor and the built Vandry on both sides of a real server.

#include "tests/ftp/real_server.h"
#include "tests/gui/by_windows.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class FtpByWindows : public ByWindows {
 protected:
  void MakeFtpTarget(const Computer& computer, const std::string& target) const {
    MakeTarget(computer, target, "End");
    FillBox(screen, "Alt+r", server->Address());
    FillBox(screen, "Alt+u", server->User());
    // What is typed there can not be marked and seen.
    screen.Press("Alt+p");
    screen.Press("Ctrl+a");
    screen.Type(server->Password());
    FillBox(screen, "Alt+d", "in box");
    Save(computer, target, 2);
    const std::optional<Target> saved = computer.TargetWithId(target);
    EXPECT_EQ(saved->address, server->Address());
    EXPECT_EQ(saved->userName, server->User());
    EXPECT_EQ(saved->password, server->Password());
    EXPECT_EQ(saved->directory, "in box");
  }
  [[nodiscard]] std::uintmax_t SizeOf(const std::string& name) const {
    std::error_code none;
    const std::uintmax_t size = fs::file_size(server->Files() / "in box" / name, none);
    return none ? 0 : size;
  }
  void Export(const Computer& computer, const std::string& target) const {
    Run("Ctrl+e");
    EXPECT_TRUE(screen.Until([&] { return computer.TargetWithId(target)->lastExport > 0; }));
    EXPECT_GT(SizeOf(target + ".cas"), 0U);
  }
  void Import(const Computer& computer, const std::string& target) const {
    Run("Ctrl+i");
    EXPECT_TRUE(screen.Until([&] { return computer.TargetWithId(target)->lastImport > 0; }));
    EXPECT_TRUE(screen.Until([&] { return SizeOf(computer.Id() + ".cas") == 0; })) << "collected";
  }
  void End(const Computer& computer, DesktopProgram& program) const {
    CloseSynchronisation();
    const Outcome outcome = ExitByMenu(screen, computer, program);
    EXPECT_EQ(outcome.status, 0) << outcome;
    EXPECT_THAT(computer.Log() + computer.History() + outcome.out + outcome.err, Not(HasSubstr("secret word")));
  }

  std::unique_ptr<RealFtpServer> server;
};

TEST_F(FtpByWindows, SynchronisesBothWays) {
  const std::string why = RealFtpServer::WhyNot(RealFtpOptions::Kind::Vsftpd);
  if (!why.empty()) GTEST_SKIP() << why;
  server = std::make_unique<RealFtpServer>(RealFtpOptions{}, folder.Path() / "server");
  {
    DesktopProgram program(office);
    MakeFtpTarget(office, "lap");
    screen.Press("Ctrl+t");
    EXPECT_EQ(TextOfTheTest(), "A test-file has been transfered to the FTP-server succesfully.");
    EXPECT_GT(SizeOf("lap.txt"), 0U);
    screen.Press("Ctrl+d");
    screen.WaitUntilActive("FTP-Dir at server");
    screen.Press("Escape");
    screen.WaitUntilActive(kSynchronisation);
    Export(office, "lap");
    End(office, program);
  }
  {
    DesktopProgram program(lap);
    MakeFtpTarget(lap, "office");
    Import(lap, "office");
    Export(lap, "office");
    End(lap, program);
  }
  {
    DesktopProgram program(office);
    OpenSynchronisation(office);
    Import(office, "lap");
    End(office, program);
  }
  ExpectBothInStep();
  EXPECT_THAT(office.History(), Says("Sync file [lap.cas] has been uploaded to FTP-server"));
  EXPECT_THAT(office.Log(), Says("c:\\trip\\map.txt"));
  EXPECT_THAT(lap.History(), Says("c:\\job\\plan.txt"));
}

TEST_F(FtpByWindows, SaysThatALoginWasRefusedAndSendsNothing) {
  const std::string why = RealFtpServer::WhyNot(RealFtpOptions::Kind::Vsftpd);
  if (!why.empty()) GTEST_SKIP() << why;
  server = std::make_unique<RealFtpServer>(RealFtpOptions{}, folder.Path() / "server");
  office.SetTarget({.id = "lap",
                    .connectionType = 2,
                    .address = server->Address(),
                    .userName = server->User(),
                    .password = "another word",
                    .directory = "in box"});
  DesktopProgram program(office);
  OpenSynchronisation(office);
  screen.Press("Ctrl+t");
  EXPECT_EQ(TextOfTheTest(),
            "Cannot transfer test file to FTP-server!\nIs the server-name,Username and password correct?");
  Run("Ctrl+e");
  screen.WaitUntilActive(kBox);
  const unsigned long first = screen.ActiveWindow();
  EXPECT_EQ(screen.TextOfBox(kBox), "Upload to FTP-server failed!");
  screen.Press("Return");
  screen.WaitUntilAnotherIsActive(kBox, first);
  EXPECT_EQ(screen.TextOfBox(kBox), "Sync export failed!");
  screen.Press("Return");
  screen.WaitUntilGone(kBox);
  CloseSynchronisation();
  EXPECT_EQ(ExitByMenu(screen, office, program).status, 0);
  EXPECT_EQ(office.TargetWithId("lap")->lastExport, 0);
  EXPECT_EQ(SizeOf("lap.cas"), 0U);
}

}  // namespace
}  // namespace zelkor::tests
