#include "sync/import_ahead.h"

#include <system_error>
#include <utility>

#include "lib/paths.h"
#include "lib/terminal.h"
#include "sync/decision.h"
#include "sync/entry_path.h"

namespace zelkor::sync {

namespace {

// So many files stand ready at most; each holds a handle. The thread goes on when there are only few left, so that it
// is woken seldom.
constexpr std::size_t kMost = 96;
constexpr std::size_t kFew = 32;

}  // namespace

ImportAhead::ImportAhead(const std::string& path, const db::RemapTable& remap, lib::Date cutoff)
    : remap_(remap), cutoff_(cutoff) {
  lib::Result<lib::File> file = lib::File::Open(path, lib::OpenMode::Read);
  if (!file.Ok()) return;
  file_ = std::move(*file);
  try {
    thread_ = std::thread([this] { Work(); });
  } catch (const std::system_error&) {
    // Without the thread nothing is made ahead.
  }
}

ImportAhead::~ImportAhead() { Stop(); }

void ImportAhead::Stop() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    room_.notify_one();
  }
  if (thread_.joinable()) thread_.join();
  made_.clear();
}

std::optional<lib::UnnamedFile> ImportAhead::Take(std::int64_t place, const std::string& localPath) {
  std::unique_lock lock(mutex_);
  passed_ = place;
  while (!made_.empty() && made_.front().place < place) made_.pop_front();
  if (made_.empty() && making_ == place) news_.wait(lock, [&] { return making_ != place; });
  std::optional<lib::UnnamedFile> file;
  if (!made_.empty() && made_.front().place == place) {
    if (made_.front().path == localPath) file = std::move(made_.front().file);
    made_.pop_front();
  }
  if (waiting_ && made_.size() <= kFew) room_.notify_one();
  return file;
}

void ImportAhead::Work() {
  lib::LeaveInterruptsToFirstThread();
  try {
    SyncReader reader(file_);
    (void)reader.ReadHeader();
    MakeAll(reader);
  } catch (const DamagedSyncFile&) {
    // The import will find it.
  }
  const std::lock_guard lock(mutex_);
  making_ = 0;
  news_.notify_one();
}

void ImportAhead::MakeAll(SyncReader& reader) {
  BlockHeader block;
  while (reader.NextBlock(block)) {
    if (!block.IsOurs()) continue;
    for (std::int32_t i = 0; i < block.Number(BlockHeader::kItemCount); ++i) {
      db::FileRec item;
      reader.ReadItem(item);
      for (std::int32_t j = 0; j < item.Number(db::FileRec::kFileCount); ++j) {
        FileHeader entry;
        reader.ReadEntry(entry);
        if (entry.Number(FileHeader::kSize) > kLongest) continue;
        const std::int64_t place = reader.Position();
        if (!Claim(place)) {
          if (ending_) return;
          continue;
        }
        Put(Make(reader, entry, item));
      }
    }
  }
}

bool ImportAhead::Claim(std::int64_t place) {
  std::unique_lock lock(mutex_);
  if (made_.size() >= kMost) {
    waiting_ = true;
    room_.wait(lock, [this] { return ending_ || made_.size() <= kFew; });
    waiting_ = false;
  }
  if (ending_ || place <= passed_) return false;
  making_ = place;
  return true;
}

std::optional<ImportAhead::Made> ImportAhead::Make(SyncReader& reader, const FileHeader& entry,
                                                   const db::FileRec& item) const {
  const std::int64_t place = reader.Position();
  const std::string shared = SharedPath(entry, item);
  if (shared.empty()) return std::nullopt;
  const std::string path = remap_.RemapPath(shared, true);
  const lib::Date written = entry.Date(FileHeader::kWritten);
  if (!lib::CheckReceivedPath(path).Ok() || !lib::IsDate(written)) return std::nullopt;
  const lib::Result<lib::FileInfo> local = lib::GetInfoAsSpelled(path);
  if (!Takes(Decide(local.Ok() ? local->written : 0, written, cutoff_))) return std::nullopt;
  lib::Result<lib::UnnamedFile> file = lib::UnnamedFile::Make(path);
  if (!file.Ok()) return std::nullopt;
  lib::Status done = reader.CopyContent(file->Content(), [](std::int64_t) {});
  if (done.Ok()) done = file->Content().SetTimes(entry.Date(FileHeader::kCreated), written);
  if (!done.Ok()) return std::nullopt;
  return Made{.place = place, .path = path, .file = std::move(*file)};
}

void ImportAhead::Put(std::optional<Made> made) {
  const std::lock_guard lock(mutex_);
  const bool awaited = making_ == passed_;
  making_ = 0;
  if (made) made_.push_back(*std::move(made));
  if (awaited) news_.notify_one();
}

}  // namespace zelkor::sync
