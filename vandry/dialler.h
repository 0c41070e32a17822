// The way to an open connection: the name is looked up, and its addresses are tried one after the other.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "lib/sockets.h"
#include "vandry/loop.h"
#include "vandry/peer_address.h"

namespace zelkor::vandry {

class Dialler {
 public:
  // Why there is no connection: NotFound for an unknown name, else Failed.
  using Done = std::function<void(lib::Result<lib::Socket>)>;

  // `done` is called once, from the loop, unless the object goes first; the object may go inside it.
  Dialler(Loop& loop, const PeerAddress& address, Done done);
  Dialler(const Dialler&) = delete;
  Dialler& operator=(const Dialler&) = delete;

 private:
  void LookedUp();
  void TryNext(lib::Status lastFailure);
  void Connected();
  void Finish(lib::Result<lib::Socket> result);

  Loop& loop_;
  Done done_;
  lib::HostLookup lookup_;
  std::vector<lib::SocketAddress> addresses_;
  std::size_t next_ = 0;
  lib::Socket socket_;
  // Behind what it watches, so that it goes first.
  Loop::Watch watch_;
  Loop::Timer patience_;
};

}  // namespace zelkor::vandry
