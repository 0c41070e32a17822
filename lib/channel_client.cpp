#include <algorithm>
#include <deque>
#include <utility>

#include "lib/channel.h"
#include "lib/channel_wire.h"

namespace zelkor::lib {

using std::chrono::milliseconds;

struct ChannelClient::State {
  std::unique_ptr<ChannelWire> wire;
  std::deque<ChannelEvent> events;
  bool closedTold = false;
};

namespace {

// The greeting that shows that somebody is awake at the other end. One that ends before it greets was on its way out:
// then nobody serves.
Status Greet(ChannelWire& wire, std::string_view programDir, ChannelWire::Clock::time_point end) {
  wire.Send(FrameKind::Open, kFrameVersion, {});
  for (milliseconds patience{0};; patience = TimeLeft(end)) {
    wire.Turn(patience);
    if (const std::optional<Frame> frame = wire.Next()) {
      if (frame->kind == FrameKind::Open && frame->number == kFrameVersion) return {};
      return {Cause::Failed, "The networking program is of another version"};
    }
    if (!wire.IsOpen()) return NobodyServesChannel(programDir);
    if (ChannelWire::Clock::now() >= end) return NoChannelAnswer();
  }
}

std::optional<ChannelEvent::Kind> EventKind(FrameKind kind) {
  switch (kind) {
    case FrameKind::Taken:
      return ChannelEvent::Kind::Taken;
    case FrameKind::Working:
      return ChannelEvent::Kind::Working;
    case FrameKind::Reply:
      return ChannelEvent::Kind::Reply;
    case FrameKind::Push:
      return ChannelEvent::Kind::Push;
    case FrameKind::Progress:
      return ChannelEvent::Kind::Progress;
    case FrameKind::Open:
    case FrameKind::Execute:
    case FrameKind::Handled:
      break;
  }
  return std::nullopt;
}

}  // namespace

Status NobodyServesChannel(std::string_view programDir) {
  return {Cause::NotFound, "Nobody serves the local link of [" + std::string(programDir) + "]"};
}

Status NoChannelAnswer() { return {Cause::Failed, "The networking program does not answer"}; }

milliseconds TimeLeft(ChannelWire::Clock::time_point end) {
  return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(end - ChannelWire::Clock::now()));
}

ChannelClient::ChannelClient() : state_(std::make_unique<State>()) {}
ChannelClient::~ChannelClient() = default;

Result<std::unique_ptr<ChannelClient>> ChannelClient::Connect(std::string_view programDir, milliseconds patience) {
  const ChannelWire::Clock::time_point end = ChannelWire::Clock::now() + patience;
  Result<std::unique_ptr<ChannelWire>> wire = ChannelWire::Connect(programDir, end);
  if (!wire.Ok()) return wire.Failure();
  if (const Status greeted = Greet(**wire, programDir, end); !greeted.Ok()) return greeted;
  auto client = std::make_unique<ChannelClient>();
  client->state_->wire = std::move(*wire);
  return client;
}

bool ChannelClient::IsOpen() const { return state_->wire != nullptr && state_->wire->IsOpen(); }

Status ChannelClient::Execute(std::uint32_t number, std::string_view command) {
  if (command.size() > kMostChannelText) return {Cause::Damaged, "The command is too long"};
  if (!IsOpen()) return {Cause::Failed, "The local link is closed"};
  state_->wire->Send(FrameKind::Execute, number, command);
  return {};
}

void ChannelClient::Handled(std::uint32_t number) {
  if (IsOpen()) state_->wire->Send(FrameKind::Handled, number, {});
}

void ChannelClient::Turn(milliseconds patience) {
  if (IsOpen()) state_->wire->Turn(patience);
  while (std::optional<Frame> frame = state_->wire == nullptr ? std::nullopt : state_->wire->Next()) {
    const std::optional<ChannelEvent::Kind> kind = EventKind(frame->kind);
    if (kind) state_->events.push_back({*kind, frame->number, std::move(frame->text)});
  }
  if (!IsOpen() && !state_->closedTold) {
    state_->closedTold = true;
    state_->events.push_back({});
  }
}

std::optional<ChannelEvent> ChannelClient::Next() {
  if (state_->events.empty()) return std::nullopt;
  ChannelEvent event = std::move(state_->events.front());
  state_->events.pop_front();
  return event;
}

}  // namespace zelkor::lib
