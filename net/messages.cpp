#include "net/messages.h"

#include <utility>
#include <vector>

#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/paths.h"
#include "lib/settings.h"
#include "lib/text.h"
#include "net/commands.h"
#include "net/run_notes.h"
#include "sync/export.h"
#include "sync/sync_file.h"

namespace zelkor::net {

namespace {

void Call(const std::function<void()>& hook) {
  if (hook) hook();
}

std::string IdOf(const std::string& id) { return lib::Lower(lib::Trim(id)); }

}  // namespace

Messages::Messages(sync::Context& context, MessageHooks hooks) : context_(context), hooks_(std::move(hooks)) {
  context_.link->OnMessage(
      [this](const std::string& text, const std::function<void()>& handled) { Process(text, handled); });
}

Messages::~Messages() { context_.link->OnMessage({}); }

void Messages::ProcessMessage(const std::string& text) {
  Process(text, [] {});
}

void Messages::Process(const std::string& text, const std::function<void()>& handled) {
  Call(hooks_.beforeMessage);
  std::vector<std::string> words = lib::SplitWords(text, ' ', "\"");
  const std::string name = words.empty() ? std::string() : words[0];
  words.resize(5);
  if (name == "FileSendReq") {
    FileSendReq(words[1], words[4]);
  } else if (name == "NetReceived") {
    NetReceived();
  } else if (name == "SyncMe") {
    SyncMe(words[1], words[2]);
  } else if (name == "SyncSuccessfull") {
    // A confirmation that was used must not come again after a crash: it would count for the next file. One that is
    // lost costs no more than sending the same files once more.
    handled();
    SyncSuccessfull(words[1]);
  } else {
    if (name == "NetFailed") NetFailed(words[1], words[2]);
    if (name == "NetDelayed") NetDelayed(words[2]);
    context_.user.Message(text);
  }
}

void Messages::FileSendReq(const std::string& senderId, const std::string& senderAddress) {
  const std::string name = IdOf(context_.computerId) + "." + std::string(sync::kSyncFileExtension);
  receivedFile_ = {
      .path = context_.catalogue.Data().ProgramDir() + name, .senderId = senderId, .senderAddress = senderAddress};
  // An ID that could lead elsewhere is no file's name.
  const lib::Status usable = lib::CheckName(name);
  const lib::Result<std::string> command =
      usable.Ok() ? NetFileRec(receivedFile_.path) : lib::Result<std::string>(usable);
  if (!command.Ok()) {
    receivedFile_ = {};
    context_.user.Message(command.Failure().Message(), lib::Icon::Critical);
    return;
  }
  lib::KillFile(receivedFile_.path);
  const bool accepted = context_.link->SendCommand(*command, "Receiving data from [" + senderId + "]", false) == 0;
  if (!accepted && lib::ContainsNoCase(context_.link->Text(), "Error")) {
    context_.user.LogLine("The file of [" + senderId + "] was not received. " + context_.link->Text());
    if (awaited_ && awaited_->import && awaited_->targetId == IdOf(senderId)) awaited_->succeeded = false;
  }
}

void Messages::NetReceived() {
  const ReceivedFile file = receivedFile_;
  if (file.path.empty()) {
    context_.user.Message("No file to import!", lib::Icon::Critical);
    return;
  }
  const sync::ImportResult result =
      sync::ImportFromTarget(context_, {.targetId = file.senderId, .place = {}, .file = file.path, .received = true});
  if (result == sync::ImportResult::Success) {
    const lib::Result<std::string> command =
        NetTransOfComputer(file.senderAddress, "SyncSuccessfull", context_.computerId);
    if (command.Ok()) {
      context_.link->SendCommand(*command, {}, true);
    } else {
      context_.user.Message(command.Failure().Message(), lib::Icon::Critical);
    }
  }
  if (awaited_ && awaited_->import && awaited_->targetId == IdOf(file.senderId)) {
    awaited_->succeeded = result == sync::ImportResult::Success;
  }
  Call(hooks_.targetsChanged);
  Call(hooks_.itemsChanged);
}

void Messages::SyncMe(const std::string& requesterId, const std::string& address) {
  context_.user.SetStatus("Sync request received form [" + requesterId + "]", false);
  const TargetRec current = context_.targets.Current();
  const bool known = !IdOf(requesterId).empty() && context_.targets.FindTarget(IdOf(requesterId), false) != 0;
  context_.targets.Current() = current;
  if (!known || lib::GetIniNumber("Zelkor", "AcceptNetConn", 0) == 0) {
    context_.log.OpenLog(sync::kLogName, "Sync - Export");
    context_.log.LogLine("Sync request of [" + requesterId + "] at " + address +
                         " refused: " + (known ? "network connections are not accepted" : "the computer is no target"));
    sync::ClearStatus(context_);
    return;
  }
  if (awaited_ && !awaited_->import && awaited_->targetId == IdOf(requesterId) && !awaited_->requestAnswered) {
    // It was asked for while the file was made or under way. If that one comes to nothing there, the next request is
    // for another.
    awaited_->requestAnswered = true;
    context_.user.LogLine("Sync request of [" + requesterId + "] is answered by the file that was sent");
    return;
  }
  sync::ExportByNetwork(context_, IdOf(requesterId), address);
}

void Messages::SyncSuccessfull(const std::string& id) {
  const TargetRec current = context_.targets.Current();
  if (!IdOf(id).empty() && context_.targets.FindTarget(IdOf(id), false) != 0) {
    const lib::Date lastExport = context_.targets.Current().Date(TargetRec::kLastExport);
    const std::optional<lib::Date> date = RunNotes(context_.catalogue.Data().ProgramDir()).Take(id, lastExport);
    if (date) context_.targets.SetTargetDates(IdOf(id), 0, *date);
  }
  context_.targets.Current() = current;
  Call(hooks_.targetsChanged);
  const std::string status = "Sync confirmation received from [" + id + "]";
  context_.user.SetStatus(status, false);
  if (awaited_ && !awaited_->import && awaited_->targetId == IdOf(id)) {
    awaited_->succeeded = true;
    context_.user.LogLine(status);
  }
}

void Messages::NetFailed(const std::string& command, const std::string& address) {
  // The file that went there will never be confirmed.
  if (command == "NetFileSend") RunNotes(context_.catalogue.Data().ProgramDir()).ForgetLast(address);
  NetDelayed(address);
}

void Messages::NetDelayed(const std::string& address) {
  // The file is still on its way, so its note stays: else its confirmation would be taken for a later file's.
  if (awaited_ && lib::EqualNoCase(awaited_->address, address)) awaited_->succeeded = false;
}

bool Messages::AwaitImport(const std::string& targetId, const std::string& address) {
  awaited_ = {.targetId = IdOf(targetId), .address = address, .import = true};
  return Await("Waiting for the file of [" + targetId + "]...");
}

bool Messages::AwaitConfirmation(const std::string& targetId, const std::string& address) {
  awaited_ = {.targetId = IdOf(targetId), .address = address, .import = false};
  return Await("Waiting for the confirmation of [" + targetId + "]...");
}

bool Messages::Await(const std::string& caption) {
  const bool over = context_.link->HandleMessagesUntil([this] { return awaited_->succeeded.has_value(); }, caption);
  if (!over) {
    const std::string& why = context_.link->Text();
    context_.user.Message(why.empty() ? "Cancelled" : caption + " " + why, lib::Icon::Critical);
  }
  const bool succeeded = over && *awaited_->succeeded;
  awaited_.reset();
  return succeeded;
}

}  // namespace zelkor::net
