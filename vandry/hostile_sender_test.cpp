// What a sender who does not keep to the rules can do: nothing that is taken for a file.

#include "vandry/hostile_peers.h"

namespace zelkor::vandry {
namespace {

using std::string_literals::operator""s;

class HostileSenderTest : public HostilePeerTest {
 protected:
  // An offer of 7 bytes that the program has taken: now they may come.
  std::unique_ptr<RawPeer> Offered() {
    OpenAgainstLap();
    auto peer = Greeted();
    peer->Send(FrameKind::Offer, "1 lap office 7");
    EXPECT_TRUE(RunUntil([&] { return !office.program.told.empty(); }));
    received_ = StartReceiving(office, office.settings.programDir + "office.cas");
    EXPECT_EQ(peer->Receive(FrameKind::Take).substr(0, 4), "1 0 ");
    return peer;
  }
  void ExpectNothingCame(PeerError error) {
    EXPECT_EQ(Await(received_).error, error);
    EXPECT_TRUE(FilesOf(office).empty());
    EXPECT_FALSE(office.program.WasTold("NetReceived"));
  }
  std::shared_ptr<Pending> received_;
};

TEST_F(HostileSenderTest, CanNotSendMoreThanWasOffered) {
  const auto peer = Offered();
  peer->Send(FrameKind::Data, "\0\0\0\0\0\0\0\0contents"s);
  EXPECT_EQ(peer->Receive(FrameKind::Stop), "1 11 0 A piece of the file came out of place");
  ExpectNothingCame(PeerError::Damaged);
}

TEST_F(HostileSenderTest, CanNotSendPiecesOutOfPlace) {
  const auto peer = Offered();
  peer->Send(FrameKind::Data, "\1\0\0\0\0\0\0\0ontent"s);
  EXPECT_EQ(peer->Receive(FrameKind::Stop), "1 11 0 A piece of the file came out of place");
  ExpectNothingCame(PeerError::Damaged);
}

TEST_F(HostileSenderTest, CanNotBeginAgainInTheMiddle) {
  const auto peer = Offered();
  peer->Send(FrameKind::Data, "\0\0\0\0\0\0\0\0con"s);
  peer->Send(FrameKind::Data, "\0\0\0\0\0\0\0\0con"s);
  EXPECT_EQ(peer->Receive(FrameKind::Stop), "1 11 0 A piece of the file came out of place");
  ExpectNothingCame(PeerError::Damaged);
}

TEST_F(HostileSenderTest, CanNotEndWithAWrongChecksum) {
  const auto peer = Offered();
  peer->Send(FrameKind::Data, "\0\0\0\0\0\0\0\0content"s);
  peer->Send(FrameKind::End, "1 " + kSomeHash);
  EXPECT_EQ(peer->Receive(FrameKind::Stop), "1 11 1 What arrived is not what was sent");
  ExpectNothingCame(PeerError::Damaged);
}

TEST_F(HostileSenderTest, CanNotEndEarly) {
  const auto peer = Offered();
  peer->Send(FrameKind::Data, "\0\0\0\0\0\0\0\0con"s);
  // The right checksum of what came, by: printf con | sha256sum
  peer->Send(FrameKind::End, "1 " + ToHex([] {
                               Sha256 hash;
                               hash.Add("con"s);
                               return hash.Value();
                             }()));
  EXPECT_EQ(peer->Receive(FrameKind::Stop), "1 11 1 What arrived is not what was sent");
  ExpectNothingCame(PeerError::Damaged);
}

TEST_F(HostileSenderTest, CanOfferOneFileAtATime) {
  const auto peer = Offered();
  for (int i = 2; i < 20; ++i) {
    const std::string ticket = std::to_string(i);
    peer->Send(FrameKind::Offer, ticket + " lap office 7");
    EXPECT_EQ(peer->Receive(FrameKind::Stop), ticket + " 7 0 One file at a time");
  }
  EXPECT_EQ(office.program.told.size(), 1U);
}

TEST_F(HostileSenderTest, CanNotHaveAnotherConnectionsPiecesTaken) {
  const auto peer = Offered();
  tests::PeerComputer home;
  SetUpComputer(home, "home");
  Introduce(office, home);
  const auto other = Raw(home);
  other->Greet("home");
  EXPECT_EQ(other->Receive(FrameKind::Hello), "1 office " + std::to_string(office.settings.port));
  other->Send(FrameKind::Data, "\0\0\0\0\0\0\0\0CONTENT"s);
  other->Send(FrameKind::Stop, "1 7 0 stop it");
  RunFor(Milliseconds{50});
  peer->Send(FrameKind::Data, "\0\0\0\0\0\0\0\0content"s);
  // printf content | sha256sum
  peer->Send(FrameKind::End, "1 ed7002b439e9ac845f22357d822bac1444730fbdb6016d3ec9432297b9ec9f73");
  EXPECT_EQ(peer->Receive(FrameKind::Whole), "1");
  EXPECT_TRUE(Await(received_).Ok());
  EXPECT_EQ(ReadNative(office.folder / "office.cas"), "content");
}

TEST_F(HostileSenderTest, ThatFallsSilentIsGivenUp) {
  office.settings.times.keepAlive = Milliseconds{50};
  office.settings.times.silence = Milliseconds{150};
  office.settings.times.resume = Milliseconds{50};
  const auto peer = Offered();
  // It takes the signs of life that it is asked for, and answers nothing.
  EXPECT_EQ(Await(received_).error, PeerError::Lost);
  EXPECT_TRUE(peer->IsTurnedAway());
}

}  // namespace
}  // namespace zelkor::vandry
