#include <utility>

#include "lib/channel.h"
#include "lib/channel_desk.h"
#include "lib/single_copy.h"

namespace zelkor::lib {

std::optional<ChannelRequest> ChannelDesk::NextRequest() {
  if (requests_.empty()) return std::nullopt;
  ChannelRequest request = std::move(requests_.front());
  requests_.pop_front();
  return request;
}

ChannelDesk::Heard ChannelDesk::Hear(ChannelClientId client, bool& open, Frame frame) {
  if (!open) {
    if (frame.kind != FrameKind::Open || frame.number != kFrameVersion) return Heard::Stranger;
    open = true;
    Request({.kind = ChannelRequest::Kind::Opened, .client = client});
    return Heard::Greeting;
  }
  if (frame.kind == FrameKind::Execute) {
    Request({ChannelRequest::Kind::Execute, client, frame.number, std::move(frame.text)});
  } else if (frame.kind == FrameKind::Handled) {
    Request({.kind = ChannelRequest::Kind::Handled, .client = client, .number = frame.number});
  }
  return Heard::Request;
}

struct ChannelServer::State {
  explicit State(std::string_view programDir) : copy(programDir, "vandry") {}

  SingleCopy copy;  // outlives the desk
  std::unique_ptr<ChannelDesk> desk;
};

ChannelServer::ChannelServer() = default;
ChannelServer::~ChannelServer() = default;

Result<std::unique_ptr<ChannelServer>> ChannelServer::Listen(std::string_view programDir) {
  auto server = std::make_unique<ChannelServer>();
  server->state_ = std::make_unique<State>(programDir);
  if (!server->state_->copy.First()) {
    return Status(Cause::Exists, "The local link of [" + std::string(programDir) + "] is served already");
  }
  Result<std::unique_ptr<ChannelDesk>> desk = ChannelDesk::Open(programDir);
  if (!desk.Ok()) return desk.Failure();
  server->state_->desk = std::move(*desk);
  return server;
}

Handle ChannelServer::ReadyHandle() const { return state_->desk->ReadyHandle(); }

void ChannelServer::Turn() { state_->desk->Turn(); }

std::optional<ChannelRequest> ChannelServer::Next() {
  state_->desk->Sweep();
  return state_->desk->NextRequest();
}

void ChannelServer::Taken(ChannelClientId client, std::uint32_t number) {
  state_->desk->Send(client, FrameKind::Taken, number, {});
}
void ChannelServer::Working(ChannelClientId client, std::uint32_t number) {
  state_->desk->Send(client, FrameKind::Working, number, {});
}
void ChannelServer::Reply(ChannelClientId client, std::uint32_t number, std::string_view text) {
  state_->desk->Send(client, FrameKind::Reply, number, text);
}
void ChannelServer::Push(ChannelClientId client, std::uint32_t number, std::string_view text) {
  state_->desk->Send(client, FrameKind::Push, number, text);
}
void ChannelServer::Progress(ChannelClientId client, std::string_view text) {
  state_->desk->Send(client, FrameKind::Progress, 0, text);
}
void ChannelServer::Close(ChannelClientId client) { state_->desk->Close(client); }

}  // namespace zelkor::lib
