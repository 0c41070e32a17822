#include "sync/import_ahead.h"

#include <system_error>
#include <utility>

#include "lib/paths.h"
#include "lib/terminal.h"
#include "sync/decision.h"
#include "sync/entry_path.h"

namespace zelkor::sync {

namespace {

// So much is known at most that the import has not fetched.
constexpr std::size_t kMost = 1024;
// So many files stand ready at most; each holds a handle. The thread goes on when there are only few left, so that it
// is woken seldom.
constexpr std::size_t kMostFiles = 96;
constexpr std::size_t kFewFiles = 32;
// Where nothing is to be made, the two threads meet once in so many files only.
constexpr std::size_t kTogether = 16;
// Once overtaken the thread leaves so many files to the import: a few ahead of it, it would be overtaken again at once.
constexpr int kLeap = 32;

}  // namespace

ImportAhead::ImportAhead(const std::string& path, const db::RemapTable& remap, lib::Date cutoff, bool makes)
    : remap_(remap), cutoff_(cutoff), makes_(makes) {
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
  mine_.clear();
  unpublished_.clear();
}

ImportAhead::Found ImportAhead::Take(std::int64_t place, const std::string& localPath) {
  passed_ = place;
  Made* const made = Next(place);
  if (made == nullptr) return {};
  Found found;
  if (made->path == localPath) found = std::move(made->found);
  if (made->seenAt <= written_) found.local.reset();
  DropFirst();
  return found;
}

void ImportAhead::DropFirst() {
  const bool held = mine_.front().held;
  mine_.pop_front();
  if (!held || --files_ > kFewFiles || !waiting_) return;
  const std::lock_guard lock(mutex_);
  room_.notify_one();
}

ImportAhead::Made* ImportAhead::Next(std::int64_t place) {
  while (!mine_.empty() && mine_.front().place < place) DropFirst();
  if (mine_.empty()) {
    std::unique_lock lock(mutex_);
    if (made_.empty() && making_ == place) news_.wait(lock, [&] { return making_ != place; });
    mine_.swap(made_);
    room_.notify_one();
    lock.unlock();
    while (!mine_.empty() && mine_.front().place < place) DropFirst();
  }
  return !mine_.empty() && mine_.front().place == place ? &mine_.front() : nullptr;
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
  Publish();
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
        const std::int64_t place = reader.Position();
        const std::optional<std::int64_t> seenAt = Claim(place);
        if (!seenAt) {
          if (ending_) return;
          continue;
        }
        std::optional<Made> made = Look(place, entry, item);
        if (!made) continue;
        made->seenAt = *seenAt;
        const lib::Date local = made->found.local ? made->found.local->written : 0;
        const bool wanted = makes_ && entry.Number(FileHeader::kSize) <= kLongest &&
                            Takes(Decide(local, entry.Date(FileHeader::kWritten), cutoff_));
        const bool awaited = wanted && Begin(place);
        if (awaited) made->found.file = Make(reader, entry, made->path);
        made->held = made->found.file.has_value();
        if (made->held) ++files_;
        unpublished_.push_back(*std::move(made));
        if (awaited || unpublished_.size() >= kTogether) Publish();
      }
    }
  }
}

std::optional<std::int64_t> ImportAhead::Claim(std::int64_t place) {
  const std::int64_t passed = passed_;
  if (place <= passed) leap_ = kLeap;
  if (ending_ || place <= passed || --leap_ >= 0) return std::nullopt;
  leap_ = 0;
  return passed;
}

std::optional<ImportAhead::Made> ImportAhead::Look(std::int64_t place, const FileHeader& entry,
                                                   const db::FileRec& item) const {
  const std::string shared = SharedPath(entry, item);
  if (shared.empty()) return std::nullopt;
  std::string path = remap_.RemapPath(shared, true);
  if (!lib::CheckReceivedPath(path).Ok() || !lib::IsDate(entry.Date(FileHeader::kWritten))) return std::nullopt;
  Made made{.place = place, .seenAt = 0, .path = std::move(path), .found = {}};
  const lib::Result<lib::FileInfo> local = lib::GetInfoAsSpelled(made.path);
  if (local.Ok()) made.found.local = *local;
  return made;
}

bool ImportAhead::Begin(std::int64_t place) {
  Publish();
  const std::lock_guard lock(mutex_);
  if (ending_ || place <= passed_) return false;
  making_ = place;
  return true;
}

std::optional<lib::UnnamedFile> ImportAhead::Make(SyncReader& reader, const FileHeader& entry,
                                                  const std::string& path) {
  lib::Result<lib::UnnamedFile> file = maker_.Make(path);
  if (!file.Ok()) return std::nullopt;
  lib::Status done = reader.CopyContent(file->Content(), [](std::int64_t) {});
  const lib::Date written = entry.Date(FileHeader::kWritten);
  if (done.Ok()) done = file->Content().SetTimes(entry.Date(FileHeader::kCreated), written);
  if (!done.Ok()) return std::nullopt;
  return std::move(*file);
}

void ImportAhead::Publish() {
  std::unique_lock lock(mutex_);
  making_ = 0;
  for (Made& made : unpublished_) made_.push_back(std::move(made));
  unpublished_.clear();
  news_.notify_one();
  if (made_.size() < kMost && files_ < kMostFiles) return;
  waiting_ = true;
  room_.wait(lock, [this] { return ending_ || (made_.size() < kMost && files_ <= kFewFiles); });
  waiting_ = false;
}

}  // namespace zelkor::sync
