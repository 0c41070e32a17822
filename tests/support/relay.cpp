#include "tests/support/relay.h"

#include <algorithm>
#include <array>
#include <deque>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/support/sockets.h"

namespace zelkor::tests {

namespace {

using Clock = std::chrono::steady_clock;

// Looked after so often: the finest grain of delays.
constexpr std::chrono::milliseconds kTurn{2};
constexpr std::chrono::milliseconds kPatience{5000};
// What may be on the line at one time, so that a fast sender feels a slow line.
constexpr std::size_t kMostOnTheLine = 256 * 1024;
constexpr std::size_t kMostAtOnce = 16 * 1024;

// What waits in the system would be lost by a break; what is to be late is made late here.
constexpr int kMostInTheSystem = 32 * 1024;

// One way of a connection.
class Way {
 public:
  Way(const lib::Socket& from, const lib::Socket& to) : from_(from), to_(to) {}

  [[nodiscard]] bool WantsToRead(const Line& line) const {
    return !ended_ && !line.stalls && waiting_ < kMostOnTheLine;
  }
  [[nodiscard]] lib::Handle From() const { return from_.Get(); }
  [[nodiscard]] bool Over() const { return closed_; }

  // False when the connection has broken.
  bool Read(const Line& line) {
    std::array<char, kMostAtOnce> bytes{};
    const Passed got = ReceiveNow(from_, bytes);
    if (got.how == Passed::How::Ended) ended_ = true;
    if (got.how == Passed::How::Bytes) {
      pieces_.push_back({Clock::now() + line.delay, std::string(bytes.data(), got.bytes)});
      waiting_ += got.bytes;
    }
    return got.how != Passed::How::Broken;
  }
  // Hands on what is due, at most `allowed` bytes. How many; nothing when the connection has broken.
  std::optional<std::uint64_t> Write(const Line& line, std::uint64_t allowed) {
    std::uint64_t done = 0;
    const Clock::time_point now = Clock::now();
    while (!line.stalls && !pieces_.empty() && pieces_.front().due <= now && free_ <= now && done < allowed) {
      std::string& bytes = pieces_.front().bytes;
      auto most = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), allowed - done));
      // A tenth of a second's worth, so that it is slow all the time and not now and then.
      if (line.bytesPerSecond > 0) most = std::min(most, static_cast<std::size_t>(line.bytesPerSecond / 10 + 1));
      const Passed put = SendNow(to_, std::string_view(bytes).substr(0, most));
      if (put.how == Passed::How::Broken) return std::nullopt;
      if (put.bytes == 0) break;
      if (line.bytesPerSecond > 0) {
        const auto microseconds = static_cast<std::int64_t>(put.bytes) * 1'000'000 / line.bytesPerSecond;
        free_ = std::max(free_, now - 2 * kTurn) + std::chrono::microseconds(microseconds);
      }
      bytes.erase(0, put.bytes);
      waiting_ -= put.bytes;
      done += put.bytes;
      if (bytes.empty()) pieces_.pop_front();
    }
    if (ended_ && pieces_.empty() && !closed_) {
      EndWriting(to_);
      closed_ = true;
    }
    return done;
  }

 private:
  struct Piece {
    Clock::time_point due;
    std::string bytes;
  };
  const lib::Socket& from_;
  const lib::Socket& to_;
  std::deque<Piece> pieces_;
  std::size_t waiting_ = 0;
  Clock::time_point free_{};
  bool ended_ = false;
  bool closed_ = false;
};

}  // namespace

class Relay::Connection {
 public:
  Connection(lib::Socket near, lib::Socket far, std::optional<std::uint64_t> breaksAfter)
      : near_(std::move(near)), far_(std::move(far)), left_(breaksAfter) {
    KeepLittle(near_, kMostInTheSystem);
    KeepLittle(far_, kMostInTheSystem);
  }
  ~Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void AddTo(std::vector<lib::Awaited>& awaited, const Line& line) const {
    for (const Way* way : {&there_, &back_}) {
      if (way->WantsToRead(line)) awaited.push_back({.handle = way->From(), .wantRead = true});
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
    BreakWhenClosed(near_);
    BreakWhenClosed(far_);
  }

 private:
  lib::Socket near_;
  lib::Socket far_;
  std::optional<std::uint64_t> left_;
  Way there_{near_, far_};
  Way back_{far_, near_};
};

Relay::Relay(std::uint16_t to, Line line) : to_(to), line_(std::move(line)) {
  lib::Result<lib::Socket> listener = lib::ListenOn(*lib::NumericAddress("127.0.0.1", 0));
  if (!listener.Ok()) throw std::runtime_error(listener.Failure().Message());
  listener_ = std::move(*listener);
  port_ = lib::LocalPort(listener_);
  thread_ = std::thread([this] { Run(); });
}

Relay::~Relay() {
  over_ = true;
  thread_.join();
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
  std::optional<lib::AcceptedConnection> near = lib::AcceptConnection(listener_);
  if (!near) return;
  ++connections_;
  if (line.refuses) return;
  lib::Result<lib::Socket> far = lib::StartConnecting(*lib::NumericAddress("127.0.0.1", to_));
  if (!far.Ok()) return;
  // On the same machine it is there at once, or nobody listens.
  lib::Awaited awaited{.handle = far->Get(), .wantWrite = true};
  lib::WaitUntilReady({&awaited, 1}, kPatience);
  if (!lib::ConnectOutcome(*far).Ok()) return;
  open_.push_back(std::make_unique<Connection>(
      std::move(near->socket), std::move(*far),
      line.breaksAfter ? std::optional(line.breaksAfter()) : std::optional<std::uint64_t>()));
}

void Relay::Run() {
  while (!over_) {
    std::vector<lib::Awaited> awaited{{.handle = listener_.Get(), .wantRead = true}};
    {
      const std::lock_guard lock(mutex_);
      for (const auto& connection : open_) connection->AddTo(awaited, line_);
    }
    lib::WaitUntilReady(awaited, kTurn);
    const std::lock_guard lock(mutex_);
    if (awaited[0].canRead) Accept(line_);
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
