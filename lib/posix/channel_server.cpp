#include <array>
#include <cerrno>
#include <deque>
#include <map>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "lib/channel.h"
#include "lib/posix/channel_socket.h"
#include "lib/posix/system_error.h"
#include "lib/single_copy.h"

namespace zelkor::lib {

using posix::ChannelConnection;
using posix::Descriptor;

namespace {

// More clients than anybody has; more bytes than a client that listens leaves waiting.
constexpr std::size_t kMostClients = 16;
constexpr std::size_t kMostWaitingBytes = std::size_t{8} << 20;
// Stands for the listening socket among the clients, whose IDs count from 1.
constexpr ChannelClientId kListener = 0;

}  // namespace

struct ChannelServer::State {
  struct Client {
    ChannelConnection connection;
    bool open = false;     // it has said its greeting
    bool waiting = false;  // watched for room to write
  };

  explicit State(std::string_view programDir) : copy(programDir, "vandry") {}
  ~State() {
    if (listener.IsOpen()) unlink(posix::PathInFolder(folder, name).c_str());
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  Status Open(std::string_view programDir);
  void Accept();
  void Serve(ChannelClientId id, Client& client);
  void Send(ChannelClientId id, FrameKind kind, std::uint32_t number, std::string_view text);
  void Watch(ChannelClientId id, Client& client) const;
  void Sweep();

  SingleCopy copy;
  Descriptor folder;
  std::string name;
  Descriptor listener;
  Descriptor ready;  // watches all the others, and can itself be watched
  ChannelClientId lastId = kListener;
  std::map<ChannelClientId, Client> clients;
  std::deque<ChannelRequest> requests;
};

Status ChannelServer::State::Open(std::string_view programDir) {
  const Result<std::string> socketName = posix::ChannelSocketName(programDir);
  if (!socketName.Ok()) return socketName.Failure();
  name = *socketName;
  Status failure;
  for (const std::string& path : posix::ChannelFolders()) {
    Result<Descriptor> opened = posix::OpenChannelFolder(path, true);
    if (opened.Ok()) {
      folder = std::move(*opened);
      break;
    }
    failure = opened.Failure();
  }
  if (!folder.IsOpen()) return failure;

  Descriptor socket = posix::NewChannelSocket();
  ready = Descriptor(epoll_create1(EPOLL_CLOEXEC));
  if (!socket.IsOpen() || !ready.IsOpen()) return posix::SystemFailure(errno, name);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = posix::PathInFolder(folder, name);
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  // What stands there is of a server that was killed: a living one holds the lock.
  unlink(path.c_str());
  // The mode of an unbound socket is the one that its name gets.
  fchmod(socket.Get(), 0600);
  if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(socket.Get(), SOMAXCONN) != 0) {
    return posix::SystemFailure(errno, name);
  }
  epoll_event event{.events = EPOLLIN, .data = {.u64 = kListener}};
  if (epoll_ctl(ready.Get(), EPOLL_CTL_ADD, socket.Get(), &event) != 0) return posix::SystemFailure(errno, name);
  listener = std::move(socket);
  return {};
}

void ChannelServer::State::Accept() {
  for (;;) {
    Descriptor socket(accept4(listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket.IsOpen()) return;
    if (!posix::PeerIsThisUser(socket) || clients.size() >= kMostClients) continue;
    const ChannelClientId id = ++lastId;
    epoll_event event{.events = EPOLLIN, .data = {.u64 = id}};
    if (epoll_ctl(ready.Get(), EPOLL_CTL_ADD, socket.Get(), &event) != 0) continue;
    clients[id].connection = ChannelConnection(std::move(socket));
  }
}

void ChannelServer::State::Serve(ChannelClientId id, Client& client) {
  client.connection.Write();
  client.connection.Read();
  while (std::optional<Frame> frame = client.connection.Next()) {
    if (!client.open) {
      // Of the other version no more is known than that this one can not talk to it; the answer says so to it.
      client.connection.Send(FrameKind::Open, kFrameVersion, {});
      if (frame->kind != FrameKind::Open || frame->number != kFrameVersion) {
        client.connection.Close();
        break;
      }
      client.open = true;
      requests.push_back({.kind = ChannelRequest::Kind::Opened, .client = id});
    } else if (frame->kind == FrameKind::Execute) {
      requests.push_back({ChannelRequest::Kind::Execute, id, frame->number, std::move(frame->text)});
    } else if (frame->kind == FrameKind::Handled) {
      requests.push_back({.kind = ChannelRequest::Kind::Handled, .client = id, .number = frame->number});
    }
  }
}

void ChannelServer::State::Send(ChannelClientId id, FrameKind kind, std::uint32_t number, std::string_view text) {
  const auto found = clients.find(id);
  if (found == clients.end()) return;
  Client& client = found->second;
  client.connection.Send(kind, number, text);
  if (client.connection.Waiting() > kMostWaitingBytes) client.connection.Close();
  Watch(id, client);
}

void ChannelServer::State::Watch(ChannelClientId id, Client& client) const {
  const bool waiting = client.connection.Waiting() > 0;
  if (!client.connection.IsOpen() || waiting == client.waiting) return;
  client.waiting = waiting;
  epoll_event event{.events = waiting ? EPOLLIN | EPOLLOUT : EPOLLIN, .data = {.u64 = id}};
  epoll_ctl(ready.Get(), EPOLL_CTL_MOD, client.connection.Get(), &event);
}

void ChannelServer::State::Sweep() {
  for (auto it = clients.begin(); it != clients.end();) {
    if (it->second.connection.IsOpen()) {
      ++it;
      continue;
    }
    if (it->second.open) requests.push_back({.kind = ChannelRequest::Kind::Closed, .client = it->first});
    it = clients.erase(it);
  }
}

ChannelServer::ChannelServer() = default;
ChannelServer::~ChannelServer() = default;

Result<std::unique_ptr<ChannelServer>> ChannelServer::Listen(std::string_view programDir) {
  auto server = std::make_unique<ChannelServer>();
  server->state_ = std::make_unique<State>(programDir);
  if (!server->state_->copy.First()) {
    return Status(Cause::Exists, "The local link of [" + std::string(programDir) + "] is served already");
  }
  if (const Status opened = server->state_->Open(programDir); !opened.Ok()) return opened;
  return server;
}

Handle ChannelServer::ReadyHandle() const { return state_->ready.Get(); }

void ChannelServer::Turn() {
  std::array<epoll_event, kMostClients + 1> events{};
  const int count = epoll_wait(state_->ready.Get(), events.data(), static_cast<int>(events.size()), 0);
  for (int i = 0; i < count; ++i) {
    const ChannelClientId id = events.at(static_cast<std::size_t>(i)).data.u64;
    if (id == kListener) {
      state_->Accept();
    } else if (const auto found = state_->clients.find(id); found != state_->clients.end()) {
      state_->Serve(id, found->second);
      state_->Watch(id, found->second);
    }
  }
  state_->Sweep();
}

std::optional<ChannelRequest> ChannelServer::Next() {
  state_->Sweep();
  if (state_->requests.empty()) return std::nullopt;
  ChannelRequest request = std::move(state_->requests.front());
  state_->requests.pop_front();
  return request;
}

void ChannelServer::Taken(ChannelClientId client, std::uint32_t number) {
  state_->Send(client, FrameKind::Taken, number, {});
}
void ChannelServer::Working(ChannelClientId client, std::uint32_t number) {
  state_->Send(client, FrameKind::Working, number, {});
}
void ChannelServer::Reply(ChannelClientId client, std::uint32_t number, std::string_view text) {
  state_->Send(client, FrameKind::Reply, number, text);
}
void ChannelServer::Push(ChannelClientId client, std::uint32_t number, std::string_view text) {
  state_->Send(client, FrameKind::Push, number, text);
}
void ChannelServer::Progress(ChannelClientId client, std::string_view text) {
  state_->Send(client, FrameKind::Progress, 0, text);
}
void ChannelServer::Close(ChannelClientId client) {
  if (const auto found = state_->clients.find(client); found != state_->clients.end()) found->second.connection.Close();
}

}  // namespace zelkor::lib
