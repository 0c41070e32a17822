#include "db/item_editing.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "db/config_rec.h"
#include "db/typed_selection.h"
#include "lib/clamp.h"
#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/format.h"
#include "lib/paths.h"
#include "lib/selection.h"
#include "lib/shell.h"
#include "lib/text.h"

namespace zelkor::db {

namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kSyncFileEnding = ".cas";

// A run works with the database's buffer, too: whoever uses it while one is in hand leaves it as it was.
class BufferKeeper {
 public:
  explicit BufferKeeper(Catalogue& catalogue) : catalogue_(catalogue) {
    if (catalogue.Occupied().InHand()) kept_ = catalogue.Data().Item();
  }
  ~BufferKeeper() {
    if (kept_) catalogue_.Data().Item() = *kept_;
  }
  BufferKeeper(const BufferKeeper&) = delete;
  BufferKeeper& operator=(const BufferKeeper&) = delete;

 private:
  Catalogue& catalogue_;
  std::optional<FileRec> kept_;
};

std::int32_t ListPosition(std::int32_t stored, const std::vector<std::string>& choices) {
  return lib::ClampInt(stored, 0, static_cast<std::int32_t>(choices.size()) - 1);
}

// The types of a list and the extension are compared with a blank before them, so "txt" is not found in "mtxt".
bool HoldsType(const std::string& types, const std::string& extension) {
  return !extension.empty() && lib::ContainsNoCase(" " + types, " " + extension);
}

// What the item of a file from outside is called: its name without the extension, unless nothing is left then.
std::string DescriptionOf(const std::string& path) {
  const std::string name = lib::FileNamePart(path);
  const std::string base(lib::Trim(lib::FileBaseName(name)));
  return base.empty() ? name : base;
}

}  // namespace

ItemEditing::ItemEditing(Catalogue& catalogue, lib::User& user, lib::Desktop& desktop)
    : catalogue_(catalogue), user_(user), desktop_(desktop) {}

void ItemEditing::Attach(ItemForm* form, CurrentItemView* view) {
  form_ = form;
  view_ = view;
}

void ItemEditing::ImportsWith(std::function<void(const std::string& path)> importFile) {
  importFile_ = std::move(importFile);
}

ItemEditing::FirstFile ItemEditing::LookAtFirstFile(const FileRec& item) {
  FirstFile file{.path = lib::FirstSelectedFile(item.Text(FileRec::kFileName))};
  if (file.path.empty()) return file;
  const lib::Result<lib::FileInfo> info = lib::GetFileInfo(file.path);
  file.found = info.Ok() && !info->directory;
  if (file.found) file.written = lib::GeneralDate(info->written);
  return file;
}

std::optional<FileRec> ItemEditing::CurrentRecord() {
  if (catalogue_.ItemList().Row() == 0) return std::nullopt;
  catalogue_.ReadCurrentItem();
  return catalogue_.Data().Item();
}

void ItemEditing::UpdateCurrentItem() {
  ApplyUnapplied();
  const BufferKeeper keeper(catalogue_);
  CurrentItem current{.row = catalogue_.ItemList().Row(), .count = catalogue_.ItemList().Count()};
  const std::optional<FileRec> item = CurrentRecord();
  FirstFile file;
  if (item) {
    file = LookAtFirstFile(*item);
    current.fileFound = file.found;
    current.lastUpdate = file.found ? file.written : "File not found";
    current.deleted = item->Deleted();
  }
  current.deleteCaption = current.deleted ? "&Undelete..." : "&Delete...";
  if (view_ != nullptr) view_->ShowCurrentItem(current);
  if (form_ == nullptr || !form_->FormShown()) return;
  if (item) {
    ShowInForm(catalogue_.ItemList().FileRec(current.row), *item, file);
  } else {
    ShowNothing();
  }
}

void ItemEditing::ShowItem() {
  if (form_ == nullptr) return;
  const BufferKeeper keeper(catalogue_);
  if (const std::optional<FileRec> item = CurrentRecord()) {
    ShowInForm(catalogue_.ItemList().FileRec(catalogue_.ItemList().Row()), *item, LookAtFirstFile(*item));
  } else {
    ShowNothing();
  }
}

