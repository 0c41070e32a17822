// The user in front of the windows: message boxes, questions, file choices, the wait dialog. Runs show in the
// synchronisation window.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <wx/weakref.h>
#include <wx/window.h>

#include "lib/run_view.h"
#include "lib/user.h"

class wxDialog;

namespace zelkor::app {

class WindowUser : public lib::User {
 public:
  // Where runs show; `view` is asked for it at first use, so that the window need not exist before.
  void ShowRunsIn(std::function<lib::RunView&()> view) { runView_ = std::move(view); }

  // The window that a box belongs to: the one the user works in. Behind a box that was just answered that is the same
  // one, whichever the system makes active for the moment; else the next box could fetch the main window to the front.
  wxWindow* Owner();

  lib::Button Ask(const lib::Box& box) override;
  // Whoever closes a box has answered.
  [[nodiscard]] bool InputEnded() const override { return false; }
  // The box gets a Cancel button, the way out.
  bool Retry(const lib::Box& box) override;
  std::string Input(const std::string& prompt, const std::string& title, const std::string& preset) override;
  [[nodiscard]] bool CanChooseFile() const override { return true; }
  std::string ChooseFile(const std::string& title, const std::string& filter, const std::string& folder) override;
  void PendingEvents() override;
  [[nodiscard]] bool Cancelled() const override;
  bool WaitFor(const std::string& caption, const std::function<bool()>& done) override;
  void SetStatus(const std::string& text, bool busy) override;
  void ShowLog(const std::string& caption) override;
  void LogLine(const std::string& line) override;
  [[nodiscard]] bool ShowsProgress() const override { return true; }
  void ShowProgress(const lib::Progress& progress) override;
  void EndProgress() override;

 private:
  int Show(wxDialog& dialog);

  std::function<lib::RunView&()> runView_;
  wxWeakRef<wxWindow> owner_;
  std::chrono::steady_clock::time_point answered_;
  std::chrono::steady_clock::time_point eventsServed_;
};

}  // namespace zelkor::app
