#include "vandry/pairing_command.h"

#include <algorithm>
#include <list>
#include <memory>

#include "lib/code_page.h"
#include "lib/terminal.h"
#include "vandry/pairing.h"
#include "vandry/pairings.h"
#include "vandry/peer.h"
#include "vandry/peer_address.h"
#include "vandry/peer_connection.h"

namespace zelkor::vandry {

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kNotUnderstood = 2;
// Between two looks at what has become of a code.
constexpr Loop::Milliseconds kLook{200};

void Say(const std::string& line) { lib::WriteToStandardOutput(lib::ToUtf8(line) + "\n"); }

int Fail(const std::string& line, int status = kFailed) {
  lib::WriteToStandardError("Vandry: " + lib::ToUtf8(line) + "\n");
  return status;
}

int Usage() {
  return Fail("These words can not be understood. There are:\n" + std::string(kPairingHelp), kNotUnderstood);
}

// The connections of a pairing, and what comes of them.
class PairingParty final : public PeerConnection::Owner {
 public:
  PairingParty(Loop& loop, std::shared_ptr<const TlsContext> tls, const std::string& programDir)
      : context_{.loop = loop,
                 .tls = std::move(tls),
                 .settings = [programDir] { return ReadPeerSettings(programDir); },
                 .log = [](const std::string& line) { Say(line); }} {}
  ~PairingParty() override {
    for (const auto& connection : connections_) connection->Abandon();
  }
  PairingParty(const PairingParty&) = delete;
  PairingParty& operator=(const PairingParty&) = delete;

  void Dial(const PeerAddress& address, const std::string& code) {
    connections_.push_back(PeerConnection::Dial(context_, *this, address, PeerConnection::Purpose::Pair, code));
  }
  // Takes connections as long as the object lives. Where a running Vandry listens already, it does the pairing.
  void ListenIfNobodyDoes() {
    const PeerSettings settings = context_.settings();
    std::vector<lib::SocketAddress> addresses;
    for (const std::string& host : settings.listen) {
      if (const auto address = lib::NumericAddress(host, settings.port)) addresses.push_back(*address);
    }
    if (settings.listen.empty()) addresses = lib::AnyAddress(settings.port);
    for (const lib::SocketAddress& address : addresses) {
      lib::Result<lib::Socket> socket = lib::ListenOn(address);
      if (!socket.Ok()) continue;
      auto& [listening, watch] = listeners_.emplace_back();
      listening = std::move(*socket);
      watch = context_.loop.WatchHandle(listening.Get(), true, false,
                                        [this, &listening = listening](Loop::Ready) { Accept(listening); });
    }
  }

  [[nodiscard]] bool IsOver() const { return over_; }
  // The ID, when it went well.
  [[nodiscard]] const std::string& PairedWith() const { return pairedWith_; }
  [[nodiscard]] const PeerReply& Why() const { return why_; }

 private:
  void ConnectionOpened(PeerConnection& connection) override {
    pairedWith_ = connection.Id();
    over_ = true;
  }
  void FrameCame(PeerConnection& connection, const Frame& /*frame*/) override {
    connection.Refuse(PeerError::Refused, "It is pairing now; try again in a moment");
  }
  void ConnectionDrained(PeerConnection& /*connection*/) override {}
  void ConnectionGone(PeerConnection& connection, const PeerReply& why) override {
    if (connection.Dialled()) {
      why_ = why;
      over_ = true;
    }
    const auto at = std::find_if(connections_.begin(), connections_.end(),
                                 [&](const auto& each) { return each.get() == &connection; });
    if (at == connections_.end()) return;
    context_.loop.Post([kept = *at] {});
    connections_.erase(at);
  }
  void Accept(const lib::Socket& listening) {
    constexpr std::size_t kMostConnections = 8;
    std::optional<lib::AcceptedConnection> accepted = lib::AcceptConnection(listening);
    if (!accepted || connections_.size() >= kMostConnections) return;
    connections_.push_back(PeerConnection::Accept(context_, *this, std::move(accepted->socket), accepted->from.Host()));
  }

