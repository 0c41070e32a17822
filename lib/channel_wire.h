// The client's end of the local link as the system carries it: frames in and out. What they mean is the business of
// channel_client.cpp.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "lib/channel_frame.h"
#include "lib/status.h"

namespace zelkor::lib {

class ChannelWire {
 public:
  using Clock = std::chrono::steady_clock;

  // NotFound: nobody serves this ProgramDir. AccessDenied: somebody who is not this user does. Failed: there is nobody
  // to be heard before `end`.
  [[nodiscard]] static Result<std::unique_ptr<ChannelWire>> Connect(std::string_view programDir, Clock::time_point end);
  virtual ~ChannelWire() = default;
  ChannelWire(const ChannelWire&) = delete;
  ChannelWire& operator=(const ChannelWire&) = delete;

  // False once the other end is gone or has sent what is no frame; whole frames that came before are still there.
  [[nodiscard]] virtual bool IsOpen() const = 0;
  virtual void Send(FrameKind kind, std::uint32_t number, std::string_view text) = 0;
  // Reads and writes what can be, waiting for it at most so long.
  virtual void Turn(std::chrono::milliseconds patience) = 0;
  // The next whole frame.
  [[nodiscard]] virtual std::optional<Frame> Next() = 0;

 protected:
  ChannelWire() = default;
};

[[nodiscard]] Status NobodyServesChannel(std::string_view programDir);
[[nodiscard]] Status NoChannelAnswer();
// How long it is until then.
[[nodiscard]] std::chrono::milliseconds TimeLeft(ChannelWire::Clock::time_point end);

}  // namespace zelkor::lib
