// Import: a sync file that another computer made for this one, merged into the items and the files of this computer.
#pragma once

#include <string>

#include "sync/context.h"

namespace zelkor::sync {

enum class ImportMode {
  Import = 1,  // files and records are written
  View = 3,    // read and logged only
};

// 0 to 4 are fixed by what other procedures expect of them.
enum class ImportResult {
  Success = 0,         // everything was taken, or need not be
  NotThere = 1,        // the target is not known, or the named file does not exist
  NoFile = 2,          // nothing to import
  TransferFailed = 3,  // the carrier failed
  Declined = 4,        // the user said no to the whole
  Failed = 5,          // something could not be taken, or the run was cancelled
  Requested = 6,       // the target was asked for its file, whose arrival starts the import
};

struct ImportRequest {
  std::string targetId;
  Place place;              // a folder, address or server instead of the target's stored one, or one sync file
  std::string file{};       // one sync file, in the program's form; what is named is imported, never fetched
  bool received = false;    // the file came over the network: a message named it, not a person
  bool askProceed = false;  // ask "Proceed?" first
  ImportMode mode = ImportMode::Import;
};

// Throws DamagedSyncFile, which ends the program; what was imported before is then whole and consistent.
ImportResult ImportFromTarget(Context& context, const ImportRequest& request);

}  // namespace zelkor::sync
