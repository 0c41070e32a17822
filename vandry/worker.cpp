#include "vandry/worker.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "lib/readiness.h"
#include "lib/terminal.h"

namespace zelkor::vandry {

// What the threads put in and the loop takes out.
struct Workers::Mailbox {
  void Put(std::function<void()> callback) {
    const std::lock_guard lock(mutex);
    if (closed) return;
    letters.push_back(std::move(callback));
    wakeUp.Signal();
  }
  void HasEnded(std::uint64_t thread) {
    const std::lock_guard lock(mutex);
    ended.push_back(thread);
    someEnded.notify_all();
    wakeUp.Signal();
  }

  std::mutex mutex;
  std::condition_variable someEnded;
  std::deque<std::function<void()>> letters;
  std::deque<std::uint64_t> ended;
  lib::WakeUp wakeUp;
  bool closed = false;  // nobody takes anything out any more
};

struct Workers::Job::Shared : WorkerPort {
  [[nodiscard]] bool Stopped() const override {
    const std::lock_guard lock(mutex);
    return stopped;
  }
  bool Sleep(std::chrono::milliseconds time) override {
    std::unique_lock lock(mutex);
    return !wakeUp.wait_for(lock, time, [this] { return stopped; });
  }
  void Post(std::function<void()> callback) override {
    if (Stopped()) return;
    // Asked again in the loop's thread, where it is known for sure.
    mailbox->Put([self = self.lock(), callback = std::move(callback)] {
      if (self && !self->Stopped()) callback();
    });
  }

  mutable std::mutex mutex;
  std::condition_variable wakeUp;
  bool stopped = false;
  std::shared_ptr<Mailbox> mailbox;
  std::weak_ptr<Shared> self;
};

Workers::Job& Workers::Job::operator=(Job&& other) noexcept {
  if (this != &other) {
    Stop();
    shared_ = std::move(other.shared_);
  }
  return *this;
}

void Workers::Job::Stop() {
  const std::shared_ptr<Shared> shared = std::exchange(shared_, nullptr);
  if (!shared) return;
  const std::lock_guard lock(shared->mutex);
  shared->stopped = true;
  shared->wakeUp.notify_all();
}

Workers::Workers(Loop& loop) : loop_(loop), mailbox_(std::make_shared<Mailbox>()) {
  watch_ = loop_.WatchHandle(mailbox_->wakeUp.ReadyHandle(), true, false, [this](Loop::Ready) { TakeMail(); });
}

Workers::~Workers() { (void)Finish(std::chrono::milliseconds{0}); }

Workers::Job Workers::Start(std::function<void(WorkerPort&)> work) {
  Job job;
  job.shared_ = std::make_shared<Job::Shared>();
  job.shared_->mailbox = mailbox_;
  job.shared_->self = job.shared_;
  const std::uint64_t id = ++lastThread_;
  threads_[id] = std::thread([shared = job.shared_, mailbox = mailbox_, work = std::move(work), id]() mutable {
    lib::LeaveInterruptsToFirstThread();
    work(*shared);
    // What the work was handed goes here, not in whoever holds the last share of something.
    work = nullptr;
    shared.reset();
    mailbox->HasEnded(id);
  });
  return job;
}

void Workers::TakeMail() {
  std::deque<std::function<void()>> letters;
  std::deque<std::uint64_t> ended;
  {
    const std::lock_guard lock(mailbox_->mutex);
    mailbox_->wakeUp.Clear();
    letters.swap(mailbox_->letters);
    ended.swap(mailbox_->ended);
  }
  for (const std::uint64_t id : ended) Join(id);
  for (const std::function<void()>& letter : letters) letter();
}

void Workers::Join(std::uint64_t thread) {
  const auto at = threads_.find(thread);
  if (at == threads_.end()) return;  // Finish did not wait for it
  at->second.join();
  threads_.erase(at);
}

bool Workers::Finish(std::chrono::milliseconds patience) {
  {
    std::unique_lock lock(mailbox_->mutex);
    (void)mailbox_->someEnded.wait_for(lock, patience, [this] { return mailbox_->ended.size() >= threads_.size(); });
    for (const std::uint64_t id : mailbox_->ended) Join(id);
    mailbox_->ended.clear();
    mailbox_->letters.clear();
    mailbox_->closed = true;
  }
  const bool all = threads_.empty();
  for (auto& [id, thread] : threads_) thread.detach();
  threads_.clear();
  return all;
}

}  // namespace zelkor::vandry
