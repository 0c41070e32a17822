// The main window's menus and toolbar: what stands in them, and what it runs.

#include <array>
#include <utility>
#include <wx/toolbar.h>

#include "app/mw.h"
#include "lib/gui/icons.h"
#include "lib/gui/text.h"

namespace zelkor::app {

void mw::MakeMenus() {
  auto* settings = new wxMenu;
  settings->Append(File_Extensions + 1, "File &View types...");
  settings->Append(File_Extensions + 2, "File &Run types...");
  auto* file = new wxMenu;
  file->Append(File_Sync, "S&ynchronize...");
  file->AppendSubMenu(settings, "&Settings");
  file->Append(File_UserID, "&Computer &name...");
  file->Append(File_ReMap, "&ReMapping...");
  file->AppendCheckItem(File_SysTray, "&System tray");
  file->AppendSeparator();
  file->Append(File_Optimize, "&Compact...");
  file->Append(File_Exit, "E&xit");

  auto* view = new wxMenu;
  int entry = View_View;
  for (const char* caption : {"&Icons", "&Small icons", "&List", "&Detailed list"})
    view->AppendRadioItem(entry++, caption);

  auto* filter = new wxMenu;
  filter->Append(Filter_Standard, "Default filter");
  filter->Append(Filter_SelectAll, "Select &all");
  filter->Append(Filter_SelectDeleted, "Select &deleted");
  filter->Append(Filter_Select, "&Select...");
  filter->Append(Filter_Exclude, "&Exclude...");

  auto* help = new wxMenu;
  help->Append(Help_Help, "&Help  topics...");
  help->AppendSeparator();
  help->Append(Help_WWW, "&Zelkor WWW forum...");
  help->AppendSeparator();
  help->Append(Help_About, "&About Zelkor!...");

  auto* bar = new wxMenuBar;
  bar->Append(file, "&File");
  bar->Append(MakeEditMenu(), "&Edit");
  bar->Append(view, "&View");
  bar->Append(filter, "F&ilter");
  bar->Append(help, "&Help");
  SetMenuBar(bar);
  // The key that everybody tries first; the captions have no room for it.
  wxAcceleratorEntry helpKey(wxACCEL_NORMAL, WXK_F1, Help_Help);
  SetAcceleratorTable(wxAcceleratorTable(1, &helpKey));
}

wxMenu* mw::MakeEditMenu() {
  auto* edit = new wxMenu;
  edit->Append(Edit_Properties, "&Properties...");
  edit->Append(Edit_Add, "&Add...");
  edit->Append(Edit_Delete, lib::ToWx(deleteCaption_));
  edit->Append(Edit_ListFiles, "List &files...");
  edit->AppendSeparator();
  int entry = Edit_MemoST;
  for (const std::string& choice : db::kSyncMethodChoices) edit->AppendCheckItem(entry++, lib::ToWx(choice));
  return edit;
}

void mw::MakeToolbar() {
  struct ToolbarButton {
    int entry;
    const char* key;
    const char* caption;
  };
  constexpr std::array<ToolbarButton, 6> kButtons{{{File_Sync, "Sync", "Synchronize"},
                                                   {Edit_Add, "MemoNew", "Add an item"},
                                                   {Edit_Properties, "MemoProperties", "Properties of the item"},
                                                   {Edit_Delete, "MemoDelete", "Delete the item"},
                                                   {Filter_Select, "Select", "Select items by codes"},
                                                   {Filter_SelectAll, "SelectAll", "Select all items"}}};
  wxToolBar* bar = CreateToolBar(wxTB_HORIZONTAL | wxTB_FLAT);
  bar->SetName("Toolbar");
  for (const ToolbarButton& button : kButtons) {
    if (button.entry == Edit_Add || button.entry == Filter_Select) bar->AddSeparator();
    bar->AddTool(button.entry, button.caption, lib::Picture(button.key), button.caption);
  }
  bar->Realize();
}

void mw::OnEntry(int entry, std::function<void()> handler) {
  Bind(
      wxEVT_MENU, [handler = std::move(handler)](wxCommandEvent&) { handler(); }, entry);
}

void mw::OnArray(int first, int last, std::function<void(int)> handler) {
  Bind(
      wxEVT_MENU, [first, handler = std::move(handler)](wxCommandEvent& event) { handler(event.GetId() - first); },
      first, last);
}

void mw::BindEntries() {
  OnEntry(File_Sync, hooks_.synchronize);
  OnArray(File_Extensions, File_ExtensionsLast, [this](int index) { commands_.File_Extensions(index); });
  OnEntry(File_UserID, [this] { File_UserID_Click(); });
  OnEntry(File_ReMap, [this] { commands_.File_ReMap(); });
  OnEntry(File_SysTray, [this] { File_SysTray_Click(); });
  OnEntry(File_Optimize, [this] { commands_.File_Optimize(); });
  OnEntry(File_Exit, [this] { File_Exit_Click(); });
  OnEntry(Edit_Properties, [this] { editing_.ShowProperties(); });
  OnEntry(Edit_Add, [this] { commands_.Edit_Add(); });
  OnEntry(Edit_Delete, [this] { commands_.Edit_Delete(); });
  OnEntry(Edit_ListFiles, [this] { editing_.ListItemFiles(); });
  OnArray(Edit_MemoST, Edit_MemoSTLast, [this](int index) { commands_.Edit_MemoST(index); });
  OnArray(View_View, View_ViewLast, [this](int index) { View_View_Click(index); });
  OnEntry(Filter_Standard, [this] { commands_.Filter_Standard(); });
  OnEntry(Filter_SelectAll, [this] { commands_.Filter_SelectAll(); });
  OnEntry(Filter_SelectDeleted, [this] { commands_.Filter_SelectDeleted(); });
  OnEntry(Filter_Select, [this] { commands_.Filter_Select(); });
  OnEntry(Filter_Exclude, [this] { commands_.Filter_Exclude(); });
  OnEntry(Help_Help, [this] { commands_.Help_Help(); });
  OnEntry(Help_WWW, [this] { commands_.Help_WWW(); });
  OnEntry(Help_About, [this] { Help_About_Click(); });
  OnEntry(SysTray_Restore, [this] { SysTray_Restore_Click(); });
  OnEntry(SysTray_Exit, [this] { SysTray_Exit_Click(); });
  Bind(wxEVT_UPDATE_UI, &mw::OnUpdateUi, this, File_Sync, Help_About);
}

bool mw::Enabled(int entry) const {
  switch (entry) {
    case File_Sync:
    case File_SysTray:
    case File_Exit:
    case View_View:
    case View_View + 1:
    case View_View + 2:
    case View_View + kDetailsView:
    case Help_Help:
    case Help_WWW:
    case Help_About:
      return true;
    case Edit_Properties:
    case Edit_Delete:
    case Edit_ListFiles:
    case Edit_MemoST:
    case Edit_MemoST + 1:
    case Edit_MemoST + 2:
      return !InHand() && rows_.Selected() > 0;
    default:
      return !InHand();
  }
}

bool mw::Checked(int entry) const {
  if (entry == File_SysTray) return sysTrayChecked_;
  if (entry >= View_View && entry <= View_ViewLast) return entry - View_View == ShownView();
  const int row = rows_.Selected();
  return row > 0 && rows_.ExportState(row) == entry - Edit_MemoST;
}

void mw::OnUpdateUi(wxUpdateUIEvent& event) {
  const int entry = event.GetId();
  event.Enable(Enabled(entry));
  const bool choice = (entry >= Edit_MemoST && entry <= Edit_MemoSTLast) ||
                      (entry >= View_View && entry <= View_ViewLast) || entry == File_SysTray;
  if (choice) event.Check(Checked(entry));
  if (entry == Edit_Delete) event.SetText(lib::ToWx(deleteCaption_));
}

void mw::UpdateEntries() {
  UpdateWindowUI(wxUPDATE_UI_NONE);  // menus that are not open too, of whose keys some act at once
}

}  // namespace zelkor::app
