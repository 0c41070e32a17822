#include "sync/export_date.h"

#include "lib/clock.h"

namespace zelkor::sync {

namespace {
constexpr std::int64_t kCoarsestFileTime = 2;  // seconds
}  // namespace

lib::Date ExportDate(lib::Date now) {
  return lib::StartOfRepeatedHour(lib::SecondsToDate(lib::DateToSeconds(now) - kCoarsestFileTime));
}

void DateHold::HoldForError(const std::string& reason) {
  error_ = true;
  Hold(reason);
}

void DateHold::HoldForChoice(const std::string& reason) { Hold(reason); }

void DateHold::Hold(const std::string& reason) {
  if (count_ == 0) reason_ = reason;
  ++count_;
}

std::string DateHold::Line() const {
  std::string line = "Export date kept: " + reason_;
  if (count_ > 1) line += " (and " + std::to_string(count_ - 1) + " more)";
  return line;
}

}  // namespace zelkor::sync
