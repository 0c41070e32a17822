// The built Vandry with an FTP server: killed in the middle of each command, and busy with one that does not answer.

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "tests/ftp/scripted_server.h"
#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

class VandryWithFtp : public Sandbox {
 protected:
  VandryWithFtp() {
    WriteBytes(vandry.File("out.tmp"), content);
    server.PutFile("/home/there.cas", content);
    vandry.Start();
  }
  [[nodiscard]] std::string Arguments(const std::vector<std::string>& more) const {
    std::string text = "\"" + server.Address() + "\" \"lap\" \"secret word\" \"\"";
    for (const std::string& argument : more) text += " \"" + argument + "\"";
    return text;
  }
  [[nodiscard]] std::string Send() const { return "FTPSend " + Arguments({vandry.PathOf("out.tmp"), "lap.cas"}); }
  [[nodiscard]] std::string Get() const { return "FTPGet " + Arguments({"there.cas", vandry.PathOf("in.tmp")}); }
  [[nodiscard]] std::string List() const { return "FTPDir " + Arguments({vandry.PathOf("list.tmp")}); }

  const std::string content = std::string(200'000, 'a') + std::string(100'000, 'b');
  ScriptedFtpServer server;
  VandryAt vandry{Root(), "office"};
};

// Where the server waits while Vandry is killed.
class KilledVandry : public VandryWithFtp, public testing::WithParamInterface<const char*> {
 protected:
  void KillAt(const std::string& word) {
    ASSERT_TRUE(server.WaitForCommand(word));
    vandry.Kill();
    server.Change([](FtpScript& script) {
      script.silentAt.clear();
      script.stallAfter = -1;
    });
  }
  void StopServerAt(const std::string& word) {
    const bool transfer = word == "STOR" || word == "RETR";
    server.Change([&](FtpScript& script) {
      if (transfer) {
        script.stallAfter = 100'000;
      } else {
        script.silentAt = word;
      }
    });
  }
};

class KilledSending : public KilledVandry {};
INSTANTIATE_TEST_SUITE_P(, KilledSending, testing::Values("PASS", "SIZE", "STOR", "RNFR", "RNTO"));

TEST_P(KilledSending, LeavesNoHalfFileAndSendsItTheNextTime) {
  StopServerAt(GetParam());
  vandry.Execute(Send());
  KillAt(GetParam());
  EXPECT_FALSE(server.HasFile("/home/lap.cas"));
  vandry.Start();
  EXPECT_EQ(vandry.Ask(Send()), "OK 300000");
  EXPECT_TRUE(server.File("/home/lap.cas") == content);
  EXPECT_EQ(server.Files().size(), 2U);
}

class KilledGetting : public KilledVandry {};
INSTANTIATE_TEST_SUITE_P(, KilledGetting, testing::Values("PASS", "SIZE", "RETR"));

TEST_P(KilledGetting, LeavesNoHalfFileAndGetsItTheNextTime) {
  StopServerAt(GetParam());
  vandry.Execute(Get());
  KillAt(GetParam());
  EXPECT_FALSE(fs::exists(vandry.File("in.tmp")));
  vandry.Start();
  EXPECT_EQ(vandry.Ask(Get()), "OK 300000");
  EXPECT_TRUE(ReadBytes(vandry.File("in.tmp")) == content);
  EXPECT_THAT(NamesIn(vandry.File("vandry.dat")), Not(Contains(StartsWith("get-"))));
}

class KilledListing : public KilledVandry {};
INSTANTIATE_TEST_SUITE_P(, KilledListing, testing::Values("PASS", "MLSD"));

TEST_P(KilledListing, LeavesNoHalfListAndListsTheNextTime) {
  StopServerAt(GetParam());
  vandry.Execute(List());
  KillAt(GetParam());
  EXPECT_FALSE(fs::exists(vandry.File("list.tmp")));
  vandry.Start();
  EXPECT_EQ(vandry.Ask(List()), "OK 1");
  EXPECT_EQ(ReadBytes(vandry.File("list.tmp")), "2026-11-21 14:15:37         300000 there.cas\r\n");
}

TEST_F(VandryWithFtp, AnswersWhileAServerDoesNot) {
  server.Change([](FtpScript& script) { script.silentAt = "226"; });
  const std::uint32_t sending = vandry.Execute(Send());
  ASSERT_TRUE(server.WaitForCommand("STOR"));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(vandry.Ask("Hello"), "OK 1.00");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  (void)sending;
}

TEST_F(VandryWithFtp, EndsWhenItIsAskedToWhileAServerDoesNotAnswer) {
  server.Change([](FtpScript& script) { script.silentAt = "226"; });
  vandry.Execute(Send());
  ASSERT_TRUE(server.WaitForCommand("STOR"));
  const auto start = std::chrono::steady_clock::now();
  vandry.Signal(SIGTERM);
  EXPECT_EQ(vandry.WaitForEnd().status, 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(VandryWithFtp, GivesUpATransferThatNobodyWaitsForAnyMore) {
  server.Change([](FtpScript& script) { script.stallAfter = 100'000; });
  vandry.Execute(Send());
  ASSERT_TRUE(server.WaitForCommand("STOR"));
  vandry.Disconnect();
  vandry.Connect();
  server.Change([](FtpScript& script) { script.stallAfter = -1; });
  EXPECT_EQ(vandry.Ask(List()), "OK 2");
  EXPECT_FALSE(server.HasFile("/home/lap.cas"));
}

TEST_F(VandryWithFtp, TellsHowFarATransferIs) {
  std::string large;
  large.resize(40'000'000, 'x');
  WriteBytes(vandry.File("out.tmp"), large);
  EXPECT_EQ(vandry.Ask(Send()), "OK 40000000");
  EXPECT_GT(vandry.ProgressSteps(), 0);
}

}  // namespace
}  // namespace zelkor::tests
