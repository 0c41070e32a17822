// Where a file of a sync file belongs.
#pragma once

#include <string>

#include "db/file_rec.h"
#include "sync/sync_file.h"

namespace zelkor::sync {

// The entry's full path in the shared form; a name that fills its field may have been cut and is then looked for in the
// item's selection. Empty: it can not be told.
[[nodiscard]] std::string SharedPath(const FileHeader& entry, const db::FileRec& item);

}  // namespace zelkor::sync
