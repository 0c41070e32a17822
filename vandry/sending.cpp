#include "vandry/sending.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace zelkor::vandry {

namespace {

// Hashed in one turn of the loop; some milliseconds.
constexpr std::int64_t kHashAtOnce = 4 << 20;
constexpr Loop::Milliseconds kBetweenProgress{250};

}  // namespace

struct Sending::Outgoing {
  enum class Stage { Searching, Waiting, Offered, Hashing, Flowing, Ending };

  std::uint64_t number = 0;
  FileToSend file;
  Peers::Done done;
  Stage stage = Stage::Searching;
  std::shared_ptr<PeerConnection> connection;
  lib::File source;
  std::int64_t size = 0;
  std::int64_t sent = 0;   // and hashed
  std::int64_t start = 0;  // where the receiver wants to go on
  Digest receiversDigest{};
  Sha256 hash;
  Loop::Clock::time_point lastProgress;
};

Sending::Sending(PeerContext& context, PeerUser& user, Find find)
    : context_(context), user_(user), find_(std::move(find)), self_(std::make_shared<Sending*>(this)) {}

Sending::~Sending() = default;

void Sending::Start(const FileToSend& file, Peers::Done done) {
  const auto fail = [&](PeerError error, const std::string& why) {
    context_.loop.Post([done, reply = PeerReply{.error = error, .text = HarmlessText(why)}] { done(reply); });
  };
  if (!IsTicket(file.ticket) || !IsComputerId(file.targetId)) {
    fail(PeerError::BadRequest, "No file can be sent to [" + file.targetId + "]");
    return;
  }
  if (file.ownId != context_.settings().computerId) {
    fail(PeerError::BadRequest, "This computer is not [" + file.ownId + "]");
    return;
  }
  lib::Result<lib::File> source = lib::File::Open(file.path, lib::OpenMode::Read);
  lib::Result<std::int64_t> size = source.Ok() ? source->Length() : source.Failure();
  if (!size.Ok()) {
    fail(PeerError::LocalFile, size.Failure().Message());
    return;
  }
  Outgoing& made = files_.emplace_back();
  made.number = ++lastNumber_;
  made.file = file;
  made.done = std::move(done);
  made.source = std::move(*source);
  made.size = *size;
  find_(file.address, file.targetId,
        [weak = std::weak_ptr(self_), number = made.number](const std::shared_ptr<PeerConnection>& connection,
                                                            const PeerReply& why) {
          const auto self = weak.lock();
          Outgoing* found = self == nullptr ? nullptr : (*self)->WithNumber(number);
          if (found == nullptr) return;
          if (connection == nullptr) {
            (*self)->End(*found, why);
            return;
          }
          found->connection = connection;
          found->stage = Outgoing::Stage::Waiting;
          (*self)->OfferNext(*connection);
        });
}

bool Sending::Uses(const PeerConnection& connection) const {
  return std::any_of(files_.begin(), files_.end(),
                     [&](const Outgoing& file) { return file.connection.get() == &connection; });
}

void Sending::OfferNext(const PeerConnection& connection) {
  Outgoing* next = nullptr;
  for (Outgoing& file : files_) {
    if (file.connection.get() != &connection) continue;
    // One at a time.
    if (file.stage > Outgoing::Stage::Waiting) return;
    if (next == nullptr) next = &file;
  }
  if (next != nullptr) Offer(*next);
}

void Sending::Offer(Outgoing& file) {
  file.stage = Outgoing::Stage::Offered;
  file.connection->Send(
      FrameKind::Offer,
      WriteWords(OfferWords{
          .ticket = file.file.ticket, .senderId = file.file.ownId, .targetId = file.file.targetId, .size = file.size}));
}

void Sending::TakeCame(const PeerConnection& connection, const TakeWords& words) {
  Outgoing* file = On(connection, words.ticket);
  if (file == nullptr || file->stage != Outgoing::Stage::Offered) return;
  // A part longer than the file is none of it.
  file->start = words.offset <= file->size ? words.offset : 0;
  file->receiversDigest = words.digest;
  file->stage = Outgoing::Stage::Hashing;
  HashBeginning(*file);
}

