#include "sync/import.h"

#include <algorithm>
#include <vector>

#include "lib/clock.h"
#include "lib/format.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/settings.h"
#include "sync/folder.h"
#include "sync/import_items.h"
#include "sync/media.h"

namespace zelkor::sync {

namespace {

// The road of one import, from the look-up of the target to its new date.
class Import {
 public:
  Import(Context& context, const ImportRequest& request) : context_(context), request_(request) {}

  ImportResult Run();

 private:
  struct Source {
    std::string path;
    bool named = false;      // somebody named or picked it: asked about when it is foreign, never deleted
    bool spanned = false;    // spread over several disks
    bool collected = false;  // read to its end
  };

  // Finds what is to be imported; Success when there is something.
  ImportResult FindSources();
  ImportResult FindInFolder(const std::string& folder);
  ImportResult ImportSource(Source& source, ItemImporter& items);
  ImportResult ImportOpened(const lib::File& file, Source& source, ItemImporter& items);
  ImportResult Finish(ItemImporter& items, ImportResult result);
  ImportResult Report(const std::string& text, ImportResult result);

  Context& context_;
  const ImportRequest& request_;
  net::TargetRec target_;
  std::string sender_;
  std::vector<Source> sources_;
  std::int64_t bytes_ = 0;
  bool cancelled_ = false;
  bool anyUnreadable_ = false;  // a waiting file could not be read, and may be one for us
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
  if (const ImportResult found = FindSources(); found != ImportResult::Success) return found;
  if (request_.askProceed && !context_.user.Confirm("Sync import from [" + target_.Id() + "]. Proceed?")) {
    context_.log.LogLine("Declined");
    return ImportResult::Declined;
  }
  ItemImporter items(context_, request_.mode, target_.Date(net::TargetRec::kLastImport));
  ImportResult result = ImportResult::Success;
  for (Source& source : sources_) {
    const ImportResult one = ImportSource(source, items);
    if (one == ImportResult::Declined) return one;
    if (one != ImportResult::Success) result = one;
    if (cancelled_) return ImportResult::Failed;
  }
  return Finish(items, result);
}

ImportResult Import::FindSources() {
  const auto type = static_cast<net::ConnectionType>(target_.Number(net::TargetRec::kConnectionType));
  if (type == net::ConnectionType::Ip || type == net::ConnectionType::Ftp) {
    context_.log.LogLine("Target [" + target_.Id() +
                         "] is not reached through a folder. This version imports from folders and media only.");
    return Report("Sync import failed", ImportResult::TransferFailed);
  }
  std::string place = target_.Text(net::TargetRec::kMediaPath);
  if (!request_.place.word.empty()) {
    const lib::Result<std::string> named = lib::FromCommandLine(request_.place.word, request_.place.startDirectory);
    if (!named.Ok()) return Report(named.Failure().Message(), ImportResult::NotThere);
    place = *named;
    if (lib::FileExists(place)) {
      sources_.push_back({.path = place, .named = true});
      return ImportResult::Success;
    }
    if (!lib::DirectoryExists(place)) {
      return Report("Import file [" + place + "] does not exist!", ImportResult::NotThere);
    }
  } else if (lib::IsRemovable(place) && context_.user.CanChooseFile()) {
    const std::string picked = context_.user.ChooseFile("Select sync-file from media", "*.cas", place);
    if (picked.empty()) return Report("No file to import!", ImportResult::NoFile);
    if (!lib::FileExists(picked)) {
      return Report("Import file [" + picked + "] does not exist!", ImportResult::NotThere);
    }
    sources_.push_back({.path = picked, .named = true});
    return ImportResult::Success;
  }
  return FindInFolder(place);
}

ImportResult Import::FindInFolder(const std::string& folder) {
  std::vector<std::string> foreign;
  std::vector<std::string> unreadable;
  const std::string receiver = NameOfTarget(context_.computerId, context_.computerId);
  const lib::Result<std::vector<WaitingFile>> waiting =
      FindWaitingFiles(folder, receiver, sender_, context_.targets.TargetIds(), foreign, unreadable);
  if (!waiting.Ok()) context_.log.LogLine(waiting.Failure().Message());
  for (const std::string& why : unreadable) context_.log.LogLine(why);
  anyUnreadable_ = !unreadable.empty();
  for (const std::string& path : foreign) context_.log.LogLine("[" + path + "] is not a sync file and is left alone");
  if (!waiting.Ok() || waiting->empty()) return Report("No file to import!", ImportResult::NoFile);
  for (const WaitingFile& file : *waiting) sources_.push_back({.path = file.path});
  return ImportResult::Success;
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
  if (source.named && header.Sender() != sender_) {
    const bool goOn = context_.user.Confirm("Sync file is not from [" + target_.Id() + "] but from [" +
                                            header.Sender() + "].\r\nContinue anyway?");
    if (!goOn) {
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
  const bool anyRead = std::any_of(sources_.begin(), sources_.end(), [](const Source& s) { return s.collected; });
  if (!anyRead) return result;
  if (result == ImportResult::Success && (!items.AllTaken() || anyUnreadable_)) result = ImportResult::Failed;
  if (request_.mode == ImportMode::Import) {
    // Nothing is said to have arrived before it is on the medium.
    if (const lib::Status flushed = items.FlushWritten(); !flushed.Ok()) {
      result = Report(flushed.Message(), ImportResult::Failed);
    } else {
      context_.targets.SetTargetDates(target_.Id(), lib::Now(), 0);
    }
    if (result == ImportResult::Success) {
      for (const Source& source : sources_) {
        if (source.collected && !source.named && !source.spanned) lib::KillFile(source.path);
      }
    }
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
  context.user.SetStatus({}, false);
  context.log.CloseLog();
  return result;
}

}  // namespace zelkor::sync
