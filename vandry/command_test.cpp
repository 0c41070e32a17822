#include "vandry/command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelkor::vandry {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Word = Command::Word;

void ExpectRefused(const std::string& text) {
  const Command command = ParseCommand(text);
  EXPECT_EQ(command.word, Word::None) << text;
  EXPECT_NE(command.problem, "") << text;
}

TEST(Command, ReadsAWordAlone) {
  EXPECT_EQ(ParseCommand("Hello").word, Word::Hello);
  EXPECT_EQ(ParseCommand("Exit").word, Word::Exit);
  EXPECT_THAT(ParseCommand("Hello").arguments, IsEmpty());
}

TEST(Command, TakesTheRestOfANetTransUnchanged) {
  const Command command = ParseCommand("NetTrans 10.0.0.2:4223 SyncMe  lap \"x\" ");
  EXPECT_EQ(command.word, Word::NetTrans);
  EXPECT_THAT(command.arguments, ElementsAre("10.0.0.2:4223", "SyncMe  lap \"x\" "));
}

TEST(Command, TellsAPingFromAMessage) {
  const Command ping = ParseCommand("NetTrans [fe80::1%eth0]:4223 NetPing");
  EXPECT_EQ(ping.word, Word::NetPing);
  EXPECT_THAT(ping.arguments, ElementsAre("[fe80::1%eth0]:4223"));
  EXPECT_EQ(ParseCommand("NetTrans host NetPing x").word, Word::NetTrans);
}

TEST(Command, ReadsAFileToSendWithAPathThatHoldsBlanks) {
  const Command command = ParseCommand("NetFileSend host:1 Office LAP c:\\my files\\~sync 00.tmp");
  EXPECT_EQ(command.word, Word::NetFileSend);
  EXPECT_THAT(command.arguments, ElementsAre("host:1", "office", "lap", "c:\\my files\\~sync 00.tmp"));
}

TEST(Command, ReadsAFileToReceive) {
  const Command command = ParseCommand("NetFileRec c:\\my files\\office.cas");
  EXPECT_EQ(command.word, Word::NetFileRec);
  EXPECT_THAT(command.arguments, ElementsAre("c:\\my files\\office.cas"));
}

TEST(Command, ReadsQuotedArgumentsWithBlanksAndEmptyOnes) {
  const Command send = ParseCommand("FTPSend \"ftp.host\" \"a user\" \"\" \"/a dir\" \"c:\\x y.tmp\" \"lap.cas\"");
  EXPECT_EQ(send.word, Word::FtpSend);
  EXPECT_THAT(send.arguments, ElementsAre("ftp.host", "a user", "", "/a dir", "c:\\x y.tmp", "lap.cas"));
  const Command get = ParseCommand("FTPGet \"ftp.host\" \"u\" \"p\" \"\" \"lap.cas\" \"c:\\x.tmp\"");
  EXPECT_EQ(get.word, Word::FtpGet);
  const Command list = ParseCommand("FTPDir \"ftp.host\" \"u\" \"p\" \"\" \"c:\\x.tmp\"");
  EXPECT_EQ(list.word, Word::FtpDir);
  EXPECT_EQ(list.arguments.size(), 5U);
}

TEST(Command, RefusesAnUnknownWordAndAWordInAnotherCase) {
  for (const char* text : {"", " ", "hello", "HELLO", "Helloo", " Hello", "FTPsend", "\"Hello\""}) ExpectRefused(text);
}

TEST(Command, RefusesTooFewAndTooManyArguments) {
  for (const char* text : {
           "Hello x",
           "Hello ",
           "Exit now",
           "NetTrans",
           "NetTrans host",
           "NetTrans host ",
           "NetTrans  NetPing",
           "NetFileSend host office lap",
           "NetFileSend host office lap ",
           "NetFileRec",
           "NetFileRec ",
           "FTPDir \"h\" \"u\" \"p\" \"d\"",
           "FTPDir \"h\" \"u\" \"p\" \"d\" \"c:\\x\" \"more\"",
       }) {
    ExpectRefused(text);
  }
}

TEST(Command, RefusesArgumentsThatAreNotProperlyQuoted) {
  for (const char* text : {
           "FTPDir h u p d c:\\x",
           "FTPDir \"h\"  \"u\" \"p\" \"d\" \"c:\\x\"",
           "FTPDir \"h\" \"u\" \"p\" \"d\" \"c:\\x",
           "FTPDir \"h\" \"u\" \"p\"\"\" \"d\" \"c:\\x\"",
           "FTPDir \"h\" \"u\" \"p\"q\" \"d\" \"c:\\x\"",
           "FTPDir \"h\" \"u\" \"p\" \"d\" \"c:\\x\" ",
       }) {
    ExpectRefused(text);
  }
}

TEST(Command, RefusesControlCharacters) {
  ExpectRefused("NetTrans host SyncMe lap\r\nSyncMe other");
  ExpectRefused(std::string("Hello\0", 6));
  ExpectRefused("FTPDir \"h\" \"u\" \"p\nDELE x\" \"d\" \"c:\\x\"");
}

TEST(Command, RefusesWhatIsNoId) {
  ExpectRefused("NetFileSend host office toolong c:\\x");
  ExpectRefused("NetFileSend host ../x lap c:\\x");
}

TEST(Command, RefusesAPathOfAnotherForm) {
  ExpectRefused("NetFileRec /etc/passwd");
  ExpectRefused("NetFileSend host office lap ~sync.tmp");
  ExpectRefused("FTPGet \"h\" \"u\" \"p\" \"\" \"lap.cas\" \"/tmp/x\"");
  ExpectRefused("FTPSend \"h\" \"u\" \"p\" \"\" \"lap.cas\" \"c:\\x\"");
}

TEST(Command, SaysNothingOfArgumentsThatItDoesNotUnderstand) {
  EXPECT_THAT(ParseCommand("FTPsend \"h\" \"u\" \"hidden\"").problem, Not(HasSubstr("hidden")));
  EXPECT_THAT(ParseCommand("FTPSend \"h\" \"u\" \"hidden\"").problem, Not(HasSubstr("hidden")));
}

}  // namespace
}  // namespace zelkor::vandry
