#include "vandry/ftp_listing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/system.h"

namespace zelkor::vandry {
namespace {

using lib::RemoteEntry;
using testing::ElementsAre;
using testing::IsEmpty;

lib::Date At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return *lib::FromCalendar(
      {.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second});
}

std::vector<RemoteEntry> Parse(std::string_view text) { return ParseListing(text, At(2026, 11, 21, 12, 0)); }

TEST(FtpListing, ReadsTheLinesOfLs) {
  EXPECT_THAT(Parse("total 12\r\n"
                    "-rw-r--r--    1 1000     100         12345 Nov 21 09:15 lap.cas\r\n"
                    "drwxr-xr-x    2 ftp      ftp          4096 Jan  2  2024 a folder\r\n"),
              ElementsAre(RemoteEntry{.written = At(2026, 11, 21, 9, 15), .size = 12345, .name = "lap.cas"},
                          RemoteEntry{.written = At(2024, 1, 2), .directory = true, .name = "a folder"}));
}

TEST(FtpListing, TakesATimeAheadOfNowForLastYears) {
  EXPECT_THAT(Parse("-rw-r--r-- 1 u g 5 Dec 24 18:00 x\n"),
              ElementsAre(RemoteEntry{.written = At(2025, 12, 24, 18, 0), .size = 5, .name = "x"}));
  // A server in another time zone may be some hours ahead.
  EXPECT_THAT(Parse("-rw-r--r-- 1 u g 5 Nov 22 01:00 x\n"),
              ElementsAre(RemoteEntry{.written = At(2026, 11, 22, 1, 0), .size = 5, .name = "x"}));
}

TEST(FtpListing, ReadsALeapDayOfLastYear) {
  EXPECT_THAT(ParseListing("-rw-r--r-- 1 u g 5 Feb 29 10:00 x\n", At(2025, 1, 5)),
              ElementsAre(RemoteEntry{.written = At(2024, 2, 29, 10, 0), .size = 5, .name = "x"}));
}

TEST(FtpListing, DoesWithoutAGroupAndWithAnOwnerCalledLikeAMonth) {
  EXPECT_THAT(Parse("-rw-r--r-- 1 owner 77 Nov 1 09:15 x\n"),
              ElementsAre(RemoteEntry{.written = At(2026, 11, 1, 9, 15), .size = 77, .name = "x"}));
  EXPECT_THAT(Parse("-rw-r--r-- 1 jan may 77 Nov 1 09:15 x\n"),
              ElementsAre(RemoteEntry{.written = At(2026, 11, 1, 9, 15), .size = 77, .name = "x"}));
}

TEST(FtpListing, KeepsTheBlanksOfAName) {
  EXPECT_THAT(Parse("-rw-r--r-- 1 u g 5 Nov 1 09:15  two  words \n"),
              ElementsAre(RemoteEntry{.written = At(2026, 11, 1, 9, 15), .size = 5, .name = " two  words "}));
}

TEST(FtpListing, NamesALinkWithoutWhatItLeadsTo) {
  EXPECT_THAT(Parse("lrwxrwxrwx 1 u g 5 Nov 1 09:15 here -> there\n"),
              ElementsAre(RemoteEntry{.written = At(2026, 11, 1, 9, 15), .size = 5, .name = "here"}));
}

TEST(FtpListing, ReadsTheLinesOfAWindowsServer) {
  EXPECT_THAT(Parse("11-21-26  02:15PM                12345 lap.cas\r\n"
                    "12-31-1999  12:05AM       <DIR>          old things\r\n"
                    "01-02-26  14:30                 7 x\r\n"),
              ElementsAre(RemoteEntry{.written = At(2026, 11, 21, 14, 15), .size = 12345, .name = "lap.cas"},
                          RemoteEntry{.written = At(1999, 12, 31, 0, 5), .directory = true, .name = "old things"},
                          RemoteEntry{.written = At(2026, 1, 2, 14, 30), .size = 7, .name = "x"}));
}

TEST(FtpListing, TurnsNamesIntoTheCodePage) {
  EXPECT_THAT(Parse("-rw-r--r-- 1 u g 5 Nov 1 09:15 \xc3\xa4.cas\n"),
              ElementsAre(RemoteEntry{.written = At(2026, 11, 1, 9, 15), .size = 5, .name = "\xe4.cas"}));
  // U+4E2D is in no single-byte code page; a lone E4 is no UTF-8.
  EXPECT_THAT(Parse("-rw-r--r-- 1 u g 5 Nov 1 09:15 \xe4\xb8\xad.cas\n").at(0).name, "?.cas");
  EXPECT_THAT(Parse("-rw-r--r-- 1 u g 5 Nov 1 09:15 \xe4.cas\n").at(0).name, "\xe4.cas");
}

TEST(FtpListing, ShowsNoControlCharacters) {
  EXPECT_EQ(Parse("-rw-r--r-- 1 u g 5 Nov 1 09:15 a\x1b[2Jb\n").at(0).name, "a?[2Jb");
}

TEST(FtpListing, PassesOverWhatItCanNotRead) {
  EXPECT_THAT(Parse(""), IsEmpty());
  EXPECT_THAT(Parse("-rw-r--r--\n-rw-r--r-- 1 u g\n-rw-r--r-- 1 u g 5 Nov 1 09:15\n"), IsEmpty());
  EXPECT_THAT(Parse("-rw-r--r-- 1 u g 5 Nov 99 09:15 x\n-rw-r--r-- 1 u g -5 Nov 1 09:15 x\n"), IsEmpty());
  EXPECT_THAT(Parse("crw-rw---- 1 root tty 4, 64 Nov 1 09:15 ttyS0\n"), IsEmpty());
  EXPECT_THAT(Parse("drwxr-xr-x 2 u g 1 Nov 1 09:15 .\ndrwxr-xr-x 2 u g 1 Nov 1 09:15 ..\n"), IsEmpty());
  EXPECT_THAT(Parse("11-21-26\n11-21-26  02:15PM 5\n99-21-26  02:15PM 5 x\nsome words\n"), IsEmpty());
}

// Local time at the server's side of a machine listing is UTC; here it is two hours ahead of it, where that can be had.
class FtpMachineListing : public testing::Test {
 protected:
  FtpMachineListing() : ahead_(tests::MoveToZone("EAST-2") ? 2 : 0) {}
  ~FtpMachineListing() override { tests::LeaveZone(); }

