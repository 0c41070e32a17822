#include "vandry/worker.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace zelkor::vandry {
namespace {

using std::chrono::milliseconds;
constexpr milliseconds kEnough{30'000};

class WorkersTest : public testing::Test {
 protected:
  Loop loop;
  Workers workers{loop};
};

TEST_F(WorkersTest, DoTheWorkElsewhereAndTellTheLoopInOrder) {
  std::vector<int> told;
  std::thread::id there;
  const std::thread::id here = std::this_thread::get_id();
  const Workers::Job job = workers.Start([&](WorkerPort& port) {
    const std::thread::id id = std::this_thread::get_id();
    for (int i = 0; i < 100; ++i) {
      port.Post([&, i, id] {
        EXPECT_EQ(std::this_thread::get_id(), here);
        there = id;
        told.push_back(i);
      });
    }
  });
  ASSERT_TRUE(loop.RunUntil([&] { return told.size() == 100; }, kEnough));
  EXPECT_NE(there, here);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(told[static_cast<std::size_t>(i)], i);
  EXPECT_TRUE(workers.Finish(kEnough));
}

TEST_F(WorkersTest, TellNothingOfAJobThatIsGone) {
  bool told = false;
  std::atomic<bool> posted = false;
  {
    const Workers::Job job = workers.Start([&](WorkerPort& port) {
      port.Post([&] { told = true; });
      posted = true;
    });
    while (!posted) std::this_thread::yield();
  }
  bool turned = false;
  loop.Post([&] { turned = true; });
  EXPECT_TRUE(loop.RunUntil([&] { return turned; }, kEnough));
  EXPECT_FALSE(told);
}

TEST_F(WorkersTest, WakeASleeperThatIsNoLongerWanted) {
  std::atomic<int> outcome = -1;
  Workers::Job job = workers.Start([&](WorkerPort& port) {
    const bool slept = port.Sleep(kEnough);
    outcome = slept ? 1 : 0;
    EXPECT_TRUE(port.Stopped());
  });
  job.Stop();
  EXPECT_TRUE(workers.Finish(kEnough));
  EXPECT_EQ(outcome, 0);
}

TEST_F(WorkersTest, LetASleeperSleep) {
  bool slept = false;
  const Workers::Job job = workers.Start([&](WorkerPort& port) {
    const auto start = std::chrono::steady_clock::now();
    const bool whole = port.Sleep(milliseconds{20});
    const bool longEnough = std::chrono::steady_clock::now() - start >= milliseconds{20};
    port.Post([&slept, whole, longEnough] { slept = whole && longEnough; });
  });
  EXPECT_TRUE(loop.RunUntil([&] { return slept; }, kEnough));
}

TEST_F(WorkersTest, SayThatSomethingGoesOn) {
  std::atomic<bool> mayEnd = false;
  std::atomic<bool> ended = false;
  const Workers::Job job = workers.Start([&](WorkerPort&) {
    while (!mayEnd) std::this_thread::yield();
    ended = true;
  });
  EXPECT_FALSE(workers.Finish(milliseconds{1}));
  mayEnd = true;
  while (!ended) std::this_thread::yield();
}

}  // namespace
}  // namespace zelkor::vandry
