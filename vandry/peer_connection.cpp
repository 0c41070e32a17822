#include "vandry/peer_connection.h"

#include <utility>

namespace zelkor::vandry {

namespace {

constexpr std::string_view kNotPaired = "The two computers are not paired";

std::string VersionText(int version) {
  return "The other computer speaks version " + std::to_string(version) + " of the protocol, this one version " +
         std::to_string(kProtocolVersion);
}

}  // namespace

PeerConnection::PeerConnection(PeerContext& context, Owner& owner)
    : context_(context), owner_(owner), lastLife_(Loop::Clock::now()), lastUse_(lastLife_) {}

PeerConnection::~PeerConnection() {
  if (stream_ != nullptr) stream_->Abandon();
}

std::shared_ptr<PeerConnection> PeerConnection::Dial(PeerContext& context, Owner& owner, const PeerAddress& address,
                                                     Purpose purpose, const std::string& code) {
  std::shared_ptr<PeerConnection> connection(new PeerConnection(context, owner));
  connection->purpose_ = purpose;
  connection->code_ = code;
  connection->dialled_ = address;
  connection->address_ = address;
  connection->StartPatience();
  connection->dialler_ =
      std::make_unique<Dialler>(context.loop, address, [raw = connection.get()](lib::Result<lib::Socket> socket) {
        const std::shared_ptr<PeerConnection> alive = raw->shared_from_this();
        if (!socket.Ok()) {
          const bool unknown = socket.Why() == lib::Cause::NotFound;
          alive->Gone(unknown ? PeerError::NameNotFound : PeerError::NotReached, socket.Failure().Message(), true);
          return;
        }
        alive->dialler_.reset();
        alive->Secure(std::move(*socket), TlsStream::Side::Dialler);
      });
  return connection;
}

std::shared_ptr<PeerConnection> PeerConnection::Accept(PeerContext& context, Owner& owner, lib::Socket socket,
                                                       const std::string& host) {
  std::shared_ptr<PeerConnection> connection(new PeerConnection(context, owner));
  connection->address_.host = host;
  connection->StartPatience();
  connection->Secure(std::move(socket), TlsStream::Side::Listener);
  return connection;
}

void PeerConnection::StartPatience() {
  patience_ = context_.loop.After(context_.settings().times.connect, [this] {
    const std::shared_ptr<PeerConnection> alive = shared_from_this();
    Gone(PeerError::TimedOut, "It does not answer", true);
  });
}

void PeerConnection::Secure(lib::Socket socket, TlsStream::Side side) {
  stage_ = Stage::Securing;
  stream_ = FrameStream::Start(context_.loop, *context_.tls, std::move(socket), side, *this);
}

std::string PeerConnection::Where() const { return PeerAddressText(address_); }

void PeerConnection::Secured() {
  const std::optional<Fingerprint> fingerprint = stream_->Tls().PeerFingerprint();
  if (!fingerprint) {
    Gone(PeerError::NotPaired, "It showed no key", false);
    return;
  }
  fingerprint_ = *fingerprint;
  stage_ = Stage::Greeting;
  if (!Dialled()) return;  // whoever dialled speaks first
  if (purpose_ == Purpose::Pair) {
    const PeerSettings settings = context_.settings();
    const std::optional<PairingTerms> terms = Terms();
    const std::optional<PairingProof> proof =
        terms ? ProvePairing(code_, TlsStream::Side::Dialler, *terms) : std::nullopt;
    if (!proof) {
      Gone(PeerError::LocalFile, "There is not enough memory", true);
      return;
    }
    stream_->Send(FrameKind::Pair, WriteWords(PairWords{.computerId = settings.computerId, .proof = *proof}));
    return;
  }
  const std::optional<std::string> id = Pairings(context_.settings().programDir).IdOf(fingerprint_);
  if (!id) {
    Refuse(PeerError::NotPaired, std::string(kNotPaired));
    return;
  }
  id_ = *id;
  SendHello();
}

void PeerConnection::SendHello() {
  const PeerSettings settings = context_.settings();
  stream_->Send(FrameKind::Hello, WriteWords(HelloWords{.computerId = settings.computerId, .port = settings.port}));
}

void PeerConnection::FrameCame(const Frame& frame) {
  switch (frame.kind) {
    case FrameKind::Ping:
      stream_->Send(FrameKind::Pong, {});
      return;
    case FrameKind::Pong:
      return;
    case FrameKind::Refusal:
      RefusalCame(frame.content);
      return;
    default:
      break;
  }
  if (stage_ == Stage::Greeting) {
    Greeted(frame);
  } else if (stage_ == Stage::Open) {
    lastUse_ = Loop::Clock::now();
    owner_.FrameCame(*this, frame);
  }
}

void PeerConnection::Greeted(const Frame& frame) {
  if (frame.kind == FrameKind::Hello && purpose_ == Purpose::Talk) {
    if (const std::optional<HelloWords> hello = ReadHello(frame.content)) {
      HelloCame(*hello);
      return;
    }
  }
  if (frame.kind == FrameKind::Pair && (purpose_ == Purpose::Pair || !Dialled())) {
    if (const std::optional<PairWords> words = ReadPair(frame.content)) {
      PairCame(*words);
      return;
    }
  }
  Refuse(PeerError::Damaged, "The greeting was not understood");
}

void PeerConnection::HelloCame(const HelloWords& hello) {
  if (hello.version != kProtocolVersion) {
    Refuse(PeerError::Refused, VersionText(hello.version));
    return;
  }
  const PeerSettings settings = context_.settings();
  const std::optional<std::string> id = Pairings(settings.programDir).IdOf(fingerprint_);
  if (!id || *id != hello.computerId) {
    context_.log("Turned away " + Where() + ", which says that it is [" + hello.computerId + "]: its key " +
                 FingerprintText(fingerprint_) + " is " + (id ? "that of [" + *id + "]" : "not paired"));
    Refuse(PeerError::NotPaired, id ? "That key is paired with another ID" : std::string(kNotPaired));
    return;
  }
  if (!Dialled() && !settings.accept) {
    // It listens for somebody with a pairing code.
    Refuse(PeerError::Refused, "It does not accept connections");
    return;
  }
  id_ = *id;
  if (!Dialled()) {
    // Where it was dialled is a way that leads there; otherwise it knows best on which port it listens.
    address_.port = hello.port;
    SendHello();
  }
  Opened();
}

std::optional<PairingTerms> PeerConnection::Terms() const {
  const auto binding = stream_->Tls().Binding(kPairingBinding);
  if (!binding) return std::nullopt;
  const std::string& own = context_.settings().computerId;
  PairingTerms terms;
  terms.binding = *binding;
  terms.dialler = Dialled() ? context_.tls->Own().OwnFingerprint() : fingerprint_;
  terms.listener = Dialled() ? fingerprint_ : context_.tls->Own().OwnFingerprint();
  (Dialled() ? terms.diallerId : terms.listenerId) = own;
  return terms;
}

void PeerConnection::PairCame(const PairWords& words) {
  if (words.version != kProtocolVersion) {
    Refuse(PeerError::Refused, VersionText(words.version));
  } else if (words.computerId == context_.settings().computerId) {
    Refuse(PeerError::Refused, "Both computers have the ID [" + words.computerId + "]");
  } else if (Dialled()) {
    PairAnswered(words);
  } else {
    JudgeProof(words);
  }
}

void PeerConnection::JudgeProof(const PairWords& words) {
  const PeerSettings settings = context_.settings();
  const PairingOffer offer(settings.programDir);
  const std::optional<std::string> code = offer.UseAttempt();
  if (!code) {
    Refuse(PeerError::NotPaired, "No pairing code is valid there now");
    return;
  }
  std::optional<PairingTerms> terms = Terms();
  if (terms) terms->diallerId = words.computerId;
  const std::optional<PairingProof> expected =
      terms ? ProvePairing(*code, TlsStream::Side::Dialler, *terms) : std::nullopt;
  if (!expected || !SameProof(*expected, words.proof)) {
    context_.log("A wrong pairing code came from " + Where());
    Refuse(PeerError::NotPaired, "The pairing code is wrong");
    return;
  }
  const std::optional<PairingProof> own = ProvePairing(*code, TlsStream::Side::Listener, *terms);
  if (!own || !Pairings(settings.programDir).Add({.computerId = words.computerId, .fingerprint = fingerprint_}).Ok()) {
    Refuse(PeerError::LocalFile, "The pairing could not be stored");
    return;
  }
  offer.Succeeded(words.computerId);
  context_.log("Paired with [" + words.computerId + "] at " + Where() + ", key " + FingerprintText(fingerprint_));
  stream_->Send(FrameKind::Pair, WriteWords(PairWords{.computerId = settings.computerId, .proof = *own}));
  // Nothing but the answer was to be said; a connection to talk is another one.
  refusal_ = {.error = PeerError::Lost, .text = "Paired"};
  stage_ = Stage::Ending;
  stream_->EndWhenSent();
}

void PeerConnection::PairAnswered(const PairWords& words) {
  std::optional<PairingTerms> terms = Terms();
  if (terms) terms->listenerId = words.computerId;
  const std::optional<PairingProof> expected =
      terms ? ProvePairing(code_, TlsStream::Side::Listener, *terms) : std::nullopt;
  if (!expected || !SameProof(*expected, words.proof)) {
    Refuse(PeerError::NotPaired, "The pairing code is wrong");
    return;
  }
  const lib::Status stored =
      Pairings(context_.settings().programDir).Add({.computerId = words.computerId, .fingerprint = fingerprint_});
  if (!stored.Ok()) {
    Gone(PeerError::LocalFile, stored.Message(), false);
    return;
  }
  id_ = words.computerId;
  Opened();
}

void PeerConnection::RefusalCame(std::string_view content) {
  // A refusal is an answer without a ticket.
  const std::optional<AnswerWords> words = ReadAnswer("0 " + std::string(content));
  if (words && words->error != PeerError::None) {
    Gone(words->error, words->text, words->worthRepeating);
  } else {
    Gone(PeerError::Refused, "The other computer refused", false);
  }
}

void PeerConnection::Opened() {
  patience_.End();
  stage_ = Stage::Open;
  lastUse_ = lastLife_ = Loop::Clock::now();
  stream_->AdmitPieces();
  LookForLife();
  owner_.ConnectionOpened(*this);
}

void PeerConnection::LookForLife() {
  const PeerTimes times = context_.settings().times;
  const Loop::Clock::time_point now = Loop::Clock::now();
  const bool heard = std::exchange(receivedBefore_, stream_->Received()) != stream_->Received();
  const bool said = std::exchange(sentBefore_, stream_->Sent()) != stream_->Sent();
  if (heard) {
    lastLife_ = now;
  } else if (now - lastLife_ >= times.silence) {
    Gone(PeerError::Lost, "The other computer fell silent", true);
    return;
  }
  // Who takes a file that needs long says something now and then too: its sender hears nothing else.
  if (!(heard && said) && stream_->Waiting() == 0) stream_->Send(FrameKind::Ping, {});
  life_ = context_.loop.After(times.keepAlive, [this] {
    const std::shared_ptr<PeerConnection> alive = shared_from_this();
    LookForLife();
  });
}

bool PeerConnection::StillPaired() const {
  return Pairings(context_.settings().programDir).IdOf(fingerprint_) == std::optional(id_);
}

void PeerConnection::Send(FrameKind kind, std::string_view content) {
  if (stage_ != Stage::Open) return;
  lastUse_ = Loop::Clock::now();
  stream_->Send(kind, content);
}

void PeerConnection::Drained() {
  if (stage_ == Stage::Open) owner_.ConnectionDrained(*this);
}

void PeerConnection::Refuse(PeerError error, const std::string& why) {
  if (stage_ == Stage::Ending || stage_ == Stage::Gone || stream_ == nullptr) return;
  refusal_ = {.error = error, .text = why};
  stage_ = Stage::Ending;
  stream_->Send(FrameKind::Refusal, WriteWords(AnswerWords{.ticket = {}, .error = error, .text = why}));
  stream_->EndWhenSent();
}

void PeerConnection::Ended(const std::string& why, bool misbehaved) {
  if (stage_ == Stage::Ending) {
    Gone(refusal_.error, refusal_.text, refusal_.worthRepeating);
  } else if (misbehaved) {
    context_.log("Turned away " + Where() + (id_.empty() ? "" : " [" + id_ + "]") + ": " + why);
    Gone(PeerError::Damaged, why, false);
  } else if (stage_ == Stage::Open) {
    Gone(PeerError::Lost, "The connection broke: " + why, true);
  } else {
    Gone(PeerError::NotReached, "No secure connection: " + why, true);
  }
}

void PeerConnection::Abandon() {
  stage_ = Stage::Gone;
  patience_.End();
  life_.End();
  dialler_.reset();
  if (stream_ != nullptr) stream_->Abandon();
}

void PeerConnection::Gone(PeerError error, const std::string& why, bool worthRepeating) {
  if (stage_ == Stage::Gone) return;
  const std::shared_ptr<PeerConnection> alive = shared_from_this();
  Abandon();
  owner_.ConnectionGone(*this, {.error = error, .text = HarmlessText(why), .worthRepeating = worthRepeating});
}

}  // namespace zelkor::vandry
