// Three computers, each in a network of its own behind a switch, with delay and loss on the lines where the kernel has
// them. Needs root and the commands ip and tc; without them the same is tested on one machine only (two_vandrys_test).

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

bool Ip(const std::vector<std::string>& words) {
  return RunCommand({.program = "/usr/sbin/ip", .arguments = words, .environment = {"PATH=/usr/sbin:/usr/bin"}})
             .status == 0;
}

class NetworksTest : public Sandbox {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make networks";
    if (!std::filesystem::exists("/usr/sbin/ip")) GTEST_SKIP() << "there is no command ip";
    hub_ = Name("h");
    if (!Ip({"netns", "add", hub_})) GTEST_SKIP() << "networks can not be made here";
    ASSERT_TRUE(Ip({"-n", hub_, "link", "add", "sw", "type", "bridge"}) || NoBridge());
    if (!bridge_) GTEST_SKIP() << "there is no switch in this kernel";
    ASSERT_TRUE(Ip({"-n", hub_, "link", "set", "sw", "up"}));
    for (int i = 1; i <= 3; ++i) AddComputer(i);
  }
  void TearDown() override {
    vandrys_.clear();
    for (int i = 1; i <= 3; ++i) Ip({"netns", "del", Name(std::to_string(i))});
    Ip({"netns", "del", hub_});
  }

  void AddComputer(int i) {
    const std::string number = std::to_string(i);
    const std::string space = Name(number);
    ASSERT_TRUE(Ip({"netns", "add", space}));
    ASSERT_TRUE(Ip({"-n", hub_, "link", "add", "p" + number, "type", "veth", "peer", "name", "eth0", "netns", space}));
    ASSERT_TRUE(Ip({"-n", hub_, "link", "set", "p" + number, "master", "sw", "up"}));
    ASSERT_TRUE(Ip({"-n", space, "link", "set", "lo", "up"}));
    ASSERT_TRUE(Ip({"-n", space, "address", "add", "10.77.0." + number + "/24", "dev", "eth0"}));
    ASSERT_TRUE(Ip({"-n", space, "address", "add", "fd77::" + number + "/64", "dev", "eth0", "nodad"}));
    ASSERT_TRUE(Ip({"-n", space, "link", "set", "eth0", "up"}));
    // Where the kernel has no such discipline the line is as fast as it is.
    slow_ = RunCommand({.program = "/usr/sbin/ip",
                        .arguments = {"netns", "exec", space, "tc", "qdisc", "add", "dev", "eth0", "root", "netem",
                                      "delay", "20ms", "5ms", "loss", "1%"},
                        .environment = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin"}})
                .status == 0;
    vandrys_.push_back(std::make_unique<VandryAt>(Root(), "pc" + number,
                                                  std::vector<std::string>{"/usr/sbin/ip", "netns", "exec", space}));
    vandrys_.back()->AcceptConnections();
  }
  void StartPaired() {
    for (std::size_t i = 0; i < vandrys_.size(); ++i) {
      for (std::size_t k = i + 1; k < vandrys_.size(); ++k) PairByFingerprints(*vandrys_[i], *vandrys_[k]);
    }
    for (const auto& each : vandrys_) each->Start();
    RecordProperty("delayAndLoss", slow_ ? "yes" : "not in this kernel");
  }
  [[nodiscard]] std::string FourOf(int i) const { return At(i).Address("10.77.0." + std::to_string(i)); }
  [[nodiscard]] std::string SixOf(int i) const { return At(i).Address("[fd77::" + std::to_string(i) + "]"); }
  [[nodiscard]] VandryAt& At(int i) const { return *vandrys_[static_cast<std::size_t>(i - 1)]; }
  [[nodiscard]] static std::string Name(const std::string& suffix) { return "zt" + std::to_string(getpid()) + suffix; }
  bool NoBridge() {
    bridge_ = false;
    return true;
  }
  // The line of one computer is cut or mended.
  static void SetLine(int i, bool up) {
    EXPECT_TRUE(Ip({"-n", Name(std::to_string(i)), "link", "set", "eth0", up ? "up" : "down"}));
  }
  // One file from one to another, over that address; its content.
  void Send(
      int from, int to, const std::string& address, std::size_t bytes, const std::function<void()>& meanwhile = [] {}) {
    VandryAt& sender = At(from);
    VandryAt& receiver = At(to);
    const std::string id = sender.OnComputer().Id();
    const std::string target = receiver.OnComputer().Id();
    std::string content(bytes, '\0');
    for (std::size_t k = 0; k < bytes; ++k) content[k] = static_cast<char>((k * 2654435761U) >> 13);
    WriteBytes(sender.File("out.tmp"), content);
    sender.Execute("NetFileSend " + address + " " + id + " " + target + " " + sender.PathOf("out.tmp"));
    const std::string announcement = receiver.Push();
    ASSERT_TRUE(announcement.starts_with("FileSendReq " + id + " " + target + " " + std::to_string(bytes) + " "))
        << announcement;
    const std::uint32_t receiving = receiver.Execute("NetFileRec " + receiver.PathOf("in.cas"));
    receiver.Listen(std::chrono::milliseconds(100));
    meanwhile();
    EXPECT_EQ(receiver.Reply(receiving), "OK " + std::to_string(bytes));
    EXPECT_TRUE(ReadBytes(receiver.File("in.cas")) == content);
    EXPECT_EQ(receiver.Push(), "NetReceived");
  }

  std::string hub_;
  bool bridge_ = true;
  bool slow_ = false;
  std::vector<std::unique_ptr<VandryAt>> vandrys_;
};

TEST_F(NetworksTest, CarryMessagesWithTheAddressAsSeen) {
  StartPaired();
  EXPECT_EQ(At(1).Ask("NetTrans " + FourOf(2) + " NetPing"), "OK pc2");
  EXPECT_EQ(At(1).Ask("NetTrans " + SixOf(3) + " NetPing"), "OK pc3");
  At(1).Execute("NetTrans " + FourOf(2) + " SyncMe pc1");
  EXPECT_EQ(At(2).Push(), "SyncMe pc1 " + FourOf(1));
  At(1).Execute("NetTrans " + SixOf(3) + " SyncMe pc1");
  EXPECT_EQ(At(3).Push(), "SyncMe pc1 " + SixOf(1));
}

TEST_F(NetworksTest, CarryFilesAmongThreeComputers) {
  StartPaired();
  Send(1, 2, FourOf(2), 3'000'000);
  Send(2, 3, SixOf(3), 3'000'000);
  Send(3, 1, FourOf(1), 3'000'000);
}

TEST_F(NetworksTest, ComeThroughALineThatIsCutForAWhile) {
  StartPaired();
  Send(1, 2, FourOf(2), slow_ ? 4'000'000 : 200'000'000, [this] {
    SetLine(2, false);
    At(2).Listen(std::chrono::milliseconds(1500));
    SetLine(2, true);
  });
}

TEST_F(NetworksTest, SayWhenALineIsCut) {
  StartPaired();
  SetLine(2, false);
  // With its own line cut nobody can be reached from there, and that is told at once.
  const std::string reply = At(2).Ask("NetTrans " + FourOf(1) + " NetPing");
  EXPECT_TRUE(reply.starts_with("Error 3 ")) << reply;
  SetLine(2, true);
}

}  // namespace
}  // namespace zelkor::tests