  const int ahead_;
};

TEST_F(FtpMachineListing, ReadsFactsInAnyOrderAndCase) {
  EXPECT_THAT(
      ParseMachineListing("type=file;size=12345;modify=20261121121537;perm=adfr; lap.cas\r\n"
                          "Modify=20261121121537.250;Size=7;Type=file; two  words\r\n"
                          "type=dir;sizd=4096;modify=20240102030405; a folder\r\n"),
      ElementsAre(RemoteEntry{.written = At(2026, 11, 21, 12 + ahead_, 15, 37), .size = 12345, .name = "lap.cas"},
                  RemoteEntry{.written = At(2026, 11, 21, 12 + ahead_, 15, 37), .size = 7, .name = "two  words"},
                  RemoteEntry{.written = At(2024, 1, 2, 3 + ahead_, 4, 5), .directory = true, .name = "a folder"}));
}

TEST_F(FtpMachineListing, LeavesOutTheDirectoryItselfAndTheOneAbove) {
  EXPECT_THAT(ParseMachineListing("type=cdir; .\r\ntype=pdir; ..\r\ntype=cdir; /pub\r\ntype=dir; ..\r\n"), IsEmpty());
}

TEST_F(FtpMachineListing, TakesABadFactForNotTold) {
  EXPECT_THAT(ParseMachineListing("type=file;size=x;modify=2026; a\r\ntype=file;modify=20269921121537; b\r\n"),
              ElementsAre(RemoteEntry{.name = "a"}, RemoteEntry{.name = "b"}));
  EXPECT_THAT(ParseMachineListing("nonsense x\r\nnothing\r\n"), IsEmpty());
}

}  // namespace
}  // namespace zelkor::vandry
