#include "vandry/loop.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "lib/sockets.h"
#include "tests/support/sockets.h"

namespace zelkor::vandry {
namespace {

using std::chrono::milliseconds;

// A connection within this process.
class Pipe {
 public:
  Pipe() {
    const lib::Result<lib::Socket> listening = lib::ListenOn(*lib::NumericAddress("127.0.0.1", 0));
    writer_ = std::move(*lib::StartConnecting(*lib::NumericAddress("127.0.0.1", lib::LocalPort(*listening))));
    lib::Awaited awaited{.handle = listening->Get(), .wantRead = true};
    lib::WaitUntilReady({&awaited, 1}, kPatience);
    reader_ = std::move(lib::AcceptConnection(*listening)->socket);
  }
  [[nodiscard]] lib::Handle Reader() const { return reader_.Get(); }
  [[nodiscard]] lib::Handle Writer() const { return writer_.Get(); }
  void Put() const {
    EXPECT_EQ(tests::SendNow(writer_, "x").bytes, 1U);
    AwaitReader();
  }
  void Take() const {
    char c = 0;
    EXPECT_EQ(tests::ReceiveNow(reader_, {&c, 1}).bytes, 1U);
  }
  void CloseWriter() {
    writer_.Close();
    AwaitReader();
  }

 private:
  static constexpr milliseconds kPatience{10'000};
  // What was written, or its end, arrives a little later.
  void AwaitReader() const {
    lib::Awaited awaited{.handle = reader_.Get(), .wantRead = true};
    lib::WaitUntilReady({&awaited, 1}, kPatience);
    EXPECT_TRUE(awaited.canRead);
  }

  lib::Socket reader_;
  lib::Socket writer_;
};

// Everything that is ready now was called when this returns.
void Settle(Loop& loop) {
  bool posted = false;
  loop.Post([&] { posted = true; });
  EXPECT_TRUE(loop.RunUntil([&] { return posted; }, milliseconds{10'000}));
}

TEST(Loop, CallsAWatchWhileItsHandleIsReadable) {
  Loop loop;
  const Pipe pipe;
  int calls = 0;
  const Loop::Watch watch = loop.WatchHandle(pipe.Reader(), true, false, [&](Loop::Ready ready) {
    EXPECT_TRUE(ready.read);
    EXPECT_FALSE(ready.write);
    ++calls;
  });
  Settle(loop);
  EXPECT_EQ(calls, 0);
  pipe.Put();
  Settle(loop);
  Settle(loop);
  EXPECT_EQ(calls, 2);
  pipe.Take();
  Settle(loop);
  EXPECT_EQ(calls, 2);
}

TEST(Loop, TellsAWriterThatThereIsRoom) {
  Loop loop;
  const Pipe pipe;
  bool room = false;
  const Loop::Watch watch =
      loop.WatchHandle(pipe.Writer(), false, true, [&](Loop::Ready ready) { room = ready.write; });
  Settle(loop);
  EXPECT_TRUE(room);
}

TEST(Loop, TellsAReaderThatTheOtherEndIsGone) {
  Loop loop;
  Pipe pipe;
  bool told = false;
  const Loop::Watch watch = loop.WatchHandle(pipe.Reader(), true, false, [&](Loop::Ready ready) { told = ready.read; });
  pipe.CloseWriter();
  Settle(loop);
  EXPECT_TRUE(told);
}

TEST(Loop, LeavesARestingWatchAlone) {
  Loop loop;
  Pipe pipe;
  int calls = 0;
  Loop::Watch watch = loop.WatchHandle(pipe.Reader(), true, false, [&](Loop::Ready) { ++calls; });
  pipe.CloseWriter();
  watch.Want(false, false);
  // A hang-up that nobody waits for does not keep the loop from waiting either.
  EXPECT_FALSE(loop.RunUntil([] { return false; }, milliseconds{20}));
  EXPECT_EQ(calls, 0);
  watch.Want(true, false);
  Settle(loop);
  EXPECT_EQ(calls, 1);
}

TEST(Loop, LetsAWatchEndItselfInItsCallback) {
  Loop loop;
  const Pipe pipe;
  pipe.Put();
  std::string held = "still here";
  int calls = 0;
  Loop::Watch watch;
  watch = loop.WatchHandle(pipe.Reader(), true, false, [&watch, &calls, held](Loop::Ready) {
    watch.End();
    // What the callback carries lives as long as it runs.
    EXPECT_EQ(held, "still here");
    ++calls;
  });
  Settle(loop);
  Settle(loop);
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(watch.IsActive());
}

TEST(Loop, DoesNotCallAWatchThatAnotherEndedInTheSameTurn) {
  Loop loop;
  const Pipe first;
  const Pipe second;
  first.Put();
  second.Put();
  int calls = 0;
  Loop::Watch one;
  Loop::Watch two;
  one = loop.WatchHandle(first.Reader(), true, false, [&](Loop::Ready) {
    ++calls;
    one.End();
    two.End();
  });
  two = loop.WatchHandle(second.Reader(), true, false, [&](Loop::Ready) {
    ++calls;
    one.End();
    two.End();
  });
  Settle(loop);
  EXPECT_EQ(calls, 1);
}

TEST(Loop, RingsTimersInTheOrderOfTheirTimes) {
  Loop loop;
  std::vector<int> order;
  const Loop::Timer late = loop.After(milliseconds{20}, [&] { order.push_back(2); });
  const Loop::Timer early = loop.After(milliseconds{5}, [&] { order.push_back(1); });
  Loop::Timer never = loop.After(milliseconds{1}, [&] { order.push_back(0); });
  never.End();
  EXPECT_TRUE(loop.RunUntil([&] { return order.size() == 2; }, milliseconds{10'000}));
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  EXPECT_FALSE(late.IsActive());
}

TEST(Loop, RingsATimerNotBeforeItsTimeAndOnce) {
  Loop loop;
  const Loop::Clock::time_point start = Loop::Clock::now();
  int calls = 0;
  const Loop::Timer timer = loop.After(milliseconds{30}, [&] { ++calls; });
  EXPECT_TRUE(timer.IsActive());
  EXPECT_TRUE(loop.RunUntil([&] { return calls > 0; }, milliseconds{10'000}));
  EXPECT_GE(Loop::Clock::now() - start, milliseconds{30});
  EXPECT_FALSE(loop.RunUntil([&] { return calls > 1; }, milliseconds{60}));
}

TEST(Loop, LetsATimerSetItselfAgain) {
  Loop loop;
  int calls = 0;
  Loop::Timer timer;
  std::function<void()> ring = [&] {
    if (++calls < 3) timer = loop.After(milliseconds{1}, ring);
  };
  timer = loop.After(milliseconds{1}, ring);
  EXPECT_TRUE(loop.RunUntil([&] { return calls == 3; }, milliseconds{10'000}));
}

TEST(Loop, DoesNotRingATimerThatAnotherEndedInTheSameTurn) {
  Loop loop;
  int calls = 0;
  Loop::Timer second;
  const Loop::Timer first = loop.After(milliseconds{0}, [&] {
    ++calls;
    second.End();
  });
  second = loop.After(milliseconds{0}, [&] { ++calls; });
  Settle(loop);
  EXPECT_EQ(calls, 1);
}

TEST(Loop, CallsPostedThingsInOrderAndWhatTheyPostOneTurnLater) {
  Loop loop;
  std::vector<int> order;
  loop.Post([&] {
    order.push_back(1);
    loop.Post([&] { order.push_back(3); });
  });
  loop.Post([&] { order.push_back(2); });
  EXPECT_TRUE(loop.RunUntil([&] { return order.size() == 3; }, milliseconds{10'000}));
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(Loop, RunsUntilItIsStopped) {
  Loop loop;
  const Pipe pipe;
  pipe.Put();
  int calls = 0;
  const Loop::Watch watch = loop.WatchHandle(pipe.Reader(), true, false, [&](Loop::Ready) {
    if (++calls == 3) loop.Stop();
  });
  loop.Run();
  EXPECT_EQ(calls, 3);
}

TEST(Loop, KeepsAMovedWatchAndTimer) {
  Loop loop;
  const Pipe pipe;
  pipe.Put();
  int calls = 0;
  int rings = 0;
  Loop::Watch watch;
  Loop::Timer timer;
  {
    Loop::Watch first = loop.WatchHandle(pipe.Reader(), true, false, [&](Loop::Ready) { ++calls; });
    Loop::Timer alarm = loop.After(milliseconds{0}, [&] { ++rings; });
    watch = std::move(first);
    timer = std::move(alarm);
  }
  Settle(loop);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(rings, 1);
}

}  // namespace
}  // namespace zelkor::vandry
