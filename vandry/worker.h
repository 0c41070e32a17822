// Work in threads of its own, for what would keep the loop waiting: transfers that a library makes without giving
// control back, and copying large files.
//
// A thread shares nothing with the loop but what it was handed: in particular it turns no paths (their look-ups are
// remembered for the loop's thread), only uses files that were opened for it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "vandry/loop.h"

namespace zelkor::vandry {

// What a working thread may use of the outside.
class WorkerPort {
 public:
  virtual ~WorkerPort() = default;
  // The result is no longer wanted: end soon.
  [[nodiscard]] virtual bool Stopped() const = 0;
  // False when it ended early because the result is no longer wanted.
  virtual bool Sleep(std::chrono::milliseconds time) = 0;
  // Has something done in the loop's thread; nothing once the result is no longer wanted.
  virtual void Post(std::function<void()> callback) = 0;
};

class Workers {
 public:
  // A piece of work. When it goes, the result is no longer wanted.
  class Job {
   public:
    Job() = default;
    ~Job() { Stop(); }
    Job(Job&& other) noexcept = default;
    Job& operator=(Job&& other) noexcept;
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;
    void Stop();
    // Until `done` was called, or Stop.
    [[nodiscard]] bool IsActive() const { return shared_ != nullptr; }

   private:
    friend class Workers;
    struct Shared;
    std::shared_ptr<Shared> shared_;
  };

  explicit Workers(Loop& loop);
  // As Finish without patience.
  ~Workers();
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  [[nodiscard]] Job Start(std::function<void(WorkerPort&)> work);
  // Waits for what is still at work; what is no longer wanted ends soon. False when something went on after that time:
  // then the process must end without the usual cleaning up.
  bool Finish(std::chrono::milliseconds patience);

 private:
  struct Mailbox;
  void TakeMail();
  void Join(std::uint64_t thread);

  Loop& loop_;
  std::shared_ptr<Mailbox> mailbox_;
  std::map<std::uint64_t, std::thread> threads_;
  std::uint64_t lastThread_ = 0;
  Loop::Watch watch_;
};

}  // namespace zelkor::vandry
