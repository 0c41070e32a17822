// What is still to go to other computers: messages and files, on disk, so that it survives the end of Vandry. Each
// entry is a small text file in the queue's folder, and for a file to send the file itself beside it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lib/status.h"

namespace zelkor::vandry {

struct QueueEntry {
  // Names the entry, also to the other computer: letters and digits, in the order of the entries.
  std::string ticket;
  std::string address;
  std::int64_t created = 0;  // seconds since 1970 in UTC
  std::string text;          // a message; empty: a file
  std::string ownId;
  std::string targetId;
  std::string path;  // of the file

  [[nodiscard]] bool IsFile() const { return text.empty(); }
};

class Queue {
 public:
  // `folder` with a final backslash; it is made when something is put in. Entries of `now` minus 30 days and before are
  // deleted, and so is what a kill left half made.
  explicit Queue(std::string folder);

  [[nodiscard]] const std::vector<QueueEntry>& Entries() const { return entries_; }
  [[nodiscard]] const QueueEntry* Find(std::string_view ticket) const;

  // The new entry's ticket.
  [[nodiscard]] lib::Result<std::string> AddMessage(std::string_view address, std::string_view text);

  // A file gets into the queue in three steps: a place for it, the file moved or copied there by the caller, and the
  // entry, from which on it is the queue's. A place without an entry is swept at the next start.
  [[nodiscard]] lib::Result<QueueEntry> PlaceForFile(std::string_view address, std::string_view ownId,
                                                     std::string_view targetId);
  [[nodiscard]] lib::Status AddFile(const QueueEntry& entry);

  // Done with, or given up.
  void Remove(std::string_view ticket);

 private:
  [[nodiscard]] std::string NewTicket();
  [[nodiscard]] lib::Status Write(const QueueEntry& entry);
  void Load();

  std::string folder_;
  std::vector<QueueEntry> entries_;
  std::uint32_t last_ = 0;
};

}  // namespace zelkor::vandry
