// Where a run shows what it does, in a program with windows: the synchronisation window and its log.
#pragma once

#include <string>

#include "lib/user.h"

namespace zelkor::lib {

class RunView {
 public:
  RunView() = default;
  RunView(const RunView&) = delete;
  RunView& operator=(const RunView&) = delete;
  virtual ~RunView() = default;

  // As in lib::User.
  virtual void SetStatus(const std::string& text, bool busy) = 0;
  virtual void ShowLog(const std::string& caption) = 0;
  virtual void LogLine(const std::string& line) = 0;
  virtual void ShowProgress(const Progress& progress) = 0;
  virtual void EndProgress() = 0;
  [[nodiscard]] virtual bool Cancelled() const = 0;
};

}  // namespace zelkor::lib
