// The log of a run: each line goes to the user at once and, unless the setting "LogToFile" is 0, to a file. Each run
// starts a fresh file and first appends the previous run's to the history, which so holds all earlier runs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lib/files.h"
#include "lib/user.h"

namespace zelkor::sync {

inline constexpr std::string_view kLogName = "ZELKOR";

class SyncLog {
 public:
  // `folder` ends in a backslash; the files are the folder, the log's name, and ".log" or " history.log".
  SyncLog(std::string folder, lib::User& user) : folder_(std::move(folder)), user_(user) {}

  // Starts a run's log under this title. A log file that cannot be written is reported in the log itself; the run goes
  // on without it.
  void OpenLog(std::string_view name, std::string_view title);
  // One line, flushed: it survives whatever happens to the program next.
  void LogLine(std::string_view line);
  // A line that is written together with the next one, which must not be long in coming; Settle writes it alone.
  void LogHeading(std::string_view line) { heading_ = line; }
  void Settle();
  void CloseLog();

  // A failure that the user must see and the log must keep.
  void Report(const std::string& text, lib::Icon icon = lib::Icon::Critical);

 private:
  void OpenFile(std::string_view name);
  void WriteToFile(const std::string& text);

  std::string folder_;
  lib::User& user_;
  lib::File file_;
  std::int64_t length_ = 0;
  std::optional<std::string> heading_;
};

}  // namespace zelkor::sync
