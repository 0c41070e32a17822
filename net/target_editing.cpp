#include "net/target_editing.h"

#include <algorithm>

#include "lib/clamp.h"
#include "lib/code_page.h"
#include "lib/format.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/settings.h"
#include "lib/text.h"

namespace zelkor::net {

namespace {

constexpr int kMediaRow = 1;

int Index(ConnectionType type) { return static_cast<int>(type); }

// A folder that is not too long for a target, or why it can not be one.
lib::Result<std::string> FittingFolder(lib::Result<std::string> folder) {
  if (folder.Ok() && folder->size() > TargetRec::kMediaPath.width) {
    return lib::Status(lib::Cause::Refused, "The folder \"" + *folder + "\" can not be used: a target holds " +
                                                std::to_string(TargetRec::kMediaPath.width) + " characters of it");
  }
  return folder;
}

// The folder of a File target as it is stored: a native path in the program's form, anything else as it stands.
lib::Result<std::string> MediaFolder(std::string_view typed) {
  const std::string_view word = lib::Trim(typed);
  if (!word.starts_with('/')) return FittingFolder(lib::FromUtf8Lossy(word));
  return FittingFolder(lib::FromCommandLine(word, "/"));
}

}  // namespace

std::vector<TargetEditing::Entry> TargetEditing::ReadEntries() {
  std::vector<Entry> entries;
  TargetRec rec;
  for (int slot = 1; slot <= kTargetSlots; ++slot) {
    targets_.ReadTarget(slot, rec);
    std::string text = rec.Text(TargetRec::kComputerId);
    if (text.empty()) continue;
    const lib::Date imported = rec.Date(TargetRec::kLastImport);
    const lib::Date exported = rec.Date(TargetRec::kLastExport);
    if (imported != 0) text += " [Imp:" + lib::ShortDate(imported) + "]";
    if (exported != 0) text += " [Exp:" + lib::ShortDate(exported) + "]";
    entries.push_back({.text = std::move(text), .slot = slot});
  }
  return entries;
}

int TargetEditing::EntryToSelect(const std::vector<Entry>& entries) const {
  int wanted = -1;
  if (!entries_.empty()) {
    wanted = selected_;
  } else if (const std::string last = lib::GetIniString("Zelkor", "LastTarget", ""); !last.empty()) {
    // The beginning is enough, on purpose: the entries carry dates behind the ID.
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&last](const Entry& entry) { return lib::BeginsWithNoCase(entry.text, last); });
    if (found != entries.end()) wanted = static_cast<int>(found - entries.begin());
  }
  const int count = static_cast<int>(entries.size());
  if (wanted >= 0 && wanted < count) return wanted;
  return count > 0 ? 0 : -1;
}

void TargetEditing::FillTargetList() {
  const int shownSlot = SelectedSlot();
  std::vector<Entry> entries = ReadEntries();
  const int toSelect = EntryToSelect(entries);
  entries_ = std::move(entries);
  ShowEntries(toSelect);
  if (selected_ < 0) {
    ShowNothing();
    return;
  }
  // A refill may come from outside at any time, while somebody types.
  const bool editing = unsaved_ && SelectedSlot() == shownSlot;
  if (!editing) Select(selected_);
}

void TargetEditing::ShowEntries(int selected) {
  selected_ = selected;
  std::vector<std::string> texts;
  for (const Entry& entry : entries_) texts.push_back(entry.text);
  view_.ShowTargets(texts, selected);
}

void TargetEditing::Select(int index) {
  selected_ = index;
  targets_.ReadTarget(SelectedSlot(), targets_.Current());
  ShowConnection(true);
}

void TargetEditing::ShowNothing() {
  view_.HideRows();
  view_.EnableView(false);
  view_.ShowFtpDirCommand(false);
  view_.SetDefaultExclude(false);
  SetUnsaved(false);
}

void TargetEditing::SetUnsaved(bool unsaved) {
  unsaved_ = unsaved;
  view_.EnableSave(unsaved);
}

void TargetEditing::ShowConnection(bool setType) {
  const TargetRec& rec = targets_.Current();
  const auto last = static_cast<std::int32_t>(kConnections.size()) - 1;
  if (setType) view_.SelectConnection(lib::ClampValue(rec.Number(TargetRec::kConnectionType), 0, last));
  view_.HideRows();
  view_.EnableView(false);

  const auto show = [&](int row, std::string_view caption, const lib::Field& field, bool masked = false) {
    ShowConnectionParam(rec.Text(field), caption, row, masked, field.width);
  };
  const int type = view_.Connection();
  if (type == Index(ConnectionType::Ip)) {
    show(1, "IP address", TargetRec::kAddress);
  } else if (type == Index(ConnectionType::Ftp)) {
    show(1, "Server", TargetRec::kAddress);
    show(2, "Username", TargetRec::kUserName);
    show(3, "Password", TargetRec::kPassword, true);
    show(4, "Directory", TargetRec::kDirectory);
  } else {
    show(kMediaRow, "Media", TargetRec::kMediaPath);
    view_.EnableView(true);
  }
  view_.ShowFtpDirCommand(type == Index(ConnectionType::Ftp));
  view_.SetDefaultExclude(rec.Number(TargetRec::kDefaultExclude) != 0);
  SetUnsaved(false);
}

