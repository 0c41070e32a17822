#include "lib/read_ahead.h"

#include <array>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "lib/posix/descriptor.h"
#include "lib/posix/drives.h"
#include "lib/posix/file_info.h"

namespace zelkor::lib {
namespace {

using posix::Descriptor;
using posix::Uninterrupted;

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

bool Same(const struct statx& a, const struct statx& b) {
  return a.stx_size == b.stx_size && posix::ChangeStamp(a) == posix::ChangeStamp(b);
}

// Only as it is spelled: the search for another spelling belongs to the other thread.
void Read(Place& place) {
  place.known = false;
  place.found = {};
  const Result<posix::WrittenPath> written = posix::Drives::Current().ToWritten(place.path);
  if (!written.Ok()) return;
  const char* const native = written->native.c_str();
  struct statx facts {};
  if (place.cutoff != 0) {
    if (posix::ReadFacts({.path = native}, facts) != 0 || !S_ISREG(facts.stx_mode)) return;
    place.found.info = posix::ToFileInfo(facts, std::nullopt);
    place.known = true;
    if (DateToSeconds(place.found.info.written) <= DateToSeconds(place.cutoff)) return;
  }
  const Descriptor file(Uninterrupted([&] { return open(native, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
  if (!file.IsOpen() || posix::ReadFacts({.descriptor = file.Get()}, facts) != 0 || !S_ISREG(facts.stx_mode)) return;
  const auto size = static_cast<std::int64_t>(facts.stx_size);
  if (size > ReadAhead::kLongest) return;
  place.found.info = posix::ToFileInfo(facts, posix::ReadCreated(file.Get()));
  place.known = true;
  const auto count = static_cast<std::size_t>(size);
  if (place.buffer.size() < count) place.buffer.resize(count);
  if (size > 0 && Uninterrupted([&] { return pread(file.Get(), place.buffer.data(), count, 0); }) != size) return;
  struct statx after {};
  if (posix::ReadFacts({.descriptor = file.Get()}, after) != 0 || !Same(facts, after)) return;
  place.found.content = std::span(place.buffer).first(count);
  place.found.read = true;
}

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
  std::thread thread;
};

ReadAhead::State::State() {
  // Signals are for the thread that waits for them.
  sigset_t all;
  sigset_t usual;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &usual);
  try {
    thread = std::thread([this] { Work(); });
  } catch (const std::system_error&) {
    // Without the thread nothing is read ahead.
  }
  pthread_sigmask(SIG_SETMASK, &usual, nullptr);
}

ReadAhead::State::~State() {
  if (!thread.joinable()) return;
  ending = true;
  ++started;  // a change, for it waits for one
  started.notify_one();
  thread.join();
}

void ReadAhead::State::Work() {
  std::size_t file = 0;
  for (;;) {
    const std::size_t end = started.load(std::memory_order_acquire);
    if (ending) return;
    if (file == end) {
      started.wait(end);
      continue;
    }
    for (; file != end && !ending; ++file) {
      Place& place = At(file);
      Stage expected = Stage::Wanted;
      if (!place.stage.compare_exchange_strong(expected, Stage::Reading, std::memory_order_acquire)) continue;
      Read(place);
      place.stage.store(Stage::Ready, std::memory_order_release);
      place.stage.notify_one();
    }
  }
}

// The oldest file is wanted no more.
void ReadAhead::State::Forget() {
  Place& place = At(taken++);
  Stage stage = Stage::Wanted;
  if (place.stage.compare_exchange_strong(stage, Stage::Free)) return;
  place.stage.wait(Stage::Reading);
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
  state_->started.store(state_->wanted, std::memory_order_release);
  state_->started.notify_one();
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
