// The main window: the items in a list, a menu bar, a toolbar, a status line, and a search typed straight into it. What
// the commands do is in mw_commands.h and db/item_editing.h.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <wx/frame.h>
#include <wx/menu.h>

#include "app/details_view.h"
#include "app/main_view.h"
#include "app/mw_commands.h"
#include "app/mw_rows.h"
#include "app/program_state.h"
#include "app/status_line.h"
#include "app/tiles_view.h"
#include "db/item_editing.h"
#include "lib/gui/tray_icon.h"

namespace zelkor::app {

// The menus' entries; a control array's index is added to its first one. Apart from the numbers of other windows, whose
// unhandled events come here too.
enum MwEntry : int {
  File_Sync = wxID_HIGHEST + 1000,
  File_Extensions,  // 1 view types, 2 run types
  File_ExtensionsLast = File_Extensions + 2,
  File_UserID,
  File_ReMap,
  File_SysTray,
  File_Optimize,
  File_Exit,
  Edit_Properties,
  Edit_Add,
  Edit_Delete,
  Edit_ListFiles,
  Edit_MemoST,  // 0 Auto, 1 On, 2 Off
  Edit_MemoSTLast = Edit_MemoST + 2,
  View_View,  // 0 icons, 1 small icons, 2 list, 3 details
  View_ViewLast = View_View + 3,
  Filter_Standard,
  Filter_SelectAll,
  Filter_SelectDeleted,
  Filter_Select,
  Filter_Exclude,
  Help_Help,
  Help_WWW,
  Help_About,
  SysTray_Restore,
  SysTray_Exit,
};

// The index of the detailed view.
inline constexpr int kDetailsView = 3;

// What the window has others do.
struct MwHooks {
  std::function<void()> synchronize;       // shows the synchronisation window
  std::function<void()> placeSideWindows;  // beside Place()
  std::function<void()> cancelRun;         // has a run end between two files
  std::function<bool()> dialogShown;       // whether a dialog waits for its answer
  std::function<bool()> readyToEnd;        // lets the other windows save; false when one of them wants to stay
  std::function<void()> endProgram;        // ends the event loop
};

class mw : public wxFrame, public MainView, public db::CurrentItemView {
 public:
  mw(ProgramState& state, MwRows& rows, db::ItemEditing& editing, MwCommands& commands, MwHooks hooks);
  ~mw() override;

  // MainView
  [[nodiscard]] FormPosition Position() const override;
  [[nodiscard]] FormPosition Screen() const override;
  void Place(const FormPosition& place) override;
  void PlaceSideWindows() override { hooks_.placeSideWindows(); }
  void SetCaption(const std::string& caption) override;
  void ShowWindow() override;
  void Minimise() override;
  void ShowStatus(const std::string& text) override;
  void CheckSysTray(bool checked) override;
  bool SetTrayIcon(bool shown) override;
  void EndProgram() override { hooks_.endProgram(); }

  // Where it was placed; also while it is maximised.
  [[nodiscard]] const FormPosition& Placed() const { return placed_; }

  // db::CurrentItemView
  void ShowCurrentItem(const db::CurrentItem& item) override;

  // The catalogue's Occupied() has changed.
  void OccupationChanged();
  // The end of the program as its user asks for it: a run in hand is ended first.
  void RequestExit();

  void List_ColumnClick(int column);
  void List_DblClick();
  void List_ItemClick(int row);
  void List_MouseUp(const wxPoint& place);
  // Native paths.
  void List_OLEDragDrop(const wxArrayString& files);
  void View_View_Click(int index);
  void SysTray_Restore_Click();
  void SysTray_Exit_Click();

  [[nodiscard]] StatusLine& Status() { return *status_; }
  [[nodiscard]] DetailsView& Details() { return *details_; }
  [[nodiscard]] TilesView& Tiles() { return *tiles_; }

 private:
  void MakeMenus();
  [[nodiscard]] wxMenu* MakeEditMenu();
  void MakeToolbar();
  void MakeViews();
  void BindEntries();
  void OnEntry(int entry, std::function<void()> handler);
  void OnArray(int first, int last, std::function<void(int)> handler);
  void UpdateEntries();
  void OnUpdateUi(wxUpdateUIEvent& event);
  [[nodiscard]] bool Enabled(int entry) const;
  [[nodiscard]] bool Checked(int entry) const;
  [[nodiscard]] bool InHand() const { return state_.catalogue.Occupied().InHand(); }
  // Hidden in the tray it counts as minimised too.
  [[nodiscard]] bool Minimised() const { return IsIconized() || (!IsShown() && shown_); }
  [[nodiscard]] int ShownView() const;
  [[nodiscard]] ItemView& Shown();

  // The window sees keys before its controls. True when the key is swallowed.
  bool Form_KeyPress(const wxKeyEvent& event);
  void Form_Resize(wxIconizeEvent& event);
  // The tray's notifications, while the window is minimised.
  void Form_MouseMove(wxMouseEvent& event);
  void Form_Unload(wxCloseEvent& event);
  void EndNow();
  void RowsChanged();
  void RowSelected();
  void ShowRowsNow();
  void ShowHint();

  void File_UserID_Click();
  void File_SysTray_Click();
  void File_Exit_Click() { Close(); }
  void Help_About_Click();

  ProgramState& state_;
  MwRows& rows_;
  db::ItemEditing& editing_;
  MwCommands& commands_;
  MwHooks hooks_;
  std::unique_ptr<lib::TrayIcon> tray_;
  StatusLine* status_ = nullptr;
  DetailsView* details_ = nullptr;
  TilesView* tiles_ = nullptr;
  FormPosition placed_;
  std::string deleteCaption_ = "&Delete...";
  std::string selectionText_;  // shown last
  bool sysTrayChecked_ = false;
  bool rowsStale_ = false;     // the views have not yet heard of a change of the rows
  bool currentStale_ = false;  // the current row has changed while something was in hand
  bool exitWanted_ = false;    // once what is in hand has ended
  bool shown_ = false;         // since then a hidden window is one in the tray
  bool ending_ = false;
};

}  // namespace zelkor::app
