// A line between two programs of this machine that is as bad as told: it carries what comes to a port of its own to
// another port, late, slowly, in part, or not at all. It lives in a thread of its own.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "lib/sockets.h"

namespace zelkor::tests {

struct Line {
  std::chrono::milliseconds delay{0};  // each way
  int bytesPerSecond = 0;              // each way; 0: as fast as it goes
  bool stalls = false;                 // connections stay, but nothing moves on them
  bool refuses = false;                // connections are ended as soon as they come
  // Asked for each connection that comes: after how many bytes, both ways together, it breaks. Empty: never.
  std::function<std::uint64_t()> breaksAfter{};
};

class Relay {
 public:
  // To that port of 127.0.0.1.
  explicit Relay(std::uint16_t to, Line line = {});
  ~Relay();
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;

  [[nodiscard]] std::string Address() const { return "127.0.0.1:" + std::to_string(port_); }
  void Change(const std::function<void(Line&)>& change);
  // Breaks all connections.
  void Cut();

  [[nodiscard]] int Connections() const { return connections_; }
  // How many of them it broke.
  [[nodiscard]] int Broken() const { return broken_; }
  // Bytes that arrived, both ways together.
  [[nodiscard]] std::uint64_t Carried() const { return carried_; }

 private:
  class Connection;
  void Run();
  void Accept(const Line& line);

  const std::uint16_t to_;
  lib::Socket listener_;
  std::uint16_t port_ = 0;
  std::mutex mutex_;
  Line line_;
  std::list<std::unique_ptr<Connection>> open_;
  std::atomic<int> connections_ = 0;
  std::atomic<int> broken_ = 0;
  std::atomic<std::uint64_t> carried_ = 0;
  std::atomic<bool> over_ = false;
  std::thread thread_;
};

}  // namespace zelkor::tests