  PeerContext context_;
  std::list<std::shared_ptr<PeerConnection>> connections_;
  std::list<std::pair<lib::Socket, Loop::Watch>> listeners_;
  std::string pairedWith_;
  PeerReply why_;
  bool over_ = false;
};

int ShowFingerprint(const Identity& identity) {
  Say(FingerprintText(identity.OwnFingerprint()));
  return kDone;
}

int ListPairings(const Pairings& pairings) {
  const lib::Result<std::vector<Pairing>> all = pairings.All();
  if (!all.Ok()) return Fail(all.Failure().Message());
  for (const Pairing& pairing : *all) Say(pairing.computerId + " " + FingerprintText(pairing.fingerprint));
  return kDone;
}

int PairByFingerprint(const std::string& id, const Fingerprint& fingerprint, const Identity& identity,
                      const std::string& programDir) {
  const std::string computerId = lib::Lower(id);
  if (!IsComputerId(computerId)) return Fail("\"" + id + "\" can not be the ID of a computer", kNotUnderstood);
  if (fingerprint == identity.OwnFingerprint()) return Fail("That is the fingerprint of this computer itself");
  if (computerId == ReadPeerSettings(programDir).computerId) {
    return Fail("[" + computerId + "] is this computer itself");
  }
  const lib::Status added = Pairings(programDir).Add({.computerId = computerId, .fingerprint = fingerprint});
  if (!added.Ok()) return Fail(added.Message());
  Say("Paired with [" + computerId + "]. On that computer: vandry --pair " + ReadPeerSettings(programDir).computerId +
      " " + FingerprintText(identity.OwnFingerprint()));
  return kDone;
}

int PairByCode(const std::string& addressText, const std::string& codeText, PairingParty& party, Loop& loop) {
  const std::optional<PeerAddress> address = ParsePeerAddress(addressText);
  const std::optional<std::string> code = PairingCodeFromText(codeText);
  if (!address) return Fail("\"" + addressText + "\" is no address of a computer", kNotUnderstood);
  if (!code) return Fail("\"" + codeText + "\" is no pairing code", kNotUnderstood);
  party.Dial(*address, *code);
  while (!party.IsOver() && !lib::Interrupted()) {
    loop.RunUntil([&] { return party.IsOver() || lib::Interrupted(); }, kLook);
  }
  if (party.PairedWith().empty()) {
    return Fail(party.IsOver() ? "Not paired with " + PeerAddressText(*address) + ": " + party.Why().text
                               : "Not paired");
  }
  Say("Paired with [" + party.PairedWith() + "]");
  return kDone;
}

int ShowCode(const std::string& programDir, PairingParty& party, Loop& loop) {
  const PairingOffer offer(programDir);
  const std::string code = NewPairingCode();
  if (const lib::Status begun = offer.Begin(code); !begun.Ok()) return Fail(begun.Message());
  party.ListenIfNobodyDoes();
  Say("Pairing code: " + code);
  const std::uint16_t port = ReadPeerSettings(programDir).port;
  const std::string withPort = port == kDefaultPort ? std::string() : ":" + std::to_string(port);
  Say("Within 10 minutes, on the other computer: vandry --pair ADDRESS-OF-THIS-COMPUTER" + withPort + " " + code);
  Say("Where that one can not reach this one, pair by fingerprints: vandry --help");
  PairingOffer::Outcome outcome = offer.Look();
  while (outcome.open && !lib::Interrupted()) {
    loop.RunUntil([] { return lib::Interrupted(); }, kLook);
    outcome = offer.Look();
  }
  // The answer that tells the other computer is still on its way.
  loop.RunUntil([] { return lib::Interrupted(); }, 2 * kLook);
  offer.End();
  if (outcome.pairedWith.empty()) {
    return Fail(outcome.attemptsLeft == 0 ? "Not paired: a wrong code came too often" : "Not paired");
  }
  Say("Paired with [" + outcome.pairedWith + "]");
  return kDone;
}

}  // namespace

bool IsPairingCommand(std::string_view word) {
  return word == "--fingerprint" || word == "--pair" || word == "--paired" || word == "--unpair";
}

int RunPairingCommand(const std::vector<std::string>& words, const std::string& programDir) {
  if (words.empty()) return Usage();
  const std::string& command = words.front();
  const Pairings pairings(programDir);
  if (command == "--paired" && words.size() == 1) return ListPairings(pairings);
  if (command == "--unpair" && words.size() == 2) {
    const lib::Status removed = pairings.Remove(lib::Lower(lib::FromUtf8Lossy(words[1])));
    return removed.Ok() ? kDone : Fail(removed.Message());
  }
  const bool show = command == "--fingerprint" && words.size() == 1;
  if (!show && command != "--pair") return Usage();

  const lib::Result<std::shared_ptr<const Identity>> identity = Identity::Load(programDir);
  if (!identity.Ok()) return Fail(identity.Failure().Message());
  if (show) return ShowFingerprint(**identity);

  if (!IsComputerId(ReadPeerSettings(programDir).computerId)) {
    return Fail("This computer has no ID yet; start Zelkor once to give it one");
  }
  // A fingerprint may have been typed in several words.
  std::string rest;
  for (std::size_t i = 2; i < words.size(); ++i) rest += words[i];
  if (words.size() > 2) {
    if (const std::optional<Fingerprint> fingerprint = FingerprintFromText(rest)) {
      return PairByFingerprint(lib::FromUtf8Lossy(words[1]), *fingerprint, **identity, programDir);
    }
  }
  if (words.size() == 2) return Usage();
  const lib::Result<std::shared_ptr<const TlsContext>> tls = TlsContext::Make(*identity);
  if (!tls.Ok()) return Fail(tls.Failure().Message());
  lib::SurviveBrokenConnections();
  lib::WatchForInterrupt();
  Loop loop;
  PairingParty party(loop, *tls, programDir);
  return words.size() == 1 ? ShowCode(programDir, party, loop) : PairByCode(words[1], rest, party, loop);
}

}  // namespace zelkor::vandry
