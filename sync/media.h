// Sync files on folders and removable media, spread over several disks where one does not hold them. Each disk has a
// file of its own that begins with the sync file's header, with the disk's number and whether it is the last.
#pragma once

#include <cstdint>
#include <string>

#include "lib/files.h"
#include "lib/user.h"
#include "sync/sync_file.h"
#include "sync/sync_log.h"

namespace zelkor::sync {

// Data is copied in pieces of at most this many bytes; a disk that fills up holds whole ones, unless it has no room
// even for one.
inline constexpr std::int64_t kMediaPiece = 16384;

// Copies the sync file `source` to `destination`, a name that no file has. Each disk's file gets its name when it is
// whole and on the medium. 0 on success, 1 on failure, which has then been reported; what a failed run left on the
// disk in the drive is removed.
[[nodiscard]] int WriteToMedia(const lib::File& source, const std::string& destination, SyncLog& log, lib::User& user);

// Puts the disks' files named `name` together again in `assembled`, an empty file open for writing. 0 on success, 1 on
// failure, which has then been reported.
[[nodiscard]] int ReadFromMedia(const std::string& name, lib::File& assembled, SyncLog& log, lib::User& user);

}  // namespace zelkor::sync
