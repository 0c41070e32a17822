// The demo itself: it goes through, and leaves nothing behind, however it ends.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/until.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Demo : public testing::Test {
 protected:
  Demo() {
    std::string pattern = (fs::temp_directory_path() / "zelkor-test-XXXXXX").string();
    folder = mkdtemp(pattern.data());
  }
  ~Demo() override { fs::remove_all(folder); }

  [[nodiscard]] Command WithFtpServers(const std::string& servers) const {
    return {.program = ZELKOR_DEMO,
            .arguments = {"--ftp", servers, ZELKOR_PROGRAM, ZELKOR_VANDRY, ZELKOR_SEED},
            .environment = {"PATH=/usr/bin:/bin", "HOME=" + folder.string(), "TMPDIR=" + folder.string()},
            .timeLimit = std::chrono::seconds(280)};
  }
  // What was started in the folder still runs there, by its arguments. Who made it is not asked.
  [[nodiscard]] std::vector<std::string> StillRunning() const {
    std::vector<std::string> found;
    std::error_code gone;
    for (const auto& process : fs::directory_iterator("/proc")) {
      std::ifstream in(process.path() / "cmdline", std::ios::binary);
      std::string words{std::istreambuf_iterator<char>(in), {}};
      const fs::path place = fs::read_symlink(process.path() / "cwd", gone);
      if (words.find(folder.string()) != std::string::npos || place.string().starts_with(folder.string())) {
        found.push_back(words);
      }
    }
    return found;
  }
  void ExpectNothingLeft(pid_t group) const {
    EXPECT_THAT(Left(), IsEmpty());
    // A process that the same signal ended may be on its way behind its parent, who did not wait for it.
    EXPECT_TRUE(HoldsWithin(std::chrono::seconds(20), [&] { return kill(-group, 0) != 0; }))
        << "something of the demo still runs";
    EXPECT_THAT(StillRunning(), IsEmpty());
  }
  [[nodiscard]] std::vector<std::string> Left() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) names.push_back(entry.path().string());
    return names;
  }
  // Interrupts the demo when it has said `text`: as Ctrl+C does, all of it at once, or by `kill`, the shell alone.
  enum class By { CtrlC, Kill };
  void Interrupt(const Command& command, const std::string& text, By by = By::CtrlC) const {
    RunningProcess demo(command);
    ASSERT_TRUE(demo.WaitForOutput(text));
    kill(by == By::CtrlC ? -demo.Pid() : demo.Pid(), SIGINT);
    const Outcome outcome = demo.Wait();
    EXPECT_NE(outcome.status, 0) << outcome;
    EXPECT_FALSE(outcome.timedOut);
    EXPECT_THAT(outcome.out, Not(HasSubstr("8. And once more")));
    ExpectNothingLeft(demo.Pid());
  }

  fs::path folder;
};

TEST_F(Demo, KeepsTwoComputersInStepByFilesNetworkAndFtp) {
  RunningProcess demo(WithFtpServers(ZELKOR_FTP_SERVERS));
  const Outcome outcome = demo.Wait();
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_EQ(outcome.err, "");
  std::size_t tables = 0;
  const std::string verdict = "Every file has the bytes and the time that it should have, on both computers.\n";
  for (std::size_t at = 0; (at = outcome.out.find(verdict, at)) != std::string::npos; ++at) ++tables;
  const bool withServer = outcome.out.find("This road is left out") == std::string::npos;
  EXPECT_EQ(tables, withServer ? 3U : 2U) << outcome;
  ExpectNothingLeft(demo.Pid());
  if (!withServer) GTEST_SKIP() << "no FTP server is here; cmake/servers.sh fetches it";
}

TEST_F(Demo, SaysWhyItLeavesOutTheFtpServer) {
  if (fs::exists("/usr/sbin/vsftpd")) GTEST_SKIP() << "one is installed, and is taken";
  RunningProcess demo(WithFtpServers(folder / "none"));
  const Outcome outcome = demo.Wait();
  EXPECT_EQ(outcome.status, 0) << outcome;
  EXPECT_THAT(outcome.out, HasSubstr("This road is left out: there is no FTP server here"));
  ExpectNothingLeft(demo.Pid());
}

TEST_F(Demo, LeavesNothingBehindWhenItIsInterruptedWhileItPairs) {
  Interrupt(WithFtpServers(ZELKOR_FTP_SERVERS), "office$ vandry --pair");
}

// Where processes are slow to start the interruption comes before the demo could note down the one it just started.
TEST_F(Demo, LeavesNothingBehindWhenItIsInterruptedAsItStartsAProgram) {
  // The shell reads it first, and halts before each command that asks for the number of what was started.
  const fs::path slow = folder.string() + "-slow.sh";
  std::ofstream(slow) << "set -T\n"
                         "trap '[[ $BASH_COMMAND != *=\\$! ]] || { echo between; sleep 1; }' DEBUG\n";
  Command command = WithFtpServers(ZELKOR_FTP_SERVERS);
  command.environment.push_back("BASH_ENV=" + slow.string());
  Interrupt(command, "between", By::Kill);
  fs::remove(slow);
}

TEST_F(Demo, LeavesNothingBehindWhenItIsInterruptedOnTheNetwork) {
  Interrupt(WithFtpServers(ZELKOR_FTP_SERVERS), "7. Both sides change files again");
}

TEST_F(Demo, LeavesNothingBehindWhenItIsInterruptedWithoutVandry) {
  Interrupt(WithFtpServers(ZELKOR_FTP_SERVERS), "1. Office exports");
}

}  // namespace
}  // namespace zelkor::tests