void ItemEditing::ShowInForm(std::int32_t recno, const FileRec& item, const FirstFile& file) {
  const lib::Date imported = std::max(0.0, item.Date(FileRec::kImportDate));
  const std::string description = item.Text(FileRec::kDescription);
  form_->SetItem({.caption = "Item - [" + description + "]",
                  .description = description,
                  .codes = item.Text(FileRec::kCodes),
                  .fileName = lib::NormaliseSelection(item.Text(FileRec::kFileName)),
                  .syncMethod = ListPosition(item.Number(FileRec::kSyncMethod), kSyncMethodChoices),
                  .syncTo = ListPosition(item.Number(FileRec::kSyncTo), kSyncToChoices),
                  .fileDate = file.found ? file.written : "- - -",
                  .importUserId = item.Text(FileRec::kImportSource),
                  .importDate = imported == 0 ? std::string() : lib::GeneralDate(imported)});
  shownRecno_ = recno;
  form_->EnableApply(false);
  form_->EnableFields(!catalogue_.Occupied().InHand());
}

void ItemEditing::ShowNothing() {
  shownRecno_ = 0;
  form_->SetItem({.caption = "Item - []"});
  form_->EnableApply(false);
  form_->EnableFields(false);
}

void ItemEditing::ShowProperties() {
  if (form_ == nullptr || catalogue_.ItemList().Row() == 0) return;
  ApplyUnapplied();
  ShowItem();
  form_->ShowForm();
}

void ItemEditing::Edit() {
  if (form_ != nullptr && shownRecno_ != 0) form_->EnableApply(true);
}

void ItemEditing::OccupationChanged() {
  if (form_ != nullptr) form_->EnableFields(shownRecno_ != 0 && !catalogue_.Occupied().InHand());
}

void ItemEditing::ApplyUnapplied() {
  if (form_ != nullptr && form_->ApplyEnabled()) ApplyItem();
}

void ItemEditing::ApplyItem() {
  if (form_ == nullptr || shownRecno_ == 0) return;
  const std::int32_t recno = shownRecno_;
  const ItemEdited edited = form_->Edited();
  const TypedSelection typed = TakeTyped(edited.fileNameUtf8);
  // Before the messages: while one is shown nobody else is to apply the same once more.
  form_->EnableApply(false);
  if (!typed.refused.empty()) TellRefused(typed.refused);
  if (typed.selection.size() > FileRec::kFileName.width) {
    user_.Message("Filename string is too long!", lib::Icon::Critical);
  }
  {
    const BufferKeeper keeper(catalogue_);
    Database& data = catalogue_.Data();
    // All that the dialog does not show stays as it is by now.
    data.ReadItem(recno);
    FileRec& item = data.Item();
    item.SetText(FileRec::kDescription, edited.description);
    item.SetText(FileRec::kCodes, edited.codes);
    item.SetText(FileRec::kFileName, typed.selection);
    item.SetNumber(FileRec::kSyncMethod, edited.syncMethod);
    item.SetNumber(FileRec::kSyncTo, edited.syncTo);
    data.WriteItem(recno);
    catalogue_.DropExportState(recno);
    catalogue_.ShowRowOf(recno);
  }
  UpdateCurrentItem();
}

void ItemEditing::LeaveFileName() {
  if (form_ == nullptr || !form_->ApplyEnabled()) return;
  const std::string before = form_->Edited().fileNameUtf8;
  const TypedSelection typed = TakeTyped(before);
  if (typed.utf8 != lib::NormaliseSelection(before)) form_->SetFileName(typed.utf8);
  if (!typed.refused.empty()) TellRefused(typed.refused);
}

void ItemEditing::TellRefused(const std::vector<lib::Status>& refused) {
  constexpr std::size_t kMostLines = 10;
  std::string text;
  for (std::size_t i = 0; i < std::min(refused.size(), kMostLines); ++i) {
    text += (i == 0 ? "" : kLineEnd);
    text += refused[i].Message();
  }
  if (refused.size() > kMostLines) {
    text += kLineEnd;
    text += "and " + std::to_string(refused.size() - kMostLines) + " more";
  }
  user_.Message(text, lib::Icon::Exclamation);
}

void ItemEditing::Browse() {
  if (form_ == nullptr || shownRecno_ == 0 || catalogue_.Occupied().InHand()) return;
  std::string old(lib::TrimCrLf(form_->Edited().fileNameUtf8));
  const std::string folder = lib::DirectoryPart(lib::FirstSelectedFile(TakeTyped(old).selection));
  const std::string path = user_.ChooseFile("File selection", "*.*", folder);
  if (path.empty()) return;
  if (!old.empty()) old += kLineEnd;
  form_->SetFileName(old + lib::ToUtf8(lib::Lower(path)));
  form_->EnableApply(true);
}

