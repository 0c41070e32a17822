#include "vandry/peers.h"

#include <algorithm>
#include <utility>

#include "lib/text.h"
#include "vandry/private_files.h"

namespace zelkor::vandry {

namespace {

// Connections that have not said who they are.
constexpr std::ptrdiff_t kMostStrangers = 32;
// Connections with one computer; a second one arises when both dial at once.
constexpr std::ptrdiff_t kMostPerComputer = 4;
constexpr int kMostQuestions = 60;
constexpr std::chrono::minutes kQuestionsTime{1};
// For a file that was asked for to come.
constexpr std::chrono::minutes kExpectedTime{30};
constexpr Loop::Milliseconds kLongestRedial{30'000};
// When the system has no room for another connection.
constexpr Loop::Milliseconds kListenerRest{1000};

}  // namespace

lib::Result<std::unique_ptr<Peers>> OpenPeers(Loop& loop, PeerUser& user, std::function<PeerSettings()> settings) {
  lib::SurviveBrokenConnections();
  const std::string programDir = settings().programDir;
  const lib::Result<std::string> folder = PrivateFolder(programDir);
  if (!folder.Ok()) return folder.Failure();
  const lib::Result<std::shared_ptr<const Identity>> identity = Identity::Load(programDir);
  if (!identity.Ok()) return identity.Failure();
  lib::Result<std::shared_ptr<const TlsContext>> tls = TlsContext::Make(*identity);
  if (!tls.Ok()) return tls.Failure();
  return std::unique_ptr<Peers>(
      std::make_unique<ConnectedPeers>(loop, user, std::move(*tls), *folder, std::move(settings)));
}

ConnectedPeers::ConnectedPeers(Loop& loop, PeerUser& user, std::shared_ptr<const TlsContext> tls,
                               const std::string& folder, std::function<PeerSettings()> settings)
    : loop_(loop),
      user_(user),
      context_{.loop = loop,
               .tls = std::move(tls),
               .settings = std::move(settings),
               .log = [&user](const std::string& line) { user.Log(line); }},
      inbox_(folder),
      sending_(std::make_unique<Sending>(
          context_, user,
          [this](const std::string& address, const std::string& computerId, Sending::Found found) {
            FindConnection(address, computerId, std::move(found));
          })),
      receiving_(std::make_unique<Receiving>(context_, user, inbox_)),
      self_(std::make_shared<ConnectedPeers*>(this)) {
  receiving_->onWhole = [this](const std::string& computerId) { expected_.erase(computerId); };
  LookAround();
}

ConnectedPeers::~ConnectedPeers() {
  for (const auto& connection : connections_) connection->Abandon();
}

void ConnectedPeers::ReceivedHandled() { receiving_->Handled(); }

bool ConnectedPeers::Busy() const {
  return !questions_.empty() || !waiters_.empty() || sending_->Busy() || receiving_->Busy();
}

// --- what is asked of other computers

void ConnectedPeers::Ping(const std::string& address, Done done) {
  Ask(NewTicket(), address, "NetPing", std::move(done));
}

void ConnectedPeers::SendMessage(const std::string& ticket, const std::string& address, const std::string& text,
                                 Done done) {
  if (text.starts_with("SyncSuccessfull")) receiving_->Confirmed(address);
  Ask(ticket, address, text, std::move(done));
}

void ConnectedPeers::SendFile(const FileToSend& file, Done done) { sending_->Start(file, std::move(done)); }
void ConnectedPeers::ReceiveFile(const std::string& path, Done done) { receiving_->Receive(path, std::move(done)); }
void ConnectedPeers::ProgramCame() { receiving_->ProgramCame(); }
void ConnectedPeers::ProgramLeft() { receiving_->ProgramLeft(); }

void ConnectedPeers::Ask(const std::string& ticket, const std::string& address, const std::string& text, Done done) {
  const bool speakable =
      std::none_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; });
  if (!IsTicket(ticket) || text.empty() || !speakable || ticket.size() + 1 + text.size() > kMostWordsBytes ||
      questions_.count(ticket) != 0) {
    loop_.Post(
        [done = std::move(done)] { done({.error = PeerError::BadRequest, .text = "This message can not be sent"}); });
    return;
  }
  FindConnection(address, {},
                 [this, ticket, text, done = std::move(done)](const std::shared_ptr<PeerConnection>& connection,
                                                              const PeerReply& why) {
                   if (connection == nullptr) {
                     done(why);
                   } else {
                     AskOn(*connection, ticket, text, done);
                   }
                 });
}

