// Export: the items meant for one target and their changed files, written into one sync file and delivered by the
// target's carrier.
#pragma once

#include <string>

#include "sync/context.h"

namespace zelkor::sync {

enum class ExportResult {
  Done,
  DoneWithErrors,  // delivered, but a file that was due could not be read: the target's export date was kept
  Failed,          // nothing was delivered; a message has said why
};

// `place`: the folder instead of the target's stored one.
ExportResult ExportToTarget(Context& context, const std::string& targetId, const Place& place);

}  // namespace zelkor::sync
