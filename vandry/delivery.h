// Brings what is in the queue to the other computers, in order for each address and kind, and again after a pause when
// one can not be reached.
//
// A message that somebody waits for (all but the confirmation) is given up after a few attempts. A file and a
// confirmation stay in the queue as long as it keeps them; after the same few attempts the sender is told of the file.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "vandry/log.h"
#include "vandry/loop.h"
#include "vandry/peer.h"
#include "vandry/queue.h"

namespace zelkor::vandry {

class Delivery {
 public:
  // A command came to nothing, or to nothing for now: its word, the address and the reason.
  // `goesOn`: it is only late, and will be tried again.
  using Failed = std::function<void(const std::string& command, const std::string& address, const std::string& reason,
                                    bool goesOn)>;

  Delivery(Loop& loop, Queue& queue, Peers& peers, const Log& log, Failed failed);
  ~Delivery();
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

  // At the start: what is in the queue is on its way.
  void Go();
  // This was put into the queue.
  void Added(const std::string& ticket);
  // What pauses is tried once more, now. Idle says when that is over.
  void TryAllNow();
  // Nothing is on its way, and what is still in the queue was tried since the last TryAllNow, in vain.
  [[nodiscard]] bool Idle() const;
  // Called whenever Idle may have become true.
  std::function<void()> changed;

  // That computer can be reached: what may be for it does not pause any longer.
  void Reached(std::string_view computerId);
  // A file to that computer has moved on.
  void Moved(std::string_view targetId);

 private:
  // What goes to one address one after the other.
  struct Lane {
    std::string ticket;  // on its way; empty: none
    Loop::Timer pause;
    bool tried = false;  // since the last TryAllNow
  };
  // What is known of an entry, since this Vandry was started.
  struct Attempts {
    int inVain = 0;
    bool told = false;
    bool moved = false;
  };

  void Start(Lane& lane, const QueueEntry& entry);
  void Ended(const std::string& ticket, const PeerReply& reply);
  [[nodiscard]] bool IsPatient(const QueueEntry& entry) const;
  void DropStale();

  Loop& loop_;
  Queue& queue_;
  Peers& peers_;
  const Log& log_;
  Failed failed_;
  std::map<std::string, Lane> lanes_;
  std::map<std::string, Attempts> attempts_;
};

}  // namespace zelkor::vandry
