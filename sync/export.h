// Export: the items meant for one target and their changed files, written into one sync file and delivered by the
// target's carrier.
#pragma once

#include <string>

#include "sync/context.h"

namespace zelkor::sync {

enum class ExportResult {
  Done,
  DoneWithErrors,  // delivered, but a file that was due could not be read: the target's export date was kept
  Sent,            // in Vandry's hands; the date is stored when the target confirms its import
  SentWithErrors,  // the same, but for the date, which will be kept
  Failed,          // nothing was delivered; a message has said why
};

// `place`: the folder, address or server instead of the target's stored one.
ExportResult ExportToTarget(Context& context, const std::string& targetId, const Place& place);
// An export that the target asked for over the network, from this address.
ExportResult ExportByNetwork(Context& context, const std::string& targetId, const std::string& address);

}  // namespace zelkor::sync
