#include "sync/export_items.h"

#include <unordered_set>

#include "lib/clock.h"
#include "lib/format.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/selection.h"
#include "lib/text.h"

namespace zelkor::sync {

namespace {

// So few items are written before a second thread has begun.
constexpr int kWorthAThread = 16;

bool IsMissing(lib::Cause cause) { return cause == lib::Cause::NotFound || cause == lib::Cause::PathNotFound; }

bool LaterThan(lib::Date date, lib::Date cutoff) { return lib::DateToSeconds(date) > lib::DateToSeconds(cutoff); }

}  // namespace

ItemExporter::ItemExporter(Context& context, const net::TargetRec& target, lib::Date started)
    : context_(context),
      target_(target),
      targetId_(target_.Id()),
      lastExport_(target_.Date(net::TargetRec::kLastExport)),
      noneNewer_("  no files newer than " + lib::GeneralDate(lastExport_)),
      started_(started),
      list_(context.catalogue.Data(), rows_, context.user) {
  progress_.doing = "Exporting";
}

bool ItemExporter::Fill() {
  list_.FillItemList(db::kAllItems);
  const db::Filters& filters = context_.catalogue.ItemFilters();
  filtered_ = !filters.standardSelection.empty() || !filters.standardExclusion.empty();
  if (!filtered_) return true;
  list_.ItemFilters().activeSelection = filters.standardSelection;
  list_.ItemFilters().activeExclusion = filters.standardExclusion;
  return list_.ApplySelectFilter();
}

ItemExporter::State ItemExporter::StoredState(const db::FileRec& item) {
  const std::int32_t method = item.Number(db::FileRec::kSyncMethod);
  if (method <= static_cast<std::int32_t>(db::SyncMethod::Auto)) return State::Auto;
  return method == static_cast<std::int32_t>(db::SyncMethod::On) ? State::On : State::Off;
}

ItemExporter::State ItemExporter::StateOf(std::int32_t recno, const db::FileRec& item) const {
  const std::optional<std::int32_t> chosen = context_.catalogue.ChosenExportState(recno);
  if (!chosen) return StoredState(item);
  db::FileRec asChosen;
  asChosen.SetNumber(db::FileRec::kSyncMethod, *chosen);
  return StoredState(asChosen);
}

bool ItemExporter::GoesToTarget(const db::FileRec& item) const {
  return db::ItemGoesToTarget(item, targetId_, target_.Number(net::TargetRec::kDefaultExclude) != 0);
}

void ItemExporter::LookAhead(int row) {
  constexpr std::size_t kEnough = lib::ReadAhead::kFiles / 2;
  if (!ahead_ || ahead_->Wanted() > kEnough) return;
  aheadRow_ = std::max(aheadRow_, row);
  const int rows = list_.ItemList().Count();
  while (aheadRow_ < rows && ahead_->Wanted() < lib::ReadAhead::kFiles) {
    const std::int32_t recno = list_.ItemList().FileRec(++aheadRow_);
    db::FileRec item;
    context_.catalogue.Data().PeekItem(recno, item);
    const State state = StateOf(recno, item);
    if (item.Deleted() || state == State::Off || !GoesToTarget(item)) continue;
    std::string path = item.Text(db::FileRec::kFileName);
    // Only what is plainly one file: the names of a longer selection come out when its turn comes.
    if (lib::FindAnyOf(path, "*?\r\n") != std::string::npos) continue;
    ahead_->Want(aheadRow_, std::move(path), state == State::On ? 0 : lastExport_);
  }
  ahead_->Start();
}

bool ItemExporter::WriteBlock(SyncWriter& writer, lib::Status& failure) {
  db::Database& data = context_.catalogue.Data();
  const int rows = list_.ItemList().Count();
  progress_.itemsTotal = rows;
  if (context_.user.ShowsProgress()) CountBytes();
  failure = writer.BeginBlock(rows);
  if (!failure.Ok()) return false;
  if (rows >= kWorthAThread) ahead_.emplace();
  for (int row = 1; row <= rows; ++row) {
    context_.user.PendingEvents();
    if (context_.user.Cancelled()) return false;
    row_ = row;
    LookAhead(row);
    const std::int32_t recno = list_.ItemList().FileRec(row);
    data.ReadItem(recno);
    progress_.items = row;
    ShowProgress(0);
    if (!GoesToTarget(data.Item())) continue;
    const State state = StateOf(recno, data.Item());
    if (state == State::Off) {
      const std::string due = StoredState(data.Item()) == State::Off ? std::string() : FirstDueFile(data.Item());
      if (!due.empty()) hold_.HoldForChoice("[" + due + "] is held back by the export state \"Off\"");
      continue;
    }
    if (!WriteItem(writer, data.Item(), state, failure)) return false;
  }
  failure = writer.EndBlock();
  if (!failure.Ok()) return false;
  context_.user.EndProgress();
  context_.log.LogLine(std::to_string(writer.Items()) + " memos, " + std::to_string(writer.Files()) +
                       " files exported");
  return true;
}

bool ItemExporter::WriteItem(SyncWriter& writer, db::FileRec item, State state, lib::Status& failure) {
  // An item whose only file is at hand is logged together with what becomes of it.
  if (ahead_ && ahead_->Ready(row_)) {
    context_.log.LogHeading(item.Text(db::FileRec::kDescription));
  } else {
    context_.log.LogLine(item.Text(db::FileRec::kDescription));
  }
  const std::string selection = item.Text(db::FileRec::kFileName);
  item.SetText(db::FileRec::kImportSource, context_.computerId);
  item.SetDate(db::FileRec::kImportDate, Present());
  failure = writer.BeginItem(item);
  if (!failure.Ok()) return false;

  const lib::Date cutoff = state == State::On ? 0 : lastExport_;
  if (!item.Deleted()) {
    const bool whole = lib::ExpandSelection(selection, [&](const lib::SelectedFile& file) {
      if (context_.user.Cancelled()) return false;
      if (!file.refused.Ok()) {
        NoteLeftOut(file);
        return true;
      }
      return WriteFile(writer, file.path, cutoff, failure);
    });
    if (!whole) return false;
    if (state == State::Auto && writer.FilesOfItem() == 0 && cutoff != 0) {
      context_.log.LogLine(noneNewer_);
    }
  }
  context_.log.Settle();
  failure = writer.EndItem(item, lib::NormaliseSelection(context_.remap.RemapPath(selection, false)));
  return failure.Ok();
}

lib::Date ItemExporter::Present() {
  if (const std::int64_t now = lib::NowUtc(); now != presentUtc_) {
    presentUtc_ = now;
    present_ = lib::Now();
  }
  return present_;
}

void ItemExporter::NoteLeftOut(const lib::SelectedFile& file) {
  context_.log.LogLine("  " + file.refused.Message());
  // A name that no sync file can carry stays behind for good. A folder that is not there holds nothing. But what stands
  // on a drive that this computer can not reach, or in a folder that it may not read, may be due.
  const bool driveKnown = lib::IsDrivePath(file.path) ? lib::ToNative(file.path.substr(0, 3)).Ok() : true;
  const bool forGood = file.refused.Why() == lib::Cause::Refused && driveKnown;
  if (!forGood && !IsMissing(file.refused.Why())) hold_.HoldForError(file.refused.Message());
}

bool ItemExporter::WriteFile(SyncWriter& writer, const std::string& path, lib::Date cutoff, lib::Status& failure) {
  lib::Status why;
  const lib::ReadAhead::Found* const found = ahead_ ? ahead_->Take(row_, path) : nullptr;
  if (found != nullptr && cutoff != 0 && !LaterThan(found->info.written, cutoff)) return true;
  if (found != nullptr && found->read) {
    return NoteOutcome(writer, path, writer.WriteFile(*found, context_.remap.RemapPath(path, false), why), why,
                       failure);
  }
  context_.log.Settle();
  // With no cut-off the file is opened at once; otherwise most files are not due, and a look at the date is enough.
  if (cutoff != 0) {
    const lib::Result<lib::FileInfo> info = lib::GetFileInfo(path);
    if (info.Ok() && !info->directory && !LaterThan(info->written, cutoff)) return true;
    if (!info.Ok() && !IsMissing(info.Why())) {
      context_.log.LogLine("  Can not open [" + path + "]!");
      hold_.HoldForError(info.Failure().Message());
      return true;
    }
  }
  const EntryOutcome outcome = writer.WriteFile(path, context_.remap.RemapPath(path, false), why,
                                                [this](std::int64_t bytes) { ShowProgress(bytes); });
  return NoteOutcome(writer, path, outcome, why, failure);
}

bool ItemExporter::NoteOutcome(const SyncWriter& writer, const std::string& path, EntryOutcome outcome,
                               const lib::Status& why, lib::Status& failure) {
  switch (outcome) {
    case EntryOutcome::Written:
      context_.log.LogLine("  [" + path + "]");
      break;
    case EntryOutcome::Missing:
      context_.log.LogLine("  [" + path + "]: not found");
      break;
    case EntryOutcome::Unreadable:
      context_.log.LogLine("  Can not open [" + path + "]!");
      hold_.HoldForError(why.Message());
      break;
    case EntryOutcome::Changing:
      context_.log.LogLine("  [" + path + "]: left out, it changes while it is read");
      hold_.HoldForError("[" + path + "] changes while it is read");
      break;
    case EntryOutcome::TooLong:
      context_.log.LogLine("  [" + path + "]: left out, it is longer than 2 147 483 647 bytes");
      break;
    case EntryOutcome::ItemTooLong:
      context_.log.LogLine("  [" + path + "]: left out, the item's files together are longer than 2 147 483 647 bytes");
      break;
    case EntryOutcome::CanNotWrite:
      failure = why;
      return false;
  }
  progress_.bytes += outcome == EntryOutcome::Written ? writer.BytesOfFile() : 0;
  context_.user.PendingEvents();
  return true;
}

std::string ItemExporter::FirstDueFile(const db::FileRec& item) const {
  if (item.Deleted()) return {};
  std::string due;
  lib::ExpandSelection(item.Text(db::FileRec::kFileName), [&](const lib::SelectedFile& file) {
    if (!file.refused.Ok()) return true;
    const lib::Result<lib::FileInfo> info = lib::GetFileInfo(file.path);
    if (info.Ok() && !info->directory && LaterThan(info->written, lastExport_)) due = file.path;
    return due.empty();
  });
  return due;
}

void ItemExporter::LookAtFilteredItems() {
  if (!filtered_) return;
  std::unordered_set<std::int32_t> listed;
  for (int row = 1; row <= list_.ItemList().Count(); ++row) listed.insert(list_.ItemList().FileRec(row));
  context_.catalogue.Data().ForEachItem([&](std::int32_t recno, const db::FileRec& item) {
    if (listed.contains(recno) || !GoesToTarget(item) || StateOf(recno, item) == State::Off) return;
    const std::string due = FirstDueFile(item);
    if (!due.empty()) hold_.HoldForChoice("[" + due + "] is held back by a filter");
  });
}

bool ItemExporter::ChangedSinceStart() {
  db::Database& data = context_.catalogue.Data();
  const lib::Date justBefore = lib::SecondsToDate(lib::DateToSeconds(started_) - 1);
  bool changed = false;
  for (int row = 1; row <= list_.ItemList().Count() && !changed; ++row) {
    const std::int32_t recno = list_.ItemList().FileRec(row);
    data.ReadItem(recno);
    const db::FileRec& item = data.Item();
    if (item.Deleted() || !GoesToTarget(item) || StateOf(recno, item) == State::Off) continue;
    lib::ExpandSelection(item.Text(db::FileRec::kFileName), [&](const lib::SelectedFile& file) {
      const lib::Result<lib::FileInfo> info = lib::GetFileInfo(file.path);
      changed = info.Ok() && LaterThan(info->written, justBefore);
      return !changed;
    });
  }
  return changed;
}

void ItemExporter::CountBytes() {
  db::Database& data = context_.catalogue.Data();
  for (int row = 1; row <= list_.ItemList().Count(); ++row) {
    const std::int32_t recno = list_.ItemList().FileRec(row);
    data.ReadItem(recno);
    const db::FileRec& item = data.Item();
    const State state = StateOf(recno, item);
    if (item.Deleted() || state == State::Off || !GoesToTarget(item)) continue;
    lib::ExpandSelection(item.Text(db::FileRec::kFileName), [&](const lib::SelectedFile& file) {
      const lib::Result<lib::FileInfo> info = lib::GetFileInfo(file.path);
      if (info.Ok() && (state == State::On || LaterThan(info->written, lastExport_)))
        progress_.bytesTotal += info->size;
      return !context_.user.Cancelled();
    });
  }
}

void ItemExporter::ShowProgress(std::int64_t bytesOfFile) {
  lib::Progress shown = progress_;
  shown.bytes += bytesOfFile;
  context_.user.ShowProgress(shown);
}

}  // namespace zelkor::sync
