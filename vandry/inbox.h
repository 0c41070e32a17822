// Files of other computers on this one's disk, from their first byte until the program has dealt with them. All of it
// survives a restart.
//
// In Vandry's folder, for a file of the computer lap under the ticket 4f…:
//   in-lap-4f….part   what has come so far
//   in-lap-4f….whole  the whole file, checked
//   in-lap-4f….note   about a whole file: its size, the sender's address, how often it was announced, and the path
//   where
//                     it was put for the program (then there is no .whole)
//   done.txt          tickets that were dealt with, the newest last, so that none is taken twice
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lib/files.h"
#include "lib/status.h"

namespace zelkor::vandry {

// What names an incoming file.
struct InboxKey {
  std::string senderId;
  std::string ticket;

  bool operator==(const InboxKey&) const = default;
};

// A whole file.
struct InboxNote {
  InboxKey key;
  std::int64_t size = 0;
  std::string address;  // the sender's
  int deliveries = 0;
  std::string path;  // where it was put; empty while it is in the folder
};

class Inbox {
 public:
  // `folder` with a final backslash.
  explicit Inbox(std::string folder) : folder_(std::move(folder)) {}

  // Deletes what is older than 30 days.
  void Sweep() const;

  // The part that has come so far, to be continued; an empty one when there is none.
  [[nodiscard]] lib::Result<lib::File> OpenPart(const InboxKey& key) const;
  void DropPart(const InboxKey& key) const;
  // The part is whole and checked. Closed and on the medium when this returns.
  [[nodiscard]] lib::Status Complete(lib::File part, const InboxNote& note) const;

  // Every whole file that is not dealt with, the oldest first.
  [[nodiscard]] std::vector<InboxNote> Notes() const;
  [[nodiscard]] lib::Status WriteNote(const InboxNote& note) const;
  // Puts the file at `path`, where it is whole from its first instant, and counts the delivery.
  [[nodiscard]] lib::Status PutAt(InboxNote& note, const std::string& path) const;
  // Takes it back from there; false when it is not there any more, or not as it was.
  [[nodiscard]] bool TakeBack(InboxNote& note) const;
  // Nothing is left of it here.
  void Forget(const InboxKey& key) const;

  // The whole file lies in the folder.
  [[nodiscard]] bool IsWhole(const InboxKey& key) const;
  // Whether something of that ticket was taken before.
  [[nodiscard]] bool WasDone(const InboxKey& key) const;
  [[nodiscard]] lib::Status Remember(const InboxKey& key) const;

 private:
  [[nodiscard]] std::string NameOf(const InboxKey& key, const char* extension) const;
  [[nodiscard]] std::optional<InboxNote> ReadNote(const InboxKey& key) const;

  std::string folder_;
};

}  // namespace zelkor::vandry
