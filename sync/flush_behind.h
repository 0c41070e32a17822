// Brings what an import writes to its media while the import goes on, on a thread of its own, so that little is left to
// wait for at the end.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "lib/files.h"

namespace zelkor::sync {

class FlushBehind {
 public:
  FlushBehind() = default;
  ~FlushBehind() { Stop(); }
  FlushBehind(const FlushBehind&) = delete;
  FlushBehind& operator=(const FlushBehind&) = delete;

  // A file of so many bytes is written whole; `path` is its name or the one that it is about to take.
  void Wrote(const lib::File& file, const std::string& path, std::int64_t bytes);
  // Everything written is on its medium when this returns. A failure may be of any flush from the first on.
  [[nodiscard]] lib::Status Finish();

 private:
  struct Place {
    explicit Place(lib::Volume system) : volume(std::move(system)) {}
    lib::Volume volume;
    // Written since the thread was last sent here.
    int files = 0;
    std::int64_t bytes = 0;
  };
  // Where the file goes; null when that can not be told, which is kept as a failure.
  Place* PlaceOf(const lib::File& file, const std::string& path);
  void Send(const lib::Volume& volume);
  void Stop();
  void Work();

  std::map<std::uint64_t, Place> places_;  // by device
  Place* last_ = nullptr;
  std::string lastDirectory_;

  std::mutex mutex_;
  std::condition_variable work_;
  const lib::Volume* wanted_ = nullptr;  // to be flushed next
  lib::Status failure_;
  bool ending_ = false;
  std::atomic<bool> busy_ = false;  // the thread has something to flush, or there is none
  std::thread thread_;
};

}  // namespace zelkor::sync
