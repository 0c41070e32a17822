#include "lib/interaction.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lib/clock.h"
#include "tests/support/scripted_user.h"

namespace zelkor::lib {
namespace {

using testing::ElementsAre;
using tests::ScriptedUser;

TEST(InputDate, ReturnsTheDateThatWasTyped) {
  ScriptedUser user;
  user.inputs = {"2026-11-21"};
  EXPECT_EQ(InputDate(user, "From?", "Dates", ""), 46347);
  ASSERT_EQ(user.boxes.size(), 1U);
  EXPECT_EQ(user.boxes[0].text, "From?");
  EXPECT_EQ(user.boxes[0].title, "Dates");
}

TEST(InputDate, ReturnsTheZeroDateForAnEmptyAnswer) {
  ScriptedUser user;
  user.inputs = {""};
  EXPECT_EQ(InputDate(user, "From?", "", ""), 0);
}

TEST(InputDate, AsksAgainUntilTheAnswerReadsAsADate) {
  ScriptedUser user;
  user.inputs = {"soon", "2026-02-30", "1/1/2000"};
  EXPECT_EQ(InputDate(user, "From?", "", ""), 36526);
  EXPECT_THAT(user.Messages(), ElementsAre("From?", "Invalid date!", "From?", "Invalid date!", "From?"));
  EXPECT_EQ(user.boxes[1].icon, Icon::Critical);
}

TEST(InputDate, EndsWithTheInputOfAnUnattendedRun) {
  ScriptedUser user;
  user.inputs = {"soon"};
  EXPECT_EQ(InputDate(user, "From?", "", ""), 0);
}

// A clock that goes on by a quarter of a second with each turn of the user interface.
struct SteppingClock {
  ScriptedUser user;
  double now;
  int turns = 0;
  explicit SteppingClock(double start) : now(start) {
    user.onPendingEvents = [this] {
      ++turns;
      now += 0.25;
    };
  }
  std::function<double()> Reader() {
    return [this] { return now; };
  }
};

TEST(Wait, GivesEventsTheirTurnUntilTheSecondsHavePassed) {
  SteppingClock clock(1000);
  Wait(2, clock.user, clock.Reader());
  EXPECT_EQ(clock.turns, 8);
}

TEST(Wait, IsOverAtOnceForNoSeconds) {
  SteppingClock clock(1000);
  Wait(0, clock.user, clock.Reader());
  Wait(-1, clock.user, clock.Reader());
  EXPECT_EQ(clock.turns, 0);
}

// The end of the wait is 86,400 and more: the seconds since midnight begin again before it.
TEST(Wait, IsNotCorrectedForMidnight) {
  struct Stopped {};
  SteppingClock clock(86399.5);
  clock.user.onPendingEvents = [&clock] {
    clock.now += 0.25;
    if (clock.now >= 86400) clock.now -= 86400;
    if (++clock.turns == 10000) throw Stopped();
  };
  EXPECT_THROW(Wait(1, clock.user, clock.Reader()), Stopped);
}

TEST(Wait, FollowsTheComputersClock) {
  ScriptedUser user;
  int turns = 0;
  user.onPendingEvents = [&turns] { ++turns; };
  const double start = Stopwatch();
  if (SecondsSinceMidnight() > 86399) GTEST_SKIP() << "a second before midnight";
  Wait(0.05F, user);
  EXPECT_GE(Stopwatch() - start, 0.03);
  EXPECT_GE(turns, 1);
}

}  // namespace
}  // namespace zelkor::lib