void ItemEditing::ShowMemoId() {
  if (shownRecno_ == 0) return;
  std::int32_t memoId = 0;
  {
    const BufferKeeper keeper(catalogue_);
    catalogue_.Data().ReadItem(shownRecno_);
    memoId = catalogue_.Data().Item().Number(FileRec::kMemoId);
  }
  user_.Ask({.text = std::to_string(memoId), .title = "Memo ID"});
}

void ItemEditing::Close() {
  if (form_ == nullptr) return;
  ApplyUnapplied();
  form_->HideForm();
}

void ItemEditing::ListItemFiles() {
  if (catalogue_.Occupied().InHand()) return;
  ApplyUnapplied();
  const std::optional<FileRec> item = CurrentRecord();
  if (!item) return;

  lib::ListDialog dialog;
  std::vector<lib::Status> refused;
  std::int64_t bytes = 0;
  {
    const lib::Occupation::Guard occupied(catalogue_.Occupied());
    lib::ExpandSelection(item->Text(FileRec::kFileName), [&](const lib::SelectedFile& file) {
      if (!file.refused.Ok()) {
        refused.push_back(file.refused);
        return true;
      }
      const lib::Result<lib::FileInfo> info = lib::GetFileInfo(file.path);
      if (info.Ok() && !info->directory) bytes += info->size;
      dialog.entries.push_back(file.path);
      if (dialog.entries.size() % 64 == 0) user_.PendingEvents();
      return true;
    });
  }
  if (!refused.empty()) TellRefused(refused);
  constexpr std::int64_t kKilobyte = 1024;
  dialog.title = item->Text(FileRec::kDescription) + " - " + std::to_string(dialog.entries.size()) + " files, " +
                 lib::FormatGrouped((bytes + kKilobyte / 2) / kKilobyte) + " kb";
  desktop_.ShowList(dialog);
}

bool ItemEditing::OpenItem() {
  const BufferKeeper keeper(catalogue_);
  const std::optional<FileRec> item = CurrentRecord();
  if (!item) return false;
  const std::string file = lib::FirstSelectedFile(item->Text(FileRec::kFileName));
  const std::string extension = lib::Lower(lib::FileExtension(file));
  const ConfigRec& config = catalogue_.Data().Config();
  const bool inEditor = HoldsType(config.Text(ConfigRec::kEditorTypes), extension);
  const bool byShell = !inEditor && HoldsType(config.Text(ConfigRec::kShellTypes), extension);
  if (inEditor) desktop_.EditFile(file);
  if (byShell) lib::ShellOpen(file);
  UpdateCurrentItem();
  return inEditor || byShell;
}

void ItemEditing::OpenItemOrProperties() {
  ApplyUnapplied();
  if (!OpenItem()) ShowProperties();
}

bool ItemEditing::AddFromOutside(const std::string& path) {
  if (lib::Status usable = lib::CheckPath(path); !usable.Ok()) {
    TellRefused({std::move(usable)});
    return true;
  }
  std::string description = DescriptionOf(path);
  std::string selection = path;
  if (lib::DirectoryExists(path)) {
    const std::string directory = lib::SlashPath(path, true);
    description = lib::FileNamePart(directory).empty() ? path : lib::FileNamePart(directory);
    selection = "+- " + lib::SlashPath(path) + "*.*";
  }
  if (selection.size() > FileRec::kFileName.width) {
    TellRefused({{lib::Cause::Refused, "The path \"" + path + "\" can not be used: it is longer than " +
                                           std::to_string(FileRec::kFileName.width) + " characters"}});
    return true;
  }
  return catalogue_.AddItem(description, selection).has_value();
}

void ItemEditing::OpenItemFiles(std::string_view list) {
  if (catalogue_.Occupied().InHand()) {
    user_.Message("Files can not be added while something else is in progress.", lib::Icon::Exclamation);
    return;
  }
  ApplyUnapplied();
  for (const std::string& path : lib::SplitLines(list)) {
    if (path.empty()) continue;
    const bool isSyncFile =
        path.size() >= kSyncFileEnding.size() &&
        lib::EqualNoCase(std::string_view(path).substr(path.size() - kSyncFileEnding.size()), kSyncFileEnding);
    if (isSyncFile && !lib::DirectoryExists(path)) {
      if (importFile_) importFile_(path);
    } else if (!AddFromOutside(path)) {
      break;  // the database is full, and has said so
    }
  }
  UpdateCurrentItem();
}

}  // namespace zelkor::db
