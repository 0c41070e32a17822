#include "vandry/peer_words.h"

#include <gtest/gtest.h>
#include <string>

namespace zelkor::vandry {
namespace {

using std::string_literals::operator""s;

const std::string kHash(64, 'a');

TEST(PeerWords, OfAGreetingAreVersionIdAndPort) {
  EXPECT_EQ(WriteWords(HelloWords{.version = 1, .computerId = "lap", .port = 4223}), "1 lap 4223");
  const auto hello = ReadHello("1 lap 4223");
  ASSERT_TRUE(hello);
  EXPECT_EQ(hello->computerId, "lap");
  EXPECT_EQ(hello->port, 4223);
}

TEST(PeerWords, OfAGreetingInALaterVersionAreNotJudged) {
  const auto hello = ReadHello("2 some thing else");
  ASSERT_TRUE(hello);
  EXPECT_EQ(hello->version, 2);
}

TEST(PeerWords, OfAGreetingMustBeWellFormed) {
  for (const char* wrong : {"",
                            "1",
                            "1 ",
                            "1 lap",
                            "1 lap ",
                            "1 lap 0",
                            "1 lap 65536",
                            "1 lap 42 23",
                            "1  lap 4223",
                            " 1 lap 4223",
                            "1 Lap 4223",
                            "1 toolong 4223",
                            "1 ../x 4223",
                            "1 a\\b 4223",
                            "1 lap 4223 ",
                            "x lap 4223",
                            "-1 lap 4223",
                            "99999999999 lap 4223",
                            "1 la\np 4223",
                            "1 . 4223"}) {
    EXPECT_FALSE(ReadHello(wrong)) << wrong;
  }
}

TEST(PeerWords, OfAnOfferAreTicketIdsAndSize) {
  EXPECT_EQ(WriteWords(OfferWords{.ticket = "0f", .senderId = "office", .targetId = "lap", .size = 12}),
            "0f office lap 12");
  const auto offer = ReadOffer("0f office lap 12");
  ASSERT_TRUE(offer);
  EXPECT_EQ(offer->size, 12);
  for (const char* wrong :
       {"0f office lap -1", "0f office lap 9223372036854775807", "0f office lap 1e3", "0f office lap",
        "../0f office lap 12", "0f office ../x 12", "0F office lap 12", "0f office lap 12 x"}) {
    EXPECT_FALSE(ReadOffer(wrong)) << wrong;
  }
}

TEST(PeerWords, OfATicketAreFewAndPlain) {
  EXPECT_TRUE(IsTicket("0123456789abcdefghijklmnopqrstuv"));
  for (const char* wrong : {"", "0123456789abcdefghijklmnopqrstuvw", "a b", "a.b", "a/b", "A", "\xe4"}) {
    EXPECT_FALSE(IsTicket(wrong)) << wrong;
  }
}

TEST(PeerWords, OfAMessageAreTicketAndTheRestOfTheLine) {
  EXPECT_EQ(WriteWords(AskWords{.ticket = "1", .text = "SyncMe lap"}), "1 SyncMe lap");
  const auto ask = ReadAsk("1 SyncMe  lap");
  ASSERT_TRUE(ask);
  EXPECT_EQ(ask->text, "SyncMe  lap");
  EXPECT_FALSE(ReadAsk("1"));
  EXPECT_FALSE(ReadAsk("1 Sync\rMe"));
  EXPECT_FALSE(ReadAsk("1 Sync\0Me"s));
}

TEST(PeerWords, OfAnAnswerTellErrorAndWhetherToTryAgain) {
  EXPECT_EQ(WriteWords(AnswerWords{.ticket = "1", .error = PeerError::NoRoom, .worthRepeating = true, .text = "full"}),
            "1 9 1 full");
  const auto answer = ReadAnswer("1 9 1 full disk");
  ASSERT_TRUE(answer);
  EXPECT_EQ(answer->error, PeerError::NoRoom);
  EXPECT_TRUE(answer->worthRepeating);
  EXPECT_EQ(answer->text, "full disk");
  ASSERT_TRUE(ReadAnswer("1 0 0 "));
  EXPECT_EQ(ReadAnswer("1 0 0 ")->text, "");
  for (const char* wrong : {"1 12 0 x", "1 -1 0 x", "1 0 2 x", "1 0 x", "1 0 0"})
    EXPECT_FALSE(ReadAnswer(wrong)) << wrong;
}

TEST(PeerWords, OfTakeAndEndCarryAChecksum) {
  EXPECT_EQ(ReadTake("1 77 " + kHash)->offset, 77);
  EXPECT_EQ(ReadEnd("1 " + kHash)->digest[31], 0xaa);
  EXPECT_FALSE(ReadTake("1 77 " + kHash.substr(1)));
  EXPECT_FALSE(ReadTake("1 -1 " + kHash));
  EXPECT_FALSE(ReadEnd("1 " + kHash + "a"));
  EXPECT_FALSE(ReadEnd("1 " + std::string(64, 'g')));
}

TEST(PeerWords, FromOutsideNeverSpellTheMarksOfReplies) {
  EXPECT_EQ(HarmlessText("OK Error OKOK ErrorErr"), "ok error okok errorErr");
  EXPECT_EQ(HarmlessText("a\r\nb\x7f"), "a??b?");
  EXPECT_EQ(HarmlessText(std::string(10'000, 'x')).size(), 500U);
  EXPECT_EQ(ReadAnswer("1 7 0 It is OK, no Error")->text, "It is ok, no error");
}

}  // namespace
}  // namespace zelkor::vandry
