#include "vandry/receiving.h"

#include <algorithm>
#include <utility>

namespace zelkor::vandry {

namespace {

constexpr std::int64_t kHashAtOnce = 4 << 20;
constexpr Loop::Milliseconds kBetweenProgress{250};
// A file whose import does not come to an end is given to the program once more, and not for ever: it may be what ends
// the program.
constexpr int kMostDeliveries = 2;

PeerError ErrorOf(const lib::Status& status) {
  return status.Why() == lib::Cause::DiskFull ? PeerError::NoRoom : PeerError::LocalFile;
}

}  // namespace

Receiving::Receiving(PeerContext& context, PeerUser& user, Inbox inbox)
    : context_(context), user_(user), inbox_(std::move(inbox)), self_(std::make_shared<Receiving*>(this)) {
  inbox_.Sweep();
  for (const InboxNote& note : inbox_.Notes()) {
    if (note.path.empty()) {
      waiting_.push_back({.note = note, .connection = nullptr, .whole = true});
    } else {
      delivered_.push_back(note);
    }
  }
}

Receiving::~Receiving() = default;

bool Receiving::Busy() const {
  // A file that waits for the program to take it is in nobody's way; its sender keeps it.
  return current_ && (current_->done != nullptr || current_->stage == Current::Stage::Hashing ||
                      current_->stage == Current::Stage::Flowing);
}

bool Receiving::Uses(const PeerConnection& connection) const {
  return (current_ && current_->connection.get() == &connection) ||
         std::any_of(waiting_.begin(), waiting_.end(),
                     [&](const Incoming& each) { return each.connection.get() == &connection; });
}

void Receiving::OfferCame(const std::shared_ptr<PeerConnection>& connection, const OfferWords& words) {
  const InboxKey key{.senderId = connection->Id(), .ticket = words.ticket};
  const auto refuse = [&](PeerError error, const std::string& why) {
    Stop(*connection, words.ticket, {.error = error, .text = why});
  };
  const PeerSettings settings = context_.settings();
  if (words.senderId != connection->Id() || words.targetId != settings.computerId) {
    context_.log("Refused a file that [" + connection->Id() + "] offered in the name of [" + words.senderId +
                 "] for [" + words.targetId + "]");
    refuse(PeerError::Refused,
           "This computer is [" + settings.computerId + "] and knows you as [" + connection->Id() + "]");
    return;
  }
  if (!settings.accept && !connection->Dialled()) {
    refuse(PeerError::Refused, "It does not accept connections");
    return;
  }
  if (inbox_.IsWhole(key) || inbox_.WasDone(key)) {
    connection->Send(FrameKind::Whole, words.ticket);
    return;
  }
  if (current_ && current_->note.key == key && current_->note.size == words.size) {
    if (current_->stage != Current::Stage::Announced && current_->stage != Current::Stage::Apart) {
      // The sender has noticed the end of its old connection earlier than we.
      current_->part.Close();
    }
    current_->connection = connection;
    current_->note.address = PeerAddressText(connection->Address());
    current_->patience.End();
    current_->stage = Current::Stage::Announced;
    Go();
    return;
  }
  if (Uses(*connection)) {
    refuse(PeerError::Refused, "One file at a time");
    return;
  }
  std::erase_if(waiting_, [&](const Incoming& each) { return each.note.key == key; });
  waiting_.push_back({.note = {.key = key,
                               .size = words.size,
                               .address = PeerAddressText(connection->Address()),
                               .deliveries = 0,
                               .path = {}},
                      .connection = connection,
                      .whole = false});
  AnnounceNext();
}

void Receiving::AnnounceNext() {
  if (current_ || waiting_.empty()) return;
  ++turn_;
  current_.emplace(std::move(waiting_.front()));
  waiting_.pop_front();
  Announce();
}

void Receiving::Announce() {
  const InboxNote& note = current_->note;
  const lib::Status announced =
      user_.Announce("FileSendReq " + note.key.senderId + " " + context_.settings().computerId + " " +
                     std::to_string(note.size) + " " + note.address);
  if (announced.Ok() || !current_) return;
  if (current_->whole) {
    // It can wait here until the program comes by itself. So can what else is whole, so nothing takes its turn.
    waiting_.push_front(std::move(static_cast<Incoming&>(*current_)));
    current_.reset();
    ++turn_;
    return;
  }
  Fail(PeerError::NobodyThere, announced.Message(), false);
}

void Receiving::Receive(const std::string& path, Peers::Done done) {
  if (!current_) {
    context_.loop.Post(
        [done = std::move(done)] { done({.error = PeerError::Refused, .text = "No file was announced"}); });
    return;
  }
  current_->path = path;
  current_->done = std::move(done);
  context_.loop.Post([weak = std::weak_ptr(self_), turn = turn_] {
    const auto self = weak.lock();
    if (self != nullptr && (*self)->turn_ == turn && (*self)->current_) (*self)->Go();
  });
}

void Receiving::Go() {
  if (current_->stage != Current::Stage::Announced || current_->path.empty()) return;
  if (current_->whole) {
    Deliver();
  } else if (current_->connection == nullptr) {
    WaitForSender();
  } else {
    OpenPart();
  }
}

void Receiving::OpenPart() {
  lib::Result<lib::File> part = inbox_.OpenPart(current_->note.key);
  lib::Result<std::int64_t> length = part.Ok() ? part->Length() : part.Failure();
  if (!length.Ok()) {
    Fail(ErrorOf(length.Failure()), length.Failure().Message(), true);
    return;
  }
  current_->part = std::move(*part);
  current_->have = 0;
  current_->start = *length <= current_->note.size ? *length : 0;
  current_->hash = Sha256();
  current_->begun = false;
  current_->lastProgress = {};
  current_->stage = Current::Stage::Hashing;
  HashPart();
}

void Receiving::HashPart() {
  Current& current = *current_;
  std::vector<char> buffer(kMostPieceBytes);
  const std::int64_t end = std::min(current.start, current.have + kHashAtOnce);
  while (current.have < end) {
    const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(end - current.have, kMostPieceBytes));
    const lib::Result<std::size_t> read = current.part.ReadAt(current.have, std::span(buffer).first(wanted));
    if (!read.Ok() || *read == 0) {
      // So much of it is of use.
      current.start = current.have;
      break;
    }
    current.hash.Add(std::span(buffer).first(*read));
    current.have += static_cast<std::int64_t>(*read);
  }
  if (current.have < current.start) {
    context_.loop.Post([weak = std::weak_ptr(self_), turn = turn_] {
      const auto self = weak.lock();
      if (self == nullptr || (*self)->turn_ != turn || !(*self)->current_) return;
      if ((*self)->current_->stage == Current::Stage::Hashing) (*self)->HashPart();
    });
    return;
  }
  current.stage = Current::Stage::Flowing;
  current.connection->Send(
      FrameKind::Take,
      WriteWords(TakeWords{.ticket = current.note.key.ticket, .offset = current.have, .digest = current.hash.Value()}));
}

