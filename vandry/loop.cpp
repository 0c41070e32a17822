#include "vandry/loop.h"

#include <algorithm>

#include "lib/terminal.h"

namespace zelkor::vandry {

namespace {

// What RunUntil waits for may come about without a callback of the loop's.
constexpr Loop::Milliseconds kLookStep{10};

}  // namespace

Loop::Watch& Loop::Watch::operator=(Watch&& other) noexcept {
  if (this != &other) {
    End();
    loop_ = std::exchange(other.loop_, nullptr);
    id_ = other.id_;
  }
  return *this;
}

void Loop::Watch::Want(bool read, bool write) {
  if (loop_ == nullptr) return;
  Watched& watched = *loop_->watches_.at(id_);
  watched.read = read;
  watched.write = write;
}

void Loop::Watch::End() {
  if (loop_ != nullptr) std::exchange(loop_, nullptr)->watches_.erase(id_);
}

Loop::Timer& Loop::Timer::operator=(Timer&& other) noexcept {
  if (this != &other) {
    End();
    loop_ = std::exchange(other.loop_, nullptr);
    id_ = other.id_;
  }
  return *this;
}

bool Loop::Timer::IsActive() const { return loop_ != nullptr && loop_->timers_.count(id_) != 0; }

void Loop::Timer::End() {
  if (loop_ != nullptr) std::exchange(loop_, nullptr)->timers_.erase(id_);
}

Loop::Loop() = default;
Loop::~Loop() = default;

Loop::Watch Loop::WatchHandle(lib::Handle handle, bool read, bool write, std::function<void(Ready)> callback) {
  const std::uint64_t id = ++lastId_;
  watches_[id] = std::make_shared<Watched>(
      Watched{.handle = handle, .read = read, .write = write, .callback = std::move(callback)});
  return {*this, id};
}

Loop::Timer Loop::After(Milliseconds delay, std::function<void()> callback) {
  const std::uint64_t id = ++lastId_;
  timers_[id] = {.due = Clock::now() + delay, .callback = std::move(callback)};
  return {*this, id};
}

void Loop::Post(std::function<void()> callback) { posted_.push_back(std::move(callback)); }

void Loop::Run() {
  while (!stopped_ && !lib::Interrupted()) Turn(std::nullopt);
  stopped_ = false;
}

bool Loop::RunUntil(const std::function<bool()>& done, Milliseconds limit) {
  const Clock::time_point end = Clock::now() + limit;
  while (!done()) {
    const Clock::time_point now = Clock::now();
    if (now >= end) return false;
    Turn(std::min(end, now + kLookStep));
  }
  return true;
}

std::optional<Loop::Milliseconds> Loop::Patience(std::optional<Clock::time_point> until) const {
  if (!posted_.empty()) return Milliseconds{0};
  for (const auto& [id, alarm] : timers_) until = until ? std::min(*until, alarm.due) : alarm.due;
  if (!until) return std::nullopt;
  // Rounded up: a wait that ends a little too early would be followed by another, empty one.
  return std::max(Milliseconds{0}, std::chrono::ceil<Milliseconds>(*until - Clock::now()));
}

void Loop::Turn(std::optional<Clock::time_point> until) {
  std::vector<lib::Awaited> awaited;
  std::vector<std::uint64_t> ids;
  awaited.reserve(watches_.size());
  ids.reserve(watches_.size());
  for (const auto& [id, watched] : watches_) {
    if (!watched->read && !watched->write) continue;
    awaited.push_back({.handle = watched->handle, .wantRead = watched->read, .wantWrite = watched->write});
    ids.push_back(id);
  }
  lib::WaitUntilReady(awaited, Patience(until));
  std::vector<std::pair<std::uint64_t, lib::Awaited>> ready;
  for (std::size_t i = 0; i < awaited.size(); ++i) {
    if (awaited[i].canRead || awaited[i].canWrite) ready.emplace_back(ids[i], awaited[i]);
  }
  CallWatches(ready);
  CallTimers();
  CallPosted();
}

void Loop::CallWatches(const std::vector<std::pair<std::uint64_t, lib::Awaited>>& ready) {
  for (const auto& [id, found] : ready) {
    // An earlier callback of this turn may have ended this watch, or changed what it wants.
    const auto at = watches_.find(id);
    if (at == watches_.end()) continue;
    const std::shared_ptr<Watched> watched = at->second;
    const Ready what{.read = found.canRead && watched->read, .write = found.canWrite && watched->write};
    if (what.read || what.write) watched->callback(what);
  }
}

void Loop::CallTimers() {
  const Clock::time_point now = Clock::now();
  std::vector<std::pair<Clock::time_point, std::uint64_t>> due;
  for (const auto& [id, alarm] : timers_) {
    if (alarm.due <= now) due.emplace_back(alarm.due, id);
  }
  std::sort(due.begin(), due.end());
  for (const auto& [when, id] : due) {
    auto alarm = timers_.extract(id);
    if (!alarm.empty()) alarm.mapped().callback();
  }
}

void Loop::CallPosted() {
  // What these post in their turn waits for the next turn.
  std::deque<std::function<void()>> now;
  now.swap(posted_);
  for (const std::function<void()>& callback : now) callback();
}

}  // namespace zelkor::vandry
