// The built Vandry's beginning and end.

#include <array>
#include <climits>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "lib/single_copy.h"
#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class StartAndEnd : public Sandbox {
 protected:
  [[nodiscard]] std::vector<std::string> Queue() const {
    const fs::path folder = vandry.File("vandry.dat/queue");
    return fs::exists(folder) ? NamesIn(folder) : std::vector<std::string>();
  }
  VandryAt vandry{Root(), "office"};
};

TEST_F(StartAndEnd, SaysNothingAndEndsOnExit) {
  vandry.Start();
  vandry.Execute("Exit");
  const Outcome outcome = vandry.WaitForEnd();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST_F(StartAndEnd, EndsWhenItIsInterrupted) {
  vandry.Start();
  vandry.Signal(SIGTERM);
  EXPECT_EQ(vandry.WaitForEnd().status, 0);
}

TEST_F(StartAndEnd, LeavesItsPlaceToTheFirst) {
  vandry.Start();
  const Outcome second = vandry.Run({});
  EXPECT_EQ(second.status, 1);
  EXPECT_EQ(second.err, "Vandry: Vandry is already running\n");
  EXPECT_EQ(vandry.Ask("Hello"), "OK 1.00");
}

TEST_F(StartAndEnd, TakesThePlaceOfOneThatWasKilled) {
  vandry.Start();
  vandry.Kill();
  vandry.Start();
  EXPECT_EQ(vandry.Ask("Hello"), "OK 1.00");
}

// As when a run follows at once on another one, whose Vandry is still on its way out.
TEST_F(StartAndEnd, WaitsForThePlaceOfOneThatIsEnding) {
  auto ending = std::make_unique<lib::SingleCopy>(OnDriveZ(vandry.OnComputer().Program()) + "\\", "vandry");
  const int watch = inotify_init1(IN_CLOEXEC);
  ASSERT_GE(watch, 0);
  ASSERT_GE(inotify_add_watch(watch, vandry.File("vandry.lock").c_str(), IN_CLOSE_WRITE), 0);
  const std::unique_ptr<RunningProcess> next = vandry.StartCommand({});
  // It has found the place taken.
  std::array<char, sizeof(inotify_event) + NAME_MAX + 1> event{};
  ASSERT_GT(read(watch, event.data(), event.size()), 0);
  close(watch);
  ending.reset();
  vandry.Connect();
  EXPECT_EQ(vandry.Ask("Hello"), "OK 1.00");
  next->Signal(SIGTERM);
  EXPECT_EQ(next->Wait().status, 0);
}

TEST_F(StartAndEnd, TellsItsVersionAndWhatItDoesNotUnderstand) {
  EXPECT_EQ(vandry.Run({"--version"}).out, "Vandry 1.00\n");
  const Outcome unknown = vandry.Run({"--nonsense"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, HasSubstr("--nonsense"));
}

TEST_F(StartAndEnd, IsForItsUserOnly) {
  vandry.Start();
  for (const auto& entry : fs::recursive_directory_iterator(vandry.OnComputer().Folder() / "run")) {
    struct stat info {};
    ASSERT_EQ(lstat(entry.path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0077U, 0U) << entry.path();
  }
}

TEST_F(StartAndEnd, KeepsWhatCouldNotBeSentOverAKillAndAnExit) {
  WriteBytes(vandry.File("~sync00.tmp"), "content");
  vandry.Start();
  // Nobody listens there.
  vandry.Execute("NetFileSend 127.0.0.1:1 office lap " + vandry.PathOf("~sync00.tmp"));
  EXPECT_EQ(vandry.Ask("Hello"), "OK 1.00");
  EXPECT_FALSE(fs::exists(vandry.File("~sync00.tmp")));
  EXPECT_EQ(Queue().size(), 2U);
  vandry.Kill();
  vandry.Start();
  EXPECT_EQ(Queue().size(), 2U);
  vandry.Execute("Exit");
  EXPECT_EQ(vandry.WaitForEnd().status, 0);
  EXPECT_EQ(Queue().size(), 2U);
}

TEST_F(StartAndEnd, SaysThatAComputerCanNotBeReached) {
  vandry.Start();
  vandry.Execute("NetTrans 127.0.0.1:1 SyncMe office");
  EXPECT_THAT(vandry.Push(), StartsWith("NetFailed NetTrans 127.0.0.1:1 "));
  EXPECT_THAT(Queue(), IsEmpty());
}

}  // namespace
}  // namespace zelkor::tests
