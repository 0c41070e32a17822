#include "sync/synchronize.h"

#include <string>
#include <vector>

#include "lib/code_page.h"
#include "lib/text.h"
#include "sync/export.h"
#include "sync/import.h"

namespace zelkor::sync {

namespace {

int StatusOf(bool done) { return done ? kStatusDone : kStatusFailed; }

// The address of an IP target, which the one that stands in for it may replace.
std::string AddressOfTarget(Context& context, const std::string& targetId, const Place& place) {
  const net::TargetRec current = context.targets.Current();
  context.targets.FindTarget(targetId, false);
  std::string address = AddressOf(context.targets.Current(), place);
  context.targets.Current() = current;
  return address;
}

int Import(Context& context, const std::string& target, const Place& place, NetworkWait* network) {
  const ImportResult result = ImportFromTarget(context, {.targetId = target, .place = place});
  if (result != ImportResult::Requested || network == nullptr) return StatusOf(result == ImportResult::Success);
  return StatusOf(network->AwaitImport(target, AddressOfTarget(context, target, place)));
}

int Export(Context& context, const std::string& target, const Place& place, NetworkWait* network) {
  const ExportResult result = ExportToTarget(context, target, place);
  const bool sent = result == ExportResult::Sent || result == ExportResult::SentWithErrors;
  if (!sent || network == nullptr) return StatusOf(result == ExportResult::Done);
  const bool confirmed = network->AwaitConfirmation(target, AddressOfTarget(context, target, place));
  return StatusOf(confirmed && result == ExportResult::Sent);
}

}  // namespace

int Synchronize(Context& context, std::string_view word, const std::string& startDirectory, NetworkWait* network) {
  const std::vector<std::string> pieces = lib::SplitWords(word, ':', "\"");
  if (pieces.size() != 3) {
    context.user.Ask({.text = "Wrong number of arguments", .icon = lib::Icon::Critical, .title = "Synchronize"});
    return kStatusNothingDone;
  }
  const std::string target = lib::FromUtf8Lossy(pieces[1]);
  const Place place{.word = pieces[2], .startDirectory = startDirectory};
  if (pieces[0] == "/syncimp") return Import(context, target, place, network);
  if (pieces[0] == "/syncexp") return Export(context, target, place, network);
  return kStatusNothingDone;
}

}  // namespace zelkor::sync
