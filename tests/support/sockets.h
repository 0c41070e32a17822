// Bytes over connections (lib/sockets.h), for servers and lines that tests play. Nothing here waits.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "lib/sockets.h"

namespace zelkor::tests {

// What came of a try to read or to write.
struct Passed {
  enum class How { Bytes, NotNow, Ended, Broken };
  How how = How::Broken;
  std::size_t bytes = 0;
};

// Ended: the other side writes no more.
[[nodiscard]] Passed ReceiveNow(const lib::Socket& socket, std::span<char> out);
[[nodiscard]] Passed SendNow(const lib::Socket& socket, std::string_view bytes);

// The other side sees the end of what is written; reading goes on.
void EndWriting(const lib::Socket& socket);
// When the socket is closed the other side sees at once that the connection has broken.
void BreakWhenClosed(const lib::Socket& socket);
// Keeps at most about so many bytes in the system, where a break would lose them.
void KeepLittle(const lib::Socket& socket, int bytes);

}  // namespace zelkor::tests
