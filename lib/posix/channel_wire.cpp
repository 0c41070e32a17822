#include "lib/channel_wire.h"

#include <cerrno>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

#include "lib/posix/channel_socket.h"
#include "lib/readiness.h"

namespace zelkor::lib {

using posix::ChannelConnection;
using posix::Descriptor;
using std::chrono::milliseconds;

namespace {

using Clock = ChannelWire::Clock;

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
    if (Clock::now() >= end) return NoChannelAnswer();
    std::this_thread::sleep_for(milliseconds(10));
  }
  if (!posix::PeerIsThisUser(socket)) {
    return Status(Cause::AccessDenied, "The networking program is another user's");
  }
  return socket;
}

class SocketWire : public ChannelWire {
 public:
  explicit SocketWire(Descriptor socket) : connection_(std::move(socket)) {}

  [[nodiscard]] bool IsOpen() const override { return connection_.IsOpen(); }
  void Send(FrameKind kind, std::uint32_t number, std::string_view text) override {
    connection_.Send(kind, number, text);
  }
  void Turn(milliseconds patience) override {
    Awaited awaited{.handle = connection_.Get(), .wantRead = true, .wantWrite = connection_.Waiting() > 0};
    WaitUntilReady({&awaited, 1}, patience);
    connection_.Write();
    connection_.Read();
  }
  [[nodiscard]] std::optional<Frame> Next() override { return connection_.Next(); }

 private:
  ChannelConnection connection_;
};

}  // namespace

Result<std::unique_ptr<ChannelWire>> ChannelWire::Connect(std::string_view programDir, Clock::time_point end) {
  const Result<std::string> name = posix::ChannelSocketName(programDir);
  if (!name.Ok()) return name.Failure();
  for (const std::string& path : posix::ChannelFolders()) {
    const Result<Descriptor> folder = posix::OpenChannelFolder(path, false);
    if (!folder.Ok()) continue;
    Result<Descriptor> socket = ConnectIn(*folder, *name, end);
    if (socket.Why() == Cause::NotFound) continue;
    if (!socket.Ok()) return socket.Failure();
    return {std::make_unique<SocketWire>(std::move(*socket))};
  }
  return NobodyServesChannel(programDir);
}

}  // namespace zelkor::lib
