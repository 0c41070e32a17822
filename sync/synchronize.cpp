#include "sync/synchronize.h"

#include <string>
#include <vector>

#include "lib/code_page.h"
#include "lib/text.h"
#include "sync/export.h"
#include "sync/import.h"

namespace zelkor::sync {

namespace {

int StatusOf(ExportResult result) { return result == ExportResult::Done ? kStatusDone : kStatusFailed; }
int StatusOf(ImportResult result) { return result == ImportResult::Success ? kStatusDone : kStatusFailed; }

}  // namespace

int Synchronize(Context& context, std::string_view word, const std::string& startDirectory) {
  const std::vector<std::string> pieces = lib::SplitWords(word, ':', "\"");
  if (pieces.size() != 3) {
    context.user.Ask({.text = "Wrong number of arguments", .icon = lib::Icon::Critical, .title = "Synchronize"});
    return kStatusNothingDone;
  }
  const std::string target = lib::FromUtf8Lossy(pieces[1]);
  const Place place{.word = pieces[2], .startDirectory = startDirectory};
  if (pieces[0] == "/syncimp") return StatusOf(ImportFromTarget(context, {.targetId = target, .place = place}));
  if (pieces[0] == "/syncexp") return StatusOf(ExportToTarget(context, target, place));
  return kStatusNothingDone;
}

}  // namespace zelkor::sync
