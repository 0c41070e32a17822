#include "vandry/dialler.h"

#include <utility>

namespace zelkor::vandry {

namespace {

// For one of several addresses; the last one has all the time that is left.
constexpr Loop::Milliseconds kPerAddress{3000};

}  // namespace

Dialler::Dialler(Loop& loop, const PeerAddress& address, Done done)
    : loop_(loop), done_(std::move(done)), lookup_(address.host, address.port) {
  watch_ = loop_.WatchHandle(lookup_.Readiness(), true, false, [this](Loop::Ready) { LookedUp(); });
}

void Dialler::LookedUp() {
  watch_.End();
  lib::Result<std::vector<lib::SocketAddress>> found = lookup_.Found();
  if (!found.Ok()) {
    Finish(found.Failure());
    return;
  }
  addresses_ = std::move(*found);
  TryNext({});
}

void Dialler::TryNext(lib::Status lastFailure) {
  patience_.End();
  watch_.End();
  socket_.Close();
  while (next_ < addresses_.size()) {
    lib::Result<lib::Socket> started = lib::StartConnecting(addresses_[next_++]);
    if (!started.Ok()) {
      lastFailure = started.Failure();
      continue;
    }
    socket_ = std::move(*started);
    watch_ = loop_.WatchHandle(socket_.Get(), false, true, [this](Loop::Ready) { Connected(); });
    if (next_ < addresses_.size()) {
      patience_ = loop_.After(kPerAddress, [this] { TryNext({lib::Cause::Failed, "It does not answer"}); });
    }
    return;
  }
  Finish(std::move(lastFailure));
}

void Dialler::Connected() {
  if (lib::Status outcome = lib::ConnectOutcome(socket_); !outcome.Ok()) {
    TryNext(std::move(outcome));
    return;
  }
  patience_.End();
  watch_.End();
  Finish(std::move(socket_));
}

void Dialler::Finish(lib::Result<lib::Socket> result) {
  // The object may go inside the call, and the function with it.
  const Done done = std::move(done_);
  done(std::move(result));
}

}  // namespace zelkor::vandry
