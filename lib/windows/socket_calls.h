// The system's sockets, under the names that sockets.cpp knows them by on every system.
#pragma once

#include <string>

#include "lib/sockets.h"
#include "lib/windows/winsock.h"

namespace zelkor::lib {

// After a restart the port can be taken again anyway; nobody else shall be able to take it meanwhile.
inline constexpr int kTakePort = SO_EXCLUSIVEADDRUSE;

inline void PrepareSockets() { windows::UseWinsock(); }
inline SOCKET NativeSocket(Handle handle) { return windows::Native(handle); }
[[nodiscard]] int LastSocketError();
void SetSocketError(int error);
// Whether it is one that a call of a socket ends with: the others of the system stand in the same place.
inline bool IsSocketError(int error) { return error >= WSABASEERR; }
[[nodiscard]] std::string SocketErrorWords(int error);
// Whether a connect that ended so goes on by itself.
[[nodiscard]] bool GoesOn(int error);

// Neither waits, nor goes to the programs that this one starts.
[[nodiscard]] Socket NewSocket(int family);
[[nodiscard]] Socket AcceptSocket(Handle listening, sockaddr* from, socklen_t* size);
void CloseSocket(Handle handle);

// Here no thread gets what is meant for another.
struct SignalsAside {
  SignalsAside() = default;
  ~SignalsAside() {}  // NOLINT(modernize-use-equals-default): it is there to live as long as something
};

}  // namespace zelkor::lib