void ConnectedPeers::AskOn(PeerConnection& connection, const std::string& ticket, const std::string& text, Done done) {
  if (questions_.count(ticket) != 0) {
    done({.error = PeerError::BadRequest, .text = "This message is on its way already"});
    return;
  }
  Question& question = questions_[ticket];
  question.connection = &connection;
  question.text = text;
  question.done = std::move(done);
  question.patience = loop_.After(context_.settings().times.answer, [this, ticket] {
    const auto at = questions_.extract(ticket);
    at.mapped().done({.error = PeerError::TimedOut, .text = "It does not answer", .worthRepeating = true});
  });
  connection.Send(FrameKind::Ask, WriteWords(AskWords{.ticket = ticket, .text = text}));
}

void ConnectedPeers::Answered(const PeerConnection& connection, const AnswerWords& words) {
  const auto at = questions_.find(words.ticket);
  if (at == questions_.end() || at->second.connection != &connection) return;
  const Question question = std::move(at->second);
  questions_.erase(at);
  if (words.error == PeerError::None && question.text.starts_with("SyncMe ")) Expect(connection);
  question.done({.error = words.error, .text = words.text, .worthRepeating = words.worthRepeating});
}

// --- connections

std::shared_ptr<PeerConnection> ConnectedPeers::OpenConnection(const PeerAddress& address,
                                                               const std::string& computerId) const {
  // The newest first: an older one may be dead without knowing it.
  const auto newest = std::find_if(connections_.rbegin(), connections_.rend(), [&](const auto& each) {
    const PeerConnection& connection = *each;
    if (!connection.IsOpen()) return false;
    return computerId.empty() ? connection.DialledAddress() == address || connection.Address() == address
                              : connection.Id() == computerId;
  });
  return newest == connections_.rend() ? nullptr : *newest;
}

void ConnectedPeers::FindConnection(const std::string& address, const std::string& computerId, Sending::Found found) {
  const auto fail = [&](PeerError error, const std::string& why) {
    loop_.Post([weak = std::weak_ptr(self_), found, reply = PeerReply{.error = error, .text = HarmlessText(why)}] {
      if (!weak.expired()) found(nullptr, reply);
    });
  };
  if (!IsComputerId(context_.settings().computerId)) {
    fail(PeerError::BadRequest, "This computer has no ID yet");
    return;
  }
  const std::optional<PeerAddress> parsed = ParsePeerAddress(address);
  if (!parsed) {
    fail(PeerError::BadRequest, "\"" + address + "\" is no address of a computer");
    return;
  }
  if (const std::shared_ptr<PeerConnection> open = OpenConnection(*parsed, computerId)) {
    loop_.Post([weak = std::weak_ptr(self_), open, found] {
      if (weak.expired()) return;
      if (open->IsOpen()) {
        found(open, {});
      } else {
        found(nullptr, {.error = PeerError::Lost, .text = "The connection broke", .worthRepeating = true});
      }
    });
    return;
  }
  PeerConnection* dialling = nullptr;
  for (const auto& connection : connections_) {
    if (!connection->IsOpen() && !connection->IsGone() && connection->DialledAddress() == *parsed) {
      dialling = connection.get();
    }
  }
  if (dialling == nullptr) {
    connections_.push_back(PeerConnection::Dial(context_, *this, *parsed));
    dialling = connections_.back().get();
  }
  waiters_.push_back({.connection = dialling, .computerId = computerId, .found = std::move(found)});
}

