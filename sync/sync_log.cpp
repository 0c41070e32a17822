#include "sync/sync_log.h"

#include <utility>

#include "lib/clock.h"
#include "lib/format.h"
#include "lib/settings.h"
#include "lib/text.h"

namespace zelkor::sync {

void SyncLog::OpenLog(std::string_view name, std::string_view title) {
  CloseLog();
  user_.ShowLog("Sync Log");
  if (lib::GetIniNumber("Zelkor", "LogToFile", 1) != 0) OpenFile(name);
  LogLine(lib::GeneralDate(lib::Now()) + " " + std::string(title));
}

void SyncLog::OpenFile(std::string_view name) {
  const std::string logPath = folder_ + std::string(name) + ".log";
  const std::string historyPath = folder_ + std::string(name) + " history.log";
  lib::File history;
  lib::File log;
  if (lib::OpenFileSafe(historyPath, 'b', history, 0, user_) == 0 &&
      lib::OpenFileSafe(logPath, 'b', log, 0, user_) == 0) {
    // The previous log is emptied only when the history has it whole.
    lib::Status moved = lib::CopyFileData(log, history);
    if (moved.Ok()) moved = log.SetLength(0);
    if (moved.Ok()) {
      file_ = std::move(log);
      length_ = 0;
      return;
    }
    user_.LogLine("The log file is not written: " + moved.Message());
    return;
  }
  user_.LogLine("The log file is not written: can not open [" + logPath + "]");
}

void SyncLog::LogLine(std::string_view line) {
  const std::optional<std::string> heading = std::exchange(heading_, std::nullopt);
  WriteToFile((heading ? *heading + "\r\n" : std::string()) + std::string(line) + "\r\n");
  if (heading) user_.LogLine(*heading);
  user_.LogLine(std::string(line));
  user_.PendingEvents();
}

void SyncLog::Settle() {
  if (const std::optional<std::string> heading = std::exchange(heading_, std::nullopt)) LogLine(*heading);
}

void SyncLog::WriteToFile(const std::string& text) {
  if (!file_.IsOpen()) return;
  const lib::Status written = file_.WriteAt(length_, text);
  if (written.Ok()) {
    length_ += static_cast<std::int64_t>(text.size());
    return;
  }
  file_.Close();
  user_.LogLine("The log file ends here: " + written.Message());
}

void SyncLog::CloseLog() {
  Settle();
  file_.Close();
}

void SyncLog::Report(const std::string& text, lib::Icon icon) {
  Settle();
  user_.Message(text, icon);
  LogLine(lib::ReplaceAll(text, "\r\n", " "));
}

}  // namespace zelkor::sync
