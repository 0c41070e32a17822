#include "vandry/frame_stream.h"

namespace zelkor::vandry {

namespace {

// Read in one turn; then the rest of the loop has its turn.
constexpr std::size_t kMostReadAtOnce = 2 * 1024 * 1024;
// With more than this waiting to be sent nothing is read, so nobody can have answers pile up that he does not take.
constexpr std::size_t kMostWaiting = 2 * kMostPieceBytes;
// For the other end to take what was sent last, and to close.
constexpr Loop::Milliseconds kGoodbyeTime{3000};

}  // namespace

FrameStream::FrameStream(Loop& loop, const TlsContext& context, lib::Socket socket, TlsStream::Side side, Owner& owner)
    : loop_(loop), owner_(&owner), tls_(context, std::move(socket), side) {}

std::shared_ptr<FrameStream> FrameStream::Start(Loop& loop, const TlsContext& context, lib::Socket socket,
                                                TlsStream::Side side, Owner& owner) {
  std::shared_ptr<FrameStream> stream(new FrameStream(loop, context, std::move(socket), side, owner));
  // The watch goes with the stream, so its callback need not keep the stream.
  stream->watch_ =
      loop.WatchHandle(stream->tls_.GetSocket().Get(), true, true, [raw = stream.get()](Loop::Ready ready) {
        const std::shared_ptr<FrameStream> alive = raw->shared_from_this();
        alive->Turn(ready);
      });
  return stream;
}

void FrameStream::Turn(Loop::Ready ready) {
  if (Is(Stage::Securing)) {
    Secure();
  } else {
    if (ready.write && !Is(Stage::Over)) {
      if (readWaitsForWrite_) Read();
      Write();
    }
    if (ready.read && !Is(Stage::Over)) {
      if (writeWaitsForRead_) Write();
      Read();
    }
  }
  UpdateWatch();
}

void FrameStream::Secure() {
  switch (tls_.Handshake()) {
    case TlsStream::Outcome::Done:
      stage_ = Stage::Open;
      owner_->Secured();
      // What came along with the last of the handshake is in memory already.
      if (Is(Stage::Open)) Read();
      return;
    case TlsStream::Outcome::WantsRead:
      watch_.Want(true, false);
      return;
    case TlsStream::Outcome::WantsWrite:
      watch_.Want(false, true);
      return;
    case TlsStream::Outcome::Closed:
      Finish("the other computer closed the connection");
      return;
    case TlsStream::Outcome::Failed:
      Finish(tls_.Failure());
      return;
  }
}

void FrameStream::Read() {
  readWaitsForWrite_ = false;
  std::size_t total = 0;
  while ((Is(Stage::Open) || Is(Stage::Closing)) && total < kMostReadAtOnce && Waiting() <= kMostWaiting) {
    const TlsStream::Moved moved = tls_.Read(reader_.Space());
    if (moved.outcome == TlsStream::Outcome::WantsRead) return;
    if (moved.outcome == TlsStream::Outcome::WantsWrite) {
      readWaitsForWrite_ = true;
      return;
    }
    if (moved.outcome == TlsStream::Outcome::Closed) {
      Finish("the other computer closed the connection");
      return;
    }
    if (moved.outcome == TlsStream::Outcome::Failed) {
      Finish(tls_.Failure());
      return;
    }
    total += moved.bytes;
    received_ += moved.bytes;
    reader_.Filled(moved.bytes);
    HandFramesOn();
  }
  if (!Is(Stage::Over) && tls_.HasUnread() && !readAgainPosted_) {
    // The socket may stay silent about what the library holds already.
    readAgainPosted_ = true;
    loop_.Post([weak = weak_from_this()] {
      const std::shared_ptr<FrameStream> stream = weak.lock();
      if (stream == nullptr) return;
      stream->readAgainPosted_ = false;
      if (stream->Is(Stage::Over) || stream->Waiting() > kMostWaiting) return;
      stream->Read();
      stream->UpdateWatch();
    });
  }
}

void FrameStream::HandFramesOn() {
  while (const std::optional<Frame> frame = reader_.Next()) {
    if (Is(Stage::Open)) owner_->FrameCame(*frame);
    if (Is(Stage::Over)) return;
  }
  if (reader_.Broken()) Finish("the other computer sent something that is no frame", true);
}

void FrameStream::Write() {
  writeWaitsForRead_ = false;
  while (!Is(Stage::Over) && Waiting() > 0) {
    const TlsStream::Moved moved = tls_.Write(std::span<const char>(out_).subspan(sent_));
    if (moved.outcome == TlsStream::Outcome::WantsWrite) return;
    if (moved.outcome == TlsStream::Outcome::WantsRead) {
      writeWaitsForRead_ = true;
      return;
    }
    if (moved.outcome != TlsStream::Outcome::Done) {
      Finish(tls_.Failure());
      return;
    }
    sent_ += moved.bytes;
    written_ += moved.bytes;
  }
  out_.clear();
  sent_ = 0;
  if (Is(Stage::Open)) owner_->Drained();
  if (Is(Stage::Closing) && Waiting() == 0) SayGoodbye();
  // Reading may have rested because too much waited.
  if (!Is(Stage::Over) && tls_.HasUnread()) Read();
}

void FrameStream::Send(FrameKind kind, std::string_view content) {
  if (!Is(Stage::Open)) return;
  AppendFrame(out_, kind, content);
  watch_.Want(true, true);
}

std::span<char> FrameStream::BeginPiece(std::size_t bytes) {
  pieceStart_ = out_.size();
  out_.resize(pieceStart_ + kFrameHeaderBytes + kPieceOffsetBytes + bytes);
  return std::span(out_).subspan(pieceStart_ + kFrameHeaderBytes + kPieceOffsetBytes);
}

void FrameStream::EndPiece(std::int64_t offset, std::size_t bytes) {
  if (bytes == 0 || !Is(Stage::Open)) {
    out_.resize(pieceStart_);
    return;
  }
  constexpr std::size_t kHeader = kFrameHeaderBytes + kPieceOffsetBytes;
  out_.resize(pieceStart_ + kHeader + bytes);
  WritePieceHeader(std::span(out_).subspan(pieceStart_).first<kHeader>(), offset, bytes);
  watch_.Want(true, true);
}

void FrameStream::EndWhenSent() {
  if (Is(Stage::Securing)) {
    Finish("");
    return;
  }
  if (!Is(Stage::Open)) return;
  stage_ = Stage::Closing;
  goodbye_ = loop_.After(kGoodbyeTime, [this] {
    const std::shared_ptr<FrameStream> alive = shared_from_this();
    Finish("");
  });
  if (Waiting() == 0) SayGoodbye();
  UpdateWatch();
}

void FrameStream::SayGoodbye() {
  if (std::exchange(saidGoodbye_, true)) return;
  // Closing while something of the other end's is unread would take from it what was sent last. So it closes first.
  tls_.Close();
}

void FrameStream::Abandon() {
  if (Is(Stage::Over)) return;
  tls_.Close();
  stage_ = Stage::Over;
  watch_.End();
  goodbye_.End();
}

void FrameStream::Finish(const std::string& why, bool misbehaved) {
  if (Is(Stage::Over)) return;
  Abandon();
  owner_->Ended(why, misbehaved);
}

void FrameStream::UpdateWatch() {
  if (Is(Stage::Over) || Is(Stage::Securing)) return;
  const bool read = Waiting() <= kMostWaiting && !readWaitsForWrite_;
  watch_.Want(read || writeWaitsForRead_, (Waiting() > 0 && !writeWaitsForRead_) || readWaitsForWrite_);
}

}  // namespace zelkor::vandry
