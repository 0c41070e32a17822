#include "sync/folder.h"

#include <algorithm>

#include "lib/code_page.h"
#include "lib/format.h"
#include "lib/paths.h"
#include "lib/text.h"

namespace zelkor::sync {

namespace {

bool Spells(std::string_view name, const std::vector<std::string>& ids) {
  return std::any_of(ids.begin(), ids.end(), [&](const std::string& id) { return lib::EqualNoCase(id, name); });
}

// What stands between a receiver's ID and the extension: nothing, or a number of at least two digits.
bool IsCounter(std::string_view digits) {
  if (digits.empty()) return true;
  return digits.size() >= 2 && std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::string NameOfTarget(std::string_view targetId, std::string_view computerId) {
  std::string id = lib::Lower(lib::Trim(targetId));
  return id == kTrialTarget ? lib::Lower(lib::Trim(computerId)) : id;
}

std::string FreeSyncFileName(std::string_view baseName, const std::vector<std::string>& knownIds,
                             const std::function<bool(const std::string& name)>& taken) {
  const std::string base(baseName);
  const std::string end = "." + std::string(kSyncFileExtension);
  if (!taken(base + end)) return base + end;
  for (int counter = 1;; ++counter) {
    const std::string numbered = base + lib::FormatTwoDigits(counter);
    if (!Spells(numbered, knownIds) && !taken(numbered + end)) return numbered + end;
  }
}

std::string FreeSyncFileName(std::string_view folder, std::string_view baseName,
                             const std::vector<std::string>& knownIds) {
  const std::string directory = lib::SlashPath(folder);
  return directory + FreeSyncFileName(baseName, knownIds, [&](const std::string& name) {
           return lib::FileExists(directory + name) || lib::DirectoryExists(directory + name);
         });
}

bool IsSyncFileNameFor(std::string_view name, std::string_view receiver, const std::vector<std::string>& knownIds) {
  const std::string base = lib::FileBaseName(name);
  if (!lib::EqualNoCase(lib::FileExtension(name), kSyncFileExtension)) return false;
  if (!lib::BeginsWithNoCase(base, receiver) || !IsCounter(std::string_view(base).substr(receiver.size())))
    return false;
  return base.size() == receiver.size() || !Spells(base, knownIds);
}

void SortOldestFirst(std::vector<WaitingFile>& files) {
  std::stable_sort(files.begin(), files.end(), [](const WaitingFile& a, const WaitingFile& b) {
    const auto created = [](const WaitingFile& file) {
      return lib::DateToSeconds(file.header.Date(SyncFileHeader::kCreated));
    };
    if (created(a) != created(b)) return created(a) < created(b);
    if (a.path.size() != b.path.size()) return a.path.size() < b.path.size();
    return a.path < b.path;
  });
}

lib::Result<std::vector<WaitingFile>> FindWaitingFiles(std::string_view folder, std::string_view receiver,
                                                       std::string_view sender,
                                                       const std::vector<std::string>& knownIds,
                                                       std::vector<std::string>& foreign,
                                                       std::vector<std::string>& unreadable) {
  const lib::Result<std::vector<lib::DirectoryEntry>> entries = lib::ListDirectory(folder);
  if (!entries.Ok()) return entries.Failure();
  std::vector<WaitingFile> waiting;
  for (const lib::DirectoryEntry& entry : *entries) {
    if (entry.directory || !entry.refused.Ok()) continue;
    if (!IsSyncFileNameFor(entry.name, receiver, knownIds)) continue;
    WaitingFile file{.path = lib::SlashPath(folder) + entry.name, .header = {}};
    const lib::Result<lib::File> opened = lib::File::Open(file.path, lib::OpenMode::Read);
    const lib::Result<std::size_t> got =
        opened.Ok() ? opened->ReadAt(0, file.header.Bytes()) : lib::Result<std::size_t>(opened.Failure());
    if (!got.Ok()) {
      unreadable.push_back(got.Failure().Message());
      continue;
    }
    if (*got < SyncFileHeader::kBytes || !file.header.IsSyncFile()) {
      foreign.push_back(file.path);
      continue;
    }
    if (file.header.Sender() == sender) waiting.push_back(std::move(file));
  }
  SortOldestFirst(waiting);
  return waiting;
}

}  // namespace zelkor::sync
