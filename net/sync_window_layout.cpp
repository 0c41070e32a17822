// How the synchronisation window is made up: its menus, its toolbar, its controls.
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/listbox.h>
#include <wx/menu.h>
#include <wx/panel.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/toolbar.h>

#include "lib/gui/icons.h"
#include "lib/gui/text.h"
#include "net/sync_window.h"

namespace zelkor::net {

namespace {

constexpr int kMaskedRow = 3;  // the password's, the only one that is ever masked

}  // namespace

void Sync::MakeMenus() {
  auto* target = new wxMenu;
  target->Append(Target_New, "&New...\tCtrl+N", "Make a new target");
  target->Append(Target_Delete, "&Delete...", "Delete the selected target (Del in the list)");
  target->Append(Target_Save, "&Save\tCtrl+S", "Save the changes of the selected target");
  target->AppendSeparator();
  target->Append(Target_Clear, "&Clear dates", "Forget when this target was last imported and exported");
  auto* date = new wxMenu;
  date->Append(Target_DateImport, "&Import date...", "Set when this target was last imported");
  date->Append(Target_DateExport, "&Export date...", "Set when was last exported to this target");
  target->AppendSubMenu(date, "D&ate");
  target->AppendSeparator();
  target->Append(Target_TestConn, "&Test connection\tCtrl+T", "Try whether this target can be reached");
  ftpDir_ = target->Append(Target_FtpDir, "&FTP directory\tCtrl+D", "List the target's directory on the FTP server");

  auto* run = new wxMenu;
  run->Append(Sync_Import, "&Import\tCtrl+I", "Take in what the target has sent");
  run->Append(Sync_Export, "&Export\tCtrl+E", "Send the target what has changed since the last export");
  run->Append(Sync_View, "&View\tCtrl+R", "Show what an import would do, without doing it");
  run->AppendSeparator();
  run->Append(Sync_Close, "&Close\tCtrl+W", "Close this window");

  auto* log = new wxMenu;
  log->Append(Log_View, "&View log\tCtrl+L", "Open the log of the last run");
  log->Append(Log_History, "&History\tCtrl+H", "Open the logs of earlier runs");
  log->Append(Log_Delete, "&Delete history...", "Delete the logs of earlier runs");

  auto* options = new wxMenu;
  options->AppendCheckItem(Options_AcceptNetConn, "&Accept network connections",
                           "Let targets reach this computer over the network");
  options->AppendCheckItem(Options_Confirm, "&Confirm updates", "Ask before each file that an import writes");

  auto* bar = new wxMenuBar;
  bar->Append(target, "&Target");
  bar->Append(run, "&Sync");
  bar->Append(log, "&Log");
  bar->Append(options, "&Options");
  SetMenuBar(bar);
}

void Sync::MakeToolBar() {
  wxToolBar* bar = CreateToolBar(wxTB_HORIZONTAL | wxTB_TEXT | wxTB_FLAT);
  const auto add = [bar](Command command, const char* key, const char* label, const char* help) {
    bar->AddTool(command, label, lib::Picture(key), help);
  };
  add(Sync_Import, "SyncImport", "Import", "Import from the target (Ctrl+I)");
  add(Sync_Export, "SyncExport", "Export", "Export to the target (Ctrl+E)");
  add(Sync_View, "SyncView", "View", "View a sync file without importing it (Ctrl+R)");
  bar->AddSeparator();
  add(Target_New, "TargetNew", "New", "New target (Ctrl+N)");
  add(Target_Delete, "TargetDelete", "Delete", "Delete the target");
  bar->Realize();
}

wxSizer* Sync::MakeTargets(wxWindow* panel) {
  auto* targets = new wxBoxSizer(wxVERTICAL);
  targets->Add(new wxStaticText(panel, wxID_ANY, "Tar&gets"));
  list_ = new wxListBox(panel, wxID_ANY, wxDefaultPosition, wxDefaultSize, 0, nullptr, wxLB_SINGLE | wxLB_HSCROLL);
  list_->SetName("Targets");
  list_->SetToolTip("The computers that this one synchronises with, and when it last did");
  list_->SetMinSize(FromDIP(wxSize(220, 120)));
  targets->Add(list_, wxSizerFlags(1).Expand().Border(wxTOP, FromDIP(4)));
  return targets;
}

wxSizer* Sync::MakeConnection(wxWindow* panel) {
  const int gap = FromDIP(8);
  hint_ = new wxStaticText(panel, wxID_ANY, {});
  connectionCaption_ = new wxStaticText(panel, wxID_ANY, "&Connection");
  connection_ = new wxChoice(panel, wxID_ANY);
  connection_->SetName("Connection");
  connection_->SetToolTip("How the sync file travels to the target and back");
  for (const std::string_view name : kConnections) connection_->Append(lib::ToWx(name));

  auto* grid = new wxFlexGridSizer(2, FromDIP(wxSize(8, 6)));
  grid->AddGrowableCol(1);
  grid->Add(connectionCaption_, wxSizerFlags().CenterVertical());
  grid->Add(connection_, wxSizerFlags().Expand());
  for (int index = 1; index <= kConnectionRows; ++index) {
    Row& row = RowAt(index);
    row.caption = new wxStaticText(panel, wxID_ANY, {});
    row.text = new wxTextCtrl(panel, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize,
                              wxTE_PROCESS_ENTER | (index == kMaskedRow ? wxTE_PASSWORD : 0));
    row.text->SetMinSize(wxSize(row.text->GetTextExtent(wxString('n', 32)).GetWidth(), -1));
    grid->Add(row.caption, wxSizerFlags().CenterVertical());
    if (index > 1) {
      grid->Add(row.text, wxSizerFlags().Expand());
      continue;
    }
    browse_ = new wxButton(panel, Media_Browse, "&Browse...");
    browse_->SetToolTip("Choose the folder or medium that carries the sync files");
    auto* box = new wxBoxSizer(wxHORIZONTAL);
    box->Add(row.text, wxSizerFlags(1).CenterVertical());
    box->Add(browse_, wxSizerFlags().CenterVertical().Border(wxLEFT, gap));
    grid->Add(box, wxSizerFlags().Expand());
  }
  defaultExclude_ = new wxCheckBox(panel, wxID_ANY, "E&xcluded by default");
  defaultExclude_->SetName("DefaultExclude");
  save_ = new wxButton(panel, Target_Save, "Sa&ve");
  save_->SetToolTip("Save the changes of this target (Ctrl+S)");

  auto* settings = new wxBoxSizer(wxVERTICAL);
  settings->Add(hint_, wxSizerFlags().Expand());
  settings->Add(grid, wxSizerFlags().Expand());
  settings->Add(defaultExclude_, wxSizerFlags().Border(wxTOP, gap));
  settings->AddStretchSpacer();
  settings->Add(save_, wxSizerFlags().Right().Border(wxTOP, gap));
  return settings;
}

void Sync::MakeControls() {
  const int gap = FromDIP(8);
  panel_ = new wxPanel(this);
  auto* upper = new wxBoxSizer(wxHORIZONTAL);
  upper->Add(MakeTargets(panel_), wxSizerFlags(2).Expand());
  upper->Add(MakeConnection(panel_), wxSizerFlags(3).Expand().Border(wxLEFT, 2 * gap));

  status_ =
      new wxStaticText(panel_, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize, wxST_NO_AUTORESIZE | wxST_ELLIPSIZE_END);
  status_->SetName("Status");
  progressPanel_ = new ProgressPanel(panel_, [this] { CancelRun(); });

  auto* all = new wxBoxSizer(wxVERTICAL);
  all->Add(upper, wxSizerFlags(1).Expand().Border(wxALL, gap));
  all->Add(status_, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, gap));
  all->Add(progressPanel_, wxSizerFlags().Expand().ReserveSpaceEvenIfHidden().Border(wxLEFT | wxRIGHT | wxBOTTOM, gap));
  panel_->SetSizer(all);
  // Every row is shown as yet: there is room for the fullest connection, and nothing moves when another is chosen.
  panel_->SetMinSize(all->GetMinSize());
  auto* frame = new wxBoxSizer(wxVERTICAL);
  frame->Add(panel_, wxSizerFlags(1).Expand());
  SetSizerAndFit(frame);
}

}  // namespace zelkor::net
