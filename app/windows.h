// The program with windows: what stands behind the main window, put together, and the event loop around it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <wx/modalhook.h>
#include <wx/timer.h>
#include <wx/weakref.h>

#include "app/command_line.h"
#include "app/mw.h"
#include "app/mw_commands.h"
#include "app/mw_rows.h"
#include "app/program_state.h"
#include "app/window_desktop.h"
#include "app/window_user.h"
#include "db/frm_item.h"
#include "db/item_editing.h"
#include "net/sync_window.h"

namespace zelkor::app {

// Knows whether a dialog waits for its answer, the system's own boxes too.
class DialogWatch : private wxModalDialogHook {
 public:
  DialogWatch() { Register(); }
  ~DialogWatch() override { Unregister(); }
  [[nodiscard]] bool AnyShown() const { return shown_ > 0; }

 private:
  int Enter(wxDialog* /*dialog*/) override {
    ++shown_;
    return wxID_NONE;
  }
  void Exit(wxDialog* /*dialog*/) override { --shown_; }

  int shown_ = 0;
};

// Every window of the program and the procedures behind them, for one run. They go with the object.
class Windows {
 public:
  // `end` is called when the program is to end.
  Windows(ProgramState& state, WindowUser& user, MwRows& rows, std::function<void()> end);
  ~Windows();
  Windows(const Windows&) = delete;
  Windows& operator=(const Windows&) = delete;

  [[nodiscard]] mw& Main() { return *main_; }
  [[nodiscard]] db::frmItem& Item() { return *item_; }
  [[nodiscard]] db::ItemEditing& Editing() { return editing_; }
  [[nodiscard]] MwCommands& Commands() { return commands_; }
  // Made at its first use.
  [[nodiscard]] net::Sync& Synchronisation();

 private:
  [[nodiscard]] MwHooks HooksOfMain(std::function<void()> end);
  void ShowSynchronisation();
  void PlaceSideWindows();
  [[nodiscard]] bool ReadyToEnd();
  void OccupationChanged();
  void Saved(const std::string& fileName);

  ProgramState& state_;
  WindowUser& user_;
  DialogWatch dialogs_;
  WindowDesktop desktop_;
  db::ItemEditing editing_;
  MwCommands commands_;
  mw* main_;
  db::frmItem* item_;
  wxWeakRef<net::Sync> synchronisation_;
  std::vector<std::string> saved_;  // in the editor, while something was in hand
  wxTimer messages_;
};

}  // namespace zelkor::app