void ConnectedPeers::ConnectionOpened(PeerConnection& connection) {
  DropExcess(connection);
  std::vector<Waiter> served;
  for (Waiter& waiter : waiters_) {
    if (waiter.connection == &connection) served.push_back(std::move(waiter));
  }
  std::erase_if(waiters_, [&](const Waiter& waiter) { return waiter.connection == &connection; });
  const std::shared_ptr<PeerConnection> shared = connection.shared_from_this();
  for (const Waiter& waiter : served) {
    if (!waiter.computerId.empty() && waiter.computerId != connection.Id()) {
      waiter.found(nullptr, {.error = PeerError::NotPaired,
                             .text = "The computer at that address is [" + connection.Id() + "], not [" +
                                     waiter.computerId + "]"});
    } else if (connection.IsOpen()) {
      waiter.found(shared, {});
    } else {
      waiter.found(nullptr, {.error = PeerError::Lost, .text = "The connection broke", .worthRepeating = true});
    }
  }
  if (const auto at = expected_.find(connection.Id()); at != expected_.end()) at->second.delay = {};
  if (connection.IsOpen()) user_.Reached(connection.Id());
}

void ConnectedPeers::DropExcess(const PeerConnection& newest) {
  const auto same = [&](const std::shared_ptr<PeerConnection>& each) {
    return each->IsOpen() && each->Id() == newest.Id();
  };
  if (std::count_if(connections_.begin(), connections_.end(), same) <= kMostPerComputer) return;
  const auto oldest = std::find_if(connections_.begin(), connections_.end(), same);
  const std::shared_ptr<PeerConnection> dropped = *oldest;
  dropped->Refuse(PeerError::Refused, "There are newer connections");
}

void ConnectedPeers::ConnectionGone(PeerConnection& connection, const PeerReply& why) {
  const std::shared_ptr<PeerConnection> shared = connection.shared_from_this();
  std::vector<Waiter> failed;
  for (Waiter& waiter : waiters_) {
    if (waiter.connection == &connection) failed.push_back(std::move(waiter));
  }
  std::erase_if(waiters_, [&](const Waiter& waiter) { return waiter.connection == &connection; });
  std::vector<Done> unanswered;
  for (auto at = questions_.begin(); at != questions_.end();) {
    if (at->second.connection == &connection) {
      unanswered.push_back(std::move(at->second.done));
      at = questions_.erase(at);
    } else {
      ++at;
    }
  }
  Bury(connection);
  sending_->Gone(connection, why);
  receiving_->Gone(connection);
  for (const Done& done : unanswered) done(why);
  for (const Waiter& waiter : failed) waiter.found(nullptr, why);
  // Who it was is not known of a connection that never opened: all that are expected at the address are meant.
  for (auto& [id, expected] : expected_) {
    const bool meant =
        connection.Id().empty() ? connection.DialledAddress() == expected.address : connection.Id() == id;
    if (meant && OpenConnection(expected.address, id) == nullptr) {
      expected.delay = std::clamp(2 * expected.delay, context_.settings().times.redial, kLongestRedial);
      expected.redial = loop_.After(expected.delay, [this, computerId = id] { Redial(computerId); });
    }
  }
}

void ConnectedPeers::Bury(const PeerConnection& connection) {
  // It may be in the middle of a call: it goes when that is over.
  const auto at = std::find_if(connections_.begin(), connections_.end(),
                               [&](const auto& each) { return each.get() == &connection; });
  if (at == connections_.end()) return;
  loop_.Post([kept = *at] {});
  connections_.erase(at);
}

void ConnectedPeers::Expect(const PeerConnection& connection) {
  if (!connection.Dialled()) return;
  Expected& expected = expected_[connection.Id()];
  expected.address = *connection.DialledAddress();
  expected.until = Loop::Clock::now() + kExpectedTime;
  expected.delay = {};
}

void ConnectedPeers::Redial(const std::string& computerId) {
  const auto at = expected_.find(computerId);
  if (at == expected_.end()) return;
  if (Loop::Clock::now() > at->second.until) {
    expected_.erase(at);
    return;
  }
  if (OpenConnection(at->second.address, computerId) != nullptr) return;
  connections_.push_back(PeerConnection::Dial(context_, *this, at->second.address));
}

// --- what other computers ask

