// Peers that do not keep to the rules, and the computer that they meet.
#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/peer_computers.h"
#include "vandry/frames.h"
#include "vandry/peer_address.h"
#include "vandry/peer_words.h"
#include "vandry/tls.h"

namespace zelkor::vandry {

// Of the right length, and of no content that a test sends.
inline const std::string kSomeHash(64, 'a');

// Somebody with a key who says whatever a test wants.
class RawPeer {
 public:
  RawPeer(Loop& loop, const std::string& programDir, const std::string& address, bool listens = false) : loop_(loop) {
    auto context = TlsContext::Make(*Identity::Load(programDir));
    context_ = *context;
    if (!listens) Connect(address);
  }

  void Connect(const std::string& address) {
    const PeerAddress to = *ParsePeerAddress(address);
    lib::Result<lib::Socket> socket = lib::StartConnecting(*lib::NumericAddress(to.host, to.port));
    Use(std::move(*socket), TlsStream::Side::Dialler);
  }
  void Use(lib::Socket socket, TlsStream::Side side) {
    reader_ = FrameReader();
    reader_.AdmitPieces();
    ended_ = false;
    stream_ = std::make_unique<TlsStream>(*context_, std::move(socket), side);
  }
  [[nodiscard]] bool Handshake() {
    TlsStream::Outcome outcome = TlsStream::Outcome::WantsRead;
    (void)loop_.RunUntil(
        [&] {
          outcome = stream_->Handshake();
          return outcome == TlsStream::Outcome::Done || outcome == TlsStream::Outcome::Failed;
        },
        kTurn, kPatience);
    return outcome == TlsStream::Outcome::Done;
  }
  // Writes until all is gone, the connection is, or nothing more is taken for a while. The bytes that went.
  std::size_t WriteRaw(std::string_view bytes) {
    std::size_t total = 0;
    int idle = 0;
    while (total < bytes.size() && idle < 50) {
      const TlsStream::Moved moved = stream_->Write(bytes.substr(total));
      if (moved.outcome == TlsStream::Outcome::Failed) break;
      total += moved.bytes;
      idle = moved.outcome == TlsStream::Outcome::Done ? 0 : idle + 1;
      if (idle > 0) (void)loop_.RunUntil([] { return false; }, Loop::Milliseconds{10});
    }
    return total;
  }
  void Send(FrameKind kind, std::string_view content) {
    std::string bytes;
    AppendFrame(bytes, kind, content);
    WriteRaw(bytes);
  }
  void Greet(const std::string& id) { Send(FrameKind::Hello, "1 " + id + " 4223"); }
  // The next frame of any kind but signs of life; none when the other side has closed.
  std::optional<std::pair<FrameKind, std::string>> Receive() {
    std::optional<std::pair<FrameKind, std::string>> got;
    (void)loop_.RunUntil(
        [&] {
          while (!got) {
            if (const std::optional<Frame> frame = reader_.Next()) {
              if (frame->kind != FrameKind::Ping) got = {frame->kind, std::string(frame->content)};
              continue;
            }
            const TlsStream::Moved moved = stream_->Read(reader_.Space());
            if (moved.outcome == TlsStream::Outcome::WantsRead) return false;
            if (moved.outcome != TlsStream::Outcome::Done) {
              ended_ = true;
              return true;
            }
            reader_.Filled(moved.bytes);
          }
          return true;
        },
        kTurn, kPatience);
    return got;
  }
  // The text of the next frame, which has that kind.
  std::string Receive(FrameKind kind) {
    const auto got = Receive();
    if (!got) return ended_ ? "closed" : "nothing came";
    return got->first == kind ? got->second
                              : "kind " + std::to_string(static_cast<int>(got->first)) + ": " + got->second;
  }
  // True when the other side ends the connection, whatever it says before.
  [[nodiscard]] bool IsTurnedAway() {
    while (Receive()) {
    }
    return ended_;
  }
  void HangUp() { stream_.reset(); }

 private:
  static constexpr Loop::Milliseconds kTurn{5};
  static constexpr Loop::Milliseconds kPatience{5000};

  // The loop knows nothing of this socket, so it is woken every few milliseconds.
  class TickingLoop {
   public:
    explicit TickingLoop(Loop& loop) : loop_(loop) {}
    bool RunUntil(const std::function<bool()>& done, Loop::Milliseconds turn, Loop::Milliseconds patience) {
      const auto end = Loop::Clock::now() + patience;
      while (!done()) {
        if (Loop::Clock::now() > end) return false;
        (void)loop_.RunUntil([] { return false; }, turn);
      }
      return true;
    }
    bool RunUntil(const std::function<bool()>& done, Loop::Milliseconds limit) { return loop_.RunUntil(done, limit); }

   private:
    Loop& loop_;
  };

  TickingLoop loop_;
  std::shared_ptr<const TlsContext> context_;
  std::unique_ptr<TlsStream> stream_;
  FrameReader reader_;
  bool ended_ = false;
};

class HostilePeerTest : public tests::PeerComputers {
 protected:
  using PeerComputer = tests::PeerComputer;

  // lap's key and pairing, but none of its manners.
  void OpenAgainstLap() {
    Introduce(office, lap);
    Introduce(lap, office);
    Open(office);
  }
  std::unique_ptr<RawPeer> Raw(const PeerComputer& as) {
    auto peer = std::make_unique<RawPeer>(loop, as.settings.programDir, office.Address());
    EXPECT_TRUE(peer->Handshake());
    return peer;
  }
  // Greeted as lap, as it should be.
  std::unique_ptr<RawPeer> Greeted() {
    auto peer = Raw(lap);
    peer->Greet("lap");
    EXPECT_EQ(peer->Receive(FrameKind::Hello), "1 office " + std::to_string(office.settings.port));
    return peer;
  }
  // Every file of that computer, with its size, but for what it holds anyway.
  static std::map<std::string, std::uintmax_t> FilesOf(const PeerComputer& computer) {
    std::map<std::string, std::uintmax_t> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(computer.folder)) {
      const std::string name = std::filesystem::relative(entry.path(), computer.folder).generic_string();
      if (entry.is_regular_file() && name != "vandry.dat/key.pem" && name != "vandry.dat/paired.txt" &&
          name != "vandry.dat/done.txt") {
        files[name] = entry.file_size();
      }
    }
    return files;
  }
};

}  // namespace zelkor::vandry
