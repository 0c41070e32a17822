#include "lib/channel_desk.h"

#include <array>
#include <cerrno>
#include <map>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "lib/posix/channel_socket.h"
#include "lib/posix/system_error.h"

namespace zelkor::lib {

using posix::ChannelConnection;
using posix::Descriptor;

namespace {

// Stands for the listening socket among the clients, whose IDs count from 1.
constexpr ChannelClientId kListener = 0;

class SocketDesk : public ChannelDesk {
 public:
  SocketDesk() = default;
  ~SocketDesk() override {
    if (listener_.IsOpen()) unlink(posix::PathInFolder(folder_, name_).c_str());
  }
  SocketDesk(const SocketDesk&) = delete;
  SocketDesk& operator=(const SocketDesk&) = delete;

  Status Listen(std::string_view programDir);
  [[nodiscard]] Handle ReadyHandle() const override { return ready_.Get(); }
  void Turn() override;
  void Send(ChannelClientId id, FrameKind kind, std::uint32_t number, std::string_view text) override;
  void Close(ChannelClientId id) override;
  void Sweep() override;

 private:
  struct Client {
    ChannelConnection connection;
    bool open = false;     // it has said its greeting
    bool waiting = false;  // watched for room to write
  };

  void Accept();
  void Serve(ChannelClientId id, Client& client);
  void Watch(ChannelClientId id, Client& client) const;

  Descriptor folder_;
  std::string name_;
  Descriptor listener_;
  Descriptor ready_;  // watches all the others, and can itself be watched
  ChannelClientId lastId_ = kListener;
  std::map<ChannelClientId, Client> clients_;
};

Status SocketDesk::Listen(std::string_view programDir) {
  const Result<std::string> socketName = posix::ChannelSocketName(programDir);
  if (!socketName.Ok()) return socketName.Failure();
  name_ = *socketName;
  Status failure;
  for (const std::string& path : posix::ChannelFolders()) {
    Result<Descriptor> opened = posix::OpenChannelFolder(path, true);
    if (opened.Ok()) {
      folder_ = std::move(*opened);
      break;
    }
    failure = opened.Failure();
  }
  if (!folder_.IsOpen()) return failure;

  Descriptor socket = posix::NewChannelSocket();
  ready_ = Descriptor(epoll_create1(EPOLL_CLOEXEC));
  if (!socket.IsOpen() || !ready_.IsOpen()) return posix::SystemFailure(errno, name_);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = posix::PathInFolder(folder_, name_);
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  // What stands there is of a server that was killed: a living one holds the lock.
  unlink(path.c_str());
  // The mode of an unbound socket is the one that its name gets.
  fchmod(socket.Get(), 0600);
  if (bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(socket.Get(), SOMAXCONN) != 0) {
    return posix::SystemFailure(errno, name_);
  }
  epoll_event event{.events = EPOLLIN, .data = {.u64 = kListener}};
  if (epoll_ctl(ready_.Get(), EPOLL_CTL_ADD, socket.Get(), &event) != 0) return posix::SystemFailure(errno, name_);
  listener_ = std::move(socket);
  return {};
}

void SocketDesk::Accept() {
  for (;;) {
    Descriptor socket(accept4(listener_.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!socket.IsOpen()) return;
    if (!posix::PeerIsThisUser(socket) || clients_.size() >= kMostClients) continue;
    const ChannelClientId id = ++lastId_;
    epoll_event event{.events = EPOLLIN, .data = {.u64 = id}};
    if (epoll_ctl(ready_.Get(), EPOLL_CTL_ADD, socket.Get(), &event) != 0) continue;
    clients_[id].connection = ChannelConnection(std::move(socket));
  }
}

void SocketDesk::Serve(ChannelClientId id, Client& client) {
  client.connection.Write();
  client.connection.Read();
  while (std::optional<Frame> frame = client.connection.Next()) {
    const Heard heard = Hear(id, client.open, std::move(*frame));
    if (heard != Heard::Request) client.connection.Send(FrameKind::Open, kFrameVersion, {});
    if (heard == Heard::Stranger) {
      client.connection.Close();
      break;
    }
  }
}

void SocketDesk::Send(ChannelClientId id, FrameKind kind, std::uint32_t number, std::string_view text) {
  const auto found = clients_.find(id);
  if (found == clients_.end()) return;
  Client& client = found->second;
  client.connection.Send(kind, number, text);
  if (client.connection.Waiting() > kMostWaitingBytes) client.connection.Close();
  Watch(id, client);
}

void SocketDesk::Watch(ChannelClientId id, Client& client) const {
  const bool waiting = client.connection.Waiting() > 0;
  if (!client.connection.IsOpen() || waiting == client.waiting) return;
  client.waiting = waiting;
  epoll_event event{.events = waiting ? EPOLLIN | EPOLLOUT : EPOLLIN, .data = {.u64 = id}};
  epoll_ctl(ready_.Get(), EPOLL_CTL_MOD, client.connection.Get(), &event);
}

void SocketDesk::Sweep() {
  for (auto it = clients_.begin(); it != clients_.end();) {
    if (it->second.connection.IsOpen()) {
      ++it;
      continue;
    }
    if (it->second.open) Request({.kind = ChannelRequest::Kind::Closed, .client = it->first});
    it = clients_.erase(it);
  }
}

void SocketDesk::Turn() {
  std::array<epoll_event, kMostClients + 1> events{};
  const int count = epoll_wait(ready_.Get(), events.data(), static_cast<int>(events.size()), 0);
  for (int i = 0; i < count; ++i) {
    const ChannelClientId id = events.at(static_cast<std::size_t>(i)).data.u64;
    if (id == kListener) {
      Accept();
    } else if (const auto found = clients_.find(id); found != clients_.end()) {
      Serve(id, found->second);
      Watch(id, found->second);
    }
  }
  Sweep();
}

void SocketDesk::Close(ChannelClientId id) {
  if (const auto found = clients_.find(id); found != clients_.end()) found->second.connection.Close();
}

}  // namespace

Result<std::unique_ptr<ChannelDesk>> ChannelDesk::Open(std::string_view programDir) {
  auto desk = std::make_unique<SocketDesk>();
  if (const Status opened = desk->Listen(programDir); !opened.Ok()) return opened;
  return {std::move(desk)};
}

}  // namespace zelkor::lib
