// The names of sync files that wait in a folder: the receiver's ID and ".cas", then with 01, 02, … while earlier ones
// wait.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "lib/date.h"
#include "lib/files.h"
#include "sync/sync_file.h"

namespace zelkor::sync {

// The ID whose trial exports a computer addresses to itself.
inline constexpr std::string_view kTrialTarget = "test";
// The ID that stands in names and headers for a target: the target's own; for trials this computer's.
[[nodiscard]] std::string NameOfTarget(std::string_view targetId, std::string_view computerId);

// The first name for a sync file, in the order of the numbers, that is not `taken`. Numbers that would spell another ID
// of `knownIds` are skipped.
[[nodiscard]] std::string FreeSyncFileName(std::string_view baseName, const std::vector<std::string>& knownIds,
                                           const std::function<bool(const std::string& name)>& taken);
// Whether a file's name is one of those for the computer `receiver`; one that spells an ID of `knownIds` is that one's.
[[nodiscard]] bool IsSyncFileNameFor(std::string_view name, std::string_view receiver,
                                     const std::vector<std::string>& knownIds);

// The first name in `folder` that no file has. Numbers that would spell another ID of `knownIds` are skipped.
[[nodiscard]] std::string FreeSyncFileName(std::string_view folder, std::string_view baseName,
                                           const std::vector<std::string>& knownIds);

// One file that waits.
struct WaitingFile {
  std::string path;
  SyncFileHeader header;
};
// The order in which waiting files are taken: by the header's date, those of one second by their numbers.
void SortOldestFirst(std::vector<WaitingFile>& files);

// The files in `folder` for the computer `receiver` that come from `sender`, oldest first. Names that spell an ID of
// `knownIds` and files of other senders are left out; a file of a right name that is no sync file is named in
// `foreign`, and why one can not be read, which may be a wanted one, is said in `unreadable`.
[[nodiscard]] lib::Result<std::vector<WaitingFile>> FindWaitingFiles(std::string_view folder, std::string_view receiver,
                                                                     std::string_view sender,
                                                                     const std::vector<std::string>& knownIds,
                                                                     std::vector<std::string>& foreign,
                                                                     std::vector<std::string>& unreadable);

}  // namespace zelkor::sync
