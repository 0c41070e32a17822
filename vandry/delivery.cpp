#include "vandry/delivery.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>
#include <vector>

#include "lib/clock.h"
#include "lib/text.h"

namespace zelkor::vandry {

namespace {

using std::chrono::seconds;

// The pauses after attempts in vain; the last one goes on.
constexpr std::array kPauses = {seconds{1}, seconds{2}, seconds{4}, seconds{15}, seconds{60}, seconds{300}};
// After so many attempts in vain somebody is told.
constexpr int kAttemptsBeforeTelling = 4;
// A request that nobody waits for any more is not made: seconds.
constexpr std::int64_t kStaleMessage = 600;

constexpr std::string_view kConfirmation = "SyncSuccessfull ";

// A request does not wait behind a file that takes its time or an address that does not answer.
std::string LaneOf(const QueueEntry& entry, bool patient) {
  const char* const kind = entry.IsFile() ? "file " : (patient ? "confirmation " : "request ");
  return kind + entry.address;
}

std::string CommandOf(const QueueEntry& entry) { return entry.IsFile() ? "NetFileSend" : "NetTrans"; }

}  // namespace

Delivery::Delivery(Loop& loop, Queue& queue, Peers& peers, const Log& log, Failed failed)
    : loop_(loop), queue_(queue), peers_(peers), log_(log), failed_(std::move(failed)) {
  DropStale();
}

Delivery::~Delivery() = default;

bool Delivery::IsPatient(const QueueEntry& entry) const {
  return entry.IsFile() || entry.text.compare(0, kConfirmation.size(), kConfirmation) == 0;
}

void Delivery::DropStale() {
  std::vector<std::string> stale;
  for (const QueueEntry& entry : queue_.Entries()) {
    if (!IsPatient(entry) && entry.created < lib::NowUtc() - kStaleMessage) stale.push_back(entry.ticket);
  }
  for (const std::string& ticket : stale) queue_.Remove(ticket);
}

void Delivery::Added(const std::string& ticket) {
  const QueueEntry* const entry = queue_.Find(ticket);
  if (entry != nullptr) lanes_[LaneOf(*entry, IsPatient(*entry))].pause.End();
  Go();
}

void Delivery::Go() {
  for (const QueueEntry& entry : queue_.Entries()) {
    Lane& lane = lanes_[LaneOf(entry, IsPatient(entry))];
    if (lane.ticket.empty() && !lane.pause.IsActive()) Start(lane, entry);
  }
}

void Delivery::TryAllNow() {
  for (auto& [name, lane] : lanes_) {
    lane.tried = false;
    lane.pause.End();
  }
  Go();
}

void Delivery::Reached(std::string_view computerId) {
  for (const QueueEntry& entry : queue_.Entries()) {
    // Of a message only the address is known.
    if (!entry.IsFile() || entry.targetId == computerId) lanes_[LaneOf(entry, IsPatient(entry))].pause.End();
  }
  Go();
}

bool Delivery::Idle() const {
  return std::all_of(queue_.Entries().begin(), queue_.Entries().end(), [this](const QueueEntry& entry) {
    const auto lane = lanes_.find(LaneOf(entry, IsPatient(entry)));
    return lane != lanes_.end() && lane->second.ticket.empty() && lane->second.tried;
  });
}

void Delivery::Moved(std::string_view targetId) {
  for (const auto& [name, lane] : lanes_) {
    const QueueEntry* entry = lane.ticket.empty() ? nullptr : queue_.Find(lane.ticket);
    if (entry != nullptr && entry->IsFile() && entry->targetId == targetId) attempts_[lane.ticket].moved = true;
  }
}

void Delivery::Start(Lane& lane, const QueueEntry& entry) {
  lane.ticket = entry.ticket;
  const auto done = [this, ticket = entry.ticket](const PeerReply& reply) { Ended(ticket, reply); };
  if (entry.IsFile()) {
    peers_.SendFile({.ticket = entry.ticket,
                     .address = entry.address,
                     .ownId = entry.ownId,
                     .targetId = entry.targetId,
                     .path = entry.path},
                    done);
  } else {
    peers_.SendMessage(entry.ticket, entry.address, entry.text, done);
  }
}

void Delivery::Ended(const std::string& ticket, const PeerReply& reply) {
  const QueueEntry* const found = queue_.Find(ticket);
  if (found == nullptr) return;
  const QueueEntry entry = *found;
  Lane& lane = lanes_[LaneOf(entry, IsPatient(entry))];
  lane.ticket.clear();
  Attempts& attempts = attempts_[ticket];
  if (std::exchange(attempts.moved, false)) attempts.inVain = 0;
  if (!reply.Ok()) ++attempts.inVain;
  const std::string what = CommandOf(entry) + " to " + entry.address + (entry.IsFile() ? " for " + entry.targetId : "");
  const bool again =
      !reply.Ok() && reply.worthRepeating && (IsPatient(entry) || attempts.inVain < kAttemptsBeforeTelling);
  // A disk does not become empty by trying again: somebody has to know.
  const bool worthTelling = attempts.inVain >= kAttemptsBeforeTelling || reply.error == PeerError::NoRoom;
  const bool tell = !reply.Ok() && (!again || (!attempts.told && worthTelling));
  // Of a confirmation nobody needs to know that it is late.
  const bool silent = again && !entry.IsFile();
  if (attempts.inVain <= 1 || !again) log_.Line(what + (reply.Ok() ? ": done" : ": " + reply.text));
  if (again) {
    const auto pause =
        kPauses[std::min<std::size_t>(static_cast<std::size_t>(attempts.inVain) - 1, kPauses.size() - 1)];
    lane.tried = true;
    lane.pause = loop_.After(pause, [this] { Go(); });
    attempts.told = attempts.told || (tell && !silent);
  } else {
    attempts_.erase(ticket);
    queue_.Remove(ticket);
    // A failure of another entry says nothing of this one's turn.
    lane.tried = false;
  }
  if (tell && !silent) failed_(CommandOf(entry), entry.address, reply.text, again);
  Go();
  if (changed) changed();
}

}  // namespace zelkor::vandry
