#include "net/commands.h"

#include <gtest/gtest.h>

namespace zelkor::net {
namespace {

using lib::Cause;

const FtpPlace kPlace{.server = "ftp.example.org", .userName = "me", .password = "se cret", .directory = "in box"};

TEST(Commands, PutNetworkArgumentsSideBySide) {
  EXPECT_EQ(NetTrans("10.0.0.2:4223", "NetPing").Value(), "NetTrans 10.0.0.2:4223 NetPing");
  EXPECT_EQ(NetTransOfComputer(" [fe80::1]:4223 ", "SyncMe", "Office ").Value(),
            "NetTrans [fe80::1]:4223 SyncMe office");
  EXPECT_EQ(NetFileSend("10.0.0.2", "Office", "LAP", "c:\\my files\\a.tmp").Value(),
            "NetFileSend 10.0.0.2 office lap c:\\my files\\a.tmp");
  EXPECT_EQ(NetFileRec("c:\\my files\\office.cas").Value(), "NetFileRec c:\\my files\\office.cas");
}

TEST(Commands, QuoteEachArgumentOfAnFtpCommandTrimmed) {
  EXPECT_EQ(FtpSend(kPlace, "c:\\a b.tmp", " lap.cas ").Value(),
            "FTPSend \"ftp.example.org\" \"me\" \"se cret\" \"in box\" \"c:\\a b.tmp\" \"lap.cas\"");
  EXPECT_EQ(FtpGet(kPlace, "lap.cas", "c:\\a.tmp").Value(),
            "FTPGet \"ftp.example.org\" \"me\" \"se cret\" \"in box\" \"lap.cas\" \"c:\\a.tmp\"");
}

TEST(Commands, SendAnEmptyArgumentAsTwoQuotes) {
  const FtpPlace place{.server = "s", .userName = "", .password = "  ", .directory = ""};
  EXPECT_EQ(FtpDir(place, "c:\\l").Value(), "FTPDir \"s\" \"\" \"\" \"\" \"c:\\l\"");
}

TEST(Commands, RefuseAnEmptyAddress) {
  EXPECT_EQ(NetTrans("", "NetPing").Why(), Cause::Refused);
  EXPECT_EQ(NetTrans("  ", "NetPing").Failure().Message(), "The address is empty");
  EXPECT_EQ(FtpDir({}, "c:\\l").Failure().Message(), "The name of the FTP server is empty");
}

TEST(Commands, RefuseABlankInsideAnAddressOrAnId) {
  EXPECT_EQ(NetTrans("10.0.0.2 SyncMe", "NetPing").Why(), Cause::Refused);
  EXPECT_EQ(NetTransOfComputer("10.0.0.2", "SyncMe", "of ice").Why(), Cause::Refused);
  EXPECT_EQ(NetTransOfComputer("10.0.0.2", "SyncMe", "").Why(), Cause::Refused);
  EXPECT_EQ(NetFileSend("10.0.0.2", "office", "l p", "c:\\a").Why(), Cause::Refused);
}

TEST(Commands, RefuseADoubleQuoteAndNameWhereItIs) {
  FtpPlace place = kPlace;
  place.password = "a\"b";
  const lib::Result<std::string> command = FtpDir(place, "c:\\l");
  EXPECT_EQ(command.Why(), Cause::Refused);
  EXPECT_EQ(command.Failure().Message(), "The password holds a double quote");
  EXPECT_EQ(NetTrans("\"10.0.0.2\"", "NetPing").Why(), Cause::Refused);
}

TEST(Commands, RefuseLineBreaks) {
  for (const char* lineBreak : {"\r", "\n", "a\r\nb"}) {
    FtpPlace place = kPlace;
    place.directory = lineBreak;
    EXPECT_EQ(FtpDir(place, "c:\\l").Why(), Cause::Refused);
    EXPECT_EQ(FtpSend(kPlace, "c:\\l", lineBreak).Why(), Cause::Refused);
    EXPECT_EQ(NetTrans(lineBreak, "NetPing").Why(), Cause::Refused);
    EXPECT_EQ(NetTrans("10.0.0.2", lineBreak).Why(), Cause::Refused);
    EXPECT_EQ(NetFileSend("10.0.0.2", "office", "lap", lineBreak).Why(), Cause::Refused);
    EXPECT_EQ(NetFileRec(lineBreak).Why(), Cause::Refused);
  }
}

}  // namespace
}  // namespace zelkor::net
