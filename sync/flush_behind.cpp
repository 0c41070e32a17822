#include "sync/flush_behind.h"

#include <system_error>
#include <utility>

#include "lib/paths.h"
#include "lib/terminal.h"

namespace zelkor::sync {

namespace {

// After so much the thread is sent: often enough that the end has little to do, and seldom enough that the system can
// still gather what belongs together on the medium.
constexpr int kFiles = 4000;
constexpr std::int64_t kBytes = std::int64_t{64} << 20;

}  // namespace

FlushBehind::Place* FlushBehind::PlaceOf(const lib::File& file, const std::string& path) {
  std::string directory = lib::DirectoryPart(path);
  if (last_ != nullptr && directory == lastDirectory_) return last_;
  lastDirectory_ = std::move(directory);
  last_ = nullptr;
  const lib::Result<std::uint64_t> device = file.Device();
  lib::Status failure = device.Ok() ? lib::Status() : device.Failure();
  if (failure.Ok()) {
    auto place = places_.find(*device);
    if (place == places_.end()) {
      lib::Result<lib::Volume> volume = lib::Volume::Of(path);
      if (volume.Ok()) {
        place = places_.emplace(*device, std::move(*volume)).first;
      } else {
        failure = volume.Failure();
      }
    }
    if (failure.Ok()) return last_ = &place->second;
  }
  const std::lock_guard lock(mutex_);
  if (failure_.Ok()) failure_ = failure;
  return nullptr;
}

void FlushBehind::Wrote(const lib::File& file, const std::string& path, std::int64_t bytes) {
  Place* const place = PlaceOf(file, path);
  if (place == nullptr) return;
  ++place->files;
  place->bytes += bytes;
  if (busy_ || (place->files < kFiles && place->bytes < kBytes)) return;
  place->files = 0;
  place->bytes = 0;
  Send(place->volume);
}

void FlushBehind::Send(const lib::Volume& volume) {
  busy_ = true;
  try {
    if (!thread_.joinable()) thread_ = std::thread([this] { Work(); });
  } catch (const std::system_error&) {
    return;  // Without the thread everything is flushed at the end.
  }
  const std::lock_guard lock(mutex_);
  wanted_ = &volume;
  work_.notify_one();
}

void FlushBehind::Work() {
  lib::LeaveInterruptsToFirstThread();
  std::unique_lock lock(mutex_);
  for (;;) {
    work_.wait(lock, [this] { return ending_ || wanted_ != nullptr; });
    if (ending_) return;
    const lib::Volume* const volume = std::exchange(wanted_, nullptr);
    lock.unlock();
    const lib::Status flushed = volume->Flush();
    lock.lock();
    if (failure_.Ok()) failure_ = flushed;
    busy_ = false;
  }
}

void FlushBehind::Stop() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  work_.notify_one();
  if (thread_.joinable()) thread_.join();
}

lib::Status FlushBehind::Finish() {
  Stop();
  for (const auto& [device, place] : places_) {
    const lib::Status flushed = place.volume.Flush();
    if (failure_.Ok()) failure_ = flushed;
  }
  return failure_;
}

}  // namespace zelkor::sync
