// Two computers with a line between them that is late, slow, stands still, or breaks again and again.

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "tests/support/peer_computers.h"
#include "tests/support/relay.h"
#include "vandry/frames.h"
#include "vandry/peer.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class BadLines : public tests::PeerComputers {
 protected:
  BadLines() { OpenPaired(); }

  // The part of the file that has come so far; 0 when there is none.
  [[nodiscard]] std::uintmax_t Part() const {
    std::error_code none;
    const std::uintmax_t size = fs::file_size(lap.folder / "vandry.dat" / "in-office-f1.part", none);
    return none ? 0 : size;
  }
  // Office begins to send that much to lap, over the line, and lap's program takes it.
  void StartFile(std::size_t bytes) {
    content = Content(bytes);
    WriteNative(office.folder / "out", content);
    sent = SendAgain();
    ASSERT_TRUE(RunUntil([&] {
      if (sent->over) sent = SendAgain();
      return !lap.program.told.empty();
    }));
    received = StartReceiving(lap, lap.settings.programDir + "lap.cas");
  }
  std::shared_ptr<Pending> SendAgain() {
    return StartSending(office, relay.Address(), "lap", office.settings.programDir + "out");
  }
  void ExpectWhole() {
    EXPECT_TRUE(Await(sent).Ok()) << sent->reply.text;
    EXPECT_TRUE(Await(received).Ok()) << received->reply.text;
    EXPECT_TRUE(ReadNative(lap.folder / "lap.cas") == content);
    EXPECT_EQ(std::count(lap.program.told.begin(), lap.program.told.end(), "NetReceived"), 1);
  }
  // What a break may cost: the piece under way, and what keys and greetings take.
  static constexpr std::uint64_t kLostByABreak = kMostPieceBytes + 16'384;

  tests::Relay relay{lap.settings.port};
  std::string content;
  std::shared_ptr<Pending> sent;
  std::shared_ptr<Pending> received;
};

TEST_F(BadLines, ThatAreLateOnlyTakeTheirTime) {
  relay.Change([](tests::Line& line) { line.delay = milliseconds(150); });
  const Clock::time_point begin = Clock::now();
  EXPECT_EQ(Ping(office, relay.Address()).text, "lap");
  // There and back for the keys (TLS 1.3 takes one round), and once more for the question.
  EXPECT_GE(Clock::now() - begin, milliseconds(600));
  StartFile(3'000'000);
  ExpectWhole();
  EXPECT_EQ(relay.Connections(), 1);
}

TEST_F(BadLines, ThatAreSlowOnlyTakeTheirTime) {
  relay.Change([](tests::Line& line) { line.bytesPerSecond = 1'000'000; });
  // Less than the whole file needs: something moves all the time.
  office.settings.times.silence = lap.settings.times.silence = milliseconds(1500);
  office.settings.times.keepAlive = lap.settings.times.keepAlive = milliseconds(500);
  const Clock::time_point begin = Clock::now();
  StartFile(3'000'000);
  ExpectWhole();
  EXPECT_GE(Clock::now() - begin, milliseconds(2500));
  EXPECT_EQ(relay.Connections(), 1);
  EXPECT_GT(lap.program.progress.size(), 3U);
}

