#include "vandry/pairing.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>

#include "lib/clock.h"
#include "tests/support/sandbox.h"

namespace zelkor::vandry {
namespace {

using Side = TlsStream::Side;

PairingTerms SomeTerms() {
  PairingTerms terms;
  terms.dialler.fill(1);
  terms.listener.fill(2);
  terms.diallerId = "lap";
  terms.listenerId = "office";
  terms.binding.fill(3);
  return terms;
}

TEST(PairingCode, IsReadHoweverItIsTyped) {
  EXPECT_EQ(PairingCodeFromText("k7m2q-9xwpd"), "k7m2q9xwpd");
  EXPECT_EQ(PairingCodeFromText("K7M2Q 9XWPD"), "k7m2q9xwpd");
  EXPECT_EQ(PairingCodeFromText("oOiIl-00000"), "0011100000");
  for (const char* wrong : {"", "k7m2q-9xwp", "k7m2q-9xwpdd", "k7m2q-9xwpu", "k7m2q_9xwpd"}) {
    EXPECT_FALSE(PairingCodeFromText(wrong)) << wrong;
  }
}

TEST(PairingCode, IsAnotherEachTime) {
  std::set<std::string> codes;
  for (int i = 0; i < 100; ++i) {
    const std::string code = NewPairingCode();
    EXPECT_EQ(code.size(), 11U);
    EXPECT_TRUE(PairingCodeFromText(code)) << code;
    codes.insert(code);
  }
  EXPECT_EQ(codes.size(), 100U);
}

TEST(PairingProof, IsTheSameForTheSameTermsOnly) {
  const auto proof = ProvePairing("k7m2q9xwpd", Side::Dialler, SomeTerms());
  ASSERT_TRUE(proof);
  EXPECT_TRUE(SameProof(*proof, *ProvePairing("k7m2q9xwpd", Side::Dialler, SomeTerms())));
  const auto differs = [&](const std::optional<PairingProof>& other) { return other && !SameProof(*proof, *other); };
  EXPECT_TRUE(differs(ProvePairing("k7m2q9xwpe", Side::Dialler, SomeTerms())));
  EXPECT_TRUE(differs(ProvePairing("k7m2q9xwpd", Side::Listener, SomeTerms())));
  PairingTerms terms = SomeTerms();
  terms.binding[31] = 4;
  EXPECT_TRUE(differs(ProvePairing("k7m2q9xwpd", Side::Dialler, terms)));
  terms = SomeTerms();
  std::swap(terms.dialler, terms.listener);
  EXPECT_TRUE(differs(ProvePairing("k7m2q9xwpd", Side::Dialler, terms)));
  terms = SomeTerms();
  terms.diallerId = "home";
  EXPECT_TRUE(differs(ProvePairing("k7m2q9xwpd", Side::Dialler, terms)));
}

TEST(PairingProof, OfTheListenerIsAboutBothIds) {
  const auto proof = ProvePairing("k7m2q9xwpd", Side::Listener, SomeTerms());
  PairingTerms terms = SomeTerms();
  terms.listenerId = "home";
  EXPECT_FALSE(SameProof(*proof, *ProvePairing("k7m2q9xwpd", Side::Listener, terms)));
  terms = SomeTerms();
  // The same letters otherwise divided.
  terms.diallerId = "lapoff";
  terms.listenerId = "ice";
  EXPECT_FALSE(SameProof(*proof, *ProvePairing("k7m2q9xwpd", Side::Listener, terms)));
}

class PairingOfferTest : public tests::Sandbox {
 protected:
  [[nodiscard]] PairingOffer Offer() const { return PairingOffer(ProgramDir()); }
  [[nodiscard]] std::filesystem::path File() const { return ProgramFolder() / "vandry.dat" / "pairing.txt"; }
};

TEST_F(PairingOfferTest, IsClosedUntilACodeIsShown) {
  EXPECT_FALSE(Offer().IsOpen());
  EXPECT_FALSE(Offer().UseAttempt());
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  EXPECT_TRUE(Offer().IsOpen());
  ASSERT_TRUE(std::filesystem::exists(File()));
  if (tests::HasModes()) {
    EXPECT_EQ(tests::ModeOf(File()), 0600U);
  }
}

TEST_F(PairingOfferTest, IsVoidAfterFiveAttempts) {
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  for (int i = 0; i < 5; ++i) EXPECT_EQ(Offer().UseAttempt(), "k7m2q9xwpd") << i;
  EXPECT_FALSE(Offer().UseAttempt());
  EXPECT_FALSE(Offer().IsOpen());
  EXPECT_EQ(Offer().Look().attemptsLeft, 0);
}

TEST_F(PairingOfferTest, IsVoidAfterTenMinutes) {
  const auto write = [&](std::int64_t until) {
    WriteNative(File(), "k7m2q9xwpd " + std::to_string(until) + " 5 \"\"");
  };
  write(lib::NowUtc() + 5);
  EXPECT_TRUE(Offer().IsOpen());
  write(lib::NowUtc());
  EXPECT_FALSE(Offer().IsOpen());
  EXPECT_FALSE(Offer().UseAttempt());
  const std::int64_t before = lib::NowUtc();
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  const std::string content = ReadNative(File());
  const std::int64_t until = std::stoll(content.substr(content.find(' ') + 1));
  EXPECT_GE(until, before + 600);
  EXPECT_LE(until, lib::NowUtc() + 600);
}

TEST_F(PairingOfferTest, IsVoidOnceItWasUsedWell) {
  ASSERT_TRUE(Offer().Begin("k7m2q-9xwpd").Ok());
  Offer().Succeeded("lap");
  EXPECT_FALSE(Offer().IsOpen());
  EXPECT_FALSE(Offer().UseAttempt());
  EXPECT_EQ(Offer().Look().pairedWith, "lap");
  Offer().End();
  EXPECT_EQ(Offer().Look().pairedWith, "");
  EXPECT_FALSE(std::filesystem::exists(File()));
}

}  // namespace
}  // namespace zelkor::vandry
