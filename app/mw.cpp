#include "app/mw.h"

#include <algorithm>
#include <utility>
#include <wx/display.h>
#include <wx/dnd.h>
#include <wx/sizer.h>
#include <wx/toolbar.h>

#include "app/form_placement.h"
#include "app/frm_splash.h"
#include "app/startup.h"
#include "lib/gui/icons.h"
#include "lib/gui/later.h"
#include "lib/gui/placement.h"
#include "lib/gui/text.h"
#include "lib/gui/twips.h"
#include "lib/native_path.h"

namespace zelkor::app {

namespace {

// The window's own size, in logical pixels.
constexpr int kDesignWidth = 820;
constexpr int kDesignHeight = 560;
constexpr int kLeastWidth = 260;
constexpr int kLeastHeight = 180;

constexpr int kDetails = 3;

wxRect MainScreen() {
  for (unsigned i = 0; i < wxDisplay::GetCount(); ++i) {
    if (const wxDisplay display(i); display.IsPrimary()) return display.GetGeometry();
  }
  return wxDisplay(0U).GetGeometry();
}

// Files dropped on a view.
class FileDrop : public wxFileDropTarget {
 public:
  explicit FileDrop(mw& window) : window_(window) {}
  bool OnDropFiles(wxCoord /*x*/, wxCoord /*y*/, const wxArrayString& files) override {
    // The other program waits for the end of the drop; questions come after it.
    lib::Later(window_, [&window = window_, files] { window.List_OLEDragDrop(files); });
    return true;
  }

