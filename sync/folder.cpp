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

bool NameTaken(std::string_view path) { return lib::FileExists(path) || lib::DirectoryExists(path); }

}  // namespace

std::string NameOfTarget(std::string_view targetId, std::string_view computerId) {
  std::string id = lib::Lower(lib::Trim(targetId));
  return id == kTrialTarget ? lib::Lower(lib::Trim(computerId)) : id;
}

std::string FreeSyncFileName(std::string_view folder, std::string_view baseName,
                             const std::vector<std::string>& knownIds) {
  const std::string beginning = lib::SlashPath(folder) + std::string(baseName);
  const std::string end = "." + std::string(kSyncFileExtension);
  if (!NameTaken(beginning + end)) return beginning + end;
  for (int counter = 1;; ++counter) {
    const std::string number = lib::FormatTwoDigits(counter);
    if (Spells(std::string(baseName) + number, knownIds)) continue;
    if (!NameTaken(beginning + number + end)) return beginning + number + end;
  }
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
    const std::string base = lib::FileBaseName(entry.name);
    if (!lib::EqualNoCase(lib::FileExtension(entry.name), kSyncFileExtension)) continue;
    if (!lib::BeginsWithNoCase(base, receiver) || !IsCounter(std::string_view(base).substr(receiver.size()))) continue;
    if (base.size() > receiver.size() && Spells(base, knownIds)) continue;
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
  // Names that were given in one second keep the order of their numbers.
  std::stable_sort(waiting.begin(), waiting.end(), [](const WaitingFile& a, const WaitingFile& b) {
    const auto created = [](const WaitingFile& file) {
      return lib::DateToSeconds(file.header.Date(SyncFileHeader::kCreated));
    };
    if (created(a) != created(b)) return created(a) < created(b);
    if (a.path.size() != b.path.size()) return a.path.size() < b.path.size();
    return a.path < b.path;
  });
  return waiting;
}

}  // namespace zelkor::sync
