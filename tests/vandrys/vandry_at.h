// A built Vandry on a computer of its own, and the program's end of its local link, at which the test sits.
#pragma once

#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lib/channel.h"
#include "lib/native_path.h"
#include "tests/support/computer.h"
#include "tests/support/peer_computers.h"
#include "tests/support/process.h"
#include "tests/support/until.h"
#include "tests/support/wine.h"

namespace zelkor::tests {

class VandryAt {
 public:
  static constexpr std::chrono::seconds kPatience{60};

  // `wrapper`: a program and arguments that run it, for example in a network of its own.
  VandryAt(const std::filesystem::path& root, const std::string& id, std::vector<std::string> wrapper = {},
           System system = System::Linux)
      : computer_(root, id, system),
        built_(system == System::Windows ? WindowsProgram("vandry/Vandry.exe") : std::filesystem::path(ZELKOR_VANDRY)),
        port_(FreePort()),
        wrapper_(std::move(wrapper)) {
    computer_.AddSetting("Vandry", "Port=" + std::to_string(port_));
  }

  [[nodiscard]] const Computer& OnComputer() const { return computer_; }
  [[nodiscard]] std::uint16_t Port() const { return port_; }
  [[nodiscard]] std::string Address(const std::string& host = "127.0.0.1") const {
    return host + ":" + std::to_string(port_);
  }
  void AcceptConnections() const { computer_.AddSetting("Zelkor", "AcceptNetConn=1"); }

  Outcome Run(const std::vector<std::string>& words) const { return computer_.Run(Words(words), RunOptions()); }
  [[nodiscard]] std::unique_ptr<RunningProcess> StartCommand(const std::vector<std::string>& words) const {
    return computer_.Start(Words(words), RunOptions());
  }
  // The fingerprint as its command line shows it.
  [[nodiscard]] std::string Fingerprint() const {
    std::string text = Run({"--fingerprint"}).out;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    return text;
  }

  void Start() {
    process_ = computer_.Start(Words({}), RunOptions());
    Connect();
  }
  // Where the test can not sit at the local link's other end: it runs once its port takes connections.
  void StartAlone() {
    process_ = computer_.Start(Words({}), RunOptions());
    const auto listens = [&] {
      const lib::Result<lib::Socket> socket = lib::StartConnecting(*lib::NumericAddress("127.0.0.1", port_));
      if (!socket.Ok()) return false;
      lib::Awaited awaited{.handle = socket->Get(), .wantWrite = true};
      lib::WaitUntilReady({&awaited, 1}, kSecond);
      return awaited.canWrite && lib::ConnectOutcome(*socket).Ok();
    };
    ASSERT_TRUE(HoldsWithin(kPatience, listens)) << "no Vandry came";
  }
  // Without warning.
  void Kill() {
    process_->Signal(SIGKILL);
    (void)process_->Wait();
    client_.reset();
  }
  void Signal(int number) const { process_->Signal(number); }
  [[nodiscard]] pid_t Pid() const { return process_->Pid(); }
  Outcome WaitForEnd() { return process_->Wait(); }
  void Connect() {
    pushes_.clear();
    const auto end = std::chrono::steady_clock::now() + kPatience;
    // Where the link's socket is.
    setenv("XDG_RUNTIME_DIR", (computer_.Folder() / "run").c_str(), 1);
    do {
      auto connected = lib::ChannelClient::Connect(OnDriveZ(computer_.Program()) + "\\", kSecond);
      if (connected.Ok()) client_ = std::move(*connected);
    } while (client_ == nullptr && std::chrono::steady_clock::now() < end);
    ASSERT_NE(client_, nullptr) << "no Vandry came";
  }
  void Disconnect() { client_.reset(); }

  // Sends a command; its reply can be waited for.
  std::uint32_t Execute(const std::string& command) {
    EXPECT_TRUE(client_->Execute(++number_, command).Ok());
    return number_;
  }
  // The reply, or what happened instead.
  std::string Reply(std::uint32_t number) {
    Await([&] { return replies_.count(number) != 0; });
    return replies_.count(number) != 0 ? replies_[number] : "no reply";
  }
  std::string Ask(const std::string& command) { return Reply(Execute(command)); }
  // The next message, which counts as dealt with.
  std::string Push() {
    Await([&] { return !pushes_.empty(); });
    if (pushes_.empty()) return "no push";
    const auto [number, text] = pushes_.front();
    pushes_.pop_front();
    client_->Handled(number);
    return text;
  }
  // How often it was told how far something is.
  [[nodiscard]] int ProgressSteps() const { return progress_; }
  // Reads what comes, for a while.
  void Listen(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) Step();
  }
  [[nodiscard]] bool HasPushes() const { return !pushes_.empty(); }

  // The program's form of a native path.
  static std::string OnDriveZ(const std::filesystem::path& path) {
    std::string text = "z:" + path.string();
    for (char& c : text) {
      if (c == '/') c = '\\';
    }
    return text;
  }
  // In its program directory.
  [[nodiscard]] std::filesystem::path File(const std::string& name) const { return computer_.Program() / name; }
  [[nodiscard]] std::string PathOf(const std::string& name) const { return OnDriveZ(File(name)); }

 private:
  static constexpr std::chrono::milliseconds kSecond{1000};
  static constexpr std::chrono::milliseconds kStep{50};

  [[nodiscard]] std::vector<std::string> Words(const std::vector<std::string>& words) const {
    if (wrapper_.empty()) return words;
    std::vector<std::string> all(wrapper_.begin() + 1, wrapper_.end());
    all.emplace_back(built_);
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }
  [[nodiscard]] Computer::Options RunOptions() const {
    Computer::Options options;
    options.program = wrapper_.empty() ? built_ : std::filesystem::path(wrapper_.front());
    return options;
  }
  void Step() {
    if (client_ == nullptr) return;
    client_->Turn(kStep);
    while (const std::optional<lib::ChannelEvent> event = client_->Next()) {
      if (event->kind == lib::ChannelEvent::Kind::Push) pushes_.emplace_back(event->number, event->text);
      if (event->kind == lib::ChannelEvent::Kind::Reply) replies_[event->number] = event->text;
      if (event->kind == lib::ChannelEvent::Kind::Progress) ++progress_;
    }
  }
  template <class Wanted>
  void Await(Wanted wanted) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!wanted() && std::chrono::steady_clock::now() < end) Step();
  }

  Computer computer_;
  std::filesystem::path built_;
  std::uint16_t port_;
  std::vector<std::string> wrapper_;
  std::unique_ptr<RunningProcess> process_;
  std::unique_ptr<lib::ChannelClient> client_;
  std::uint32_t number_ = 0;
  std::deque<std::pair<std::uint32_t, std::string>> pushes_;
  std::map<std::uint32_t, std::string> replies_;
  int progress_ = 0;
};

// By fingerprints, on both.
inline void PairByFingerprints(const VandryAt& one, const VandryAt& other) {
  const Outcome first = one.Run({"--pair", other.OnComputer().Id(), other.Fingerprint()});
  EXPECT_EQ(first.status, 0) << first;
  const Outcome second = other.Run({"--pair", one.OnComputer().Id(), one.Fingerprint()});
  EXPECT_EQ(second.status, 0) << second;
}

}  // namespace zelkor::tests
