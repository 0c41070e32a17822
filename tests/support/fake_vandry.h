// Vandry's end of the local link as a test wants it: it takes commands, answers them as it was told to, pushes
// messages, and remembers what it heard. It lives in a thread of its own.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "lib/channel.h"

namespace zelkor::tests {

class FakeVandry {
 public:
  // Answers a command: the reply, empty for none. Called in the thread of the fake, with its means at hand.
  using Script = std::function<std::string(FakeVandry& vandry, const std::string& command)>;

  explicit FakeVandry(const std::string& programDir, Script script = {}) : script_(std::move(script)) {
    auto server = lib::ChannelServer::Listen(programDir);
    if (!server.Ok()) throw std::runtime_error(server.Failure().Message());
    server_ = std::move(*server);
    thread_ = std::thread([this] { Run(); });
  }
  ~FakeVandry() {
    over_ = true;
    thread_.join();
  }
  FakeVandry(const FakeVandry&) = delete;
  FakeVandry& operator=(const FakeVandry&) = delete;

  // To the program, now or as soon as it comes.
  void Push(const std::string& text) {
    const std::lock_guard lock(mutex_);
    const auto number = static_cast<std::uint32_t>(pushes_.size() + 1);
    pushes_.push_back(text);
    if (client_ != 0) server_->Push(client_, number, text);
  }
  void Progress(const std::string& text) {
    const std::lock_guard lock(mutex_);
    server_->Progress(client_, text);
  }
  // A reply to a command that came earlier, by its place among the commands, from 0.
  void ReplyTo(std::size_t command, const std::string& text) {
    const std::lock_guard lock(mutex_);
    server_->Reply(client_, numbers_.at(command), text);
  }
  // From here on it takes no command, as if it were stopped.
  void TakeNothing() { takes_ = false; }
  // Ends the conversation after the next command, as if it had been killed by it.
  void DieOfNextCommand() { dies_ = true; }
  // Before it takes a command it is Working on it for so long.
  void WorkBeforeTaking(std::chrono::milliseconds time) { works_ = time; }

  [[nodiscard]] std::vector<std::string> Commands() const {
    const std::lock_guard lock(mutex_);
    return commands_;
  }
  // The pushes that the program has dealt with, by text, in the order in which it said so.
  [[nodiscard]] std::vector<std::string> HandledPushes() const {
    const std::lock_guard lock(mutex_);
    return handled_;
  }
  // False when it does not come true for long; looked at after everything heard.
  bool WaitUntil(const std::function<bool()>& condition) const {
    std::unique_lock lock(mutex_);
    for (int i = 0; i < 3000; ++i) {
      lock.unlock();
      if (condition()) return true;
      lock.lock();
      heard_.wait_for(lock, std::chrono::milliseconds(10));
    }
    return false;
  }
  bool WaitForCommand(const std::string& command) const {
    return WaitUntil([&] {
      const std::vector<std::string> commands = Commands();
      return std::find(commands.begin(), commands.end(), command) != commands.end();
    });
  }
  bool WaitForHandled(std::size_t count) const {
    return WaitUntil([&] { return HandledPushes().size() >= count; });
  }

 private:
  void Run() {
    while (!over_) {
      lib::Awaited awaited{.handle = server_->ReadyHandle(), .wantRead = true};
      lib::WaitUntilReady({&awaited, 1}, std::chrono::milliseconds(2));
      std::unique_lock lock(mutex_);
      server_->Turn();
      while (const auto request = server_->Next()) Hear(*request, lock);
      heard_.notify_all();
    }
  }
  void Hear(const lib::ChannelRequest& request, std::unique_lock<std::mutex>& lock) {
    using Kind = lib::ChannelRequest::Kind;
    switch (request.kind) {
      case Kind::Opened:
        client_ = request.client;
        for (std::size_t i = 0; i < pushes_.size(); ++i) {
          if (!Handled(i)) server_->Push(client_, static_cast<std::uint32_t>(i + 1), pushes_[i]);
        }
        return;
      case Kind::Closed:
        if (client_ == request.client) client_ = 0;
        return;
      case Kind::Handled:
        handledNumbers_.push_back(request.number);
        handled_.push_back(pushes_.at(request.number - 1));
        return;
      case Kind::Execute:
        Execute(request, lock);
        return;
    }
  }
  void Execute(const lib::ChannelRequest& request, std::unique_lock<std::mutex>& lock) {
    commands_.push_back(request.text);
    numbers_.push_back(request.number);
    if (dies_) {
      server_->Close(request.client);
      dies_ = false;
      return;
    }
    if (!takes_) return;
    const auto end = std::chrono::steady_clock::now() + works_;
    while (std::chrono::steady_clock::now() < end) {
      server_->Working(request.client, request.number);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    // The script may push and look at what came so far.
    lock.unlock();
    const std::string reply = script_ ? script_(*this, request.text) : "OK";
    lock.lock();
    server_->Taken(request.client, request.number);
    if (!reply.empty()) server_->Reply(request.client, request.number, reply);
  }
  [[nodiscard]] bool Handled(std::size_t push) const {
    return std::find(handledNumbers_.begin(), handledNumbers_.end(), push + 1) != handledNumbers_.end();
  }

  std::unique_ptr<lib::ChannelServer> server_;
  Script script_;
  lib::ChannelClientId client_ = 0;
  std::vector<std::string> commands_;
  std::vector<std::uint32_t> numbers_;
  std::vector<std::string> pushes_;
  std::vector<std::uint32_t> handledNumbers_;
  std::vector<std::string> handled_;
  std::atomic<bool> takes_ = true;
  std::atomic<bool> dies_ = false;
  std::chrono::milliseconds works_{0};
  std::atomic<bool> over_ = false;
  mutable std::mutex mutex_;
  mutable std::condition_variable heard_;
  std::thread thread_;
};

}  // namespace zelkor::tests
