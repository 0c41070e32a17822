// The window of a run's log: its lines in a monospaced list that copies, stays quick at 100,000 lines and follows the
// newest one.
#pragma once

#include <functional>
#include <string>
#include <wx/frame.h>
#include <wx/timer.h>

#include "net/log_list.h"
#include "net/progress_panel.h"

namespace zelkor::net {

class LogWindow : public wxFrame {
 public:
  // `cancel` is called when the user asks the run to stop; Escape does while its progress is shown.
  LogWindow(wxTopLevelWindow& parent, const std::function<void()>& cancel);

  // Shows the window under this caption without taking the keyboard from the window at hand. A window that was closed
  // in between starts with an empty list.
  void Open(const std::string& caption);
  // A new line, in the code page; selected, so that the list scrolls to it.
  void LogLine(const std::string& line);
  // Draws the lines that are not drawn yet; they are at most a few hundredths of a second old.
  void Flush();

  // The run is over: its progress goes, its last lines are drawn.
  void EndRun();

  // The selected lines go to the clipboard.
  void Edit_Copy();
  void Edit_SelectAll();

  [[nodiscard]] LogList& List() { return *list_; }
  [[nodiscard]] ProgressPanel& Progress() { return *progress_; }

 private:
  void ShowMenu();
  void Form_Activate(wxActivateEvent& event);
  void Form_Unload(wxCloseEvent& event);

  wxTopLevelWindow& parent_;
  LogList* list_ = nullptr;
  ProgressPanel* progress_ = nullptr;
  wxTimer timer_;
  double drawn_ = 0;  // when, in seconds
  // Until then (in seconds) an activation is the desktop's doing, not the user's.
  double keyboardGoesBackUntil_ = 0;
};

}  // namespace zelkor::net
