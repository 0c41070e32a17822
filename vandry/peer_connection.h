// One connection to another computer's Vandry: made or accepted, secured, its key looked up among the pairings, then
// greeted by Hello from both sides. Only after that anything else is heard.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "vandry/dialler.h"
#include "vandry/frame_stream.h"
#include "vandry/pairing.h"
#include "vandry/pairings.h"
#include "vandry/peer.h"
#include "vandry/peer_address.h"
#include "vandry/peer_words.h"

namespace zelkor::vandry {

// What all connections share; it outlives them.
struct PeerContext {
  Loop& loop;
  std::shared_ptr<const TlsContext> tls;
  std::function<PeerSettings()> settings;
  std::function<void(const std::string&)> log;
};

class PeerConnection final : public std::enable_shared_from_this<PeerConnection>, private FrameStream::Owner {
 public:
  class Owner {
   public:
    virtual ~Owner() = default;
    // Greeted from both sides; Id() is known, and belongs to the key.
    virtual void ConnectionOpened(PeerConnection& connection) = 0;
    // A frame that is none of the connection's own affairs.
    virtual void FrameCame(PeerConnection& connection, const Frame& frame) = 0;
    // Everything sent so far has gone to the system: the next piece of a file may follow.
    virtual void ConnectionDrained(PeerConnection& connection) = 0;
    // It is over, or never came to be; the last call.
    virtual void ConnectionGone(PeerConnection& connection, const PeerReply& why) = 0;
  };

  // What a connection is made for.
  enum class Purpose { Talk, Pair };

  // The owner's calls come from the loop. `code` is the pairing code, for Pair: then ConnectionOpened says that both
  // sides know each other now.
  static std::shared_ptr<PeerConnection> Dial(PeerContext& context, Owner& owner, const PeerAddress& address,
                                              Purpose purpose = Purpose::Talk, const std::string& code = {});
  static std::shared_ptr<PeerConnection> Accept(PeerContext& context, Owner& owner, lib::Socket socket,
                                                const std::string& host);
  PeerConnection(const PeerConnection&) = delete;
  PeerConnection& operator=(const PeerConnection&) = delete;
  ~PeerConnection() override;

  [[nodiscard]] bool IsOpen() const { return stage_ == Stage::Open; }
  [[nodiscard]] bool IsGone() const { return stage_ == Stage::Gone; }
  // This computer made it.
  [[nodiscard]] bool Dialled() const { return dialled_.has_value(); }
  // What was dialled.
  [[nodiscard]] const std::optional<PeerAddress>& DialledAddress() const { return dialled_; }
  // The other computer's ID, from the key that it has.
  [[nodiscard]] const std::string& Id() const { return id_; }
  // Where it can be reached: the address as seen here, with the port on which it listens.
  [[nodiscard]] const PeerAddress& Address() const { return address_; }

  void Send(FrameKind kind, std::string_view content);
  [[nodiscard]] FrameStream& Stream() { return *stream_; }
  // Tells the other side why and ends. The owner hears of it as of any other end.
  void Refuse(PeerError error, const std::string& why);
  // Ends without a word and without a call of the owner's.
  void Abandon();
  // The key is still paired with the ID that it had at the greeting.
  [[nodiscard]] bool StillPaired() const;
  // When it was last of use: opened, or a frame of its owner's came or went.
  [[nodiscard]] Loop::Clock::time_point LastUse() const { return lastUse_; }

 private:
  enum class Stage { Dialling, Securing, Greeting, Open, Ending, Gone };

  PeerConnection(PeerContext& context, Owner& owner);
  // FrameStream::Owner
  void Secured() override;
  void FrameCame(const Frame& frame) override;
  void Drained() override;
  void Ended(const std::string& why, bool misbehaved) override;

  void Secure(lib::Socket socket, TlsStream::Side side);
  void SendHello();
  void Greeted(const Frame& frame);
  void HelloCame(const HelloWords& hello);
  void PairCame(const PairWords& words);
  // The dialler's side: the listener's proof.
  void PairAnswered(const PairWords& words);
  // The listener's side: what a proof that uses up an attempt deserves.
  void JudgeProof(const PairWords& words);
  [[nodiscard]] std::optional<PairingTerms> Terms() const;
  void RefusalCame(std::string_view content);
  void Opened();
  void Gone(PeerError error, const std::string& why, bool worthRepeating);
  void StartPatience();
  void LookForLife();
  // Where the other side is, for messages.
  [[nodiscard]] std::string Where() const;

  PeerContext& context_;
  Owner& owner_;
  Stage stage_ = Stage::Dialling;
  Purpose purpose_ = Purpose::Talk;
  std::string code_;
  std::optional<PeerAddress> dialled_;
  PeerAddress address_;
  std::string id_;
  Fingerprint fingerprint_{};
  PeerReply refusal_;  // the end that was announced, by this side or the other
  // Bytes at the last look for life.
  std::uint64_t receivedBefore_ = 0;
  std::uint64_t sentBefore_ = 0;
  Loop::Clock::time_point lastLife_;
  Loop::Clock::time_point lastUse_;
  std::unique_ptr<Dialler> dialler_;
  std::shared_ptr<FrameStream> stream_;
  Loop::Timer patience_;
  Loop::Timer life_;
};

}  // namespace zelkor::vandry
