#include "vandry/program.h"

#include <optional>
#include <utility>

#include "lib/files.h"
#include "lib/format.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/secret.h"
#include "lib/settings.h"
#include "lib/shell.h"
#include "vandry/places.h"
#include "vandry/reply.h"
#include "vandry/version.h"

namespace zelkor::vandry {

namespace {

using std::chrono::milliseconds;

// How long a program that was started may take to come to the link before another one is started.
constexpr milliseconds kStartingTime{30'000};
// How often is looked whether everything is done after "Exit".
constexpr milliseconds kExitStep{200};
// Half of what the link asks for at least.
constexpr milliseconds kWorkingStep{1000};
constexpr milliseconds kClosingTime{2000};

constexpr std::string_view kReceived = "NetReceived";

// The native path of the program that is pushed to.
lib::Result<std::string> ProgramToStart() {
  if (std::string given = lib::GetIniPath("Zelkor", "Exe"); !given.empty()) return given;
  const lib::Result<std::string> own = lib::ExecutablePath();
  if (!own.Ok()) return own.Failure();
  return lib::ToNative(lib::DirectoryPart(*own) + "zelkor");
}

int NumberOf(PeerError error) { return static_cast<int>(error); }

}  // namespace

// A file on its way into the queue.
struct Program::FileMove {
  Asker asker;
  QueueEntry entry;
  std::string from;
  lib::File source;
  std::optional<lib::NewFile> copy;
  std::int64_t size = 0;
  Workers::Job job;
  Loop::Timer working;
};

Program::Program(Loop& loop, std::string programDir)
    : loop_(loop),
      programDir_(std::move(programDir)),
      log_(programDir_),
      workers_(loop),
      queue_(DataFolder(programDir_) + "queue\\"),
      pushes_(DataFolder(programDir_) + "pushes\\"),
      ftp_(loop, workers_, log_, DataFolder(programDir_), [this](const std::string& text) {
        if (server_ && ftpClient_ != 0) server_->Progress(ftpClient_, text);
      }) {}

Program::~Program() = default;

lib::Status Program::Open(const PeersFactory& makePeers) {
  lib::Result<std::unique_ptr<lib::ChannelServer>> server = lib::ChannelServer::Listen(programDir_);
  if (!server.Ok()) return server.Failure();
  lib::Result<std::unique_ptr<Peers>> peers = makePeers(loop_, *this);
  if (!peers.Ok()) return peers.Failure();
  server_ = std::move(*server);
  peers_ = std::move(*peers);
  delivery_ = std::make_unique<Delivery>(
      loop_, queue_, *peers_, log_,
      [this](const std::string& command, const std::string& address, const std::string& reason, bool goesOn) {
        Failed(command, address, reason, goesOn);
      });
  serverWatch_ = loop_.WatchHandle(server_->ReadyHandle(), true, false, [this](Loop::Ready) { Listen(); });
  delivery_->Go();
  return {};
}

bool Program::Close() {
  ftp_.Stop();
  serverWatch_.End();
  delivery_.reset();
  peers_.reset();
  server_.reset();
  return workers_.Finish(kClosingTime);
}

void Program::Listen() {
  server_->Turn();
  while (std::optional<lib::ChannelRequest> request = server_->Next()) Take(*request);
}

void Program::Take(lib::ChannelRequest& request) {
  const lib::WipedAtEnd wiped(request.text);
  switch (request.kind) {
    case lib::ChannelRequest::Kind::Opened:
      Came(request.client);
      break;
    case lib::ChannelRequest::Kind::Execute:
      Execute(request);
      break;
    case lib::ChannelRequest::Kind::Handled:
      Handled(request.number);
      break;
    case lib::ChannelRequest::Kind::Closed:
      Left(request.client);
      break;
  }
}

void Program::Came(lib::ChannelClientId client) {
  if (client_ != 0) peers_->ProgramLeft();
  receivedPushes_.clear();
  client_ = client;
  exiting_ = false;
  programStarted_.End();
  // An announced file is announced again before anything else is said of it.
  peers_->ProgramCame();
  for (const auto& [number, text] : pushes_.Waiting()) server_->Push(client, number, text);
}

void Program::Handled(std::uint32_t number) {
  pushes_.Handled(number);
  if (receivedPushes_.erase(number) != 0) peers_->ReceivedHandled();
}

void Program::Left(lib::ChannelClientId client) {
  if (client == ftpClient_) {
    ftp_.Stop();
    ftpClient_ = 0;
  }
  if (client != client_) return;
  client_ = 0;
  peers_->ProgramLeft();
}

void Program::Execute(lib::ChannelRequest& request) {
  const Asker asker{.client = request.client, .number = request.number};
  Command command = ParseCommand(request.text);
  if (command.word != Command::Word::Exit) exiting_ = false;
  // A file is taken when it is in the queue.
  if (command.word == Command::Word::NetFileSend) return SendFile(asker, command);
  if (command.word == Command::Word::NetTrans) return SendMessage(asker, command);
  server_->Taken(asker.client, asker.number);
  Execute(asker, command);
}

void Program::Execute(const Asker& asker, Command& command) {
  switch (command.word) {
    case Command::Word::Hello:
      ReplyTo(asker)(OkReply(lib::FormatTwoDecimals(kVandryVersion / 100.0)));
      break;
    case Command::Word::Exit:
      exiting_ = true;
      delivery_->TryAllNow();
      EndWhenDone();
      break;
    case Command::Word::NetPing:
      peers_->Ping(command.arguments[0], PeerReplyTo(asker));
      break;
    case Command::Word::NetFileRec:
      peers_->ReceiveFile(command.arguments[0], PeerReplyTo(asker));
      break;
    case Command::Word::FtpSend:
    case Command::Word::FtpGet:
    case Command::Word::FtpDir:
      StartFtp(asker, command);
      break;
    case Command::Word::NetTrans:
    case Command::Word::NetFileSend:
      break;
    case Command::Word::None:
      log_.Line(command.problem);
      ReplyTo(asker)(ErrorReply(NumberOf(PeerError::BadRequest), command.problem));
      break;
  }
}

std::function<void(const std::string&)> Program::ReplyTo(const Asker& asker) {
  return [this, asker](const std::string& reply) { server_->Reply(asker.client, asker.number, reply); };
}

std::function<void(const PeerReply&)> Program::PeerReplyTo(const Asker& asker) {
  return [reply = ReplyTo(asker)](const PeerReply& answer) {
    reply(answer.Ok() ? OkReply(answer.text) : ErrorReply(NumberOf(answer.error), answer.text));
  };
}

void Program::SendMessage(const Asker& asker, const Command& command) {
  const lib::Result<std::string> ticket = queue_.AddMessage(command.arguments[0], command.arguments[1]);
  server_->Taken(asker.client, asker.number);
  if (!ticket.Ok()) return Failed("NetTrans", command.arguments[0], ticket.Failure().Message());
  delivery_->Added(*ticket);
}

void Program::SendFile(const Asker& asker, const Command& command) {
  const auto move = std::make_shared<FileMove>();
  move->asker = asker;
  move->from = command.arguments[3];
  lib::Result<QueueEntry> entry = queue_.PlaceForFile(command.arguments[0], command.arguments[1], command.arguments[2]);
  move->entry.address = command.arguments[0];
  if (!entry.Ok()) return FileIsThere(move, entry.Failure());
  move->entry = std::move(*entry);
  lib::Result<lib::File> source = lib::File::Open(move->from, lib::OpenMode::Read);
  if (!source.Ok()) return FileIsThere(move, source.Failure());
  if (lib::RenameFile(move->from, move->entry.path).Ok()) return FileIsThere(move, {});
  // On another file system it is copied, which may take its time.
  const lib::Result<std::int64_t> size = source->Length();
  lib::Result<lib::NewFile> copy = lib::NewFile::Create(move->entry.path);
  if (!size.Ok() || !copy.Ok()) return FileIsThere(move, size.Ok() ? copy.Failure() : size.Failure());
  move->source = std::move(*source);
  move->size = *size;
  move->copy = std::move(*copy);
  ++filesMoving_;
  // The timer that sets itself again: the program knows by it that its command is being taken.
  const auto tick = std::make_shared<std::function<void()>>();
  *tick = [this, weak = std::weak_ptr(move), again = std::weak_ptr(tick)] {
    const std::shared_ptr<FileMove> moving = weak.lock();
    const std::shared_ptr<std::function<void()>> next = again.lock();
    if (!moving || !next) return;
    server_->Working(moving->asker.client, moving->asker.number);
    moving->working = loop_.After(kWorkingStep, [next] { (*next)(); });
  };
  (*tick)();
  move->job = workers_.Start([this, move](WorkerPort& port) {
    lib::Status copied = lib::CopyRange(move->source, 0, move->copy->Content(), 0, move->size).status;
    if (copied.Ok()) copied = move->copy->Content().Flush();
    port.Post([this, move, copied] {
      --filesMoving_;
      move->job.Stop();
      move->working.End();
      lib::Status named = copied.Ok() ? move->copy->Replace() : copied;
      if (named.Ok()) lib::KillFile(move->from);
      FileIsThere(move, named);
    });
  });
}

void Program::FileIsThere(const std::shared_ptr<FileMove>& move, const lib::Status& status) {
  lib::Status taken = status.Ok() ? queue_.AddFile(move->entry) : status;
  server_->Taken(move->asker.client, move->asker.number);
  if (taken.Ok()) return delivery_->Added(move->entry.ticket);
  if (!move->entry.path.empty()) lib::KillFile(move->entry.path);
  Failed("NetFileSend", move->entry.address, taken.Message());
}

void Program::StartFtp(const Asker& asker, Command& command) {
  std::vector<std::string>& arguments = command.arguments;
  // The transfer in hand was given up by whoever sends another.
  ftp_.Stop();
  ftpClient_ = asker.client;
  lib::Result<FtpPlace> place = FtpPlace::From(arguments[0], arguments[1], arguments[2], arguments[3]);
  if (!place.Ok()) {
    log_.Line(place.Failure().Message());
    return ReplyTo(asker)(ErrorReply(NumberOf(PeerError::BadRequest), place.Failure().Message()));
  }
  if (command.word == Command::Word::FtpSend) {
    ftp_.Send(std::move(*place), arguments[4], arguments[5], ReplyTo(asker));
  } else if (command.word == Command::Word::FtpGet) {
    ftp_.Get(std::move(*place), arguments[4], arguments[5], ReplyTo(asker));
  } else {
    ftp_.List(std::move(*place), arguments[4], ReplyTo(asker));
  }
}

void Program::Failed(const std::string& command, const std::string& address, const std::string& reason, bool goesOn) {
  log_.Line(command + " to " + address + (goesOn ? " will be tried again: " : " failed: ") + reason);
  const std::string text = QuietText((goesOn ? "NetDelayed " : "NetFailed ") + command + " " + address + " " + reason);
  // For who sent it; another one, later, would not know what it is about.
  if (client_ != 0) server_->Push(client_, pushes_.NextNumber(), text);
}

void Program::EndWhenDone() {
  if (!exiting_) return;
  if (delivery_->Idle() && !peers_->Busy() && !ftp_.Busy() && filesMoving_ == 0) return loop_.Stop();
  exitTimer_ = loop_.After(kExitStep, [this] { EndWhenDone(); });
}

lib::Status Program::WantProgram() {
  if (client_ != 0 || programStarted_.IsActive()) return {};
  if (lib::GetIniNumber("Zelkor", "AcceptNetConn", 0) == 0) {
    return {lib::Cause::AccessDenied, "The program does not run, and may not be started"};
  }
  const lib::Result<std::string> program = ProgramToStart();
  lib::Status started = program.Ok() ? lib::StartProgram(*program) : program.Failure();
  if (!started.Ok()) {
    log_.Line(started.Message());
    return started;
  }
  programStarted_ = loop_.After(kStartingTime, [this] { log_.Line("The program was started, but did not come"); });
  return {};
}

lib::Status Program::Push(const std::string& text) {
  if (lib::Status wanted = WantProgram(); !wanted.Ok()) return wanted;
  const lib::Result<std::uint32_t> number = pushes_.Keep(text);
  if (!number.Ok()) return number.Failure();
  if (client_ != 0) server_->Push(client_, *number, text);
  return {};
}

lib::Status Program::Announce(const std::string& text) {
  if (lib::Status wanted = WantProgram(); !wanted.Ok()) return wanted;
  if (client_ == 0) return {};
  const std::uint32_t number = pushes_.NextNumber();
  if (text == kReceived) receivedPushes_.insert(number);
  server_->Push(client_, number, text);
  return {};
}

void Program::Reached(const std::string& computerId) {
  // Not from inside what the other side is doing.
  loop_.Post([this, computerId] {
    if (delivery_) delivery_->Reached(computerId);
  });
}

void Program::Progress(const PeerProgress& progress) {
  if (progress.sending) delivery_->Moved(progress.computerId);
  if (client_ == 0) return;
  const std::string what = progress.sending ? "Sending data to [" : "Receiving data from [";
  server_->Progress(client_, what + progress.computerId + "]: " + lib::FormatGrouped(progress.done) + " of " +
                                 lib::FormatGrouped(progress.total) + " bytes");
}

void Program::Log(const std::string& line) { log_.Line(line); }

}  // namespace zelkor::vandry
