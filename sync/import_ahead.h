// What an import will ask of the file system, done on a thread of its own ahead of it: the look at each local file, and
// the small files that are to be written.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "db/remap.h"
#include "lib/files.h"
#include "sync/sync_reader.h"

namespace zelkor::sync {

// Never more than a help: each file stands without a name, whole and with its times, until the import has decided that
// it is taken, and is gone when it is not. What was not seen or made ahead, for whatever reason, the import sees to
// itself, and so every error is met, and told, there.
class ImportAhead {
 public:
  // Files longer than this are not made ahead.
  static constexpr std::int32_t kLongest = std::int32_t{1} << 16;

  // Reads the sync file at this path on its own, from its start. `remap` must outlive this; `cutoff` as in Decide.
  // Without `makes` it only looks.
  ImportAhead(const std::string& path, const db::RemapTable& remap, lib::Date cutoff, bool makes);
  ~ImportAhead();
  ImportAhead(const ImportAhead&) = delete;
  ImportAhead& operator=(const ImportAhead&) = delete;

  struct Found {
    // The local file of that spelling, if there is one. Since it was looked at the import has written nothing.
    std::optional<lib::FileInfo> local;
    std::optional<lib::UnnamedFile> file;
  };
  // What there is for the file whose content stands at this place of the sync file and which has this local path. The
  // places asked for only grow; what was found for an earlier one is dropped.
  [[nodiscard]] Found Take(std::int64_t place, const std::string& localPath);
  // The file taken last has been written: what was seen before may be another one by now.
  void Wrote() { written_ = passed_; }
  // Drops everything and makes no more, so that what it takes up of the medium is free.
  void Stop();

 private:
  struct Made {
    std::int64_t place = 0;
    std::int64_t seenAt = 0;  // the import's place when the local file was looked at
    std::string path;
    Found found;
    bool held = false;  // a file was made
  };

  void Work();
  void MakeAll(SyncReader& reader);
  // The import's place, when the file at this one is still worth a look. Nothing at the end too.
  [[nodiscard]] std::optional<std::int64_t> Claim(std::int64_t place);
  // Nothing, when the import must see to the file itself.
  [[nodiscard]] std::optional<Made> Look(std::int64_t place, const FileHeader& entry, const db::FileRec& item) const;
  // Whether the file at this place is still worth making: from here on the import waits for it.
  [[nodiscard]] bool Begin(std::int64_t place);
  [[nodiscard]] std::optional<lib::UnnamedFile> Make(SyncReader& reader, const FileHeader& entry,
                                                     const std::string& path);
  // What was found is there for the import from now on; waits while there is much.
  void Publish();
  // What is there for this place; null when nothing is.
  [[nodiscard]] Made* Next(std::int64_t place);
  void DropFirst();

  lib::File file_;
  const db::RemapTable& remap_;
  const lib::Date cutoff_;
  const bool makes_;
  lib::UnnamedFileMaker maker_;  // the thread's

  // The import's.
  std::deque<Made> mine_;
  std::int64_t written_ = -1;  // the place of the file that it wrote last
  // The thread's.
  std::vector<Made> unpublished_;
  int leap_ = 0;  // so many files more are left to the import

  std::atomic<std::int64_t> passed_ = 0;  // the import has come to this place
  std::atomic<std::size_t> files_ = 0;    // without names, that wait for the import
  std::atomic<bool> waiting_ = false;     // the thread waits for room
  std::atomic<bool> ending_ = false;
  std::mutex mutex_;              // of all below
  std::condition_variable room_;  // for the thread: there is little left, or it is to end
  std::condition_variable news_;  // for the import: the file that it waits for is no longer in the making
  std::deque<Made> made_;
  std::int64_t making_ = 0;  // the place of the file in hand, 0 for none

  std::thread thread_;
};

}  // namespace zelkor::sync
