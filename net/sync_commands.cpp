#include "net/sync_commands.h"

#include <algorithm>
#include <utility>

#include "lib/files.h"
#include "lib/interaction.h"
#include "lib/settings.h"
#include "sync/export.h"
#include "sync/sync_log.h"

namespace zelkor::net {

namespace {

constexpr const char* kSection = "Zelkor";
constexpr std::size_t kLongestId = 6;

void Call(const std::function<void()>& hook) {
  if (hook) hook();
}

bool IsTargetName(const std::string& name) {
  if (name.empty() || name.size() > kLongestId) return false;
  return std::none_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) <= ' '; });
}

}  // namespace

SyncCommands::SyncCommands(sync::Context& context, lib::Desktop& desktop, SyncView& view, SyncHooks hooks)
    : context_(context),
      desktop_(desktop),
      view_(view),
      hooks_(std::move(hooks)),
      editing_(context.targets, context.user, context.catalogue.Occupied(), view) {}

void SyncCommands::Load() {
  view_.SelectConnection(0);
  confirm_ = lib::GetIniNumber(kSection, "ConfirmUpdates", 0) != 0;
  view_.CheckConfirm(confirm_);
  acceptNetConn_ = lib::GetIniNumber(kSection, "AcceptNetConn", 0) != 0;
  view_.CheckAcceptNetConn(acceptNetConn_);
}

bool SyncCommands::ReadyOnTarget() { return !InHand() && editing_.SaveTarget() && editing_.ReadSelected(); }

void SyncCommands::Target_New() {
  if (InHand() || !editing_.SaveTarget()) return;
  std::string name;
  do {
    name = context_.user.Input("Enter name of new target, 1 to 6 characters, no spaces:", {}, name);
    if (name.empty()) return;
  } while (!IsTargetName(name));
  if (InHand() || !context_.targets.NewTarget(name)) return;
  editing_.FillTargetList();
  // What is typed next is meant for the new target, not for the one that was selected before.
  editing_.SelectSlot(context_.targets.FindTarget(name, false));
}

void SyncCommands::Target_Delete() {
  if (InHand() || editing_.SelectedSlot() == 0) return;
  const lib::Box box{
      .text = "Delete target?", .icon = lib::Icon::Question, .buttons = lib::Buttons::OkCancel, .title = {}};
  if (context_.user.Ask(box) != lib::Button::Ok || InHand() || editing_.SelectedSlot() == 0) return;
  context_.targets.DeleteTarget(editing_.SelectedSlot());
  editing_.RemoveSelected();
}

void SyncCommands::Target_Save() { editing_.SaveTarget(); }

void SyncCommands::Target_Clear() {
  if (!ReadyOnTarget()) return;
  context_.targets.ClearTargetDates(editing_.SelectedSlot());
  editing_.FillTargetList();
}

void SyncCommands::Target_Date(int index) {
  if (!ReadyOnTarget()) return;
  const lib::Date date = lib::InputDate(context_.user, "Enter date:", "Zelkor", {});
  // While the question stood a run may have begun or the table changed.
  if (date == 0 || InHand() || !editing_.ReadSelected()) return;
  TargetRec& rec = context_.targets.Current();
  rec.SetDate(index == 1 ? TargetRec::kLastImport : TargetRec::kLastExport, date);
  context_.targets.WriteTarget(editing_.SelectedSlot(), rec);
  editing_.FillTargetList();
}

void SyncCommands::Target_TestConn() {
  if (ReadyOnTarget()) Call(hooks_.testConnection);
}

void SyncCommands::Target_FtpDir() {
  if (ReadyOnTarget()) Call(hooks_.showFtpDirectory);
}

void SyncCommands::Sync_Import() { Import(sync::ImportMode::Import); }

void SyncCommands::Sync_View() { Import(sync::ImportMode::View); }

void SyncCommands::Import(sync::ImportMode mode) {
  if (!ReadyOnTarget()) return;
  const std::string target = editing_.SelectedId();
  Call(hooks_.beforeRun);
  sync::ImportFromTarget(context_, {.targetId = target, .place = {}, .mode = mode});
  editing_.FillTargetList();
  if (mode == sync::ImportMode::Import) Call(hooks_.itemsChanged);
}

void SyncCommands::Sync_Export() {
  if (!ReadyOnTarget()) return;
  const std::string target = editing_.SelectedId();
  Call(hooks_.beforeRun);
  sync::ExportToTarget(context_, target, {});
  editing_.FillTargetList();
}

void SyncCommands::Sync_Close() {
  if (editing_.SaveTarget()) view_.CloseWindow();
}

std::string SyncCommands::LogPath() const {
  return context_.catalogue.Data().ProgramDir() + std::string(sync::kLogName) + ".log";
}

std::string SyncCommands::HistoryPath() const {
  return context_.catalogue.Data().ProgramDir() + std::string(sync::kLogName) + " history.log";
}

void SyncCommands::Log_View() { desktop_.EditFile(LogPath()); }

void SyncCommands::Log_History() {
  const lib::Result<lib::FileInfo> history = lib::GetFileInfo(HistoryPath());
  if (history.Ok() && history->size > kLongestHistory) {
    context_.user.Message("File too big", lib::Icon::Critical);
    return;
  }
  desktop_.EditFile(HistoryPath());
}

void SyncCommands::Log_Delete() {
  const lib::Box box{.text = "Delete history log?", .buttons = lib::Buttons::OkCancel, .title = "Memo!"};
  if (context_.user.Ask(box) == lib::Button::Ok) lib::KillFile(HistoryPath());
}

void SyncCommands::Options_AcceptNetConn() {
  acceptNetConn_ = !acceptNetConn_;
  view_.CheckAcceptNetConn(acceptNetConn_);
  // Switched off, an open link stays; start-up only opens none the next time.
  if (acceptNetConn_) Call(hooks_.startLink);
  lib::PutIniValue(kSection, "AcceptNetConn", acceptNetConn_ ? 1 : 0);
}

void SyncCommands::Options_Confirm() {
  confirm_ = !confirm_;
  view_.CheckConfirm(confirm_);
  lib::PutIniValue(kSection, "ConfirmUpdates", confirm_ ? 1 : 0);
}

bool SyncCommands::Closing() {
  if (InHand()) {
    context_.user.Message("Sync-process in progress.\r\nCannot close window", lib::Icon::Critical);
    return false;
  }
  if (!editing_.SaveTarget()) return false;
  view_.CloseLogWindow();
  lib::PutIniValue(kSection, "LastTarget", editing_.SelectedId());
  return true;
}

}  // namespace zelkor::net
