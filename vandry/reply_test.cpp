#include "vandry/reply.h"

#include <gtest/gtest.h>

namespace zelkor::vandry {
namespace {

TEST(Reply, SaysOkAndTheValue) {
  EXPECT_EQ(OkReply(12345), "OK 12345");
  EXPECT_EQ(OkReply("1.00"), "OK 1.00");
}

TEST(Reply, SaysErrorTheNumberAndTheText) { EXPECT_EQ(ErrorReply(530, "login refused"), "Error 530 login refused"); }

TEST(Reply, SpellsTheMarksNowhereElse) {
  EXPECT_EQ(ErrorReply(550, "BOOK.cas: Error, not OK"), "Error 550 BOok.cas: error, not ok");
  EXPECT_EQ(OkReply("OKError"), "OK okerror");
  // What is put into lower case makes no new mark.
  EXPECT_EQ(QuietText("OOKK"), "OokK");
  EXPECT_EQ(QuietText("OK OK ok"), "ok ok ok");
}

TEST(Reply, KeepsOthersTextsShortAndOnOneLine) {
  EXPECT_EQ(QuietText("a\r\nb\tc\x1b"), "a  b c ");
  EXPECT_EQ(QuietText(std::string(100'000, 'x')).size(), 400U);
}

}  // namespace
}  // namespace zelkor::vandry
