// The server's end of the local link as the system carries it: clients that come and go, and what they say.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string_view>

#include "lib/channel.h"
#include "lib/channel_frame.h"

namespace zelkor::lib {

class ChannelDesk {
 public:
  // More clients than anybody has; more bytes than a client that listens leaves waiting.
  static constexpr std::size_t kMostClients = 16;
  static constexpr std::size_t kMostWaitingBytes = std::size_t{8} << 20;

  // Begins to listen for this ProgramDir, which no other server serves.
  [[nodiscard]] static Result<std::unique_ptr<ChannelDesk>> Open(std::string_view programDir);
  virtual ~ChannelDesk() = default;
  ChannelDesk(const ChannelDesk&) = delete;
  ChannelDesk& operator=(const ChannelDesk&) = delete;

  // As ChannelServer's.
  [[nodiscard]] virtual Handle ReadyHandle() const = 0;
  virtual void Turn() = 0;
  virtual void Send(ChannelClientId client, FrameKind kind, std::uint32_t number, std::string_view text) = 0;
  virtual void Close(ChannelClientId client) = 0;
  // Looks for clients that have been given up since the last Turn.
  virtual void Sweep() = 0;

  [[nodiscard]] std::optional<ChannelRequest> NextRequest();

 protected:
  ChannelDesk() = default;
  void Request(ChannelRequest request) { requests_.push_back(std::move(request)); }

  // Greeting: it is to be greeted in turn. Stranger: that too, and left: of another version no more is known than that
  // this one can not talk to it, and the answer says so to it.
  enum class Heard { Request, Greeting, Stranger };
  // What a frame of a client asks for becomes a request; `open` says whether it has greeted.
  Heard Hear(ChannelClientId client, bool& open, Frame frame);

 private:
  std::deque<ChannelRequest> requests_;
};

}  // namespace zelkor::lib
