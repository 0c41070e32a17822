#include "lib/read_ahead.h"

#include <array>
#include <atomic>
#include <cassert>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "lib/read_ahead_file.h"
#include "lib/terminal.h"

namespace zelkor::lib {
namespace {

// The ring's places go round through these. Whoever changes Wanted to Reading has the place to himself until he
// changes it again; so a place that the thread has not come to yet is taken back without waiting.
enum class Stage : int { Free, Wanted, Reading, Ready };

struct Place {
  std::atomic<Stage> stage = Stage::Free;
  std::int32_t turn = 0;
  std::string path;
  Date cutoff = 0;
  bool known = false;  // `found` holds something
  ReadAhead::Found found;
  std::vector<char> buffer;
};

}  // namespace

// Files are counted from the first one on; file i stands at place i % kFiles.
struct ReadAhead::State {
  State();
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  Place& At(std::size_t file) { return places[file % kFiles]; }
  void Work();
  void Forget();

  std::array<Place, kFiles> places;
  std::size_t wanted = 0;                // files wanted so far
  std::size_t taken = 0;                 // files taken or forgotten so far
  std::atomic<std::size_t> started = 0;  // how many of those wanted the thread may work on
  std::atomic<bool> ending = false;

  // What is waited for changes under the mutex. The wait of atomics would do without, but where the system has none for
  // them the standard library of gcc 12 may sleep through a change.
  std::mutex mutex;
  std::condition_variable work;  // for the thread: there is more to work on, or it is to end
  std::condition_variable read;  // for the others: the file in hand is read

  std::thread thread;
};

ReadAhead::State::State() {
  try {
    thread = std::thread([this] { Work(); });
  } catch (const std::system_error&) {
    // Without the thread nothing is read ahead.
  }
}

ReadAhead::State::~State() {
  if (!thread.joinable()) return;
  {
    const std::lock_guard lock(mutex);
    ending = true;
  }
  work.notify_one();
  thread.join();
}

void ReadAhead::State::Work() {
  LeaveInterruptsToFirstThread();
  std::size_t file = 0;
  for (;;) {
    const std::size_t end = started.load(std::memory_order_acquire);
    if (ending) return;
    if (file == end) {
      std::unique_lock lock(mutex);
      work.wait(lock, [&] { return ending || started != end; });
      continue;
    }
    for (; file != end && !ending; ++file) {
      Place& place = At(file);
      Stage expected = Stage::Wanted;
      if (!place.stage.compare_exchange_strong(expected, Stage::Reading, std::memory_order_acquire)) continue;
      place.found = {};
      place.known = ReadFileAhead(place.path, place.cutoff, place.buffer, place.found);
      {
        const std::lock_guard lock(mutex);
        place.stage.store(Stage::Ready, std::memory_order_release);
      }
      read.notify_one();
    }
  }
}

// The oldest file is wanted no more.
void ReadAhead::State::Forget() {
  Place& place = At(taken++);
  Stage stage = Stage::Wanted;
  if (place.stage.compare_exchange_strong(stage, Stage::Free)) return;
  if (place.stage == Stage::Reading) {
    std::unique_lock lock(mutex);
    read.wait(lock, [&] { return place.stage != Stage::Reading; });
  }
  place.stage = Stage::Free;
}

ReadAhead::ReadAhead() : state_(std::make_unique<State>()) {}
ReadAhead::~ReadAhead() = default;

std::size_t ReadAhead::Wanted() const { return state_->wanted - state_->taken; }

void ReadAhead::Want(std::int32_t turn, std::string path, Date cutoff) {
  assert(Wanted() < kFiles);
  Place& place = state_->At(state_->wanted++);
  place.turn = turn;
  place.path = std::move(path);
  place.cutoff = cutoff;
  place.stage.store(Stage::Wanted, std::memory_order_release);
}

void ReadAhead::Start() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->started.store(state_->wanted, std::memory_order_release);
  }
  state_->work.notify_one();
}

void ReadAhead::ForgetBefore(std::int32_t turn) {
  while (Wanted() > 0 && state_->At(state_->taken).turn < turn) state_->Forget();
}

bool ReadAhead::Ready(std::int32_t turn) {
  ForgetBefore(turn);
  if (Wanted() == 0) return false;
  const Place& place = state_->At(state_->taken);
  return place.turn == turn && place.stage == Stage::Ready && place.known;
}

const ReadAhead::Found* ReadAhead::Take(std::int32_t turn, const std::string& path) {
  ForgetBefore(turn);
  if (Wanted() == 0) return nullptr;
  Place& place = state_->At(state_->taken);
  if (place.turn != turn || place.path != path) return nullptr;
  const bool tooSoon = place.stage == Stage::Wanted;
  state_->Forget();
  return tooSoon || !place.known ? nullptr : &place.found;
}

}  // namespace zelkor::lib
