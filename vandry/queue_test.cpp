#include "vandry/queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lib/clock.h"
#include "lib/files.h"
#include "tests/support/matches.h"
#include "vandry/queue_fixture.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(QueueTest, KeepsMessagesInOrderOverARestart) {
  {
    Queue queue = Open();
    EXPECT_TRUE(queue.AddMessage("10.0.0.2:4223", "SyncMe lap").Ok());
    EXPECT_TRUE(queue.AddMessage("10.0.0.3", "SyncSuccessfull lap").Ok());
  }
  Queue queue = Open();
  EXPECT_TRUE(queue.AddMessage("x", "third").Ok());
  EXPECT_THAT(Texts(queue), ElementsAre("SyncMe lap", "SyncSuccessfull lap", "third"));
  EXPECT_THAT(Texts(Open()), ElementsAre("SyncMe lap", "SyncSuccessfull lap", "third"));
  EXPECT_EQ(queue.Entries()[0].address, "10.0.0.2:4223");
}

TEST_F(QueueTest, GivesEachEntryATicketOfItsOwn) {
  Queue queue = Open();
  const lib::Result<std::string> first = queue.AddMessage("x", "a");
  const lib::Result<std::string> second = queue.AddMessage("x", "a");
  ASSERT_TRUE(first.Ok() && second.Ok());
  EXPECT_NE(*first, *second);
  EXPECT_THAT(*first, tests::Matches("[0-9a-f]{24}"));
  EXPECT_LT(*first, *second);
  ASSERT_NE(queue.Find(*second), nullptr);
  EXPECT_EQ(queue.Find("other"), nullptr);
}

TEST_F(QueueTest, TakesAFileAndItsEntryAndKeepsThemOverARestart) {
  WriteNative(Home() / "~sync.tmp", "content");
  {
    Queue queue = Open();
    EXPECT_TRUE(PutFile(queue, "c:\\~sync.tmp").Ok());
  }
  EXPECT_FALSE(fs::exists(Home() / "~sync.tmp"));
  const Queue queue = Open();
  ASSERT_EQ(queue.Entries().size(), 1U);
  const QueueEntry& entry = queue.Entries()[0];
  EXPECT_TRUE(entry.IsFile());
  EXPECT_EQ(entry.ownId, "office");
  EXPECT_EQ(entry.targetId, "lap");
  EXPECT_EQ(entry.address, "host");
  EXPECT_EQ(lib::ReadSmallFile(entry.path, 100).Value(), "content");
}

TEST_F(QueueTest, RemovesAnEntryWithItsFile) {
  WriteNative(Home() / "~sync.tmp", "content");
  Queue queue = Open();
  ASSERT_TRUE(PutFile(queue, "c:\\~sync.tmp").Ok());
  queue.Remove(queue.Entries()[0].ticket);
  EXPECT_THAT(queue.Entries(), IsEmpty());
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(QueueTest, SweepsAFileWithoutAnEntry) {
  WriteNative(NativeFolder() / "00000001aaaaaaaabbbbbbbb.cas", "left by a kill");
  EXPECT_THAT(Open().Entries(), IsEmpty());
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(QueueTest, SweepsAnEntryWithoutItsFileAndOneThatIsDamaged) {
  const std::string entry = "1\r\nhost\r\n" + std::to_string(lib::NowUtc()) + "\r\noffice\r\nlap\r\n\r\n";
  WriteNative(NativeFolder() / "00000001aaaaaaaabbbbbbbb.job", entry);
  WriteNative(NativeFolder() / "00000002aaaaaaaabbbbbbbb.job", "1\r\nhost\r\nnot a time\r\n\r\n\r\nx\r\n");
  WriteNative(NativeFolder() / "00000003aaaaaaaabbbbbbbb.job", "");
  EXPECT_THAT(Open().Entries(), IsEmpty());
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(QueueTest, SweepsWhatIsOlderThanThirtyDays) {
  constexpr std::int64_t kDay = 86400;
  const auto entry = [](std::int64_t created) {
    return "1\r\nhost\r\n" + std::to_string(created) + "\r\n\r\n\r\nSyncMe lap\r\n";
  };
  WriteNative(NativeFolder() / "00000001aaaaaaaabbbbbbbb.job", entry(lib::NowUtc() - 30 * kDay - 60));
  WriteNative(NativeFolder() / "00000002aaaaaaaabbbbbbbb.job", entry(lib::NowUtc() - 30 * kDay + 60));
  const Queue queue = Open();
  ASSERT_EQ(queue.Entries().size(), 1U);
  EXPECT_EQ(queue.Entries()[0].ticket, "00000002aaaaaaaabbbbbbbb");
  EXPECT_THAT(Names(), ElementsAre("00000002aaaaaaaabbbbbbbb.job"));
}

TEST_F(QueueTest, LeavesOthersFilesAlone) {
  WriteNative(NativeFolder() / "readme.txt", "x");
  EXPECT_THAT(Open().Entries(), IsEmpty());
  EXPECT_THAT(Names(), ElementsAre("readme.txt"));
}

}  // namespace
}  // namespace zelkor::vandry
