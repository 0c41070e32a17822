#include <gtest/gtest.h>
#include <string>

#include "tests/support/peer_computers.h"
#include "vandry/peer.h"

namespace zelkor::vandry {
namespace {

using std::string_literals::operator""s;

class PeersTest : public tests::PeerComputers {};

TEST_F(PeersTest, AnswerAPingWithTheirId) {
  OpenPaired();
  const PeerReply reply = Ping(lap, office.Address());
  EXPECT_TRUE(reply.Ok()) << reply.text;
  EXPECT_EQ(reply.text, "office");
  EXPECT_EQ(Ping(office, lap.Address()).text, "lap");
}

TEST_F(PeersTest, AreReachedOverIpv6) {
  office.settings.listen = {"::1"};
  OpenPaired();
  const PeerReply reply = Ping(lap, "[::1]:" + std::to_string(office.settings.port));
  if (office.program.HasLogged("Can not listen")) GTEST_SKIP() << office.program.log.back();
  EXPECT_EQ(reply.text, "office");
}

TEST_F(PeersTest, AreReachedByNameOnEveryAddress) {
  office.settings.listen = {};
  OpenPaired();
  EXPECT_EQ(Ping(lap, "localhost:" + std::to_string(office.settings.port)).text, "office");
  EXPECT_EQ(Ping(lap, "127.0.0.2:" + std::to_string(office.settings.port)).text, "office");
}

TEST_F(PeersTest, ListenOnlyWhenConnectionsAreAccepted) {
  office.settings.accept = false;
  OpenPaired();
  EXPECT_EQ(Ping(lap, office.Address()).error, PeerError::NotReached);
  // The option takes effect by itself, in both directions.
  office.settings.accept = true;
  RunFor(Milliseconds{100});
  EXPECT_EQ(Ping(lap, office.Address()).text, "office");
  office.settings.accept = false;
  RunFor(Milliseconds{100});
  EXPECT_EQ(Ping(lap, office.Address()).error, PeerError::Refused);
}

TEST_F(PeersTest, FollowAChangeOfThePort) {
  OpenPaired();
  office.settings.port = tests::FreePort();
  RunFor(Milliseconds{100});
  EXPECT_EQ(Ping(lap, office.Address()).text, "office");
}

TEST_F(PeersTest, SayWhyNobodyWasReached) {
  OpenPaired();
  const PeerReply closed = Ping(lap, "127.0.0.1:" + std::to_string(tests::FreePort()));
  EXPECT_EQ(closed.error, PeerError::NotReached);
  EXPECT_TRUE(closed.worthRepeating);
  EXPECT_EQ(closed.text, "Can not connect: Connection refused");
  const PeerReply unknown = Ping(lap, "no-such-computer.invalid");
  EXPECT_EQ(unknown.error, PeerError::NameNotFound);
  EXPECT_EQ(unknown.text, "No computer is known under the name \"no-such-computer.invalid\"");
  const PeerReply wrong = Ping(lap, "a b");
  EXPECT_EQ(wrong.error, PeerError::BadRequest);
  EXPECT_FALSE(wrong.worthRepeating);
}

TEST_F(PeersTest, GiveUpOnAComputerThatStaysSilent) {
  OpenPaired();
  // It takes connections and says nothing.
  const lib::Result<lib::Socket> mute = lib::ListenOn(*lib::NumericAddress("127.0.0.1", 0));
  lap.settings.times.connect = Milliseconds{200};
  const PeerReply reply = Ping(lap, "127.0.0.1:" + std::to_string(lib::LocalPort(*mute)));
  EXPECT_EQ(reply.error, PeerError::TimedOut);
  EXPECT_TRUE(reply.worthRepeating);
}

TEST_F(PeersTest, HandARequestToTheProgramWithTheAddressOfItsSender) {
  OpenPaired();
  EXPECT_TRUE(Say(lap, office.Address(), "SyncMe lap").Ok());
  EXPECT_EQ(office.program.told, std::vector{"SyncMe lap " + lap.Address()});
}

TEST_F(PeersTest, HandAConfirmationOn) {
  OpenPaired();
  EXPECT_TRUE(Say(lap, office.Address(), "SyncSuccessfull lap").Ok());
  EXPECT_EQ(office.program.told, std::vector{"SyncSuccessfull lap"s});
}

TEST_F(PeersTest, AnswerThatNobodyIsThere) {
  office.program.there = false;
  OpenPaired();
  const PeerReply request = Say(lap, office.Address(), "SyncMe lap", "1");
  EXPECT_EQ(request.error, PeerError::NobodyThere);
  EXPECT_EQ(request.text, "Zelkor does not run there");
  EXPECT_FALSE(request.worthRepeating);
  // A confirmation keeps.
  EXPECT_TRUE(Say(lap, office.Address(), "SyncSuccessfull lap", "2").worthRepeating);
  office.program.there = true;
  EXPECT_TRUE(Say(lap, office.Address(), "SyncSuccessfull lap", "2").Ok());
  EXPECT_EQ(office.program.told, std::vector{"SyncSuccessfull lap"s});
}

TEST_F(PeersTest, RefuseARequestWhenConnectionsAreNotAccepted) {
  OpenPaired();
  EXPECT_TRUE(Ping(lap, office.Address()).Ok());
  office.settings.accept = false;
  // The connection is there; what counts is the option now.
  EXPECT_EQ(Say(lap, office.Address(), "SyncMe lap").error, PeerError::Refused);
  EXPECT_EQ(Ping(lap, office.Address()).error, PeerError::Refused);
  EXPECT_TRUE(office.program.told.empty());
  EXPECT_TRUE(office.program.HasLogged("Refused SyncMe of [lap]"));
}

TEST_F(PeersTest, DeliverAMessageThatIsSentAgainOnce) {
  OpenPaired();
  EXPECT_TRUE(Say(lap, office.Address(), "SyncMe lap", "77").Ok());
  EXPECT_TRUE(Say(lap, office.Address(), "SyncMe lap", "77").Ok());
  EXPECT_EQ(office.program.told.size(), 1U);
  EXPECT_TRUE(Say(lap, office.Address(), "SyncMe lap", "78").Ok());
  EXPECT_EQ(office.program.told.size(), 2U);
  // Also over a restart of the receiver.
  office.peers.reset();
  Open(office);
  EXPECT_TRUE(Say(lap, office.Address(), "SyncMe lap", "78").worthRepeating);
  EXPECT_TRUE(Say(lap, office.Address(), "SyncMe lap", "78").Ok());
  EXPECT_EQ(office.program.told.size(), 2U);
}

TEST_F(PeersTest, AreBusyWhileSomethingIsOnItsWay) {
  OpenPaired();
  EXPECT_FALSE(office.peers->Busy());
  WriteNative(office.folder / "out", Content(2'000'000));
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  EXPECT_TRUE(office.peers->Busy());
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  // What nobody has taken keeps the sender, not the receiver.
  EXPECT_FALSE(lap.peers->Busy());
  const auto received = StartReceiving(lap, lap.settings.programDir + "lap.cas");
  EXPECT_TRUE(lap.peers->Busy());
  EXPECT_TRUE(Await(received).Ok());
  EXPECT_TRUE(Await(sent).Ok());
  EXPECT_FALSE(office.peers->Busy());
  EXPECT_FALSE(lap.peers->Busy());
}

TEST_F(PeersTest, KeepAConnectionOnWhichNothingIsSaid) {
  office.settings.times.keepAlive = Milliseconds{50};
  office.settings.times.silence = Milliseconds{200};
  OpenPaired();
  WriteNative(office.folder / "out", "content");
  const auto sent = StartSending(office, lap.Address(), "lap", office.settings.programDir + "out");
  ASSERT_TRUE(RunUntil([&] { return !lap.program.told.empty(); }));
  // While signs of life come and go, nothing ends.
  RunFor(Milliseconds{500});
  EXPECT_FALSE(sent->over);
}

TEST_F(PeersTest, GiveUpAConnectionThatNobodyUses) {
  OpenPaired();
  EXPECT_TRUE(Ping(lap, office.Address()).Ok());
  lap.settings.accept = false;
  office.settings.times.idle = Milliseconds{100};
  RunFor(Milliseconds{400});
  // The way back is gone with the connection.
  WriteNative(office.folder / "out", "content");
  EXPECT_EQ(Await(StartSending(office, lap.Address(), "lap", office.settings.programDir + "out")).error,
            PeerError::NotReached);
}

}  // namespace
}  // namespace zelkor::vandry
