#include "tests/support/relay.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace zelkor::tests {

namespace {

using Clock = std::chrono::steady_clock;

// Looked after so often: the finest grain of delays.
constexpr int kTurnMs = 2;
// What may be on the line at one time, so that a fast sender feels a slow line.
constexpr std::size_t kMostOnTheLine = 256 * 1024;
constexpr std::size_t kMostAtOnce = 16 * 1024;

sockaddr_in OnThisMachine(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

// What is to be late is made late here, and little waits in the system, where a break would lose it.
void PassAtOnce(int socket) {
  const int yes = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
  const int bytes = 32 * 1024;
  setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes);
}

bool WouldBlock() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

// One way of a connection.
class Way {
 public:
  Way(int from, int to) : from_(from), to_(to) {}

  [[nodiscard]] bool WantsToRead(const Line& line) const {
    return !ended_ && !line.stalls && waiting_ < kMostOnTheLine;
  }
  [[nodiscard]] int From() const { return from_; }
  [[nodiscard]] bool Over() const { return closed_; }

  // False when the connection has broken.
  bool Read(const Line& line) {
    std::array<char, kMostAtOnce> bytes{};
    const ssize_t length = recv(from_, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (length < 0) return WouldBlock();
    if (length == 0) {
      ended_ = true;
    } else {
      pieces_.push_back({Clock::now() + line.delay, std::string(bytes.data(), static_cast<std::size_t>(length))});
      waiting_ += static_cast<std::size_t>(length);
    }
    return true;
  }
  // Hands on what is due, at most `allowed` bytes. How many; nothing when the connection has broken.
  std::optional<std::uint64_t> Write(const Line& line, std::uint64_t allowed) {
    std::uint64_t done = 0;
    const Clock::time_point now = Clock::now();
    while (!line.stalls && !pieces_.empty() && pieces_.front().due <= now && free_ <= now && done < allowed) {
      std::string& bytes = pieces_.front().bytes;
      std::size_t most = std::min<std::uint64_t>(bytes.size(), allowed - done);
      // A tenth of a second's worth, so that it is slow all the time and not now and then.
      if (line.bytesPerSecond > 0) most = std::min(most, static_cast<std::size_t>(line.bytesPerSecond / 10 + 1));
      const ssize_t length = send(to_, bytes.data(), most, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (length < 0 && !WouldBlock()) return std::nullopt;
      if (length <= 0) break;
      if (line.bytesPerSecond > 0) {
        const auto microseconds = static_cast<std::int64_t>(length) * 1'000'000 / line.bytesPerSecond;
        free_ = std::max(free_, now - std::chrono::milliseconds(2 * kTurnMs)) + std::chrono::microseconds(microseconds);
      }
      bytes.erase(0, static_cast<std::size_t>(length));
      waiting_ -= static_cast<std::size_t>(length);
      done += static_cast<std::uint64_t>(length);
      if (bytes.empty()) pieces_.pop_front();
    }
    if (ended_ && pieces_.empty() && !closed_) {
      shutdown(to_, SHUT_WR);
      closed_ = true;
    }
    return done;
  }

 private:
  struct Piece {
    Clock::time_point due;
    std::string bytes;
  };
  int from_;
  int to_;
  std::deque<Piece> pieces_;
  std::size_t waiting_ = 0;
  Clock::time_point free_{};
  bool ended_ = false;
  bool closed_ = false;
};

}  // namespace

class Relay::Connection {
 public:
  Connection(int near, int far, std::optional<std::uint64_t> breaksAfter)
      : near_(near), far_(far), left_(breaksAfter), there_(near, far), back_(far, near) {
    PassAtOnce(near);
    PassAtOnce(far);
  }
  ~Connection() {
    close(near_);
    close(far_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void AddTo(std::vector<pollfd>& polled, const Line& line) const {
    for (const Way* way : {&there_, &back_}) {
      polled.push_back({way->WantsToRead(line) ? way->From() : -1, POLLIN, 0});
    }
  }
  enum class State { Open, Over, Broken };
  State Move(const Line& line, std::uint64_t& carried) {
    for (Way* way : {&there_, &back_}) {
      if (way->WantsToRead(line) && !way->Read(line)) return State::Over;
      const std::optional<std::uint64_t> done = way->Write(line, left_.value_or(UINT64_MAX));
      if (!done) return State::Over;
      carried += *done;
      if (left_) *left_ -= *done;
      if (left_ && *left_ == 0) return State::Broken;
    }
    return there_.Over() && back_.Over() ? State::Over : State::Open;
  }
  // Both ends see at once that it is broken.
  void Break() const {
    const linger atOnce{1, 0};
    for (const int socket : {near_, far_}) setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
  }

 private:
  int near_;
  int far_;
  std::optional<std::uint64_t> left_;
  Way there_;
  Way back_;
};

Relay::Relay(std::uint16_t to, Line line) : to_(to), line_(std::move(line)) {
  listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_in address = OnThisMachine(0);
  socklen_t length = sizeof address;
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 16) != 0 ||
      getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("no listening socket");
  }
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { Run(); });
}

Relay::~Relay() {
  over_ = true;
  thread_.join();
  close(listener_);
}

void Relay::Change(const std::function<void(Line&)>& change) {
  const std::lock_guard lock(mutex_);
  change(line_);
}

void Relay::Cut() {
  const std::lock_guard lock(mutex_);
  for (const auto& connection : open_) connection->Break();
  broken_ += static_cast<int>(open_.size());
  open_.clear();
}

void Relay::Accept(const Line& line) {
  const int near = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (near < 0) return;
  ++connections_;
  const int far = line.refuses ? -1 : socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = OnThisMachine(to_);
  // On the same machine it is there at once, or nobody listens.
  if (far < 0 || connect(far, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    if (far >= 0) close(far);
    close(near);
    return;
  }
  open_.push_back(std::make_unique<Connection>(
      near, far, line.breaksAfter ? std::optional(line.breaksAfter()) : std::optional<std::uint64_t>()));
}

void Relay::Run() {
  while (!over_) {
    std::vector<pollfd> polled{{listener_, POLLIN, 0}};
    {
      const std::lock_guard lock(mutex_);
      for (const auto& connection : open_) connection->AddTo(polled, line_);
    }
    poll(polled.data(), polled.size(), kTurnMs);
    const std::lock_guard lock(mutex_);
    if ((polled[0].revents & POLLIN) != 0) Accept(line_);
    for (auto at = open_.begin(); at != open_.end();) {
      std::uint64_t carried = 0;
      const Connection::State state = (*at)->Move(line_, carried);
      carried_ += carried;
      if (state == Connection::State::Broken) {
        (*at)->Break();
        ++broken_;
      }
      at = state == Connection::State::Open ? std::next(at) : open_.erase(at);
    }
  }
}

}  // namespace zelkor::tests
