// Item files of format versions below 220: their records are 512 bytes long. Nothing in such a file says so, and the
// version stands in another file that can be lost; so the records themselves are looked at before anything is
// converted.
#pragma once

#include <string>

#include "db/file_rec.h"
#include "lib/files.h"
#include "lib/status.h"

namespace zelkor::db {

// The same item in the record of today. Old field and the old record's tail are dropped, the tail of the new one is
// zero bytes.
[[nodiscard]] FileRec ConvertRecord(const OldFileRec& old);

// Writes the items of an old item file to a new file `path`, flushed and closed. An incomplete last record is left
// out. When it fails nothing stands under that name.
[[nodiscard]] lib::Status BuildConverted(const lib::File& oldItems, const std::string& path);

enum class ItemLayout { Current, Old, Unknown };

// Which of the two layouts the records of an item file have. `versionSaysOld`: a good configuration record with an
// older version stands beside it, which decides where the records leave it open.
[[nodiscard]] lib::Result<ItemLayout> LookAtLayout(const lib::File& items, bool versionSaysOld);

}  // namespace zelkor::db