bool Receiving::Flows(const PeerConnection& connection) const {
  return current_ && current_->connection.get() == &connection && current_->stage == Current::Stage::Flowing;
}

void Receiving::PieceCame(const PeerConnection& connection, std::string_view content) {
  // What was on its way when it was told to stop.
  if (!Flows(connection)) return;
  Current& current = *current_;
  const std::optional<std::int64_t> offset = TakePieceOffset(content);
  if (offset && *offset == 0 && !current.begun) {
    // The sender's file begins otherwise than what is here.
    current.hash = Sha256();
    current.have = 0;
  }
  if (!offset || content.empty() || *offset != current.have ||
      static_cast<std::int64_t>(content.size()) > current.note.size - current.have) {
    Fail(PeerError::Damaged, "A piece of the file came out of place", false);
    return;
  }
  current.begun = true;
  if (lib::Status written = current.part.WriteAt(current.have, content); !written.Ok()) {
    Fail(ErrorOf(written), written.Message(), true);
    return;
  }
  current.hash.Add(content);
  current.have += static_cast<std::int64_t>(content.size());
  TellProgress();
}

void Receiving::TellProgress() {
  const Loop::Clock::time_point now = Loop::Clock::now();
  if (now - current_->lastProgress < kBetweenProgress) return;
  current_->lastProgress = now;
  user_.Progress({.sending = false,
                  .computerId = current_->note.key.senderId,
                  .done = current_->have,
                  .total = current_->note.size});
}

void Receiving::EndCame(const PeerConnection& connection, const EndWords& words) {
  if (!Flows(connection) || words.ticket != current_->note.key.ticket) return;
  Current& current = *current_;
  if (current.have != current.note.size || current.hash.Value() != words.digest) {
    Fail(PeerError::Damaged, "What arrived is not what was sent", true);
    return;
  }
  lib::Status done = current.part.SetLength(current.have);
  if (done.Ok()) done = inbox_.Complete(std::exchange(current.part, {}), current.note);
  if (!done.Ok()) {
    Fail(ErrorOf(done), done.Message(), true);
    return;
  }
  const std::shared_ptr<PeerConnection> sender = std::exchange(current.connection, nullptr);
  current.whole = true;
  current.stage = Current::Stage::Announced;
  sender->Send(FrameKind::Whole, words.ticket);
  if (onWhole) onWhole(current.note.key.senderId);
  Go();
}

