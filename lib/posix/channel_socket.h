// What both ends of the local link share: where the socket stands, who is at the other end, and one connection.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lib/channel_frame.h"
#include "lib/posix/descriptor.h"
#include "lib/status.h"

namespace zelkor::lib::posix {

// The folders in which the socket may stand, the best one first: "zelkor" in the user's run-time directory, else one in
// the temporary folder. Native paths.
[[nodiscard]] std::vector<std::string> ChannelFolders();
// Opens such a folder, made when missing if `make`. Refused unless it is a directory of this user that nobody else can
// enter.
[[nodiscard]] Result<Descriptor> OpenChannelFolder(const std::string& folder, bool make);
// The name of the socket of a ProgramDir (in the program's form).
[[nodiscard]] Result<std::string> ChannelSocketName(std::string_view programDir);
// A path that names a file of an open directory whatever the length of the directory's own path: the address of a
// socket has room for 107 bytes only.
[[nodiscard]] std::string PathInFolder(const Descriptor& folder, std::string_view name);

// A new socket that does not block.
[[nodiscard]] Descriptor NewChannelSocket();
// True when the process at the other end is this user's.
[[nodiscard]] bool PeerIsThisUser(const Descriptor& socket);

// One connection: frames in and out, without blocking.
class ChannelConnection {
 public:
  ChannelConnection() = default;
  explicit ChannelConnection(Descriptor socket) : socket_(std::move(socket)) {}

  [[nodiscard]] bool IsOpen() const { return socket_.IsOpen(); }
  [[nodiscard]] int Get() const { return socket_.Get(); }
  [[nodiscard]] const Descriptor& Socket() const { return socket_; }
  void Close() { socket_.Close(); }

  // Queues a frame and writes what can be written.
  void Send(FrameKind kind, std::uint32_t number, std::string_view text);
  // Writes and reads what can be. Closes the connection when the other end is gone or sends what is no frame; whole
  // frames that came before are still there.
  void Write();
  void Read();
  // The next whole frame.
  [[nodiscard]] std::optional<Frame> Next();
  [[nodiscard]] std::size_t Waiting() const { return out_.size(); }

 private:
  Descriptor socket_;
  FrameReader reader_;
  std::string out_;
};

}  // namespace zelkor::lib::posix
