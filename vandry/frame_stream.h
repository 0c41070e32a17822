// Frames over one secure connection, in the loop: what comes is handed on frame by frame, what is sent waits here until
// the socket takes it. What may wait is bounded on both ways.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "vandry/frames.h"
#include "vandry/loop.h"
#include "vandry/tls.h"

namespace zelkor::vandry {

class FrameStream : public std::enable_shared_from_this<FrameStream> {
 public:
  class Owner {
   public:
    virtual ~Owner() = default;
    // The handshake is over: the other end's key is known.
    virtual void Secured() = 0;
    virtual void FrameCame(const Frame& frame) = 0;
    // Everything sent so far has gone to the system.
    virtual void Drained() = 0;
    // The connection is over; the last call. `misbehaved`: the other end sent what it may not send.
    virtual void Ended(const std::string& why, bool misbehaved) = 0;
  };

  // The owner must live until Ended was called or Abandon was. The last reference may go inside any of these calls.
  static std::shared_ptr<FrameStream> Start(Loop& loop, const TlsContext& context, lib::Socket socket,
                                            TlsStream::Side side, Owner& owner);
  FrameStream(const FrameStream&) = delete;
  FrameStream& operator=(const FrameStream&) = delete;

  void Send(FrameKind kind, std::string_view content);
  // A piece of a file, read right into the place it is sent from: first the place for at most `bytes` bytes, then how
  // many of them are to go (none: the piece is dropped).
  [[nodiscard]] std::span<char> BeginPiece(std::size_t bytes);
  void EndPiece(std::int64_t offset, std::size_t bytes);
  void AdmitPieces() { reader_.AdmitPieces(); }
  // Bytes that wait to be sent.
  [[nodiscard]] std::size_t Waiting() const { return out_.size() - sent_; }

  // Takes nothing more, sends what waits and ends then.
  void EndWhenSent();
  // Ends now, without a call of the owner's.
  void Abandon();

  [[nodiscard]] const TlsStream& Tls() const { return tls_; }
  // Total bytes that came so far; for telling silence.
  [[nodiscard]] std::uint64_t Received() const { return received_; }
  [[nodiscard]] std::uint64_t Sent() const { return written_; }

 private:
  enum class Stage { Securing, Open, Closing, Over };

  FrameStream(Loop& loop, const TlsContext& context, lib::Socket socket, TlsStream::Side side, Owner& owner);
  void Turn(Loop::Ready ready);
  void Secure();
  void Read();
  void Write();
  void HandFramesOn();
  // Everything was sent of a stream that is to end: waits for the other end to have read it.
  void SayGoodbye();
  void Finish(const std::string& why, bool misbehaved = false);
  void UpdateWatch();
  [[nodiscard]] bool Is(Stage stage) const { return stage_ == stage; }

  Loop& loop_;
  Owner* owner_;
  TlsStream tls_;
  FrameReader reader_;
  std::string out_;
  std::size_t sent_ = 0;        // of out_
  std::size_t pieceStart_ = 0;  // of the piece that is being read into out_
  std::uint64_t received_ = 0;
  std::uint64_t written_ = 0;
  Stage stage_ = Stage::Securing;
  bool readWaitsForWrite_ = false;
  bool writeWaitsForRead_ = false;
  bool saidGoodbye_ = false;
  bool readAgainPosted_ = false;
  Loop::Watch watch_;
  Loop::Timer goodbye_;
};

}  // namespace zelkor::vandry
