// The user of an unattended run: messages on standard error, questions answered by lines of standard input, the log on
// standard output, progress as one line on a terminal.
#pragma once

#include <string>

#include "lib/user.h"

namespace zelkor::app {

class ConsoleUser : public lib::User {
 public:
  ConsoleUser();
  ~ConsoleUser() override;

  lib::Button Ask(const lib::Box& box) override;
  [[nodiscard]] bool InputEnded() const override { return inputEnded_; }
  bool Retry(const lib::Box& box) override;
  std::string Input(const std::string& prompt, const std::string& title, const std::string& preset) override;
  [[nodiscard]] bool CanChooseFile() const override { return false; }
  std::string ChooseFile(const std::string& title, const std::string& filter, const std::string& folder) override;
  void PendingEvents() override { WriteLines(); }
  [[nodiscard]] bool Cancelled() const override;
  bool WaitFor(const std::string& caption, const std::function<bool()>& done) override;
  void SetStatus(const std::string& /*text*/, bool /*busy*/) override {}
  void ShowLog(const std::string& /*caption*/) override {}
  void LogLine(const std::string& line) override;
  [[nodiscard]] bool ShowsProgress() const override { return terminal_; }
  void ShowProgress(const lib::Progress& progress) override;
  void EndProgress() override;

 private:
  // "Zelkor: " and the text as one line, in UTF-8.
  void Say(const std::string& text);
  void DrawProgress(const std::string& line);
  void WriteLines();

  const bool terminal_;      // standard error is one: progress is shown
  const bool outputShared_;  // standard output is one too: its lines and the progress line share the screen
  bool inputEnded_ = false;
  std::string lines_;  // of the log, in UTF-8, not written yet: those of one moment go out together
  std::string shownProgress_;
  double progressStarted_ = 0;
  double progressDrawn_ = 0;
};

}  // namespace zelkor::app
