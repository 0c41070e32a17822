// The system's sockets, with room for more of them in one wait than its 64, and ready for use.
#pragma once

#ifndef FD_SETSIZE
#define FD_SETSIZE 1024
#endif
#include <winsock2.h>
#include <ws2tcpip.h>

#include "lib/readiness.h"
#include "lib/windows/system.h"

namespace zelkor::lib::windows {

// To be called before the first call of anything that knows sockets.
void UseWinsock();

inline SOCKET Native(Handle handle) { return static_cast<SOCKET>(handle); }

}  // namespace zelkor::lib::windows