void ConnectedPeers::FrameCame(PeerConnection& connection, const Frame& frame) {
  const auto broken = [&] {
    user_.Log("Turned away [" + connection.Id() + "]: it sent a frame with the wrong words");
    connection.Refuse(PeerError::Damaged, "A frame was not understood");
  };
  switch (frame.kind) {
    case FrameKind::Data:
      receiving_->PieceCame(connection, frame.content);
      return;
    case FrameKind::Ask:
      if (const auto words = ReadAsk(frame.content)) return AskCame(connection, *words);
      return broken();
    case FrameKind::Answer:
      if (const auto words = ReadAnswer(frame.content)) return Answered(connection, *words);
      return broken();
    case FrameKind::Offer:
      if (const auto words = ReadOffer(frame.content)) {
        return receiving_->OfferCame(connection.shared_from_this(), *words);
      }
      return broken();
    case FrameKind::Take:
      if (const auto words = ReadTake(frame.content)) return sending_->TakeCame(connection, *words);
      return broken();
    case FrameKind::End:
      if (const auto words = ReadEnd(frame.content)) return receiving_->EndCame(connection, *words);
      return broken();
    case FrameKind::Whole:
      if (const auto ticket = ReadTicket(frame.content)) return sending_->WholeCame(connection, *ticket);
      return broken();
    case FrameKind::Stop:
      if (const auto words = ReadAnswer(frame.content)) {
        sending_->StopCame(connection, *words);
        return receiving_->StopCame(connection, *words);
      }
      return broken();
    default:
      return broken();
  }
}

void ConnectedPeers::ConnectionDrained(PeerConnection& connection) { sending_->Drained(connection); }

bool ConnectedPeers::AsksTooMuch(const std::string& computerId) {
  Rate& rate = rates_[computerId];
  const Loop::Clock::time_point now = Loop::Clock::now();
  if (rate.count == 0 || now - rate.since > kQuestionsTime) rate = {.since = now, .count = 0};
  return ++rate.count > kMostQuestions;
}

void ConnectedPeers::AskCame(PeerConnection& connection, const AskWords& words) {
  const PeerReply reply = Judge(connection, words);
  connection.Send(
      FrameKind::Answer,
      WriteWords(AnswerWords{
          .ticket = words.ticket, .error = reply.error, .worthRepeating = reply.worthRepeating, .text = reply.text}));
}

PeerReply ConnectedPeers::Judge(PeerConnection& connection, const AskWords& words) {
  const PeerSettings settings = context_.settings();
  if (AsksTooMuch(connection.Id())) {
    return {.error = PeerError::Refused, .text = "Too many questions at a time", .worthRepeating = true};
  }
  PeerReply notAccepting{.error = PeerError::Refused, .text = "It does not accept connections"};
  if (words.text == "NetPing") return settings.accept ? PeerReply{.text = settings.computerId} : notAccepting;

  const std::vector<std::string> parts = lib::SplitWords(words.text, ' ', "\"");
  const bool syncMe = parts.size() == 2 && parts[0] == "SyncMe";
  const bool confirmation = parts.size() == 2 && parts[0] == "SyncSuccessfull";
  if (!syncMe && !confirmation) {
    user_.Log("Refused an unknown message of [" + connection.Id() + "]");
    return {.error = PeerError::Refused, .text = "It does not know this message"};
  }
  if (parts[1] != connection.Id()) {
    user_.Log("Refused " + parts[0] + " that [" + connection.Id() + "] sent in the name of [" + HarmlessText(parts[1]) +
              "]");
    return {.error = PeerError::Refused, .text = "It knows you as [" + connection.Id() + "]"};
  }
  if (syncMe && !settings.accept) {
    user_.Log("Refused SyncMe of [" + connection.Id() + "]: connections are not accepted");
    return notAccepting;
  }
  const InboxKey key{.senderId = connection.Id(), .ticket = words.ticket};
  if (inbox_.WasDone(key)) return {};
  const lib::Status pushed =
      user_.Push(syncMe ? "SyncMe " + connection.Id() + " " + PeerAddressText(connection.Address())
                        : "SyncSuccessfull " + connection.Id());
  if (!pushed.Ok()) {
    const bool nobody = pushed.Why() == lib::Cause::AccessDenied;
    // A confirmation is as true tomorrow; a request is for somebody who waits.
    return {.error = nobody ? PeerError::NobodyThere : PeerError::Refused,
            .text = HarmlessText(pushed.Message()),
            .worthRepeating = confirmation};
  }
  // Should this fail, the worst is that a message that is sent again arrives twice.
  if (const lib::Status remembered = inbox_.Remember(key); !remembered.Ok()) user_.Log(remembered.Message());
  return {};
}

