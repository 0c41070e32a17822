#include "net/diagnostics.h"

#include <string>
#include <vector>

#include "lib/clock.h"
#include "lib/files.h"
#include "lib/format.h"
#include "lib/interaction.h"
#include "lib/secret.h"
#include "lib/shell.h"
#include "lib/text.h"
#include "net/commands.h"
#include "sync/ftp_folder.h"

namespace zelkor::net {

namespace {

constexpr std::int64_t kMostListingBytes = std::int64_t{64} << 20;

// What a test of a connection came to.
struct Outcome {
  bool succeeded = false;
  std::string message;
};

// Sends the command, if it can be sent at all.
Outcome Send(sync::Context& context, lib::Result<std::string> command, const std::string& caption,
             const std::string& failure) {
  if (!command.Ok()) return {.succeeded = false, .message = command.Failure().Message()};
  const lib::WipedAtEnd wiped(*command);
  const bool succeeded = context.link != nullptr && context.link->SendCommand(*command, caption, false) == 0;
  if (succeeded) return {.succeeded = true, .message = {}};
  // The other side is not to blame then.
  const bool gone = context.link != nullptr && context.link->Broken();
  return {.succeeded = false, .message = gone ? failure + "\r\n\r\nVandry has gone" : failure};
}

Outcome TestNetwork(sync::Context& context, const TargetRec& target) {
  const std::string address = target.Text(TargetRec::kAddress);
  Outcome outcome = Send(context, NetTrans(address, "NetPing"),
                         "Connecting to [" + target.Text(TargetRec::kComputerId) + "] at " + address + "...",
                         "No reply from target!\r\nIs the target set to accept net connections?");
  if (outcome.succeeded) {
    const std::vector<std::string> words = lib::SplitWords(context.link->Text(), ' ', "\"");
    outcome.message = "Reply received from [" + (words.size() > 1 ? words[1] : std::string()) + "]";
  }
  return outcome;
}

Outcome TestFtp(sync::Context& context, const TargetRec& target, const std::string& testFile) {
  FtpPlace place = sync::PlaceOfTarget(target, target.Text(TargetRec::kAddress));
  const lib::WipedAtEnd wiped(place.password);
  Outcome outcome = Send(context, FtpSend(place, testFile, target.Text(TargetRec::kComputerId) + ".txt"),
                         "Uploading test-file to FTP-server...",
                         "Cannot transfer test file to FTP-server!\r\n"
                         "Is the server-name,Username and password correct?");
  if (outcome.succeeded) outcome.message = "A test-file has been transfered to the FTP-server succesfully.";
  return outcome;
}

}  // namespace

void TestConnection(sync::Context& context) {
  const TargetRec target = context.targets.Current();
  const std::string testFile = lib::TempFileName(context.catalogue.Data().ProgramDir(), "~sync", "");
  lib::File file;
  if (lib::OpenFileSafe(testFile, 'o', file, lib::kShowError, context.user) != 0) return;
  // Whether it can be written is not looked at: what is tested is the connection.
  static_cast<void>(
      file.Append("Test file created " + lib::GeneralDate(lib::Now()) + " by " + context.computerId + "\r\n").Ok());
  file.Close();

  const auto type = static_cast<ConnectionType>(target.Number(TargetRec::kConnectionType));
  if (type == ConnectionType::Ip || type == ConnectionType::Ftp) {
    const Outcome outcome =
        type == ConnectionType::Ip ? TestNetwork(context, target) : TestFtp(context, target, testFile);
    context.user.Ask({.text = outcome.message,
                      .icon = outcome.succeeded ? lib::Icon::Information : lib::Icon::Critical,
                      .title = "Test Connection"});
  } else {
    lib::ShellOpen(target.Text(TargetRec::kMediaPath));
  }
  lib::KillFile(testFile);
}

void ShowFtpDirectory(sync::Context& context, lib::Desktop& desktop) {
  const TargetRec target = context.targets.Current();
  const std::string listing = lib::TempFileName(context.catalogue.Data().ProgramDir(), "~sync", "");
  lib::KillFile(listing);
  context.user.SetStatus("Reading directory...", true);
  FtpPlace place = sync::PlaceOfTarget(target, target.Text(TargetRec::kAddress));
  const lib::WipedAtEnd wiped(place.password);
  const Outcome outcome =
      Send(context, FtpDir(place, listing), "Reading Directory from FTP-server...", "DIR-command failed!");
  const lib::Result<std::string> text =
      outcome.succeeded ? lib::ReadSmallFile(listing, kMostListingBytes) : lib::Result<std::string>(lib::Status());
  lib::KillFile(listing);
  if (!outcome.succeeded) {
    context.user.Message(outcome.message, lib::Icon::Critical);
  } else if (!text.Ok()) {
    context.user.Message(text.Failure().Message(), lib::Icon::Critical);
  } else {
    lib::ListDialog dialog;
    dialog.title = "FTP-Dir at server";
    dialog.entries = lib::SplitLines(*text);
    desktop.ShowList(dialog);
  }
  context.user.SetStatus({}, false);
}

}  // namespace zelkor::net
