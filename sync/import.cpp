#include "sync/import.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "lib/clock.h"
#include "lib/format.h"
#include "sync/folder.h"
#include "sync/import_items.h"
#include "sync/media.h"
#include "sync/sources.h"

namespace zelkor::sync {

namespace {

// The road of one import, from the look-up of the target to its new date.
class Import {
 public:
  Import(Context& context, const ImportRequest& request) : context_(context), request_(request) {}

  ImportResult Run();

 private:
  ImportResult ImportSource(Source& source, ItemImporter& items);
  ImportResult ImportOpened(const lib::File& file, Source& source, ItemImporter& items);
  ImportResult Finish(ItemImporter& items, ImportResult result);
  ImportResult Report(const std::string& text, ImportResult result);

  Context& context_;
  const ImportRequest& request_;
  net::TargetRec target_;
  std::string sender_;
  std::optional<Sources> sources_;
  std::int64_t bytes_ = 0;
  bool cancelled_ = false;
  double stopwatch_ = lib::Stopwatch();
};

ImportResult Import::Run() {
  const bool view = request_.mode == ImportMode::View;
  context_.log.OpenLog(kLogName, std::string("Sync - ") + (view ? "View" : "Import"));
  if (context_.targets.FindTarget(request_.targetId, true) == 0) {
    context_.log.LogLine("Target [" + request_.targetId + "] is not known");
    return ImportResult::NotThere;
  }
  target_ = context_.targets.Current();
  sender_ = NameOfTarget(target_.Id(), context_.computerId);
  sources_.emplace(context_, request_, target_, sender_);
  if (const ImportResult found = sources_->Find(); found != ImportResult::Success) return found;
  if (request_.askProceed && !context_.user.Confirm("Sync import from [" + target_.Id() + "]. Proceed?")) {
    context_.log.LogLine("Declined");
    return ImportResult::Declined;
  }
  ItemImporter items(context_, request_.mode, target_.Date(net::TargetRec::kLastImport));
  ImportResult result = ImportResult::Success;
  for (Source& source : sources_->Files()) {
    const ImportResult one = ImportSource(source, items);
    if (one == ImportResult::Declined) return one;
    if (one != ImportResult::Success) result = one;
    if (cancelled_) return ImportResult::Failed;
  }
  return Finish(items, result);
}

ImportResult Import::ImportSource(Source& source, ItemImporter& items) {
  lib::Result<lib::File> file = lib::File::Open(source.path, lib::OpenMode::Read);
  if (!file.Ok()) return Report(file.Failure().Message(), ImportResult::Failed);
  SyncFileHeader header;
  const lib::Result<std::size_t> got = file->ReadAt(0, header.Bytes());
  if (!got.Ok() || *got < SyncFileHeader::kBytes || !header.IsSyncFile()) {
    return Report("File is not a Sync-file!", ImportResult::Failed);
  }
  source.spanned = !header.LastDisk() || header.Number(SyncFileHeader::kDisk) != 1;
  if (!source.spanned) return ImportOpened(*file, source, items);
  // Nobody can put in the next disk of what came over a network.
  if (!source.onMedium) return Report("File is not a Sync-file!", ImportResult::Failed);

  // The medium must be free to be taken out between two disks.
  file->Close();
  TemporarySyncFile assembled;
  if (!assembled.Failure().Ok()) return Report(assembled.Failure().Message(), ImportResult::Failed);
  context_.log.LogLine("Reading file...");
  if (ReadFromMedia(source.path, assembled.Content(), context_.log, context_.user) != 0) {
    cancelled_ = context_.user.Cancelled();
    return ImportResult::Failed;
  }
  return ImportOpened(assembled.Content(), source, items);
}

ImportResult Import::ImportOpened(const lib::File& file, Source& source, ItemImporter& items) {
  SyncReader reader(file);
  const SyncFileHeader header = reader.ReadHeader();
  if (header.Sender() != sender_) {
    const std::string foreign = "Sync file is not from [" + target_.Id() + "] but from [" + header.Sender() + "].";
    // The question is for who named or picked the file.
    if (!source.named) return Report(foreign, ImportResult::Failed);
    if (!context_.user.Confirm(foreign + "\r\nContinue anyway?")) {
      context_.log.LogLine("Declined: the file is from [" + header.Sender() + "]");
      return ImportResult::Declined;
    }
  }
  context_.log.LogLine("Created by [" + header.Sender() + "] " +
                       lib::GeneralDate(header.Date(SyncFileHeader::kCreated)));
  bytes_ += reader.Length();
  try {
    if (!items.ImportFile(reader)) {
      cancelled_ = true;
      context_.log.LogLine("Cancelled");
      return ImportResult::Failed;
    }
  } catch (const DamagedSyncFile& damaged) {
    context_.user.EndProgress();
    context_.log.LogLine(damaged.what());
    throw;
  }
  source.collected = true;
  return ImportResult::Success;
}

ImportResult Import::Finish(ItemImporter& items, ImportResult result) {
  const std::vector<Source>& files = sources_->Files();
  const bool anyRead = std::any_of(files.begin(), files.end(), [](const Source& s) { return s.collected; });
  if (!anyRead) return result;
  if (result == ImportResult::Success && (!items.AllTaken() || sources_->AnyUnreadable()))
    result = ImportResult::Failed;
  if (request_.mode == ImportMode::Import) {
    // Nothing is said to have arrived before it is on the medium.
    if (const lib::Status flushed = items.FlushWritten(); !flushed.Ok()) {
      result = Report(flushed.Message(), ImportResult::Failed);
    } else {
      context_.targets.SetTargetDates(target_.Id(), lib::Now(), 0);
    }
    if (result == ImportResult::Success) sources_->RemoveCollected();
  }
  context_.log.LogLine("Import completed. " + lib::FormatKilobytes(bytes_) + " (" +
                       lib::FormatElapsed(lib::Stopwatch() - stopwatch_) + ")");
  return result;
}

ImportResult Import::Report(const std::string& text, ImportResult result) {
  context_.log.Report(text);
  return result;
}

}  // namespace

ImportResult ImportFromTarget(Context& context, const ImportRequest& request) {
  const RunGuard guard(context);
  const ImportResult result = Import(context, request).Run();
  ClearStatus(context);
  return result;
}

}  // namespace zelkor::sync
