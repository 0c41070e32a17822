// The synchronisation window: the targets, the selected one's connection, the commands of its menus and toolbar, and
// where every run shows what it does. It is created on first use and hidden, not destroyed, when it is closed.
#pragma once

#include <array>
#include <string>
#include <vector>
#include <wx/frame.h>

#include "lib/run_view.h"
#include "net/log_window.h"
#include "net/sync_commands.h"

class wxCheckBox;
class wxChoice;
class wxListBox;
class wxStaticText;
class wxTextCtrl;

namespace zelkor::net {

class Sync : public wxFrame, public lib::RunView, private SyncView {
 public:
  Sync(wxWindow* parent, sync::Context& context, lib::Desktop& desktop, SyncHooks hooks);
  ~Sync() override;

  // Call before the window is shown, and whenever the targets have changed from outside.
  void FillTargetList() { commands_.Editing().FillTargetList(); }
  // Shows the window, or brings it to the front.
  void ShowWindow();
  // Call when the catalogue's Occupied() changes: a run has begun or ended.
  void OccupationChanged();
  // Asks the run to end with the file in hand.
  void CancelRun();
  // Writes unsaved edits, as every command does; call before the program ends. False when they can not be stored and
  // a message has said so.
  bool SaveTarget() { return commands_.Editing().SaveTarget(); }

  // lib::RunView
  void SetStatus(const std::string& text, bool busy) override;
  void ShowLog(const std::string& caption) override;
  void LogLine(const std::string& line) override;
  void ShowProgress(const lib::Progress& progress) override;
  void EndProgress() override;
  [[nodiscard]] bool Cancelled() const override { return cancelled_; }

  [[nodiscard]] LogWindow& Log() { return *log_; }
};

}  // namespace zelkor::net
