// The small files of a sync file, made on a thread of its own ahead of the import that takes them.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "db/remap.h"
#include "lib/files.h"
#include "sync/sync_reader.h"

namespace zelkor::sync {

// Never more than a help: each file stands without a name, whole and with its times, until the import has decided that
// it is taken, and is gone when it is not. What was not made ahead, for whatever reason, the import makes itself, and
// so every error is met, and told, there.
class ImportAhead {
 public:
  // Files longer than this are not made ahead.
  static constexpr std::int32_t kLongest = std::int32_t{1} << 16;

  // Reads the sync file at this path on its own, from its start. `remap` must outlive this; `cutoff` as in Decide.
  ImportAhead(const std::string& path, const db::RemapTable& remap, lib::Date cutoff);
  ~ImportAhead();
  ImportAhead(const ImportAhead&) = delete;
  ImportAhead& operator=(const ImportAhead&) = delete;

  // The file whose content stands at this place of the sync file, if it was made for this path. The places asked for
  // only grow; what was made for an earlier one is dropped.
  [[nodiscard]] std::optional<lib::UnnamedFile> Take(std::int64_t place, const std::string& localPath);
  // Drops everything and makes no more, so that what it takes up of the medium is free.
  void Stop();

 private:
  struct Made {
    std::int64_t place = 0;
    std::string path;
    lib::UnnamedFile file;
  };

  void Work();
  void MakeAll(SyncReader& reader);
  // Whether the file at this place is still worth making; waits while there are many. False at the end too.
  [[nodiscard]] bool Claim(std::int64_t place);
  // Nothing, when the import will not want the file or must see to it itself.
  [[nodiscard]] std::optional<Made> Make(SyncReader& reader, const FileHeader& entry, const db::FileRec& item) const;
  void Put(std::optional<Made> made);

  lib::File file_;
  const db::RemapTable& remap_;
  const lib::Date cutoff_;

  std::mutex mutex_;
  std::condition_variable room_;  // for the thread: there are few files, or it is to end
  std::condition_variable news_;  // for the import: the file that it waits for is no longer in the making
  std::deque<Made> made_;
  std::int64_t passed_ = 0;  // the import has come to this place
  std::int64_t making_ = 0;  // the place of the file in hand, 0 for none
  std::atomic<bool> ending_ = false;
  bool waiting_ = false;  // the thread waits for room

  std::thread thread_;
};

}  // namespace zelkor::sync