// --- listening, and keeping order

void ConnectedPeers::LookAround() {
  const PeerSettings settings = context_.settings();
  UpdateListening(settings);
  const Loop::Clock::time_point now = Loop::Clock::now();
  for (const std::shared_ptr<PeerConnection>& connection : Connections(connections_)) {
    if (!connection->IsOpen()) continue;
    if (!connection->StillPaired()) {
      connection->Refuse(PeerError::NotPaired, "The two computers are not paired any more");
    } else if (now - connection->LastUse() > settings.times.idle && !IsUsed(*connection)) {
      connection->Refuse(PeerError::Lost, "Nothing was said for long");
    }
  }
  std::erase_if(rates_, [&](const auto& each) { return now - each.second.since > kQuestionsTime; });
  lookAround_ = loop_.After(settings.times.settings, [this] { LookAround(); });
}

bool ConnectedPeers::IsUsed(const PeerConnection& connection) const {
  return sending_->Uses(connection) || receiving_->Uses(connection) || expected_.count(connection.Id()) != 0 ||
         std::any_of(questions_.begin(), questions_.end(),
                     [&](const auto& each) { return each.second.connection == &connection; });
}

void ConnectedPeers::UpdateListening(const PeerSettings& settings) {
  // Name and addresses of each place to listen at.
  std::vector<std::pair<std::string, std::vector<lib::SocketAddress>>> wanted;
  std::string failure;
  if (IsComputerId(settings.computerId) && (settings.accept || PairingOffer(settings.programDir).IsOpen())) {
    const std::string port = " port " + std::to_string(settings.port);
    if (settings.listen.empty()) wanted.emplace_back("every address" + port, lib::AnyAddress(settings.port));
    for (const std::string& host : settings.listen) {
      if (const std::optional<lib::SocketAddress> address = lib::NumericAddress(host, settings.port)) {
        wanted.emplace_back(host + port, std::vector{*address});
      } else {
        failure = "Can not listen on " + host + ": it is no IP address";
      }
    }
  }
  std::erase_if(listeners_, [&](const Listener& listener) {
    return std::none_of(wanted.begin(), wanted.end(), [&](const auto& each) { return each.first == listener.name; });
  });
  for (const auto& [name, addresses] : wanted) {
    if (std::string why = ListenOnOneOf(name, addresses); !why.empty()) failure = std::move(why);
  }
  // Tried again at the next look, since an interface may still come up or a port become free; told once.
  if (!failure.empty() && failure != listenFailure_) user_.Log(failure);
  listenFailure_ = failure;
}

std::string ConnectedPeers::ListenOnOneOf(const std::string& name, const std::vector<lib::SocketAddress>& addresses) {
  if (std::any_of(listeners_.begin(), listeners_.end(), [&](const Listener& each) { return each.name == name; })) {
    return {};
  }
  std::string failure;
  for (const lib::SocketAddress& address : addresses) {
    lib::Result<lib::Socket> socket = lib::ListenOn(address);
    if (!socket.Ok()) {
      failure = socket.Failure().Message();
      continue;
    }
    Listener& made = listeners_.emplace_back();
    made.name = name;
    made.socket = std::move(*socket);
    made.watch = loop_.WatchHandle(made.socket.Get(), true, false, [this, &made](Loop::Ready) { AcceptFrom(made); });
    user_.Log("Listening on " + name);
    return {};
  }
  return failure;
}

void ConnectedPeers::AcceptFrom(Listener& listener) {
  std::optional<lib::AcceptedConnection> accepted = lib::AcceptConnection(listener.socket);
  if (!accepted) {
    // It may have gone again; or the system has no room, and would say at once again that somebody waits.
    listener.watch.Want(false, false);
    listener.rest = loop_.After(kListenerRest, [&listener] { listener.watch.Want(true, false); });
    return;
  }
  const auto strangers = std::count_if(connections_.begin(), connections_.end(),
                                       [](const auto& each) { return !each->Dialled() && !each->IsOpen(); });
  if (strangers >= kMostStrangers) return;
  connections_.push_back(PeerConnection::Accept(context_, *this, std::move(accepted->socket), accepted->from.Host()));
}

}  // namespace zelkor::vandry