void Sending::HashBeginning(Outgoing& file) {
  std::vector<char> buffer(kMostPieceBytes);
  const std::int64_t end = std::min(file.start, file.sent + kHashAtOnce);
  while (file.sent < end) {
    const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(end - file.sent, kMostPieceBytes));
    const lib::Result<std::size_t> read = file.source.ReadAt(file.sent, std::span(buffer).first(wanted));
    if (!read.Ok() || *read == 0) {
      // The end of the file, or what keeps it from being read, will be met again where it is sent.
      file.start = 0;
      break;
    }
    file.hash.Add(std::span(buffer).first(*read));
    file.sent += static_cast<std::int64_t>(*read);
  }
  if (file.sent < file.start) {
    context_.loop.Post([weak = std::weak_ptr(self_), number = file.number] {
      const auto self = weak.lock();
      Outgoing* found = self == nullptr ? nullptr : (*self)->WithNumber(number);
      if (found != nullptr && found->stage == Outgoing::Stage::Hashing) (*self)->HashBeginning(*found);
    });
    return;
  }
  if (file.start == 0 || file.hash.Value() != file.receiversDigest) {
    // What the receiver has is not the beginning of this file.
    file.hash = Sha256();
    file.sent = 0;
  }
  file.stage = Outgoing::Stage::Flowing;
  SendPiece(file);
}

void Sending::Drained(const PeerConnection& connection) {
  for (Outgoing& file : files_) {
    if (file.connection.get() == &connection && file.stage == Outgoing::Stage::Flowing) {
      SendPiece(file);
      return;
    }
  }
}

void Sending::SendPiece(Outgoing& file) {
  if (file.sent < file.size) {
    FrameStream& stream = file.connection->Stream();
    const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(file.size - file.sent, kMostPieceBytes));
    const std::span<char> place = stream.BeginPiece(wanted);
    const lib::Result<std::size_t> read = file.source.ReadAt(file.sent, place.first(wanted));
    const std::size_t bytes = read.Ok() ? *read : 0;
    file.hash.Add(place.first(bytes));
    stream.EndPiece(file.sent, bytes);
    if (bytes == 0) {
      const PeerReply reply{
          .error = PeerError::LocalFile,
          .text = HarmlessText(read.Ok() ? file.file.path + " has become shorter" : read.Failure().Message())};
      file.connection->Send(FrameKind::Stop,
                            WriteWords(AnswerWords{
                                .ticket = file.file.ticket, .error = reply.error, .text = "The file can not be read"}));
      End(file, reply);
      return;
    }
    file.sent += static_cast<std::int64_t>(bytes);
  }
  TellProgress(file);
  if (file.sent == file.size) {
    file.stage = Outgoing::Stage::Ending;
    file.connection->Send(FrameKind::End,
                          WriteWords(EndWords{.ticket = file.file.ticket, .digest = file.hash.Value()}));
  }
}

void Sending::TellProgress(Outgoing& file) {
  const Loop::Clock::time_point now = Loop::Clock::now();
  if (now - file.lastProgress < kBetweenProgress) return;
  file.lastProgress = now;
  user_.Progress({.sending = true, .computerId = file.file.targetId, .done = file.sent, .total = file.size});
}

void Sending::WholeCame(const PeerConnection& connection, const std::string& ticket) {
  const Outgoing* file = On(connection, ticket);
  // It may come right after the offer, of a file whose end was confirmed once before in vain.
  if (file == nullptr || (file->stage != Outgoing::Stage::Ending && file->stage != Outgoing::Stage::Offered)) return;
  End(*file, {.text = std::to_string(file->size)});
}

void Sending::StopCame(const PeerConnection& connection, const AnswerWords& words) {
  const Outgoing* file = On(connection, words.ticket);
  if (file == nullptr) return;
  End(*file, {.error = words.error == PeerError::None ? PeerError::Refused : words.error,
              .text = words.text,
              .worthRepeating = words.worthRepeating});
}

void Sending::Gone(const PeerConnection& connection, const PeerReply& why) {
  std::vector<std::uint64_t> numbers;
  for (const Outgoing& file : files_) {
    if (file.connection.get() == &connection) numbers.push_back(file.number);
  }
  for (const std::uint64_t number : numbers) {
    if (const Outgoing* file = WithNumber(number)) End(*file, why);
  }
}

void Sending::End(const Outgoing& file, const PeerReply& reply) {
  const auto at = std::find_if(files_.begin(), files_.end(), [&](const Outgoing& each) { return &each == &file; });
  const std::shared_ptr<PeerConnection> connection = at->connection;
  const Peers::Done done = std::move(at->done);
  files_.erase(at);
  // The next one first: `done` may do anything.
  if (connection != nullptr && connection->IsOpen()) OfferNext(*connection);
  done(reply);
}

Sending::Outgoing* Sending::On(const PeerConnection& connection, const std::string& ticket) {
  const auto at = std::find_if(files_.begin(), files_.end(), [&](const Outgoing& file) {
    return file.connection.get() == &connection && file.file.ticket == ticket && file.stage > Outgoing::Stage::Waiting;
  });
  return at == files_.end() ? nullptr : &*at;
}

Sending::Outgoing* Sending::WithNumber(std::uint64_t number) {
  const auto at =
      std::find_if(files_.begin(), files_.end(), [&](const Outgoing& file) { return file.number == number; });
  return at == files_.end() ? nullptr : &*at;
}

}  // namespace zelkor::vandry