void Receiving::Deliver() {
  // Another file that was put there before has been dealt with, else the program would not take the next.
  for (const InboxNote& note : delivered_) {
    if (note.path == current_->path) inbox_.Forget(note.key);
  }
  std::erase_if(delivered_, [&](const InboxNote& note) { return note.path == current_->path; });
  if (lib::Status put = inbox_.PutAt(current_->note, current_->path); !put.Ok()) {
    Close({.error = ErrorOf(put), .text = HarmlessText(put.Message())});
    return;
  }
  delivered_.push_back(current_->note);
  Close({.text = std::to_string(current_->note.size)});
}

void Receiving::Close(const PeerReply& reply) {
  const Peers::Done done = std::move(current_->done);
  current_.reset();
  ++turn_;
  if (done) done(reply);
  if (done && reply.Ok()) {
    // Should nobody be there any more, it is announced again when somebody comes.
    (void)user_.Announce("NetReceived");
  }
  AnnounceNext();
}

void Receiving::Fail(PeerError error, const std::string& why, bool worthRepeating) {
  const PeerReply reply{.error = error, .text = HarmlessText(why), .worthRepeating = worthRepeating};
  if (current_->connection != nullptr) {
    PeerReply told = reply;
    // Where this computer keeps what is nobody else's business, and its disk must not be taken for the sender's.
    const std::string own = "[" + context_.settings().computerId + "]";
    if (error == PeerError::NoRoom) told.text = "The disk of " + own + " is full";
    if (error == PeerError::LocalFile) told.text = own + " can not write the file";
    Stop(*current_->connection, current_->note.key.ticket, told);
  }
  current_->part.Close();
  // A part that is not continued would only take room away.
  inbox_.DropPart(current_->note.key);
  Close(reply);
}

void Receiving::Stop(PeerConnection& connection, const std::string& ticket, const PeerReply& why) {
  connection.Send(FrameKind::Stop,
                  WriteWords(AnswerWords{
                      .ticket = ticket, .error = why.error, .worthRepeating = why.worthRepeating, .text = why.text}));
}

void Receiving::StopCame(const PeerConnection& connection, const AnswerWords& words) {
  std::erase_if(waiting_, [&](const Incoming& each) {
    return each.connection.get() == &connection && each.note.key.ticket == words.ticket;
  });
  if (!current_ || current_->connection.get() != &connection || current_->note.key.ticket != words.ticket) return;
  current_->part.Close();
  inbox_.DropPart(current_->note.key);
  Close({.error = words.error == PeerError::None ? PeerError::Refused : words.error,
         .text = words.text,
         .worthRepeating = words.worthRepeating});
}

void Receiving::Gone(const PeerConnection& connection) {
  // What was only offered will be offered again.
  std::erase_if(waiting_, [&](const Incoming& each) { return each.connection.get() == &connection; });
  if (!current_ || current_->connection.get() != &connection) return;
  current_->connection.reset();
  current_->part.Close();
  current_->stage = Current::Stage::Announced;
  Go();
}

void Receiving::WaitForSender() {
  current_->stage = Current::Stage::Apart;
  current_->patience = context_.loop.After(context_.settings().times.resume, [this] {
    // The part stays; when the sender comes back the file is announced anew.
    Close({.error = PeerError::Lost, .text = "The sender is gone", .worthRepeating = true});
  });
}

void Receiving::ProgramCame() {
  for (InboxNote& note : std::exchange(delivered_, {})) {
    if (note.deliveries < kMostDeliveries && inbox_.TakeBack(note)) {
      waiting_.push_front({.note = note, .connection = nullptr, .whole = true});
      continue;
    }
    if (note.deliveries >= kMostDeliveries && lib::FileExists(note.path)) {
      context_.log("The file of [" + note.key.senderId + "] in " + note.path + " was delivered " +
                   std::to_string(note.deliveries) + " times and is left there");
    }
    inbox_.Forget(note.key);
  }
  if (current_) {
    Announce();
  } else {
    AnnounceNext();
  }
}

void Receiving::ProgramLeft() {
  if (!current_) return;
  // What flows goes on; it will be here, whole, when the program comes back.
  current_->done = nullptr;
  if (current_->connection == nullptr && !current_->whole) {
    Close({});
    return;
  }
  current_->path.clear();
}

void Receiving::Handled() {
  if (delivered_.empty()) return;
  inbox_.Forget(delivered_.front().key);
  delivered_.erase(delivered_.begin());
}

void Receiving::Confirmed(const std::string& address) {
  for (const InboxNote& note : delivered_) {
    if (note.address == address) inbox_.Forget(note.key);
  }
  std::erase_if(delivered_, [&](const InboxNote& note) { return note.address == address; });
}

}  // namespace zelkor::vandry
