#include "app/mw.h"

#include <algorithm>
#include <utility>
#include <wx/display.h>
#include <wx/dnd.h>
#include <wx/sizer.h>

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
constexpr int kDesignWidth = 640;
constexpr int kDesignHeight = 560;
constexpr int kLeastWidth = 260;
constexpr int kLeastHeight = 180;

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
  tray_ = std::make_unique<lib::TrayIcon>(*this);

  rows_.OnChange([this] { RowsChanged(); });
  rows_.OnSelect([this] { RowSelected(); });
  Bind(wxEVT_ICONIZE, &mw::Form_Resize, this);
  Bind(wxEVT_MOTION, &mw::Form_MouseMove, this);
  Bind(wxEVT_CLOSE_WINDOW, &mw::Form_Unload, this);
  SetMinSize(FromDIP(wxSize(kLeastWidth, kLeastHeight)));
  // As wide as the columns, where the screen has room for it.
  SetSize(FromDIP(wxSize(kDesignWidth, kDesignHeight)));
  const int frame = GetSize().x - GetClientSize().x;
  const int columns = std::max(GetSize().x, details_->WholeWidth() + frame);
  SetSize(std::min(columns, MainScreen().width), wxDefaultCoord);
  View_View_Click(kDetailsView);
}

mw::~mw() {
  rows_.OnChange({});
  rows_.OnSelect({});
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

int mw::ShownView() const { return details_->IsShown() ? kDetailsView : static_cast<int>(tiles_->ShownMode()); }

ItemView& mw::Shown() {
  if (details_->IsShown()) return *details_;
  return *tiles_;
}

void mw::View_View_Click(int index) {
  const bool hadFocus = details_->HasFocus() || tiles_->HasFocus() || wxWindow::FindFocus() == nullptr;
  if (index != kDetailsView) tiles_->SetMode(static_cast<TilesView::Mode>(index));
  details_->Show(index == kDetailsView);
  tiles_->Show(index != kDetailsView);
  Layout();
  Shown().ShowRows();
  ShowHint();
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
  ShowHint();
  UpdateEntries();
}

void mw::ShowHint() {
  // A list that is being filled is empty for a moment.
  Shown().ShowHint(InHand() ? std::string() : EmptyListText(state_.catalogue));
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

void mw::ShowStatus(const std::string& text) { status_->Show(Panel::Selection, text); }

void mw::OccupationChanged() {
  UpdateEntries();
  if (InHand()) return;
  if (rows_.Count() == 0) RowsChanged();  // which says why
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
    tray_->Add();
  } else {
    tray_->Delete();
    // Without its icon a hidden window could not be reached.
    if (!IsShown() && shown_ && !ending_) SysTray_Restore_Click();
  }
  return lib::TrayIcon::TrayAnswers();
}

void mw::Form_Resize(wxIconizeEvent& event) {
  event.Skip();
  // Minimised, the window is reached through the tray, if there is one, and needs no place in the taskbar.
  if (event.IsIconized() && state_.trayFlag && lib::TrayIcon::TrayAnswers()) Hide();
}

void mw::Minimise() { Iconize(true); }

void mw::Form_MouseMove(wxMouseEvent& event) {
  event.Skip();
  if (!Minimised()) return;
  switch (event.GetX()) {
    case lib::kTrayLeftUp:
    case lib::kTrayLeftDoubleClick:
      SysTray_Restore_Click();
      break;
    case lib::kTrayRightUp: {
      wxMenu menu;
      menu.Append(SysTray_Restore, "&Restore");
      menu.Append(SysTray_Exit, "E&xit");
      tray_->PopUp(menu);
      break;
    }
    default:
      break;
  }
}

void mw::SysTray_Restore_Click() {
  // In this order: shown while it still counts as minimised, the window may come back as such.
  Iconize(false);
  Show();
  Raise();
  Shown().Window().SetFocus();
}

// Once the menu that it was chosen in has gone.
void mw::SysTray_Exit_Click() {
  lib::Later(*this, [this] { RequestExit(); });
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
  if (Minimised()) position.state = WindowState::Minimised;
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
  // Where it stands for want of a stored place, a panel of the desktop may cover its status line.
  const FormPosition screen = Screen();
  const bool first = place.top == screen.top && place.height == screen.height - kFreeBelow;
  // A screen that has gone since must not take the window with it.
  bool visible = false;
  for (unsigned i = 0; i < wxDisplay::GetCount(); ++i) visible = visible || wxDisplay(i).GetGeometry().Intersects(rect);
  if (first || !visible) rect = lib::OntoAScreen(rect);
  SetSize(rect.x, rect.y, rect.width, rect.height, wxSIZE_ALLOW_MINUS_ONE);
  if (place.state == WindowState::Maximised) Maximize();
}

void mw::SetCaption(const std::string& caption) { SetTitle(lib::ToWx(caption)); }

void mw::ShowWindow() {
  shown_ = true;
  lib::KeepSizeWhenFramed(*this);
  Show();
  if (placed_.state == WindowState::Minimised) Iconize();
  Shown().Window().SetFocus();
}

}  // namespace zelkor::app
