// The system's sockets, under the names that sockets.cpp knows them by on every system.
#pragma once

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): pthread_sigmask
#include <string>
#include <sys/socket.h>

#include "lib/sockets.h"

namespace zelkor::lib {

// After a restart the port can be taken again although old connections to it are still fading.
inline constexpr int kTakePort = SO_REUSEADDR;

inline void PrepareSockets() {}
inline int NativeSocket(Handle handle) { return static_cast<int>(handle); }
[[nodiscard]] int LastSocketError();
void SetSocketError(int error);
// Whether it is one that a call of a socket ends with.
inline bool IsSocketError(int error) { return error != 0; }
[[nodiscard]] std::string SocketErrorWords(int error);
// Whether a connect that ended so goes on by itself.
[[nodiscard]] bool GoesOn(int error);

// Neither waits, nor goes to the programs that this one starts.
[[nodiscard]] Socket NewSocket(int family);
[[nodiscard]] Socket AcceptSocket(Handle listening, sockaddr* from, socklen_t* size);
void CloseSocket(Handle handle);

// Keeps every signal away from a thread that is started while this lives: they are for the thread that waits for them.
class SignalsAside {
 public:
  SignalsAside() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &usual_);
  }
  ~SignalsAside() { pthread_sigmask(SIG_SETMASK, &usual_, nullptr); }
  SignalsAside(const SignalsAside&) = delete;
  SignalsAside& operator=(const SignalsAside&) = delete;

 private:
  sigset_t usual_{};
};

}  // namespace zelkor::lib
