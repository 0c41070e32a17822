// Every command of the synchronisation window, without the window.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "lib/desktop.h"
#include "net/target_editing.h"
#include "sync/context.h"
#include "sync/import.h"

namespace zelkor::net {

// What the commands call beyond the runs themselves. An empty function is not called.
struct SyncHooks {
  std::function<void()> startLink;         // opens the link to Vandry
  std::function<void()> testConnection;    // of the current target record
  std::function<void()> showFtpDirectory;  // of the current target record
  std::function<void()> beforeRun;         // applies what other windows hold unapplied
  std::function<void()> itemsChanged;      // after an import: the main list is out of date
};

// A longer history is not opened in the editor, in bytes.
inline constexpr std::int64_t kLongestHistory = 64000;

class SyncView : public TargetView {
 public:
  virtual void CheckAcceptNetConn(bool checked) = 0;
  virtual void CheckConfirm(bool checked) = 0;
  // Closes the window of the log if it is visible.
  virtual void CloseLogWindow() = 0;
  virtual void CloseWindow() = 0;
};

class SyncCommands {
 public:
  SyncCommands(sync::Context& context, lib::Desktop& desktop, SyncView& view, SyncHooks hooks);

  // The marks of the options as the settings say.
  void Load();

  void Target_New();
  void Target_Delete();
  void Target_Save();
  void Target_Clear();
  // Index 1 sets the import date, 2 the export date.
  void Target_Date(int index);
  void Target_TestConn();
  void Target_FtpDir();
  void Sync_Import();
  void Sync_Export();
  void Sync_View();
  void Sync_Close();
  void Log_View();
  void Log_History();
  void Log_Delete();
  void Options_AcceptNetConn();
  void Options_Confirm();

  // The window is about to close. False, after a message, when it must stay.
  bool Closing();

  [[nodiscard]] TargetEditing& Editing() { return editing_; }
  [[nodiscard]] const TargetEditing& Editing() const { return editing_; }

 private:
  // Saves, and reads the selected target into the current record. False when there is none, when a run is in hand or
  // when the edits could not be saved.
  bool ReadyOnTarget();
  void Import(sync::ImportMode mode);
  [[nodiscard]] bool InHand() const { return context_.catalogue.Occupied().InHand(); }
  [[nodiscard]] std::string LogPath() const;
  [[nodiscard]] std::string HistoryPath() const;

  sync::Context& context_;
  lib::Desktop& desktop_;
  SyncView& view_;
  SyncHooks hooks_;
  TargetEditing editing_;
  bool acceptNetConn_ = false;
  bool confirm_ = false;
};

}  // namespace zelkor::net
