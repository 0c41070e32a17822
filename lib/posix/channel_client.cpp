#include <cerrno>
#include <deque>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

#include "lib/channel.h"
#include "lib/posix/channel_socket.h"

namespace zelkor::lib {

using posix::ChannelConnection;
using posix::Descriptor;
using std::chrono::milliseconds;

struct ChannelClient::State {
  ChannelConnection connection;
  std::deque<ChannelEvent> events;
  bool closedTold = false;
};

namespace {

using Clock = std::chrono::steady_clock;

Status NobodyServes(std::string_view programDir) {
  return {Cause::NotFound, "Nobody serves the local link of [" + std::string(programDir) + "]"};
}

Status NoAnswer() { return {Cause::Failed, "The networking program does not answer"}; }

milliseconds Left(Clock::time_point end) {
  return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(end - Clock::now()));
}

// Connects a socket to the one of that name, if somebody listens there.
Result<Descriptor> ConnectIn(const Descriptor& folder, const std::string& name, Clock::time_point end) {
  Descriptor socket = posix::NewChannelSocket();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  posix::PathInFolder(folder, name).copy(address.sun_path, sizeof address.sun_path - 1);
  while (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    if (errno == EINTR) continue;
    if (errno != EAGAIN) return Status(Cause::NotFound, "Nobody listens");
    // So many wait to be let in that there is no room for one more.
    if (Clock::now() >= end) return NoAnswer();
    std::this_thread::sleep_for(milliseconds(10));
  }
  if (!posix::PeerIsThisUser(socket)) {
    return Status(Cause::AccessDenied, "The networking program is another user's");
  }
  return socket;
}

// Waits for the connection to be ready.
void Await(ChannelConnection& connection, milliseconds patience) {
  Awaited awaited{.handle = connection.Get(), .wantRead = true, .wantWrite = connection.Waiting() > 0};
  WaitUntilReady({&awaited, 1}, patience);
}

// The greeting that shows that somebody is awake at the other end.
Status Greet(ChannelConnection& connection, Clock::time_point end) {
  connection.Send(FrameKind::Open, kFrameVersion, {});
  for (;;) {
    connection.Write();
    connection.Read();
    if (const std::optional<Frame> frame = connection.Next()) {
      if (frame->kind == FrameKind::Open && frame->number == kFrameVersion) return {};
      return {Cause::Failed, "The networking program is of another version"};
    }
    if (!connection.IsOpen()) return {Cause::Failed, "The networking program closed the local link"};
    if (Clock::now() >= end) return NoAnswer();
    Await(connection, Left(end));
  }
}

std::optional<ChannelEvent::Kind> EventKind(FrameKind kind) {
  switch (kind) {
    case FrameKind::Taken:
      return ChannelEvent::Kind::Taken;
    case FrameKind::Working:
      return ChannelEvent::Kind::Working;
    case FrameKind::Reply:
      return ChannelEvent::Kind::Reply;
    case FrameKind::Push:
      return ChannelEvent::Kind::Push;
    case FrameKind::Progress:
      return ChannelEvent::Kind::Progress;
    case FrameKind::Open:
    case FrameKind::Execute:
    case FrameKind::Handled:
      break;
  }
  return std::nullopt;
}

}  // namespace

ChannelClient::ChannelClient() : state_(std::make_unique<State>()) {}
ChannelClient::~ChannelClient() = default;

Result<std::unique_ptr<ChannelClient>> ChannelClient::Connect(std::string_view programDir, milliseconds patience) {
  const Clock::time_point end = Clock::now() + patience;
  const Result<std::string> name = posix::ChannelSocketName(programDir);
  if (!name.Ok()) return name.Failure();
  for (const std::string& path : posix::ChannelFolders()) {
    const Result<Descriptor> folder = posix::OpenChannelFolder(path, false);
    if (!folder.Ok()) continue;
    Result<Descriptor> socket = ConnectIn(*folder, *name, end);
    if (socket.Why() == Cause::NotFound) continue;
    if (!socket.Ok()) return socket.Failure();
    auto client = std::make_unique<ChannelClient>();
    client->state_->connection = ChannelConnection(std::move(*socket));
    if (const Status greeted = Greet(client->state_->connection, end); !greeted.Ok()) return greeted;
    return client;
  }
  return NobodyServes(programDir);
}

bool ChannelClient::IsOpen() const { return state_->connection.IsOpen(); }

Status ChannelClient::Execute(std::uint32_t number, std::string_view command) {
  if (command.size() > kMostChannelText) return {Cause::Damaged, "The command is too long"};
  if (!IsOpen()) return {Cause::Failed, "The local link is closed"};
  state_->connection.Send(FrameKind::Execute, number, command);
  return {};
}

void ChannelClient::Handled(std::uint32_t number) { state_->connection.Send(FrameKind::Handled, number, {}); }

void ChannelClient::Turn(milliseconds patience) {
  ChannelConnection& connection = state_->connection;
  if (connection.IsOpen()) {
    Await(connection, patience);
    connection.Write();
    connection.Read();
  }
  while (std::optional<Frame> frame = connection.Next()) {
    const std::optional<ChannelEvent::Kind> kind = EventKind(frame->kind);
    if (kind) state_->events.push_back({*kind, frame->number, std::move(frame->text)});
  }
  if (!connection.IsOpen() && !state_->closedTold) {
    state_->closedTold = true;
    state_->events.push_back({});
  }
}

std::optional<ChannelEvent> ChannelClient::Next() {
  if (state_->events.empty()) return std::nullopt;
  ChannelEvent event = std::move(state_->events.front());
  state_->events.pop_front();
  return event;
}

}  // namespace zelkor::lib
