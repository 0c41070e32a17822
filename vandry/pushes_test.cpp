#include "vandry/pushes.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/sandbox.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class PushesTest : public tests::Sandbox {
 protected:
  [[nodiscard]] std::string Folder() const { return ProgramDir() + "pushes\\"; }
  static std::vector<std::string> Texts(const Pushes& pushes) {
    std::vector<std::string> texts;
    for (const auto& [number, text] : pushes.Waiting()) texts.push_back(text);
    return texts;
  }
  void MakeOlder(std::chrono::seconds age) const {
    for (const auto& entry : fs::directory_iterator(ProgramFolder() / "pushes")) {
      fs::last_write_time(entry, fs::file_time_type::clock::now() - age);
    }
  }
};

TEST_F(PushesTest, KeepMessagesInOrderUntilTheyAreHandledAlsoOverARestart) {
  std::uint32_t first = 0;
  {
    Pushes pushes(Folder());
    first = pushes.Keep("SyncSuccessfull lap").Value();
    // Equal texts are messages of their own.
    EXPECT_NE(pushes.Keep("SyncSuccessfull lap").Value(), first);
    EXPECT_TRUE(pushes.Keep("SyncMe lap 10.0.0.2:4223").Ok());
  }
  {
    Pushes pushes(Folder());
    EXPECT_THAT(Texts(pushes), ElementsAre("SyncSuccessfull lap", "SyncSuccessfull lap", "SyncMe lap 10.0.0.2:4223"));
    pushes.Handled(first);
    pushes.Handled(12345);
  }
  EXPECT_THAT(Texts(Pushes(Folder())), ElementsAre("SyncSuccessfull lap", "SyncMe lap 10.0.0.2:4223"));
}

TEST_F(PushesTest, GiveNoNumberTwice) {
  Pushes pushes(Folder());
  const std::uint32_t kept = pushes.Keep("a").Value();
  EXPECT_GT(pushes.NextNumber(), kept);
  EXPECT_GT(Pushes(Folder()).NextNumber(), kept);
}

TEST_F(PushesTest, ForgetARequestAfterTenMinutesAndAnythingAfterThirtyDays) {
  using std::chrono::hours;
  using std::chrono::minutes;
  {
    Pushes pushes(Folder());
    ASSERT_TRUE(pushes.Keep("SyncMe lap 10.0.0.2").Ok());
    ASSERT_TRUE(pushes.Keep("SyncSuccessfull lap").Ok());
  }
  MakeOlder(minutes{9});
  EXPECT_EQ(Texts(Pushes(Folder())).size(), 2U);
  MakeOlder(minutes{11});
  EXPECT_THAT(Texts(Pushes(Folder())), ElementsAre("SyncSuccessfull lap"));
  MakeOlder(hours{24 * 29});
  EXPECT_EQ(Texts(Pushes(Folder())).size(), 1U);
  MakeOlder(hours{24 * 31});
  EXPECT_THAT(Texts(Pushes(Folder())), IsEmpty());
  EXPECT_TRUE(fs::is_empty(ProgramFolder() / "pushes"));
}

TEST_F(PushesTest, RefuseMoreThanAProgramEverLeaves) {
  Pushes pushes(Folder());
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(pushes.Keep("x").Ok());
  EXPECT_EQ(pushes.Keep("x").Why(), lib::Cause::DiskFull);
  EXPECT_EQ(pushes.Waiting().size(), 200U);
}

TEST_F(PushesTest, PassOverAndSweepWhatIsNoMessage) {
  WriteNative(ProgramFolder() / "pushes/nonsense.msg", "x");
  WriteNative(ProgramFolder() / "pushes/00000001.msg", "");
  EXPECT_THAT(Texts(Pushes(Folder())), IsEmpty());
  EXPECT_TRUE(fs::is_empty(ProgramFolder() / "pushes"));
}

}  // namespace
}  // namespace zelkor::vandry
