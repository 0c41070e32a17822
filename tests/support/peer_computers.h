// Two computers' Vandrys, without their shells, in one process and one loop: each with a program directory of its own
// in the sandbox, a port of its own on 127.0.0.1, and a program that notes what it is told.
#pragma once

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "lib/sockets.h"
#include "tests/support/ports.h"
#include "tests/support/sandbox.h"
#include "vandry/loop.h"
#include "vandry/pairings.h"
#include "vandry/peer.h"

namespace zelkor::tests {

// The program at the other end of the local link.
class NotedProgram : public vandry::PeerUser {
 public:
  std::vector<std::string> told;  // pushes and announcements, in order
  std::vector<vandry::PeerProgress> progress;
  std::vector<std::string> log;
  std::vector<std::string> reached;
  bool there = true;  // else nobody is, and may not be started

  lib::Status Push(const std::string& text) override { return Tell(text); }
  lib::Status Announce(const std::string& text) override { return Tell(text); }
  void Progress(const vandry::PeerProgress& step) override { progress.push_back(step); }
  void Reached(const std::string& computerId) override { reached.push_back(computerId); }
  void Log(const std::string& line) override { log.push_back(line); }

  [[nodiscard]] bool WasTold(const std::string& text) const {
    return std::find(told.begin(), told.end(), text) != told.end();
  }
  [[nodiscard]] bool HasLogged(const std::string& part) const {
    return std::any_of(log.begin(), log.end(), [&](const std::string& line) { return line.find(part) != line.npos; });
  }

 private:
  lib::Status Tell(const std::string& text) {
    if (!there) return {lib::Cause::AccessDenied, "Zelkor does not run there"};
    told.push_back(text);
    return {};
  }
};

struct PeerComputer {
  vandry::PeerSettings settings{};
  NotedProgram program;
  std::unique_ptr<vandry::Peers> peers;
  std::filesystem::path folder;  // its program directory, native

  [[nodiscard]] std::string Address() const { return "127.0.0.1:" + std::to_string(settings.port); }
};

class PeerComputers : public Sandbox {
 protected:
  using Milliseconds = vandry::Loop::Milliseconds;
  // More than anything takes, for waits that end when something happens.
  static constexpr Milliseconds kLong{20'000};

  PeerComputers() {
    SetUpComputer(office, "office");
    SetUpComputer(lap, "lap");
  }

  void SetUpComputer(PeerComputer& computer, const std::string& id) {
    computer.folder = Root() / ("of-" + id);
    std::filesystem::create_directory(computer.folder);
    computer.settings.programDir = OnDriveZ(computer.folder) + "\\";
    computer.settings.computerId = id;
    computer.settings.accept = true;
    computer.settings.port = FreePort();
    computer.settings.listen = {"127.0.0.1"};
    computer.settings.times.settings = Milliseconds{50};
    computer.settings.times.redial = Milliseconds{50};
  }
  void Open(PeerComputer& computer) {
    auto opened = vandry::OpenPeers(loop, computer.program, [&computer] { return computer.settings; });
    ASSERT_TRUE(opened.Ok()) << opened.Failure().Message();
    computer.peers = std::move(*opened);
  }
  void OpenBoth() {
    Open(office);
    Open(lap);
  }
  static vandry::Fingerprint FingerprintOf(const PeerComputer& computer) {
    return (*vandry::Identity::Load(computer.settings.programDir))->OwnFingerprint();
  }
  // `one` knows `other` from here on.
  static void Introduce(const PeerComputer& one, const PeerComputer& other) {
    const lib::Status added = vandry::Pairings(one.settings.programDir)
                                  .Add({.computerId = other.settings.computerId, .fingerprint = FingerprintOf(other)});
    EXPECT_TRUE(added.Ok()) << added.Message();
  }
  void OpenPaired() {
    Introduce(office, lap);
    Introduce(lap, office);
    OpenBoth();
  }

  // The replies of requests, when they came.
  struct Pending {
    bool over = false;
    int calls = 0;
    vandry::PeerReply reply;
  };
  static vandry::Peers::Done Into(const std::shared_ptr<Pending>& pending) {
    return [pending](const vandry::PeerReply& reply) {
      pending->over = true;
      ++pending->calls;
      pending->reply = reply;
    };
  }
  vandry::PeerReply Await(const std::shared_ptr<Pending>& pending) {
    EXPECT_TRUE(loop.RunUntil([&] { return pending->over; }, kLong)) << "no reply came";
    return pending->reply;
  }
  vandry::PeerReply Ping(PeerComputer& from, const std::string& address) {
    const auto pending = std::make_shared<Pending>();
    from.peers->Ping(address, Into(pending));
    EXPECT_FALSE(pending->over) << "answered inside the call";
    return Await(pending);
  }
  vandry::PeerReply Say(PeerComputer& from, const std::string& address, const std::string& text,
                        const std::string& ticket = "1") {
    const auto pending = std::make_shared<Pending>();
    from.peers->SendMessage(ticket, address, text, Into(pending));
    return Await(pending);
  }
  std::shared_ptr<Pending> StartSending(PeerComputer& from, const std::string& address, const std::string& target,
                                        const std::string& path, const std::string& ticket = "f1") {
    auto pending = std::make_shared<Pending>();
    from.peers->SendFile(
        {.ticket = ticket, .address = address, .ownId = from.settings.computerId, .targetId = target, .path = path},
        Into(pending));
    return pending;
  }
  static std::shared_ptr<Pending> StartReceiving(PeerComputer& at, const std::string& path) {
    auto pending = std::make_shared<Pending>();
    at.peers->ReceiveFile(path, Into(pending));
    return pending;
  }
  [[nodiscard]] bool RunUntil(const std::function<bool()>& done) { return loop.RunUntil(done, kLong); }
  void RunFor(Milliseconds time) {
    (void)loop.RunUntil([] { return false; }, time);
  }

  // A file whose every place differs from others nearby.
  static std::string Content(std::size_t bytes) {
    std::string content(bytes, '\0');
    std::uint32_t state = 12345;
    for (char& c : content) {
      state = state * 1664525 + 1013904223;  // the generator of Numerical Recipes
      c = static_cast<char>(state >> 24);
    }
    return content;
  }

  vandry::Loop loop;
  PeerComputer office;
  PeerComputer lap;
};

}  // namespace zelkor::tests
