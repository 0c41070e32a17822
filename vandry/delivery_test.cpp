#include "vandry/delivery.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

#include "lib/clock.h"
#include "tests/support/sandbox.h"
#include "vandry/fake_peers.h"

namespace zelkor::vandry {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class DeliveryTest : public tests::Sandbox {
 protected:
  [[nodiscard]] std::string Folder() const { return ProgramDir() + "queue\\"; }

  std::string AddMessage(const std::string& address, const std::string& text) {
    const lib::Result<std::string> ticket = queue.AddMessage(address, text);
    EXPECT_TRUE(ticket.Ok());
    delivery.Added(*ticket);
    return *ticket;
  }
  std::string AddFile(const std::string& address) {
    const lib::Result<QueueEntry> entry = queue.PlaceForFile(address, "office", "lap");
    EXPECT_TRUE(entry.Ok());
    WriteNative(ProgramFolder() / "queue" / (entry->ticket + ".cas"), "content");
    EXPECT_TRUE(queue.AddFile(*entry).Ok());
    delivery.Added(entry->ticket);
    return entry->ticket;
  }
  // Answers the newest call.
  void Answer(const PeerReply& reply) { FakePeers::Done(peers.calls.back().done)(reply); }
  // Until so many calls were made.
  void WaitForCalls(std::size_t count) {
    EXPECT_TRUE(loop.RunUntil([&] { return peers.calls.size() >= count; }, milliseconds{60'000}));
  }

  Loop loop;
  Queue queue{Folder()};
  FakePeers peers;
  Log log{ProgramDir()};
  std::vector<std::string> failures;
  Delivery delivery{
      loop, queue, peers, log,
      [this](const std::string& command, const std::string& address, const std::string& reason, bool goesOn) {
        failures.push_back(command + "|" + address + "|" + reason + (goesOn ? "|again" : ""));
      }};
};

TEST_F(DeliveryTest, SendsAMessageUnderItsTicketAndForgetsItWhenItArrived) {
  const std::string ticket = AddMessage("host", "SyncMe lap");
  ASSERT_THAT(peers.calls, SizeIs(1));
  EXPECT_EQ(peers.calls[0].ticket, ticket);
  EXPECT_EQ(peers.calls[0].address, "host");
  EXPECT_EQ(peers.calls[0].text, "SyncMe lap");
  EXPECT_FALSE(delivery.Idle());
  Answer(Success());
  EXPECT_THAT(queue.Entries(), IsEmpty());
  EXPECT_TRUE(delivery.Idle());
  EXPECT_THAT(failures, IsEmpty());
}

TEST_F(DeliveryTest, SendsAFileWithBothIdsAndDeletesItWhenItArrived) {
  AddFile("host");
  ASSERT_THAT(peers.files, SizeIs(1));
  EXPECT_EQ(peers.files[0].ownId, "office");
  EXPECT_EQ(peers.files[0].targetId, "lap");
  Answer(Success());
  EXPECT_THAT(queue.Entries(), IsEmpty());
  EXPECT_TRUE(std::filesystem::is_empty(ProgramFolder() / "queue"));
}

TEST_F(DeliveryTest, KeepsTheOrderOfAnAddress) {
  AddFile("host");
  AddFile("host");
  ASSERT_THAT(peers.files, SizeIs(1));
  Answer(Success());
  EXPECT_THAT(peers.files, SizeIs(2));
}

TEST_F(DeliveryTest, LetsNoAddressWaitForAnother) {
  AddFile("first");
  AddFile("second");
  EXPECT_THAT(peers.files, SizeIs(2));
}

TEST_F(DeliveryTest, LetsNoRequestWaitForAFile) {
  AddFile("host");
  AddMessage("host", "SyncMe office");
  EXPECT_THAT(peers.calls, SizeIs(2));
}

TEST_F(DeliveryTest, TriesAgainUnderTheSameTicket) {
  const std::string ticket = AddFile("host");
  Answer(Unreachable());
  EXPECT_THAT(queue.Entries(), SizeIs(1));
  WaitForCalls(2);
  EXPECT_EQ(peers.calls[1].ticket, ticket);
  EXPECT_THAT(failures, IsEmpty());
}

TEST_F(DeliveryTest, TellsOfAFailureForGoodAndForgetsTheEntry) {
  AddMessage("host", "SyncMe lap");
  Answer(ForGood());
  EXPECT_THAT(failures, ElementsAre("NetTrans|host|the key is not known"));
  AddFile("host");
  Answer(ForGood());
  EXPECT_THAT(failures, SizeIs(2));
  EXPECT_EQ(failures[1], "NetFileSend|host|the key is not known");
  EXPECT_THAT(queue.Entries(), IsEmpty());
  EXPECT_TRUE(delivery.Idle());
}

// Attempts in vain, without their pauses.
TEST_F(DeliveryTest, GivesUpARequestAfterFourAttempts) {
  AddMessage("host", "SyncMe lap");
  for (std::size_t attempt = 1; attempt <= 4; ++attempt) {
    ASSERT_THAT(peers.calls, SizeIs(attempt));
    EXPECT_THAT(failures, IsEmpty());
    Answer(Unreachable());
    delivery.TryAllNow();
  }
  EXPECT_THAT(failures, ElementsAre("NetTrans|host|nobody listens there"));
  EXPECT_THAT(queue.Entries(), IsEmpty());
  EXPECT_THAT(peers.calls, SizeIs(4));
}

TEST_F(DeliveryTest, KeepsAFileThatDoesNotGoOutAndTellsOnce) {
  AddFile("host");
  for (std::size_t attempt = 1; attempt <= 6; ++attempt) {
    ASSERT_THAT(peers.calls, SizeIs(attempt));
    Answer(Unreachable());
    EXPECT_EQ(failures.size(), attempt < 4 ? 0U : 1U);
    delivery.TryAllNow();
  }
  EXPECT_THAT(queue.Entries(), SizeIs(1));
}

TEST_F(DeliveryTest, TellsOfAFullDiskAtOnceAndOnce) {
  AddFile("host");
  for (std::size_t attempt = 1; attempt <= 5; ++attempt) {
    ASSERT_THAT(peers.calls, SizeIs(attempt));
    Answer({.error = PeerError::NoRoom, .text = "its disk is full", .worthRepeating = true});
    EXPECT_THAT(failures, ElementsAre("NetFileSend|host|its disk is full|again"));
    delivery.TryAllNow();
  }
  EXPECT_THAT(queue.Entries(), SizeIs(1));
}

TEST_F(DeliveryTest, CountsOnlyAttemptsThatMovedNothing) {
  AddFile("host");
  for (std::size_t attempt = 1; attempt <= 6; ++attempt) {
    delivery.Moved("lap");
    Answer(Unreachable());
    delivery.TryAllNow();
  }
  EXPECT_THAT(failures, IsEmpty());
}

TEST_F(DeliveryTest, KeepsAConfirmationWithoutAWord) {
  AddMessage("host", "SyncSuccessfull office");
  for (std::size_t attempt = 1; attempt <= 6; ++attempt) {
    Answer(Unreachable());
    delivery.TryAllNow();
  }
  EXPECT_THAT(queue.Entries(), SizeIs(1));
  EXPECT_THAT(failures, IsEmpty());
}

TEST_F(DeliveryTest, TriesAtOnceWhenSomethingNewIsForThatAddress) {
  AddFile("host");
  Answer(Unreachable());
  AddFile("host");
  EXPECT_THAT(peers.calls, SizeIs(2));
  EXPECT_EQ(peers.calls[0].ticket, peers.calls[1].ticket);
}

TEST_F(DeliveryTest, TriesAtOnceWhenTheComputerCanBeReached) {
  AddFile("host");
  Answer(Unreachable());
  delivery.Reached("other");
  EXPECT_THAT(peers.calls, SizeIs(1));
  delivery.Reached("lap");
  EXPECT_THAT(peers.calls, SizeIs(2));
}

TEST_F(DeliveryTest, IsIdleWhenWhatIsLeftWasTriedOnceMore) {
  AddFile("host");
  Answer(Unreachable());
  EXPECT_TRUE(delivery.Idle());
  delivery.TryAllNow();
  EXPECT_FALSE(delivery.Idle());
  Answer(Unreachable());
  EXPECT_TRUE(delivery.Idle());
}

TEST_F(DeliveryTest, GoesOnWithWhatAnEarlierVandryLeft) {
  AddFile("host");
  AddMessage("host", "SyncSuccessfull office");
  Loop otherLoop;
  Queue again(Folder());
  FakePeers otherPeers;
  Delivery other(otherLoop, again, otherPeers, log, [](auto&&...) { ADD_FAILURE(); });
  EXPECT_THAT(otherPeers.calls, IsEmpty());
  other.Go();
  EXPECT_THAT(otherPeers.calls, SizeIs(2));
}

TEST_F(DeliveryTest, DropsARequestThatNobodyWaitsForAnyMore) {
  const auto entry = [](const std::string& text) {
    return "1\r\nhost\r\n" + std::to_string(lib::NowUtc() - 601) + "\r\n\r\n\r\n" + text + "\r\n";
  };
  WriteNative(ProgramFolder() / "queue/00000001aaaaaaaabbbbbbbb.job", entry("SyncMe lap"));
  WriteNative(ProgramFolder() / "queue/00000002aaaaaaaabbbbbbbb.job", entry("SyncSuccessfull lap"));
  Queue again(Folder());
  ASSERT_THAT(again.Entries(), SizeIs(2));
  const Delivery other(loop, again, peers, log, [](auto&&...) { ADD_FAILURE(); });
  ASSERT_THAT(again.Entries(), SizeIs(1));
  EXPECT_EQ(again.Entries()[0].text, "SyncSuccessfull lap");
}

TEST_F(DeliveryTest, WritesInTheLogWhatBecameOfIt) {
  AddMessage("host", "SyncMe lap");
  Answer(ForGood());
  EXPECT_THAT(ReadNative(ProgramFolder() / "Vandry.log"), HasSubstr("NetTrans to host: the key is not known"));
}

}  // namespace
}  // namespace zelkor::vandry
