// What an export date means: every change up to here has reached this target.
#pragma once

#include <string>

#include "lib/date.h"

namespace zelkor::sync {

// The date to store for a run that ends at `now`: two seconds before (the coarsest file times, those of FAT), and in
// the hour that is repeated when clocks go back the start of that hour.
[[nodiscard]] lib::Date ExportDate(lib::Date now);

// Why a run keeps the target's old export date: the first reason, and how many there were.
class DateHold {
 public:
  // A file that was due could not be read; the run ends as one with errors.
  void HoldForError(const std::string& reason);
  // A file that was due was left out on purpose, for this run only.
  void HoldForChoice(const std::string& reason);

  [[nodiscard]] bool Held() const { return count_ > 0; }
  [[nodiscard]] bool Error() const { return error_; }
  // "Export date kept: …", for the log.
  [[nodiscard]] std::string Line() const;

 private:
  void Hold(const std::string& reason);

  std::string reason_;
  int count_ = 0;
  bool error_ = false;
};

}  // namespace zelkor::sync
