// The window of a run's log: its lines in a monospaced list that copies, stays quick at 100,000 lines and follows the
// newest one.
#pragma once

#include <functional>
#include <string>
#include <vector>
#include <wx/frame.h>
#include <wx/timer.h>

#include "net/progress_panel.h"

class wxListView;

namespace zelkor::net {

class LogList;

class LogWindow : public wxFrame {
 public:
  // `cancel` is called when the user asks the run to stop.
  LogWindow(wxWindow* parent, std::function<void()> cancel);

  // Shows the window under this caption without taking the keyboard from the window at hand. A window that was closed
  // in between starts with an empty list.
  void Open(const wxString& caption);
  // A new line, in the code page; selected, so that the list scrolls to it.
  void Add(const std::string& line);
  // Draws what was added since the last drawing.
  void Flush();
  [[nodiscard]] const std::vector<std::string>& Lines() const;
  [[nodiscard]] ProgressPanel& Progress() { return *progress_; }

  // The clipboard's text of the selected lines.
  [[nodiscard]] std::string SelectedText() const;
  void Edit_Copy();
  void Edit_SelectAll();

 private:
  void Form_Unload(wxCloseEvent& event);

  LogList* list_ = nullptr;
  ProgressPanel* progress_ = nullptr;
  wxTimer flush_;
};

}  // namespace zelkor::net
