#include "app/mw_commands.h"

#include <optional>
#include <vector>

#include "app/file_types.h"
#include "app/help_file.h"
#include "app/identity.h"
#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/format.h"
#include "lib/selection.h"
#include "lib/shell.h"
#include "lib/text.h"
#include "lib/version.h"

namespace zelkor::app {

namespace {

constexpr const char* kRemapName = "ReMap.txt";

bool SameMask(db::Mask a, db::Mask b) { return a.mask == b.mask && a.value == b.value; }

// The last name of a selection that fills its field to the last character: it may have been cut. Empty otherwise.
std::string CutName(const db::FileRec& item) {
  const std::string_view stored = item.RawText(db::FileRec::kFileName);
  if (stored.find('\0') != std::string_view::npos || stored.back() == ' ') return {};
  const std::vector<std::string> lines = lib::SelectionLines(stored);
  return lines.empty() ? std::string() : lines.back();
}

}  // namespace

std::string MainCaption(std::string_view computerId) { return "Zelkor! - " + lib::Lower(computerId); }

std::string SelectionText(db::Catalogue& catalogue) {
  const db::Filters& filters = catalogue.ItemFilters();
  std::string text = SameMask(catalogue.Shown(), db::kDeletedItems) ? "Deleted items" : "";
  const auto add = [&text](const char* caption, const std::string& codes) {
    const std::string_view trimmed = lib::Trim(codes);
    if (trimmed.empty()) return;
    if (!text.empty()) text += ", ";
    text += caption + std::string(trimmed);
  };
  add("Selected: ", filters.activeSelection);
  add("Excluded: ", filters.activeExclusion);
  if (!text.empty()) return text;
  return "Zelkor! Ver " + lib::FormatTwoDecimals(lib::kProgramVersion / 100.0) +
         ", Database:" + std::to_string(catalogue.Data().RecordCount()) + " rec";
}

std::string EmptyListText(db::Catalogue& catalogue) {
  if (catalogue.ItemList().Count() > 0) return {};
  if (catalogue.Data().RecordCount() == 0) {
    return "There are no items yet.\n\nDrop files here, or choose Add... in the menu Edit.";
  }
  if (SameMask(catalogue.Shown(), db::kDeletedItems)) {
    return "No item is marked as deleted.\n\nDefault filter in the menu Filter shows the others.";
  }
  return "Every item is marked as deleted.\n\nSelect deleted in the menu Filter shows them.";
}

void MwCommands::File_Extensions(int index) {
  app::File_Extensions(static_cast<FileTypes>(index), state_.database, desktop_);
}

void MwCommands::File_UserID() { app::File_UserID(state_.user, state_.computerId); }

void MwCommands::File_ReMap() { desktop_.EditFile(state_.ProgramDir + kRemapName); }

void MwCommands::Saved(std::string_view fileName) {
  if (!lib::EqualNoCase(fileName, state_.ProgramDir + kRemapName)) return;
  static_cast<void>(state_.remap.LoadRemapTable(state_.ProgramDir, state_.user));
}

void MwCommands::File_Optimize() {
  const lib::Button answer = state_.user.Ask({.text = "This action will remove all deleted entries.\r\nContinue?",
                                              .icon = lib::Icon::None,
                                              .buttons = lib::Buttons::OkCancel,
                                              .title = {}});
  if (answer != lib::Button::Ok) return;
  editing_.ApplyUnapplied();
  {
    const lib::Occupation::Guard occupied(state_.catalogue.Occupied());
    if (!state_.database.CompactDatabase()) return;
    // The rows' record numbers are the old file's; nothing may read by them in between.
    state_.catalogue.FillItemList(db::kLiveItems);
  }
  editing_.UpdateCurrentItem();
}

void MwCommands::Edit_Add() {
  editing_.ApplyUnapplied();
  state_.catalogue.ReadCurrentItem();
  const bool added = state_.catalogue.AddItem("Untitled", {}).has_value();
  editing_.UpdateCurrentItem();
  if (added) editing_.ShowProperties();
}

void MwCommands::Edit_Delete() {
  editing_.ApplyUnapplied();
  db::clsList& list = state_.catalogue.ItemList();
  if (list.Row() == 0) return;
  const std::int32_t recno = list.FileRec(list.Row());
  db::FileRec& item = state_.database.Item();
  state_.database.ReadItem(recno);
  if (item.Deleted()) {
    Undelete(recno);
    return;
  }
  if (!state_.user.Confirm("Do you want to delete " + item.Text(db::FileRec::kDescription) + "?", "Delete")) return;
  const bool files = state_.user.Ask({.text = "Delete file(s) also?",
                                      .icon = lib::Icon::Question,
                                      .buttons = lib::Buttons::YesNo,
                                      .preselected = lib::Button::No,
                                      .title = {}}) == lib::Button::Yes;
  // A message from outside may have changed the item while the questions stood.
  state_.database.ReadItem(recno);
  item.SetNumber(db::FileRec::kFlags, item.Number(db::FileRec::kFlags) | db::kItemDeleted);
  state_.database.WriteItem(recno);
  if (files) DeleteFiles(item);
  ItemsChanged();
}

void MwCommands::Undelete(std::int32_t recno) {
  db::FileRec& item = state_.database.Item();
  item.SetNumber(db::FileRec::kFlags, item.Number(db::FileRec::kFlags) & ~db::kItemDeleted);
  state_.database.WriteItem(recno);
  ItemsChanged();
  state_.user.Message("Item is undeleted.", lib::Icon::Information);
}

void MwCommands::DeleteFiles(const db::FileRec& item) {
  const lib::Occupation::Guard occupied(state_.catalogue.Occupied());
  const std::string cut = CutName(item);
  std::string selection;
  for (const std::string& line : lib::SelectionLines(item.Text(db::FileRec::kFileName))) {
    if (line != cut) selection += line + "\r\n";
  }
  std::string left;
  lib::ExpandSelection(selection, [&](const lib::SelectedFile& file) {
    if (file.refused.Ok()) {
      lib::KillFile(file.path);
    } else {
      left += "\r\n" + file.refused.Message();
    }
    state_.user.PendingEvents();
    return true;
  });
  if (!cut.empty()) left += "\r\n" + cut + " (the file selection is full, so this name may have been cut)";
  if (!left.empty()) state_.user.Message("Not deleted:" + left, lib::Icon::Exclamation);
}

void MwCommands::Edit_MemoST(int state) {
  editing_.ApplyUnapplied();
  db::clsList& list = state_.catalogue.ItemList();
  if (list.Row() == 0) return;
  state_.catalogue.ReadCurrentItem();
  state_.catalogue.ChooseExportState(list.FileRec(list.Row()), state);
  state_.catalogue.ShowCurrentRow();
}

void MwCommands::ItemsChanged() {
  editing_.ApplyUnapplied();
  state_.catalogue.Refresh();
  editing_.UpdateCurrentItem();
}

void MwCommands::Fill(db::Mask shown, const std::string& selection, const std::string& exclusion) {
  editing_.ApplyUnapplied();
  state_.catalogue.FillItemList(shown);
  if (!selection.empty() || !exclusion.empty()) {
    db::Filters& filters = state_.catalogue.ItemFilters();
    filters.activeSelection = selection;
    filters.activeExclusion = exclusion;
    state_.catalogue.ApplySelectFilter();
  }
  editing_.UpdateCurrentItem();
}

void MwCommands::Filter_Standard() {
  const db::Filters& filters = state_.catalogue.ItemFilters();
  Fill(db::kLiveItems, filters.standardSelection, filters.standardExclusion);
}

void MwCommands::Filter_SelectAll() { Fill(db::kLiveItems, {}, {}); }

void MwCommands::Filter_SelectDeleted() { Fill(db::kDeletedItems, {}, {}); }

std::optional<std::string> MwCommands::PickCodes(const std::string& title) {
  editing_.ApplyUnapplied();
  lib::ListDialog dialog{.title = title,
                         .label = "Codes of the items listed. Add takes any text, several codes with blanks between.",
                         .options = lib::kListOk | lib::kListEdit | lib::kListLabel,
                         .entries = state_.catalogue.CollectCodes()};
  desktop_.ShowList(dialog);
  if (dialog.selected < 0) return std::nullopt;
  return dialog.entries.at(static_cast<std::size_t>(dialog.selected));
}

void MwCommands::Filter_Select() {
  const std::optional<std::string> codes = PickCodes("Select");
  if (codes) Fill(state_.catalogue.Shown(), *codes, std::string(state_.catalogue.ItemFilters().activeExclusion));
}

void MwCommands::Filter_Exclude() {
  const std::optional<std::string> codes = PickCodes("Exclude");
  if (codes) Fill(state_.catalogue.Shown(), std::string(state_.catalogue.ItemFilters().activeSelection), *codes);
}

void MwCommands::Help_Help() { OpenHelp(state_.ProgramDir, state_.user); }

void MwCommands::Help_WWW() { lib::OpenWebPage(kWebPage); }

}  // namespace zelkor::app
