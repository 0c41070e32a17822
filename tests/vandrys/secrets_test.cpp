// Where a password must not be, while and after Vandry uses it.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

#include "tests/ftp/scripted_server.h"
#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

// Longer than what a text object keeps in itself, and spelt nowhere else.
constexpr const char* kPassword = "opensesame-5bd1a0c2-behind-the-hill";

class Secrets : public Sandbox {
 protected:
  Secrets() {
    WriteBytes(vandry.File("out.tmp"), "content");
    vandry.Start();
  }
  [[nodiscard]] std::string Send() const {
    return "FTPSend \"" + server.Address() + "\" \"lap\" \"" + kPassword + "\" \"\" \"" + vandry.PathOf("out.tmp") +
           "\" \"lap.cas\"";
  }
  [[nodiscard]] fs::path Proc(const std::string& name) const {
    return fs::path("/proc") / std::to_string(vandry.Pid()) / name;
  }
  // How often the password stands in the process's memory. Nothing when that can not be read.
  [[nodiscard]] std::optional<int> InMemory() const {
    std::ifstream maps(Proc("maps"));
    std::ifstream memory(Proc("mem"), std::ios::binary);
    if (!maps || !memory) return std::nullopt;
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
      std::istringstream words(line);
      std::uint64_t begin = 0;
      std::uint64_t end = 0;
      char dash = 0;
      std::string rights;
      words >> std::hex >> begin >> dash >> end >> rights;
      if (rights.substr(0, 2) != "rw") continue;
      std::string bytes(end - begin, '\0');
      memory.clear();
      memory.seekg(static_cast<std::streamoff>(begin));
      memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
      for (std::size_t at = 0; (at = bytes.find(kPassword, at)) != std::string::npos; ++at) ++count;
    }
    return count;
  }

  ScriptedFtpServer server;
  VandryAt vandry{Root(), "office"};
};

TEST_F(Secrets, StandInNoFileAndInNoList) {
  EXPECT_THAT(vandry.Ask(Send()), testing::StartsWith("Error 530"));
  for (const char* name : {"cmdline", "environ"}) EXPECT_THAT(ReadBytes(Proc(name)), Not(HasSubstr(kPassword)));
  for (const auto& entry : fs::recursive_directory_iterator(Root())) {
    if (!entry.is_regular_file() || entry.path().filename() == "out.tmp") continue;
    EXPECT_THAT(ReadBytes(entry.path()), Not(HasSubstr(kPassword))) << entry.path();
  }
}

TEST_F(Secrets, AreNotLeftInMemory) {
  if (ZELKOR_SANITIZED) GTEST_SKIP() << "the sanitizers keep freed memory as it was";
  if (getuid() != 0) GTEST_SKIP() << "only root can look into the memory of a process that forbids it";
  server.Change([](FtpScript& script) { script.silentAt = "226"; });
  server.Change([](FtpScript& script) { script.answers["PASS"] = "230 whoever you are"; });
  const std::uint32_t sending = vandry.Execute(Send());
  ASSERT_TRUE(server.WaitForCommand("STOR"));
  // While it is needed it is there: otherwise this test would look in the wrong place.
  EXPECT_GT(InMemory().value_or(0), 0);
  (void)sending;
  server.Change([](FtpScript& script) { script.silentAt.clear(); });
  EXPECT_THAT(vandry.Ask(Send()), testing::StartsWith("OK 7"));
  EXPECT_EQ(vandry.Ask("Hello"), "OK 1.00");
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (InMemory() != 0 && std::chrono::steady_clock::now() < end) vandry.Listen(std::chrono::milliseconds(100));
  EXPECT_EQ(InMemory(), 0);
}

// Why the system writes no core files at all here; empty when it does.
std::string WhyNoCoreFiles(const fs::path& folder) {
  if (ZELKOR_SANITIZED) return "the sanitizers forbid core files";
  rlimit limit{};
  getrlimit(RLIMIT_CORE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_CORE, &limit);
  RunningProcess any({.program = "/bin/sleep", .arguments = {"60"}, .directory = folder});
  // Only once it is another program than this one.
  while (fs::read_symlink("/proc/" + std::to_string(any.Pid()) + "/exe").filename() == "vandrys_test") continue;
  any.Signal(SIGABRT);
  return any.Wait().core ? "" : "the system writes no core files";
}

TEST_F(Secrets, GetIntoNoCoreFileOfVandrys) {
  const std::string why = WhyNoCoreFiles(Root());
  if (!why.empty()) GTEST_SKIP() << why;
  VandryAt other(Root(), "lap");
  other.Start();
  other.Signal(SIGABRT);
  const Outcome outcome = other.WaitForEnd();
  EXPECT_EQ(outcome.signal, SIGABRT);
  EXPECT_FALSE(outcome.core);
}

class ZelkorsSecrets : public Sandbox {
 protected:
  ZelkorsSecrets() {
    office.AddSetting("Vandry", std::string("Exe=") + ZELKOR_VANDRY);
    office.AddItem({.fileName = "c:\\none.txt", .description = "None", .memoId = 1});
    office.SetTarget({.id = "lap",
                      .connectionType = 2,
                      .address = server.Address(),
                      .userName = "lap",
                      .password = kPassword,
                      .directory = ""});
    // It waits for the server as long as the test needs it.
    server.Change([](FtpScript& script) { script.silentAt = "PASS"; });
  }

  ScriptedFtpServer server;
  Computer office{Root(), "office"};
};

TEST_F(ZelkorsSecrets, AreInNoListOfProcesses) {
  const auto exporting = office.Start({Computer::ExportWord("lap")}, {});
  ASSERT_TRUE(server.WaitForCommand("PASS"));
  for (const auto& process : fs::directory_iterator("/proc")) {
    const std::string words = ReadBytes(process.path() / "cmdline") + ReadBytes(process.path() / "environ");
    EXPECT_THAT(words, Not(HasSubstr(kPassword))) << process.path();
  }
  exporting->Signal(SIGINT);
  const Outcome outcome = exporting->Wait();
  EXPECT_THAT(outcome.out + outcome.err, Not(HasSubstr(kPassword)));
  EXPECT_THAT(office.Log(), Not(HasSubstr(kPassword)));
}

TEST_F(ZelkorsSecrets, GetIntoNoCoreFile) {
  const std::string why = WhyNoCoreFiles(Root());
  if (!why.empty()) GTEST_SKIP() << why;
  const auto exporting = office.Start({Computer::ExportWord("lap")}, {});
  ASSERT_TRUE(server.WaitForCommand("PASS"));
  exporting->Signal(SIGABRT);
  const Outcome outcome = exporting->Wait();
  EXPECT_EQ(outcome.signal, SIGABRT);
  EXPECT_FALSE(outcome.core);
}

}  // namespace
}  // namespace zelkor::tests