 private:
  mw& window_;
};

// The character of the code page that a key event stands for; 0 when it stands for none.
char CharacterOf(const wxKeyEvent& event) {
  const wxChar unicode = event.GetUnicodeKey();
  // Ctrl and Alt alone make commands of a key; both together are AltGr, which makes characters.
  const bool command = event.ControlDown() != event.AltDown() || event.MetaDown();
  if (unicode == WXK_NONE || unicode == WXK_DELETE || command) return 0;
  const std::string text = lib::FromWx(wxString(wxUniChar(unicode)));
  return text.size() == 1 ? text.front() : '\0';
}

}  // namespace

mw::mw(ProgramState& state, MwRows& rows, db::ItemEditing& editing, MwCommands& commands, MwHooks hooks)
    : wxFrame(nullptr, wxID_ANY, "Zelkor!"),
      state_(state),
      rows_(rows),
      editing_(editing),
      commands_(commands),
      hooks_(std::move(hooks)) {
  SetName("mw");
  SetIcons(lib::ProgramIcons());
  MakeMenus();
  MakeToolbar();
  status_ = new StatusLine(this);
  SetStatusBar(status_);
  SetStatusBarPane(-1);  // no help texts over the panels
  MakeViews();
  BindEntries();
  tray_ = std::make_unique<Tray>(
      [this] {
        // Only the minimised window is reached through the tray.
        if (IsIconized() || !IsShown()) SysTray_Restore_Click();
      },
      [this]() -> wxMenu* {
        if (!IsIconized() && IsShown()) return nullptr;
        auto* menu = new wxMenu;
        menu->Append(SysTray_Restore, "&Restore");
        menu->Append(SysTray_Exit, "E&xit");
        return menu;
      });
  tray_->Bind(
      wxEVT_MENU, [this](wxCommandEvent&) { SysTray_Restore_Click(); }, SysTray_Restore);
  tray_->Bind(
      wxEVT_MENU, [this](wxCommandEvent&) { lib::Later(*this, [this] { RequestExit(); }); }, SysTray_Exit);

  rows_.OnChange([this] { RowsChanged(); });
  rows_.OnSelect([this] { RowSelected(); });
  Bind(wxEVT_ICONIZE, &mw::Form_Resize, this);
  Bind(wxEVT_CLOSE_WINDOW, &mw::Form_Unload, this);
  SetMinSize(FromDIP(wxSize(kLeastWidth, kLeastHeight)));
  SetSize(FromDIP(wxSize(kDesignWidth, kDesignHeight)));
  View_View_Click(kDetails);
}

mw::~mw() {
  rows_.OnChange({});
  rows_.OnSelect({});
}

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

void mw::MakeViews() {
  const ItemViewEvents events{.click = [this](int row) { List_ItemClick(row); },
                              .dblClick = [this] { List_DblClick(); },
                              .menu = [this](const wxPoint& place) { List_MouseUp(place); },
                              .columnClick = [this](int column) { List_ColumnClick(column); },
                              .key = [this](const wxKeyEvent& event) { return Form_KeyPress(event); }};
  details_ = new DetailsView(this, rows_, events);
  tiles_ = new TilesView(this, rows_, events);
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  for (wxWindow* view : {&details_->Window(), &tiles_->Window()}) {
    view->SetDropTarget(new FileDrop(*this));
    sizer->Add(view, wxSizerFlags(1).Expand());
  }
  SetSizer(sizer);
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
    case View_View + kDetails:
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

int mw::ShownView() const { return details_->IsShown() ? kDetails : static_cast<int>(tiles_->ShownMode()); }

ItemView& mw::Shown() {
  if (details_->IsShown()) return *details_;
  return *tiles_;
}

void mw::View_View_Click(int index) {
  const bool hadFocus = details_->HasFocus() || tiles_->HasFocus() || wxWindow::FindFocus() == nullptr;
  if (index != kDetails) tiles_->SetMode(static_cast<TilesView::Mode>(index));
  details_->Show(index == kDetails);
  tiles_->Show(index != kDetails);
  Layout();
  Shown().ShowRows();
  UpdateEntries();
  if (hadFocus || !Shown().Window().HasFocus()) Shown().Window().SetFocus();
}

bool mw::Form_KeyPress(const wxKeyEvent& event) {
  const char character = CharacterOf(event);
  if (character == 0) return false;
  return app::Form_KeyPress(character, state_.quickSearch, *status_, state_.catalogue.ItemList()) == Typed::Searched;
}

void mw::List_ColumnClick(int column) {
  // A filter in hand goes by the order of the rows.
  if (InHand()) return;
  rows_.List_ColumnClick(column);
  editing_.UpdateCurrentItem();  // which may stand in another row now
}

void mw::List_DblClick() {
  if (InHand() || rows_.Count() == 0) return;
  editing_.OpenItemOrProperties();
}

void mw::List_ItemClick(int row) { rows_.Select(row); }

void mw::List_MouseUp(const wxPoint& place) {
  if (rows_.Count() == 0) return;
  const std::unique_ptr<wxMenu> menu(MakeEditMenu());
  menu->UpdateUI(GetEventHandler());  // nobody else does it in time for a menu that is not on the bar
  PopupMenu(menu.get(), ScreenToClient(place));
}

void mw::List_OLEDragDrop(const wxArrayString& files) {
  std::string list;
  std::string refused;
  for (const wxString& file : files) {
    const lib::Result<std::string> path = lib::FromNative(file.utf8_string());
    if (path.Ok()) {
      list += *path + "\r\n";
    } else {
      refused += (refused.empty() ? "" : "\r\n") + path.Failure().Message();
    }
  }
  if (!refused.empty()) state_.user.Message(refused, lib::Icon::Exclamation);
  if (!list.empty()) editing_.OpenItemFiles(list);
}

void mw::RowsChanged() {
  if (rowsStale_) return;
  rowsStale_ = true;
  lib::Later(*this, [this] { ShowRowsNow(); });
}

void mw::RowSelected() {
  RowsChanged();
  if (InHand()) {
    currentStale_ = true;
  } else {
    editing_.UpdateCurrentItem();
  }
}

void mw::ShowRowsNow() {
  rowsStale_ = false;
  Shown().ShowRows();
  UpdateEntries();
}

void mw::ShowCurrentItem(const db::CurrentItem& item) {
  deleteCaption_ = item.deleteCaption;
  status_->Show(Panel::LastUpdate, item.lastUpdate);
  status_->Show(Panel::ItemNumber, std::to_string(item.row) + " / " + std::to_string(item.count));
  // What ShowStatus says stays until there is something new to say here.
  std::string selection = SelectionText(state_.catalogue);
  if (selection != selectionText_) {
    selectionText_ = std::move(selection);
    status_->Show(Panel::Selection, selectionText_);
  }
  UpdateEntries();
}

void mw::UpdateEntries() {
  UpdateWindowUI(wxUPDATE_UI_NONE);  // menus that are not open too, of whose keys some act at once
}

void mw::ShowStatus(const std::string& text) { status_->Show(Panel::Selection, text); }

void mw::OccupationChanged() {
  UpdateEntries();
  if (InHand()) return;
  if (currentStale_) {
    currentStale_ = false;
    lib::Later(*this, [this] {
      if (InHand()) {
        currentStale_ = true;
      } else {
        editing_.UpdateCurrentItem();
      }
    });
  }
  if (exitWanted_) lib::Later(*this, [this] { RequestExit(); });
}

void mw::File_UserID_Click() {
  commands_.File_UserID();
  SetCaption(MainCaption(state_.computerId));
}

void mw::File_SysTray_Click() {
  CheckSysTray(!sysTrayChecked_);
  if (!SetTrayIcon(sysTrayChecked_) && sysTrayChecked_) ShowStatus(kNoTray);
}

void mw::Help_About_Click() { frmSplash(this).ShowModal(); }

void mw::CheckSysTray(bool checked) {
  sysTrayChecked_ = checked;
  UpdateEntries();
}

bool mw::SetTrayIcon(bool shown) {
  state_.trayFlag = shown;
  if (shown) {
    tray_->ShowIcon();
  } else {
    tray_->HideIcon();
    // Without its icon a hidden window could not be reached.
    if (!IsShown() && shown_ && !ending_) SysTray_Restore_Click();
  }
  return Tray::Answers();
}

void mw::Form_Resize(wxIconizeEvent& event) {
  event.Skip();
  // Minimised, the window is reached through the tray, if there is one, and needs no place in the taskbar.
  if (event.IsIconized() && state_.trayFlag && Tray::Answers()) Hide();
}

void mw::Minimise() { Iconize(true); }

void mw::SysTray_Restore_Click() {
  // In this order: shown while it still counts as minimised, the window may come back as such.
  Iconize(false);
  Show();
  Raise();
  Shown().Window().SetFocus();
}

void mw::Form_Unload(wxCloseEvent& event) {
  if (!event.CanVeto()) {
    // The session ends, and nobody is to be asked anything.
    editing_.ApplyUnapplied();
    EndNow();
    return;
  }
  event.Veto();
  RequestExit();
}

void mw::RequestExit() {
  if (InHand()) {
    exitWanted_ = true;
    hooks_.cancelRun();
    return;
  }
  exitWanted_ = false;
  // A dialog wants its answer first; the program can not end around it.
  if (hooks_.dialogShown()) {
    SysTray_Restore_Click();
    return;
  }
  editing_.ApplyUnapplied();
  if (hooks_.readyToEnd()) EndNow();
}

void mw::EndNow() {
  ending_ = true;
  ExitProgram(state_, *this);
}

FormPosition mw::Position() const {
  FormPosition position = PositionOf(*this);
  // Hidden in the tray it counts as minimised.
  if (!IsShown() && shown_) position.state = WindowState::Minimised;
  return position;
}

FormPosition mw::Screen() const {
  const wxRect screen = MainScreen();
  return {.left = lib::ToTwips(screen.x, *this),
          .top = lib::ToTwips(screen.y, *this),
          .width = lib::ToTwips(screen.width, *this),
          .height = lib::ToTwips(screen.height, *this)};
}

void mw::Place(const FormPosition& place) {
  placed_ = place;
  wxRect rect(lib::FromTwips(place.left, *this), lib::FromTwips(place.top, *this),
              std::max(lib::FromTwips(place.width, *this), GetMinSize().x),
              std::max(lib::FromTwips(place.height, *this), GetMinSize().y));
  // A screen that has gone since must not take the window with it.
  bool visible = false;
  for (unsigned i = 0; i < wxDisplay::GetCount(); ++i) visible = visible || wxDisplay(i).GetGeometry().Intersects(rect);
  if (!visible) rect = lib::OntoAScreen(rect);
  SetSize(rect.x, rect.y, rect.width, rect.height, wxSIZE_ALLOW_MINUS_ONE);
  if (place.state == WindowState::Maximised) Maximize();
}

void mw::SetCaption(const std::string& caption) { SetTitle(lib::ToWx(caption)); }

void mw::ShowWindow() {
  shown_ = true;
  Show();
  if (placed_.state == WindowState::Minimised) Iconize();
  Shown().Window().SetFocus();
}

}  // namespace zelkor::app
