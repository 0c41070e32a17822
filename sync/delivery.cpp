#include "sync/delivery.h"

#include "lib/format.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/secret.h"
#include "net/commands.h"
#include "sync/folder.h"
#include "sync/ftp_folder.h"
#include "sync/media.h"

namespace zelkor::sync {

namespace {

// The name that a sync file for the target begins with, if it can be a file's.
bool UsableName(Context& context, const std::string& baseName) {
  const lib::Status usable = lib::CheckName(baseName);
  if (usable.Ok()) return true;
  context.log.Report("The computer ID [" + baseName + "] can not be a file's name: " + usable.Message());
  return false;
}

class FolderDelivery : public Delivery {
 public:
  FolderDelivery(Context& context, const net::TargetRec& target, Place place)
      : context_(context), target_(target), place_(std::move(place)) {}

  bool ChooseDestination() override;
  [[nodiscard]] bool Keeps(TemporarySyncFile& file) const override;
  bool Deliver(TemporarySyncFile& file) override;

 private:
  Context& context_;
  const net::TargetRec target_;
  const Place place_;
  std::string destination_;
};

bool FolderDelivery::ChooseDestination() {
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
  if (!UsableName(context_, baseName)) return false;
  if (!lib::DirectoryExists(folder)) {
    const lib::Result<std::string> native = lib::ToNative(folder);
    context_.log.Report(native.Ok() ? "Folder [" + folder + "] does not exist." : native.Failure().Message());
    return false;
  }
  destination_ = FreeSyncFileName(folder, baseName, context_.targets.TargetIds());
  context_.log.LogLine("Exporting to " + destination_);
  return true;
}

bool FolderDelivery::Keeps(TemporarySyncFile& file) const {
  const lib::Result<std::uint64_t> device = file.Content().Device();
  const lib::Result<lib::FileInfo> folder = lib::GetFileInfo(lib::DirectoryPart(destination_));
  return device.Ok() && folder.Ok() && folder->device == *device;
}

bool FolderDelivery::Deliver(TemporarySyncFile& file) {
  context_.user.SetStatus("Copying file...", true);
  context_.log.LogLine("Copying file to media... " + destination_);
  context_.user.PendingEvents();
  // A whole file on the file system of its destination needs no copy, and fits on one disk for certain.
  if (!context_.user.Cancelled() && file.MoveTo(destination_)) return true;
  return WriteToMedia(file.Content(), destination_, context_.log, context_.user) == 0;
}

class NetworkDelivery : public Delivery {
 public:
  NetworkDelivery(Context& context, const net::TargetRec& target, std::string address)
      : context_(context), target_(target), address_(std::move(address)) {}

  bool ChooseDestination() override {
    // What can not be sent is better refused before it is written; only the file's name is not known yet.
    return Sendable(Command("~sync.tmp"));
  }
  bool Deliver(TemporarySyncFile& file) override;
  [[nodiscard]] std::string ConfirmedFrom() const override { return address_; }

 private:
  [[nodiscard]] lib::Result<std::string> Command(const std::string& path) const {
    return net::NetFileSend(address_, context_.computerId, target_.Id(), path);
  }
  bool Sendable(const lib::Result<std::string>& command) {
    if (!command.Ok()) context_.log.Report(command.Failure().Message());
    return command.Ok();
  }

  Context& context_;
  const net::TargetRec target_;
  const std::string address_;
};

bool NetworkDelivery::Deliver(TemporarySyncFile& file) {
  const lib::Result<std::string> command = Command(file.Path());
  if (!Sendable(command)) return false;
  const lib::Result<std::int64_t> length = file.Content().Length();
  context_.log.LogLine("Sending file to [" + target_.Id() + "] at " + address_ + " " +
                       lib::FormatKilobytes(length.Ok() ? *length : 0));
  context_.user.PendingEvents();
  if (context_.user.Cancelled()) {
    context_.log.LogLine("Cancelled");
    return false;
  }
  if (context_.link == nullptr) return false;
  // From here on the file is Vandry's: it is moved into its queue before the command counts as taken.
  if (context_.link->SendCommand(*command, {}, true) == 0 && context_.link->Taken()) return true;
  if (!context_.link->Text().empty()) context_.log.LogLine(context_.link->Text());
  return false;
}

class FtpDelivery : public Delivery {
 public:
  FtpDelivery(Context& context, const net::TargetRec& target, const std::string& server)
      : context_(context), target_(target), folder_(context, PlaceOfTarget(target, server)) {}

  bool ChooseDestination() override { return UsableName(context_, BaseName()); }
  bool Deliver(TemporarySyncFile& file) override;

 private:
  [[nodiscard]] std::string BaseName() const { return NameOfTarget(target_.Id(), context_.computerId); }

  Context& context_;
  const net::TargetRec target_;
  FtpFolder folder_;
};

bool FtpDelivery::Deliver(TemporarySyncFile& file) {
  context_.log.LogLine("Uploading file for [" + target_.Id() + "] to " + folder_.Server());
  const std::optional<std::vector<lib::RemoteEntry>> entries = folder_.List();
  const std::string name =
      entries ? FreeSyncFileName(BaseName(), context_.targets.TargetIds(),
                                 [&](const std::string& candidate) { return NameTaken(*entries, candidate); })
              : std::string();
  if (name.empty() || !folder_.Upload(file.Path(), name)) {
    context_.log.Report("Upload to FTP-server failed!");
    return false;
  }
  context_.log.LogLine("Sync file [" + name + "] has been uploaded to FTP-server");
  return true;
}

}  // namespace

std::unique_ptr<Delivery> DeliveryTo(Context& context, const net::TargetRec& target, const Place& place) {
  const std::string address = AddressOf(target, place);
  switch (static_cast<net::ConnectionType>(target.Number(net::TargetRec::kConnectionType))) {
    case net::ConnectionType::Ip:
      return DeliveryByNetwork(context, target, address);
    case net::ConnectionType::Ftp:
      return std::make_unique<FtpDelivery>(context, target, address);
    case net::ConnectionType::File:
      break;
  }
  return std::make_unique<FolderDelivery>(context, target, place);
}

std::unique_ptr<Delivery> DeliveryByNetwork(Context& context, const net::TargetRec& target,
                                            const std::string& address) {
  return std::make_unique<NetworkDelivery>(context, target, address);
}

}  // namespace zelkor::sync