TEST_F(BadLines, ThatBreakAgainAndAgainBringTheFileWhole) {
  for (const std::uint32_t seed : {1U, 2U, 3U}) {
    SCOPED_TRACE(seed);
    std::error_code ignored;
    fs::remove(lap.folder / "lap.cas", ignored);
    tests::Relay line(lap.settings.port);
    // Anywhere: in the keys, in the greeting, in the middle of a piece.
    std::mt19937 random(seed);
    line.Change([&](tests::Line& bad) { bad.breaksAfter = [&] { return 1 + random() % 700'000; }; });
    content = Content(8'000'000);
    WriteNative(office.folder / "out", content);
    const std::string ticket = "f" + std::to_string(seed);
    const auto send = [&] {
      return StartSending(office, line.Address(), "lap", office.settings.programDir + "out", ticket);
    };
    lap.program.told.clear();
    auto sending = send();
    std::shared_ptr<Pending> receiving;
    ASSERT_TRUE(RunUntil([&] {
      if (receiving == nullptr && !lap.program.told.empty()) {
        receiving = StartReceiving(lap, lap.settings.programDir + "lap.cas");
      }
      if (receiving == nullptr || !receiving->over) {
        EXPECT_FALSE(fs::exists(lap.folder / "lap.cas")) << "it is there before it is whole";
      }
      if (!sending->over || sending->reply.Ok()) return sending->over;
      EXPECT_TRUE(sending->reply.worthRepeating) << sending->reply.text;
      sending = send();
      return false;
    }));
    ASSERT_NE(receiving, nullptr);
    EXPECT_TRUE(Await(receiving).Ok()) << receiving->reply.text;
    EXPECT_TRUE(ReadNative(lap.folder / "lap.cas") == content);
    EXPECT_GE(line.Broken(), 8);
    // It went on each time, and did not begin again.
    EXPECT_LE(line.Carried(), content.size() + static_cast<std::uint64_t>(line.Broken() + 1) * kLostByABreak);
  }
}

TEST_F(BadLines, ThatBreakDeliverAMessageOnce) {
  std::mt19937 random(7);
  // About where keys and greetings end and the message and its answer go: all of it is some 1,400 bytes.
  relay.Change([&](tests::Line& line) { line.breaksAfter = [&] { return 1'100 + random() % 400; }; });
  int failed = 0;
  for (int message = 1; message <= 20; ++message) {
    bool delivered = false;
    for (int i = 0; i < 100 && !delivered; ++i) {
      const PeerReply reply = Say(office, relay.Address(), "SyncSuccessfull office", "t" + std::to_string(message));
      delivered = reply.Ok();
      if (!delivered) ++failed;
      EXPECT_TRUE(delivered || reply.worthRepeating) << reply.text;
    }
    EXPECT_TRUE(delivered);
    EXPECT_EQ(lap.program.told.size(), static_cast<std::size_t>(message));
    // The next one has to come by a connection of its own.
    relay.Cut();
    RunFor(milliseconds(20));
  }
  EXPECT_GE(failed, 10);
}

TEST_F(BadLines, ThatStandStillForAWhileGoOnOnTheSameConnection) {
  StartFile(30'000'000);
  ASSERT_TRUE(RunUntil([&] { return Part() > 3'000'000; }));
  relay.Change([](tests::Line& line) { line.stalls = true; });
  RunFor(milliseconds(500));
  const std::uintmax_t before = Part();
  RunFor(milliseconds(500));
  EXPECT_EQ(Part(), before);
  EXPECT_FALSE(sent->over);
  relay.Change([](tests::Line& line) { line.stalls = false; });
  ExpectWhole();
  EXPECT_EQ(relay.Connections(), 1);
}

TEST_F(BadLines, ThatStandStillForGoodAreGivenUpAndTheFileGoesOnByTheNextOne) {
  const PeerTimes usual = office.settings.times;
  office.settings.times.keepAlive = lap.settings.times.keepAlive = milliseconds(200);
  StartFile(30'000'000);
  ASSERT_TRUE(RunUntil([&] { return Part() > 3'000'000; }));
  relay.Change([](tests::Line& line) { line.stalls = true; });
  // Only now: a machine with much to do is silent for that long, too.
  office.settings.times.silence = lap.settings.times.silence = milliseconds(600);
  const PeerReply lost = Await(sent);
  EXPECT_EQ(lost.error, PeerError::Lost) << lost.text;
  EXPECT_TRUE(lost.worthRepeating);
  EXPECT_FALSE(fs::exists(lap.folder / "lap.cas"));
  const std::uintmax_t there = Part();
  EXPECT_GT(there, 3'000'000U);
  // What still stood on the line is gone with it.
  relay.Cut();
  const std::uint64_t before = relay.Carried();
  relay.Change([](tests::Line& line) { line.stalls = false; });
  office.settings.times = lap.settings.times = usual;
  sent = SendAgain();
  ExpectWhole();
  EXPECT_EQ(relay.Connections(), 2);
  EXPECT_LE(relay.Carried() - before, content.size() - there + kLostByABreak);
}

TEST_F(BadLines, ThatEndAtOnceAreNotTakenForAComputer) {
  relay.Change([](tests::Line& line) { line.refuses = true; });
  const PeerReply reply = Ping(office, relay.Address());
  EXPECT_EQ(reply.error, PeerError::NotReached) << reply.text;
}

}  // namespace
}  // namespace zelkor::vandry
