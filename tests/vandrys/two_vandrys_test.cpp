#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

namespace fs = std::filesystem;

class TwoVandrysTest : public Sandbox {
 protected:
  void StartPaired() {
    office.AcceptConnections();
    PairByFingerprints(office, lap);
    office.Start();
    lap.Start();
  }
  // Office's Vandry may come up a moment after its link.
  std::string PingUntilAnswered(VandryAt& from, const VandryAt& to) {
    std::string reply;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    do {
      reply = from.Ask("NetTrans " + to.Address() + " NetPing");
    } while (!reply.starts_with("OK") && std::chrono::steady_clock::now() < end);
    return reply;
  }
  // A file to send, in office's program directory: sending takes it away.
  std::string NewFileToSend(std::size_t bytes) {
    content = Content(bytes);
    WriteBytes(office.File("~sync00.tmp"), content);
    return office.PathOf("~sync00.tmp");
  }
  static std::string Content(std::size_t bytes) {
    std::string made(bytes, '\0');
    std::uint32_t state = 4711;
    for (char& c : made) {
      state = state * 1664525 + 1013904223;
      c = static_cast<char>(state >> 24);
    }
    return made;
  }
  [[nodiscard]] fs::path PartAtLap() const {
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(lap.File("vandry.dat"), none)) {
      if (entry.path().extension() == ".part") return entry.path();
    }
    return {};
  }
  [[nodiscard]] bool WaitForPart(std::uintmax_t bytes) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < end) {
      const fs::path part = PartAtLap();
      std::error_code none;
      if (!part.empty() && fs::file_size(part, none) >= bytes && !none) return true;
    }
    return false;
  }

  VandryAt office{Root(), "office"};
  VandryAt lap{Root(), "lap"};
  std::string content;
};

TEST_F(TwoVandrysTest, AnswerAPing) {
  StartPaired();
  EXPECT_EQ(PingUntilAnswered(lap, office), "OK office");
}

TEST_F(TwoVandrysTest, RefuseStrangers) {
  office.AcceptConnections();
  office.Start();
  lap.Start();
  EXPECT_EQ(lap.Ask("NetTrans " + office.Address() + " NetPing"), "Error 6 The two computers are not paired");
}

// lap, which listens nowhere, asks; office sends; lap confirms.
TEST_F(TwoVandrysTest, CarryAWholeSynchronisation) {
  StartPaired();
  ASSERT_EQ(PingUntilAnswered(lap, office), "OK office");
  lap.Execute("NetTrans " + office.Address() + " SyncMe lap");
  const std::string request = office.Push();
  EXPECT_EQ(request, "SyncMe lap " + lap.Address());
  const std::string back = request.substr(std::string("SyncMe lap ").size());
  office.Execute("NetFileSend " + back + " office lap " + NewFileToSend(5'000'000));
  const std::string announcement = lap.Push();
  EXPECT_EQ(announcement, "FileSendReq office lap 5000000 " + office.Address());
  EXPECT_FALSE(fs::exists(office.File("~sync00.tmp"))) << "the file is Vandry's by now";
  EXPECT_EQ(lap.Ask("NetFileRec " + lap.PathOf("lap.cas")), "OK 5000000");
  EXPECT_TRUE(ReadBytes(lap.File("lap.cas")) == content);
  EXPECT_EQ(lap.Push(), "NetReceived");
  lap.Execute("NetTrans " + office.Address() + " SyncSuccessfull lap");
  EXPECT_EQ(office.Push(), "SyncSuccessfull lap");
  EXPECT_GT(lap.ProgressSteps(), 0);
  // Nothing of it is left on either side but keys, pairings and tickets.
  office.Listen(std::chrono::milliseconds(200));
  for (const VandryAt* each : {&office, &lap}) {
    for (const auto& entry : fs::recursive_directory_iterator(each->File("vandry.dat"))) {
      const std::string name = entry.path().filename().string();
      EXPECT_TRUE(entry.is_directory() || name == "key.pem" || name == "paired.txt" || name == "done.txt") << name;
    }
  }
}