void TargetEditing::ShowConnectionParam(std::string_view value, std::string_view caption, int index, bool masked,
                                        std::size_t maxLength) {
  view_.ShowRow(index, {.caption = std::string(caption),
                        .value = std::string(lib::Trim(value)),
                        .masked = masked,
                        .maxLength = maxLength});
}

bool TargetEditing::SaveTarget() {
  const int slot = SelectedSlot();
  if (!unsaved_ || slot == 0) return true;
  const int type = view_.Connection();
  std::string media;
  if (type == Index(ConnectionType::File)) {
    const lib::Result<std::string> folder = MediaFolder(lib::ToUtf8(view_.RowText(kMediaRow)));
    if (!folder.Ok()) {
      user_.Message(folder.Failure().Message(), lib::Icon::Critical);
      return false;
    }
    media = *folder;
    if (media != view_.RowText(kMediaRow)) view_.SetRowText(kMediaRow, media);
  }
  // The slot may have been dated since it was shown.
  TargetRec& rec = targets_.Current();
  targets_.ReadTarget(slot, rec);
  rec.SetNumber(TargetRec::kConnectionType, type);
  if (type == Index(ConnectionType::File)) {
    rec.SetText(TargetRec::kMediaPath, media);
  } else {
    rec.SetText(TargetRec::kAddress, view_.RowText(1));
    if (type == Index(ConnectionType::Ftp)) {
      rec.SetText(TargetRec::kUserName, view_.RowText(2));
      rec.SetText(TargetRec::kPassword, view_.RowText(3));
      rec.SetText(TargetRec::kDirectory, view_.RowText(4));
    }
  }
  rec.SetNumber(TargetRec::kDefaultExclude, view_.DefaultExclude() ? 1 : 0);
  targets_.WriteTarget(slot, rec);
  SetUnsaved(false);
  return true;
}

void TargetEditing::List_Click(int index) {
  if (index == selected_) return;
  const bool usable = index >= 0 && index < static_cast<int>(entries_.size());
  if (occupied_.InHand() || !usable || !SaveTarget()) {
    ShowEntries(selected_);
    return;
  }
  Select(index);
}

void TargetEditing::Connection_Click() {
  if (!ReadSelected()) return;
  ShowConnection(false);
  SetUnsaved(true);
}

void TargetEditing::ConPar_Change() {
  if (SelectedSlot() != 0) SetUnsaved(true);
}

void TargetEditing::ConPar_LostFocus(int index) {
  if (index != kMediaRow || view_.Connection() != Index(ConnectionType::File)) return;
  const std::string text = view_.RowText(kMediaRow);
  if (!text.starts_with('/')) return;
  // What can not be used is said when it is to be saved.
  const lib::Result<std::string> folder = MediaFolder(lib::ToUtf8(text));
  if (folder.Ok()) view_.SetRowText(kMediaRow, *folder);
}

void TargetEditing::DefaultExclude_Click() {
  if (SelectedSlot() != 0) SetUnsaved(true);
}

void TargetEditing::TakeMediaFolder(std::string_view nativePath) {
  const lib::Result<std::string> folder = FittingFolder(lib::FromNative(nativePath));
  if (!folder.Ok()) {
    user_.Message(folder.Failure().Message(), lib::Icon::Critical);
    return;
  }
  view_.SetRowText(kMediaRow, *folder);
  ConPar_Change();
}

void TargetEditing::SelectSlot(int slot) {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [slot](const Entry& e) { return e.slot == slot; });
  if (found == entries_.end()) return;
  const int index = static_cast<int>(found - entries_.begin());
  ShowEntries(index);
  Select(index);
}

void TargetEditing::RemoveSelected() {
  if (selected_ < 0) return;
  entries_.erase(entries_.begin() + selected_);
  ShowEntries(-1);
  ShowNothing();
}

int TargetEditing::SelectedSlot() const {
  return selected_ < 0 ? 0 : entries_[static_cast<std::size_t>(selected_)].slot;
}

std::string TargetEditing::SelectedId() const {
  if (selected_ < 0) return {};
  return std::string(lib::GetToken(entries_[static_cast<std::size_t>(selected_)].text, " ", 1));
}

bool TargetEditing::ReadSelected() {
  if (SelectedSlot() == 0) return false;
  targets_.ReadTarget(SelectedSlot(), targets_.Current());
  return true;
}

}  // namespace zelkor::net
