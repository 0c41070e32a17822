#include "sync/export.h"

#include <functional>
#include <memory>

#include "lib/clock.h"
#include "lib/format.h"
#include "net/run_notes.h"
#include "sync/delivery.h"
#include "sync/export_items.h"

namespace zelkor::sync {

namespace {

// The road of one export, from the look-up of the target to its new date.
class Export {
 public:
  // Makes the way out once the target is known.
  using MakeDelivery = std::function<std::unique_ptr<Delivery>(const net::TargetRec& target)>;
  Export(Context& context, std::string targetId, MakeDelivery makeDelivery)
      : context_(context), targetId_(std::move(targetId)), makeDelivery_(std::move(makeDelivery)) {}

  ExportResult Run();

 private:
  bool WriteSyncFile(TemporarySyncFile& file, ItemExporter& items);
  // Stores the date of what was delivered, or notes it for the confirmation.
  void StoreDate(ItemExporter& items);
  ExportResult Finish(ItemExporter& items);
  ExportResult Fail();

  Context& context_;
  const std::string targetId_;
  const MakeDelivery makeDelivery_;
  net::TargetRec target_;
  std::unique_ptr<Delivery> delivery_;
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
  delivery_ = makeDelivery_(target_);
  if (!delivery_->ChooseDestination()) return Fail();

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

  if (!delivery_->Deliver(file)) return Fail();
  return Finish(items);
}

bool Export::WriteSyncFile(TemporarySyncFile& file, ItemExporter& items) {
  SyncWriter writer(file.Content(), delivery_->Keeps(file));
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

void Export::StoreDate(ItemExporter& items) {
  const std::string confirmedFrom = delivery_->ConfirmedFrom();
  net::RunNotes notes(context_.catalogue.Data().ProgramDir());
  if (items.Hold().Held()) {
    context_.log.LogLine(items.Hold().Line());
    if (!confirmedFrom.empty()) notes.Forget(target_.Id());
    return;
  }
  // A file that was written while the run was under way may have been read before its change.
  lib::Date date = ExportDate(lib::Now());
  const lib::Date startDate = ExportDate(started_);
  if (lib::DateToSeconds(date) > lib::DateToSeconds(started_) && items.ChangedSinceStart()) date = startDate;
  if (confirmedFrom.empty()) {
    context_.targets.SetTargetDates(target_.Id(), 0, date);
    return;
  }
  const lib::Date base = target_.Date(net::TargetRec::kLastExport);
  const lib::Status noted = notes.Add(target_.Id(), base, date, confirmedFrom);
  if (!noted.Ok()) context_.log.LogLine("Export date kept: it can not be noted. " + noted.Message());
}

ExportResult Export::Finish(ItemExporter& items) {
  items.LookAtFilteredItems();
  StoreDate(items);
  context_.log.LogLine("Export completed. (" + lib::FormatElapsed(lib::Stopwatch() - stopwatch_) + ")");
  context_.catalogue.DropExportStates();
  if (delivery_->ConfirmedFrom().empty()) {
    return items.Hold().Error() ? ExportResult::DoneWithErrors : ExportResult::Done;
  }
  return items.Hold().Error() ? ExportResult::SentWithErrors : ExportResult::Sent;
}

ExportResult Export::Fail() {
  context_.log.Report("Sync export failed!");
  return ExportResult::Failed;
}

ExportResult Run(Context& context, const std::string& targetId, Export::MakeDelivery makeDelivery) {
  const RunGuard guard(context);
  const ExportResult result = Export(context, targetId, std::move(makeDelivery)).Run();
  ClearStatus(context);
  return result;
}

}  // namespace

ExportResult ExportToTarget(Context& context, const std::string& targetId, const Place& place) {
  return Run(context, targetId, [&](const net::TargetRec& target) { return DeliveryTo(context, target, place); });
}

ExportResult ExportByNetwork(Context& context, const std::string& targetId, const std::string& address) {
  return Run(context, targetId,
             [&](const net::TargetRec& target) { return DeliveryByNetwork(context, target, address); });
}

}  // namespace zelkor::sync
