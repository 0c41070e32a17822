// What is known of sync files that were sent over the network and not yet confirmed, for the export date that a
// confirmation stores. It stands in "zelkor.net" beside the database, so that it survives the end of the program.
//
// A confirmation tells which computer imported a file, not which file. Each file of a run holds every change from the
// export date that was in force then (its base) up to its own date; so whichever file was confirmed, the date of the
// oldest run that waits is true for certain. It is the one that is stored.
//
// One line a run, ended by LF, the oldest first; fields apart by blanks: computer ID, base, date, the moment of sending
// (the dates in whole seconds since 30 December 1899, the moment since 1 January 1970 UTC), address.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lib/date.h"
#include "lib/status.h"

namespace zelkor::net {

class RunNotes {
 public:
  // `programDir` ends in a backslash.
  explicit RunNotes(std::string_view programDir);

  // A file went out to the target: with its base, the date that its confirmation may store, and the address it went to.
  // Notes that nobody can be waiting for any more are swept.
  [[nodiscard]] lib::Status Add(std::string_view targetId, lib::Date base, lib::Date date, std::string_view address);
  // The target confirmed an import; `lastExport` is its export date now. The date to store; none when nobody waited for
  // this, or the export date was set back since, so that the file does not reach back to it.
  [[nodiscard]] std::optional<lib::Date> Take(std::string_view targetId, lib::Date lastExport);
  // A file went out that does not hold everything that was due: whatever is confirmed now proves nothing.
  void Forget(std::string_view targetId);
  // The file that went last to this address will not arrive.
  void ForgetLast(std::string_view address);

 private:
  struct Note {
    std::string targetId;
    std::int64_t base = 0;
    std::int64_t date = 0;
    std::int64_t sent = 0;
    std::string address;
  };
  [[nodiscard]] std::vector<Note> Read() const;
  [[nodiscard]] lib::Status Write(const std::vector<Note>& notes) const;

  std::string path_;
};

}  // namespace zelkor::net
