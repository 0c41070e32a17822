// The synchronisation window: the targets, the selected one's connection, the commands of its menus and toolbar, and
// where every run shows what it does. It is created on first use and hidden, not destroyed, when it is closed.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>
#include <wx/frame.h>
#include <wx/weakref.h>

#include "lib/run_view.h"
#include "net/log_window.h"
#include "net/sync_commands.h"

class wxButton;
class wxCheckBox;
class wxChoice;
class wxListBox;
class wxSizer;
class wxStaticText;
class wxTextCtrl;

namespace zelkor::net {

class Sync final : public wxFrame, public lib::RunView, private SyncView {
 public:
  // The menu entries, as the menus name them.
  enum Command : int {
    Target_New = wxID_HIGHEST + 1,
    Target_Delete,
    Target_Save,
    Target_Clear,
    Target_DateImport,  // Target_Date with index 1
    Target_DateExport,  // Target_Date with index 2
    Target_TestConn,
    Target_FtpDir,
    Sync_Import,
    Sync_Export,
    Sync_View,
    Sync_Close,
    Log_View,
    Log_History,
    Log_Delete,
    Options_AcceptNetConn,
    Options_Confirm,
    Media_Browse,  // picks the folder of a File target
  };

  Sync(wxWindow* parent, sync::Context& context, lib::Desktop& desktop, SyncHooks hooks);
  ~Sync() override;

  // Call before the window is shown, and whenever the targets have changed from outside.
  void FillTargetList() { commands_.Editing().FillTargetList(); }
  // Shows the window, or brings it to the front.
  void ShowWindow();
  // Call when the catalogue's Occupied() changes: a run has begun or ended.
  void OccupationChanged();
  // Asks the run in hand to end with the file in hand.
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

 private:
  struct Row {
    wxStaticText* caption = nullptr;
    wxTextCtrl* text = nullptr;
    wxString last;  // what stood there before the change at hand
  };

  void MakeMenus();
  void MakeToolBar();
  void MakeControls();
  wxSizer* MakeTargets(wxWindow* panel);
  wxSizer* MakeConnection(wxWindow* panel);
  void BindEvents();
  // A command of the menu, the toolbar or a button.
  void On(Command command, std::function<void()> handler);
  [[nodiscard]] bool CanRun(Command command) const;
  void UpdateCommands();
  void BeginRun();
  void EndRun();
  void EnableControls(bool enabled);

  // The events of the controls and menu entries.
  void List_Click();
  void ConPar_Change(int index);
  void List_KeyDown(wxKeyEvent& event);
  void Form_KeyDown(wxKeyEvent& event);
  void Form_Unload(wxCloseEvent& event);
  void Media_Browse_Click();

  // SyncView
  void ShowTargets(const std::vector<std::string>& entries, int selected) override;
  [[nodiscard]] int Connection() const override;
  void SelectConnection(int index) override;
  void HideRows() override;
  void ShowRow(int index, const ConnectionRow& row) override;
  [[nodiscard]] std::string RowText(int index) const override;
  void SetRowText(int index, const std::string& text) override;
  [[nodiscard]] bool DefaultExclude() const override;
  void SetDefaultExclude(bool excluded) override;
  void EnableView(bool enabled) override;
  void ShowFtpDirCommand(bool shown) override;
  void EnableSave(bool enabled) override;
  void CheckAcceptNetConn(bool checked) override;
  void CheckConfirm(bool checked) override;
  void CloseLogWindow() override;
  void CloseWindow() override;

  [[nodiscard]] Row& RowAt(int index) { return conPar_[static_cast<std::size_t>(index) - 1]; }
  [[nodiscard]] const Row& RowAt(int index) const { return conPar_[static_cast<std::size_t>(index) - 1]; }

  sync::Context& context_;
  SyncCommands commands_;
  LogWindow* log_ = nullptr;

  wxPanel* panel_ = nullptr;
  wxListBox* list_ = nullptr;
  wxStaticText* hint_ = nullptr;  // in place of a connection while no target is selected
  wxStaticText* connectionCaption_ = nullptr;
  wxChoice* connection_ = nullptr;
  std::array<Row, kConnectionRows> conPar_;
  wxButton* browse_ = nullptr;
  wxCheckBox* defaultExclude_ = nullptr;
  wxButton* save_ = nullptr;
  wxStaticText* status_ = nullptr;
  ProgressPanel* progressPanel_ = nullptr;
  wxMenuItem* ftpDir_ = nullptr;  // in its menu, or ours while it is hidden

  bool fitted_ = false;  // the window has taken the size that its controls need
  bool viewEnabled_ = false;
  bool busy_ = false;       // the hourglass is shown
  bool running_ = false;    // a run has opened its log and has not ended
  bool cancelled_ = false;  // and the user wants it to end
  RunProgress progress_;
  wxWeakRef<wxWindow> focusBeforeRun_;
};

}  // namespace zelkor::net