TEST_F(TwoVandrysTest, GoOnAfterTheSenderWasKilled) {
  lap.AcceptConnections();
  StartPaired();
  ASSERT_EQ(PingUntilAnswered(office, lap), "OK lap");
  office.Execute("NetFileSend " + lap.Address() + " office lap " + NewFileToSend(100'000'000));
  EXPECT_TRUE(lap.Push().starts_with("FileSendReq office lap 100000000 "));
  const std::uint32_t receiving = lap.Execute("NetFileRec " + lap.PathOf("lap.cas"));
  lap.Listen(std::chrono::milliseconds(50));
  ASSERT_TRUE(WaitForPart(10'000'000));
  office.Kill();
  EXPECT_FALSE(fs::exists(lap.File("lap.cas")));
  office.Start();
  EXPECT_EQ(lap.Reply(receiving), "OK 100000000");
  EXPECT_TRUE(ReadBytes(lap.File("lap.cas")) == content);
  EXPECT_EQ(lap.Push(), "NetReceived");
}

TEST_F(TwoVandrysTest, GoOnAfterTheReceiverWasKilled) {
  lap.AcceptConnections();
  StartPaired();
  ASSERT_EQ(PingUntilAnswered(office, lap), "OK lap");
  office.Execute("NetFileSend " + lap.Address() + " office lap " + NewFileToSend(100'000'000));
  EXPECT_TRUE(lap.Push().starts_with("FileSendReq "));
  lap.Execute("NetFileRec " + lap.PathOf("lap.cas"));
  lap.Listen(std::chrono::milliseconds(50));
  ASSERT_TRUE(WaitForPart(10'000'000));
  lap.Kill();
  const auto before = fs::file_size(PartAtLap());
  EXPECT_FALSE(fs::exists(lap.File("lap.cas")));
  lap.Start();
  EXPECT_TRUE(lap.Push().starts_with("FileSendReq office lap 100000000 "));
  EXPECT_GE(fs::file_size(PartAtLap()), before) << "the part is lost";
  EXPECT_EQ(lap.Ask("NetFileRec " + lap.PathOf("lap.cas")), "OK 100000000");
  EXPECT_TRUE(ReadBytes(lap.File("lap.cas")) == content);
}

TEST_F(TwoVandrysTest, AnnounceAFileAgainWhenTheProgramComesBack) {
  lap.AcceptConnections();
  StartPaired();
  ASSERT_EQ(PingUntilAnswered(office, lap), "OK lap");
  office.Execute("NetFileSend " + lap.Address() + " office lap " + NewFileToSend(1000));
  const std::string announcement = lap.Push();
  EXPECT_EQ(lap.Ask("NetFileRec " + lap.PathOf("lap.cas")), "OK 1000");
  // The program ends with NetReceived on its way to it.
  lap.Disconnect();
  lap.Connect();
  EXPECT_EQ(lap.Push(), announcement);
  EXPECT_EQ(lap.Ask("NetFileRec " + lap.PathOf("lap.cas")), "OK 1000");
  EXPECT_EQ(lap.Push(), "NetReceived");
  EXPECT_TRUE(ReadBytes(lap.File("lap.cas")) == content);
}

TEST_F(TwoVandrysTest, SayWhenNobodyListens) {
  StartPaired();
  // lap does not accept connections.
  EXPECT_EQ(office.Ask("NetTrans " + lap.Address() + " NetPing"), "Error 3 Can not connect: Connection refused");
}

TEST_F(TwoVandrysTest, EndWhenTheQueueIsEmpty) {
  lap.AcceptConnections();
  StartPaired();
  ASSERT_EQ(PingUntilAnswered(office, lap), "OK lap");
  office.Execute("NetFileSend " + lap.Address() + " office lap " + NewFileToSend(20'000'000));
  EXPECT_TRUE(lap.Push().starts_with("FileSendReq "));
  office.Execute("Exit");
  EXPECT_EQ(lap.Ask("NetFileRec " + lap.PathOf("lap.cas")), "OK 20000000");
  const Outcome ended = office.WaitForEnd();
  EXPECT_EQ(ended.status, 0) << ended;
  EXPECT_TRUE(ReadBytes(lap.File("lap.cas")) == content);
}

}  // namespace
}  // namespace zelkor::tests
