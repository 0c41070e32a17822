#include "sync/import_items.h"

#include "lib/files.h"
#include "lib/format.h"
#include "lib/paths.h"
#include "lib/selection.h"
#include "lib/settings.h"
#include "sync/entry_path.h"

namespace zelkor::sync {

namespace {

// So few items or files are dealt with before a second thread has begun.
constexpr std::int32_t kWorthAThread = 16;

constexpr const char* kTooOld = "File is in Version < 2.14. Exiting...";

bool IsMissing(lib::Cause cause) { return cause == lib::Cause::NotFound || cause == lib::Cause::PathNotFound; }

}  // namespace

ItemImporter::ItemImporter(Context& context, ImportMode mode, lib::Date cutoff)
    : context_(context),
      mode_(mode),
      cutoff_(cutoff),
      confirmUpdates_(lib::GetIniNumber("Zelkor", "ConfirmUpdates", 0) != 0),
      ownFiles_(context.catalogue.Data().ProgramDir()) {
  progress_.doing = mode == ImportMode::View ? "Reading" : "Importing";
}

bool ItemImporter::ImportFile(SyncReader& reader) {
  const bool toItsEnd = ImportBlocks(reader);
  ahead_.reset();
  return toItsEnd;
}

bool ItemImporter::ImportBlocks(SyncReader& reader) {
  BlockHeader block;
  blocks_ = 0;
  while (reader.NextBlock(block)) {
    ++blocks_;
    context_.log.LogLine("--Block " + std::to_string(blocks_) +
                         ", items:" + std::to_string(block.Number(BlockHeader::kItemCount)) + ", ver " +
                         lib::FormatTwoDecimals(block.Number(BlockHeader::kVersion) / 100.0) + "--");
    if (!block.IsOurs()) {
      context_.log.LogLine("The block is not Zelkor's and is left out");
      allTaken_ = false;
      continue;
    }
    if (!ImportBlock(reader, block)) return false;
  }
  return true;
}

bool ItemImporter::ImportBlock(SyncReader& reader, const BlockHeader& block) {
  if (block.Number(BlockHeader::kVersion) < kOldestVersion) {
    context_.log.LogLine(kTooOld);
    allTaken_ = false;
    return true;
  }
  Tally tally;
  bool goOn = true;
  const std::int32_t count = block.Number(BlockHeader::kItemCount);
  progress_.items = 0;
  progress_.itemsTotal = count;
  if (count >= kWorthAThread) GoAhead(reader);
  for (std::int32_t i = 0; i < count && goOn; ++i) {
    db::FileRec item;
    reader.ReadItem(item);
    ++progress_.items;
    ShowProgress(reader, 0);
    goOn = ImportItem(reader, item, tally);
  }
  context_.user.EndProgress();
  LogSummary(tally);
  return goOn;
}

void ItemImporter::GoAhead(const SyncReader& reader) {
  if (ahead_) return;
  // A question about each file leaves no hurry.
  const bool makes = mode_ == ImportMode::Import && !confirmUpdates_ && lib::UnnamedFileMaker::Works();
  ahead_.emplace(reader.Path(), context_.remap, cutoff_, makes);
}

bool ItemImporter::ImportItem(SyncReader& reader, db::FileRec& item, Tally& tally) {
  const std::int32_t files = item.Number(db::FileRec::kFileCount);
  // What becomes of a small file is known at once, and logged together with this.
  context_.log.LogHeading(item.Text(db::FileRec::kDescription) + ", " + std::to_string(files) + " files");

  if (files >= kWorthAThread) GoAhead(reader);

  db::Database& data = context_.catalogue.Data();
  recno_ = data.FindMemoId(item.Number(db::FileRec::kMemoId));
  recordWritten_ = false;
  if (recno_ == 0 && mode_ == ImportMode::Import && data.RecordCount() < db::kMaxItems) recno_ = data.AppendRecNo();
  const bool noRoom = recno_ == 0 && mode_ == ImportMode::Import;
  if (noRoom) {
    LogReason("The database is full: it holds " + std::to_string(db::kMaxItems) + " items");
    allTaken_ = false;
  }

  for (std::int32_t i = 0; i < files; ++i) {
    context_.user.PendingEvents();
    if (context_.user.Cancelled()) return false;
    FileHeader entry;
    reader.ReadEntry(entry);
    std::string localPath;
    const Decision decision = ImportEntry(reader, entry, item, localPath);
    if (mode_ == ImportMode::View || decision >= Decision::NewerAfterCutoff) {
      context_.log.LogLine("  [" + localPath + "]: " + std::string(Label(decision)));
    }
    context_.log.Settle();
    if (decision == Decision::CanNotImport) allTaken_ = false;
    tally.Count(decision);
  }
  context_.log.Settle();
  if (item.Deleted() && mode_ == ImportMode::Import && !noRoom && !recordWritten_) WriteRecord(item);
  return true;
}

void ItemImporter::WriteRecord(db::FileRec& item) {
  db::Database& data = context_.catalogue.Data();
  db::FileRec local = item;
  local.SetText(db::FileRec::kFileName,
                lib::NormaliseSelection(context_.remap.RemapPath(item.Text(db::FileRec::kFileName), true)));
  data.Item() = local;
  data.WriteItem(recno_);
  recordWritten_ = true;
}

Decision ItemImporter::ImportEntry(SyncReader& reader, const FileHeader& entry, db::FileRec& item,
                                   std::string& localPath) {
  const std::string shared = SharedPath(entry, item);
  localPath = context_.remap.RemapPath(shared.empty() ? entry.Text(FileHeader::kPath) : shared, true);
  if (shared.empty()) {
    LogReason("The name fills its field and may have been cut");
    return Decision::CanNotImport;
  }
  if (lib::Status usable = lib::CheckReceivedPath(localPath); !usable.Ok()) {
    LogReason(usable.Message());
    return Decision::CanNotImport;
  }
  const lib::Date written = entry.Date(FileHeader::kWritten);
  if (!lib::IsDate(written)) {
    LogReason("The file's time is no date");
    return Decision::CanNotImport;
  }
  if (ownFiles_.Contains(localPath)) {
    LogReason("The file is one of Zelkor's own");
    return Decision::CanNotImport;
  }
  ImportAhead::Found ahead;
  if (ahead_) ahead = ahead_->Take(reader.Position(), localPath);
  if (ahead.local && !ahead.local->directory) {
    // What is not to be touched needs no second look.
    const Decision decision = Decide(ahead.local->written, written, cutoff_);
    if (!Takes(decision)) return decision;
  }
  const lib::Result<lib::FileInfo> local = lib::GetFileInfo(localPath);
  if (!local.Ok() && !IsMissing(local.Why())) {
    LogReason(local.Failure().Message());
    return Decision::CanNotImport;
  }
  if (local.Ok() && local->directory) {
    LogReason("There is a directory of that name");
    return Decision::CanNotImport;
  }
  const Decision decision = Decide(local.Ok() ? local->written : 0, written, cutoff_);
  if (mode_ == ImportMode::View || !Takes(decision)) return decision;
  if (recno_ == 0) return Decision::CanNotImport;
  if (local.Ok() && local->readOnly) {
    LogReason("The file is read-only");
    return Decision::CanNotImport;
  }
  return TakeFile(reader, entry, item, localPath, decision, std::move(ahead.file));
}

Decision ItemImporter::TakeFile(SyncReader& reader, const FileHeader& entry, db::FileRec& item,
                                const std::string& localPath, Decision decision, std::optional<lib::UnnamedFile> made) {
  if (confirmUpdates_) {
    context_.log.Settle();
    context_.user.EndProgress();
    if (!context_.user.Confirm("Import " + localPath + "?", "Import")) {
      if (context_.user.InputEnded()) allTaken_ = false;
      return Decision::DidNotImport;
    }
  }
  lib::Result<lib::NewFile> file = WholeFile(reader, entry, localPath, std::move(made));
  if (!file.Ok() && file.Why() == lib::Cause::DiskFull && ahead_) {
    // What was made ahead may be what fills it.
    ahead_->Stop();
    file = WholeFile(reader, entry, localPath, std::nullopt);
  }
  lib::Status done = file.Ok() ? lib::Status() : file.Failure();
  if (done.Ok()) {
    // From here on the file is whole. Its item is recorded before it takes its name: a crash in between leaves an item
    // whose file comes again, never a file that belongs to no item.
    written_.Wrote(file->Content(), localPath, entry.Number(FileHeader::kSize));
    if (!recordWritten_) WriteRecord(item);
    done = file->Replace();
    if (ahead_) ahead_->Wrote();
  }
  if (!done.Ok()) {
    LogReason(done.Message());
    return Decision::CanNotImport;
  }
  return decision;
}

lib::Result<lib::NewFile> ItemImporter::WholeFile(SyncReader& reader, const FileHeader& entry,
                                                  const std::string& localPath, std::optional<lib::UnnamedFile> made) {
  // Makes the directory when it is missing.
  const auto create = [&](auto&... content) {
    lib::Result<lib::NewFile> file = lib::NewFile::Create(localPath, content...);
    if (!file.Ok() && file.Why() == lib::Cause::PathNotFound && lib::MakePath(lib::DirectoryPart(localPath))) {
      file = lib::NewFile::Create(localPath, content...);
    }
    return file;
  };
  if (made) {
    lib::Result<lib::NewFile> file = create(*made);
    if (file.Ok()) return file;
  }
  context_.log.Settle();
  lib::Result<lib::NewFile> file = create();
  if (!file.Ok()) return file;
  lib::Status done = reader.CopyContent(file->Content(), [&](std::int64_t bytes) { ShowProgress(reader, bytes); });
  if (done.Ok()) done = file->Content().SetTimes(entry.Date(FileHeader::kCreated), entry.Date(FileHeader::kWritten));
  if (!done.Ok()) return done;
  return file;
}

lib::Status ItemImporter::FlushWritten() {
  const lib::Status files = written_.Finish();
  const lib::Status items = context_.catalogue.Data().FlushItems();
  return files.Ok() ? items : files;
}

void ItemImporter::LogSummary(const Tally& tally) {
  const auto line = [&](const char* label, int count) {
    context_.log.LogLine(std::string(label) + " " + lib::FormatGrouped(count));
  };
  context_.log.LogLine("");
  context_.log.LogLine("File summary:");
  line("Identical:", tally.Of(Decision::Identical));
  line("Older:", tally.Of(Decision::OlderBeforeCutoff) + tally.Of(Decision::OlderAfterCutoff));
  line("Updated:", tally.Of(Decision::NewerAfterCutoff) + tally.Of(Decision::NewerBeforeCutoff));
  line("Added:", tally.Of(Decision::New));
  line("Error when imported:", tally.Of(Decision::CanNotImport));
  line("Not imported:", tally.Of(Decision::DidNotImport));
}

void ItemImporter::ShowProgress(const SyncReader& reader, std::int64_t bytesOfFile) {
  progress_.bytes = reader.Position() + bytesOfFile;
  progress_.bytesTotal = reader.Length();
  context_.user.ShowProgress(progress_);
}

}  // namespace zelkor::sync
