#include "sync/decision.h"

namespace zelkor::sync {

Decision Decide(lib::Date local, lib::Date entry, lib::Date cutoff) {
  if (local == 0) return Decision::New;
  const auto localSeconds = lib::DateToSeconds(local);
  const auto entrySeconds = lib::DateToSeconds(entry);
  const bool afterCutoff = entrySeconds > lib::DateToSeconds(cutoff);
  if (entrySeconds == localSeconds) return Decision::Identical;
  if (entrySeconds > localSeconds) return afterCutoff ? Decision::NewerAfterCutoff : Decision::NewerBeforeCutoff;
  return afterCutoff ? Decision::OlderAfterCutoff : Decision::OlderBeforeCutoff;
}

bool Takes(Decision decision) {
  return decision == Decision::NewerAfterCutoff || decision == Decision::NewerBeforeCutoff || decision == Decision::New;
}

std::string_view Label(Decision decision) {
  switch (decision) {
    case Decision::Identical:
      return "Identical";
    case Decision::OlderBeforeCutoff:
    case Decision::OlderAfterCutoff:
      return "Older";
    case Decision::NewerAfterCutoff:
    case Decision::NewerBeforeCutoff:
      return "Newer";
    case Decision::New:
      return "New";
    case Decision::CanNotImport:
      return "Can not import";
    case Decision::DidNotImport:
      return "Did not import";
  }
  return "";
}

}  // namespace zelkor::sync
