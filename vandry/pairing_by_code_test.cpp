// Pairing by a code: whom it lets in, and whom not.

#include "vandry/hostile_peers.h"
#include "vandry/pairing.h"
#include "vandry/peer_connection.h"

namespace zelkor::vandry {
namespace {

class PairingByCodeTest : public HostilePeerTest {
 protected:
  class Party : public PeerConnection::Owner {
   public:
    bool over = false;
    std::string id;
    PeerReply why;
    void ConnectionOpened(PeerConnection& connection) override {
      id = connection.Id();
      over = true;
    }
    void FrameCame(PeerConnection& /*connection*/, const Frame& /*frame*/) override {}
    void ConnectionDrained(PeerConnection& /*connection*/) override {}
    void ConnectionGone(PeerConnection& /*connection*/, const PeerReply& reply) override {
      why = reply;
      over = true;
    }
  };
  // lap types a code, at that address.
  Party Type(const std::string& code, const std::string& address) {
    PeerContext context{.loop = loop,
                        .tls = *TlsContext::Make(*Identity::Load(lap.settings.programDir)),
                        .settings = [this] { return lap.settings; },
                        .log = [](const std::string&) {}};
    Party party;
    const auto connection = PeerConnection::Dial(context, party, *ParsePeerAddress(address),
                                                 PeerConnection::Purpose::Pair, *PairingCodeFromText(code));
    EXPECT_TRUE(RunUntil([&] { return party.over; }));
    connection->Abandon();
    return party;
  }
  [[nodiscard]] PairingOffer Offer() const { return PairingOffer(office.settings.programDir); }
  [[nodiscard]] bool AnyPairings() const {
    return Pairings(office.settings.programDir).IdOf(FingerprintOf(lap)).has_value() ||
           Pairings(lap.settings.programDir).IdOf(FingerprintOf(office)).has_value();
  }
};

TEST_F(PairingByCodeTest, MakesBothSidesKnowEachOther) {
  Open(office);
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  const Party party = Type("K7M2Q-9XWPD", office.Address());
  EXPECT_EQ(party.id, "office") << party.why.text;
  EXPECT_EQ(Pairings(office.settings.programDir).IdOf(FingerprintOf(lap)), "lap");
  EXPECT_EQ(Pairings(lap.settings.programDir).IdOf(FingerprintOf(office)), "office");
  EXPECT_EQ(Offer().Look().pairedWith, "lap");
  Open(lap);
  EXPECT_EQ(Ping(lap, office.Address()).text, "office");
}

TEST_F(PairingByCodeTest, IsListenedForWithoutTheOption) {
  office.settings.accept = false;
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  Open(office);
  EXPECT_EQ(Type("k7m2q-9xwpd", office.Address()).id, "office");
  // It opened the door to the code alone.
  Open(lap);
  const PeerReply reply = Ping(lap, office.Address());
  EXPECT_TRUE(reply.error == PeerError::NotReached || reply.error == PeerError::Refused) << reply.text;
}

TEST_F(PairingByCodeTest, FailsWithoutAValidCode) {
  Open(office);
  EXPECT_EQ(Type("k7m2q-9xwpd", office.Address()).why.text, "No pairing code is valid there now");
  EXPECT_FALSE(AnyPairings());
}

TEST_F(PairingByCodeTest, AllowsFiveWrongCodes) {
  Open(office);
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  for (int i = 0; i < 5; ++i) EXPECT_EQ(Type("k7m2q-9xwpe", office.Address()).why.text, "The pairing code is wrong");
  EXPECT_EQ(Type("k7m2q-9xwpd", office.Address()).why.text, "No pairing code is valid there now");
  EXPECT_FALSE(AnyPairings());
  EXPECT_TRUE(office.program.HasLogged("A wrong pairing code came from 127.0.0.1"));
}

TEST_F(PairingByCodeTest, WorksOnce) {
  Open(office);
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  EXPECT_EQ(Type("k7m2q-9xwpd", office.Address()).id, "office");
  EXPECT_EQ(Type("k7m2q-9xwpd", office.Address()).why.text, "No pairing code is valid there now");
}

TEST_F(PairingByCodeTest, IsRefusedBetweenEqualIds) {
  lap.settings.computerId = "office";
  Open(office);
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  EXPECT_EQ(Type("k7m2q-9xwpd", office.Address()).why.text, "Both computers have the ID [office]");
  EXPECT_FALSE(AnyPairings());
}

// Somebody in the middle, with a key of his own on both sides, who hands the proofs on.
TEST_F(PairingByCodeTest, CanNotBeHandedOn) {
  Open(office);
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  tests::PeerComputer middle;
  SetUpComputer(middle, "middle");
  const lib::Result<lib::Socket> listening = lib::ListenOn(*lib::NumericAddress("127.0.0.1", middle.settings.port));
  PeerContext context{.loop = loop,
                      .tls = *TlsContext::Make(*Identity::Load(lap.settings.programDir)),
                      .settings = [this] { return lap.settings; },
                      .log = [](const std::string&) {}};
  Party party;
  const auto dialler = PeerConnection::Dial(context, party, *ParsePeerAddress(middle.Address()),
                                            PeerConnection::Purpose::Pair, "k7m2q9xwpd");
  std::optional<lib::AcceptedConnection> from;
  ASSERT_TRUE(RunUntil([&] {
    RunFor(Milliseconds{5});
    from = lib::AcceptConnection(*listening);
    return from.has_value();
  }));
  RawPeer towardsLap(loop, middle.settings.programDir, "", true);
  towardsLap.Use(std::move(from->socket), TlsStream::Side::Listener);
  ASSERT_TRUE(towardsLap.Handshake());
  const std::string proof = towardsLap.Receive(FrameKind::Pair);
  ASSERT_EQ(proof.substr(0, 6), "1 lap ") << proof;
  RawPeer towardsOffice(loop, middle.settings.programDir, office.Address());
  ASSERT_TRUE(towardsOffice.Handshake());
  towardsOffice.Send(FrameKind::Pair, proof);
  EXPECT_EQ(towardsOffice.Receive(FrameKind::Refusal), "6 0 The pairing code is wrong");
  // Nor can he make up the answer.
  towardsLap.Send(FrameKind::Pair, "1 office" + proof.substr(5));
  ASSERT_TRUE(RunUntil([&] { return party.over; }));
  EXPECT_EQ(party.why.text, "The pairing code is wrong");
  EXPECT_FALSE(AnyPairings());
  EXPECT_TRUE(Pairings(office.settings.programDir).All()->empty());
  EXPECT_TRUE(Pairings(lap.settings.programDir).All()->empty());
}

}  // namespace
}  // namespace zelkor::vandry
