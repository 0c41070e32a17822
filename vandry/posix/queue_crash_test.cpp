// Putting a file into the queue, ended at every call of the system.
#include <filesystem>
#include <gtest/gtest.h>

#include "tests/support/crash.h"
#include "vandry/queue_fixture.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;

TEST_F(QueueTest, HoldsAFileWholeOrNotAtAllWheneverItIsKilled) {
  for (int moment = 1;; ++moment) {
    ASSERT_LT(moment, 1000);
    fs::remove_all(NativeFolder());
    WriteNative(Home() / "~sync.tmp", "content");
    const tests::Ended ended = tests::CrashAt(moment, [&] {
      Queue queue = Open();
      (void)PutFile(queue, "c:\\~sync.tmp");
    });
    ASSERT_NE(ended, tests::Ended::NotTraced);
    const Queue queue = Open();
    if (ended == tests::Ended::Finished) {
      EXPECT_EQ(queue.Entries().size(), 1U);
      break;
    }
    // Until the command is taken the sender still counts on its own file or sends again; never is there half an entry.
    ASSERT_LE(queue.Entries().size(), 1U);
    for (const QueueEntry& entry : queue.Entries()) {
      EXPECT_EQ(lib::ReadSmallFile(entry.path, 100).Value(), "content") << moment;
      EXPECT_EQ(entry.targetId, "lap");
    }
    EXPECT_EQ(Names().size(), 2 * queue.Entries().size()) << moment;
  }
}

}  // namespace
}  // namespace zelkor::vandry
