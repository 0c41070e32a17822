#include "sync/export.h"

#include "lib/clock.h"
#include "lib/format.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "sync/export_items.h"
#include "sync/folder.h"
#include "sync/media.h"

namespace zelkor::sync {

namespace {

// The road of one export, from the look-up of the target to its new date.
class Export {
 public:
  Export(Context& context, std::string targetId, Place place)
      : context_(context), targetId_(std::move(targetId)), place_(std::move(place)) {}

  ExportResult Run();

 private:
  // The folder of a file target and the name in it. False when there is none; it has been reported.
  bool ChooseDestination();
  bool WriteSyncFile(TemporarySyncFile& file, ItemExporter& items);
  bool Deliver(TemporarySyncFile& file);
  ExportResult Finish(ItemExporter& items);
  ExportResult Fail();

  Context& context_;
  const std::string targetId_;
  const Place place_;
  net::TargetRec target_;
  std::string destination_;
  lib::Date started_ = lib::Now();
  double stopwatch_ = lib::Stopwatch();
};

ExportResult Export::Run() {
  context_.log.OpenLog(kLogName, "Sync - Export");
  if (context_.targets.FindTarget(targetId_, true) == 0) {
    context_.log.LogLine("Target [" + targetId_ + "] is not known");
    return ExportResult::Failed;
  }
  target_ = context_.targets.Current();
  const lib::Date lastExport = target_.Date(net::TargetRec::kLastExport);
  if (lib::DateToSeconds(lastExport) > lib::DateToSeconds(started_)) {
    context_.log.LogLine("The last export date of [" + target_.Id() + "] is in the future: " +
                         lib::GeneralDate(lastExport) + ". Files changed before then stay behind.");
  }
  if (!ChooseDestination()) return Fail();
  context_.log.LogLine("Exporting to " + destination_);

  TemporarySyncFile file;
  if (!file.Failure().Ok()) {
    context_.log.LogLine("Cannot write to temporary file: " + file.Path());
    context_.log.LogLine(file.Failure().Message());
    return Fail();
  }
  ItemExporter items(context_, target_, started_);
  if (!items.Fill()) {
    context_.log.LogLine("Nothing selected!");
    return ExportResult::Failed;
  }
  if (!WriteSyncFile(file, items)) return Fail();

  context_.user.SetStatus("Copying file...", true);
  context_.log.LogLine("Copying file to media... " + destination_);
  if (!Deliver(file)) return Fail();
  return Finish(items);
}

bool Export::Deliver(TemporarySyncFile& file) {
  context_.user.PendingEvents();
  // A whole file on the file system of its destination needs no copy, and fits on one disk for certain.
  if (!context_.user.Cancelled() && file.MoveTo(destination_)) return true;
  return WriteToMedia(file.Content(), destination_, context_.log, context_.user) == 0;
}

bool Export::ChooseDestination() {
  const auto type = static_cast<net::ConnectionType>(target_.Number(net::TargetRec::kConnectionType));
  if (type == net::ConnectionType::Ip || type == net::ConnectionType::Ftp) {
    context_.log.Report("Target [" + target_.Id() +
                        "] is not reached through a folder. This version delivers to folders and media only.");
    return false;
  }
  std::string folder = target_.Text(net::TargetRec::kMediaPath);
  if (!place_.word.empty()) {
    const lib::Result<std::string> named = lib::FromCommandLine(place_.word, place_.startDirectory);
    if (!named.Ok()) {
      context_.log.Report(named.Failure().Message());
      return false;
    }
    folder = *named;
  }
  const std::string baseName = NameOfTarget(target_.Id(), context_.computerId);
  if (const lib::Status usable = lib::CheckName(baseName); !usable.Ok()) {
    context_.log.Report("The computer ID [" + baseName + "] can not be a file's name: " + usable.Message());
    return false;
  }
  if (!lib::DirectoryExists(folder)) {
    const lib::Result<std::string> native = lib::ToNative(folder);
    context_.log.Report(native.Ok() ? "Folder [" + folder + "] does not exist." : native.Failure().Message());
    return false;
  }
  destination_ = FreeSyncFileName(folder, baseName, context_.targets.TargetIds());
  return true;
}

bool Export::WriteSyncFile(TemporarySyncFile& file, ItemExporter& items) {
  SyncWriter writer(file.Content());
  lib::Status failure = writer.WriteFileHeader(MakeSyncFileHeader(context_.computerId, started_));
  const bool written = failure.Ok() && items.WriteBlock(writer, failure);
  if (written) failure = writer.Flush();
  context_.user.EndProgress();
  if (!failure.Ok()) {
    context_.log.LogLine("Cannot write to temporary file: " + file.Path());
    context_.log.LogLine(failure.Message());
    return false;
  }
  if (!written) context_.log.LogLine("Cancelled");
  return written;
}

ExportResult Export::Finish(ItemExporter& items) {
  items.LookAtFilteredItems();
  if (items.Hold().Held()) {
    context_.log.LogLine(items.Hold().Line());
  } else {
    // A file that was written while the run was under way may have been read before its change.
    lib::Date date = ExportDate(lib::Now());
    const lib::Date startDate = ExportDate(started_);
    if (lib::DateToSeconds(date) > lib::DateToSeconds(started_) && items.ChangedSinceStart()) date = startDate;
    context_.targets.SetTargetDates(target_.Id(), 0, date);
  }
  context_.log.LogLine("Export completed. (" + lib::FormatElapsed(lib::Stopwatch() - stopwatch_) + ")");
  context_.catalogue.DropExportStates();
  return items.Hold().Error() ? ExportResult::DoneWithErrors : ExportResult::Done;
}

ExportResult Export::Fail() {
  context_.log.Report("Sync export failed!");
  return ExportResult::Failed;
}

}  // namespace

ExportResult ExportToTarget(Context& context, const std::string& targetId, const Place& place) {
  const RunGuard guard(context);
  const ExportResult result = Export(context, targetId, place).Run();
  context.user.SetStatus({}, false);
  context.log.CloseLog();
  return result;
}

}  // namespace zelkor::sync
