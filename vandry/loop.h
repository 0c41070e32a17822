// The one loop that everything in Vandry lives in: handles that become ready, timers, and things to do next. One
// thread; every callback is made from Run or RunUntil and returns soon.
//
// A Watch or Timer ends when its object goes. Any of them may go, or be made, inside any callback, its own included:
// no callback of a gone object is made. They must go before the loop does.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "lib/readiness.h"

namespace zelkor::vandry {

class Loop {
 public:
  using Clock = std::chrono::steady_clock;
  using Milliseconds = std::chrono::milliseconds;

  // What a handle is ready for. Both are set for one that failed and that was waited for in both ways.
  struct Ready {
    bool read = false;
    bool write = false;
  };

  // Interest in one handle; level-triggered. The handle stays its owner's and must be open while the watch lives.
  class Watch {
   public:
    Watch() = default;
    ~Watch() { End(); }
    Watch(Watch&& other) noexcept : loop_(std::exchange(other.loop_, nullptr)), id_(other.id_) {}
    Watch& operator=(Watch&& other) noexcept;
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    // Neither of both rests the watch.
    void Want(bool read, bool write);
    [[nodiscard]] bool IsActive() const { return loop_ != nullptr; }
    void End();

   private:
    friend class Loop;
    Watch(Loop& loop, std::uint64_t id) : loop_(&loop), id_(id) {}
    Loop* loop_ = nullptr;
    std::uint64_t id_ = 0;
  };

  // A call at a time. A timer that has rung is over; set it again by assigning a new one.
  class Timer {
   public:
    Timer() = default;
    ~Timer() { End(); }
    Timer(Timer&& other) noexcept : loop_(std::exchange(other.loop_, nullptr)), id_(other.id_) {}
    Timer& operator=(Timer&& other) noexcept;
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    // True until it rings or is ended.
    [[nodiscard]] bool IsActive() const;
    void End();

   private:
    friend class Loop;
    Timer(Loop& loop, std::uint64_t id) : loop_(&loop), id_(id) {}
    Loop* loop_ = nullptr;
    std::uint64_t id_ = 0;
  };

  Loop();
  ~Loop();
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;

  [[nodiscard]] Watch WatchHandle(lib::Handle handle, bool read, bool write, std::function<void(Ready)> callback);
  [[nodiscard]] Timer After(Milliseconds delay, std::function<void()> callback);
  // Calls it at the next turn, after everything that is ready now; in order.
  void Post(std::function<void()> callback);

  // Until Stop, or until the process is asked to end (terminal.h).
  void Run();
  // Ends Run after the callback in hand. A call before Run ends it at once.
  void Stop() { stopped_ = true; }
  // Turns until `done` says true, which is asked often; false when `limit` passed before.
  bool RunUntil(const std::function<bool()>& done, Milliseconds limit);

 private:
  struct Watched {
    lib::Handle handle = lib::kNoHandle;
    bool read = false;
    bool write = false;
    std::function<void(Ready)> callback;
  };
  struct Alarm {
    Clock::time_point due;
    std::function<void()> callback;
  };

  // One wait, at most until `until`, and the calls that follow from it.
  void Turn(std::optional<Clock::time_point> until);
  [[nodiscard]] std::optional<Milliseconds> Patience(std::optional<Clock::time_point> until) const;
  void CallWatches(const std::vector<std::pair<std::uint64_t, lib::Awaited>>& ready);
  void CallTimers();
  void CallPosted();

  std::uint64_t lastId_ = 0;
  // Shared, so that a callback outlives the end of its own watch while it runs.
  std::map<std::uint64_t, std::shared_ptr<Watched>> watches_;
  std::map<std::uint64_t, Alarm> timers_;
  std::deque<std::function<void()>> posted_;
  bool stopped_ = false;
};

}  // namespace zelkor::vandry
