#include "lib/remote_listing.h"

#include <gtest/gtest.h>

namespace zelkor::lib {
namespace {

Date At(int year, int month, int day, int hour, int minute, int second) {
  return *FromCalendar({.year = year, .month = month, .day = day, .hour = hour, .minute = minute, .second = second});
}

TEST(RemoteListing, PutsDateSizeAndNameIntoColumns) {
  EXPECT_EQ(RemoteListingLine({.written = At(2026, 11, 21, 14, 15, 37), .size = 12345, .name = "lap.cas"}),
            "2026-11-21 14:15:37          12345 lap.cas");
  EXPECT_EQ(RemoteListingLine({.written = At(2026, 1, 2, 3, 4, 5), .size = 0, .name = "lap01.cas"}),
            "2026-01-02 03:04:05              0 lap01.cas");
}

TEST(RemoteListing, MarksADirectoryAndAnUnknownDate) {
  EXPECT_EQ(RemoteListingLine({.directory = true, .name = "a folder"}), "---------- --------          <DIR> a folder");
}

TEST(RemoteListing, ReadsALineBack) {
  const RemoteEntry file{.written = At(2026, 11, 21, 14, 15, 37), .size = 12345, .name = "two  words.cas"};
  EXPECT_EQ(ParseRemoteListingLine("2026-11-21 14:15:37          12345 two  words.cas"), file);
  const RemoteEntry folder{.directory = true, .name = "<DIR> x"};
  EXPECT_EQ(ParseRemoteListingLine("---------- --------          <DIR> <DIR> x"), folder);
}

TEST(RemoteListing, ReadsASizeWiderThanItsColumn) {
  const RemoteEntry wide{.size = 123456789012345678, .name = "big"};
  EXPECT_EQ(ParseRemoteListingLine(RemoteListingLine(wide)), wide);
}

TEST(RemoteListing, KeepsABlankThatANameBeginsWith) {
  const RemoteEntry odd{.size = 1, .name = " x"};
  EXPECT_EQ(ParseRemoteListingLine(RemoteListingLine(odd)), odd);
}

TEST(RemoteListing, RefusesWhatIsNoSuchLine) {
  for (const char* line : {
           "",
           "2026-11-21 14:15:37",
           "2026-11-21 14:15:37          12345",
           "2026-11-21 14:15:37          12345 ",
           "2026-11-21 14:15:37 12345 early.cas",
           "2026-13-21 14:15:37          12345 month.cas",
           "2026-11-21T14:15:37          12345 letter.cas",
           "2026-11-21 14:15:37          12x45 number.cas",
           "2026-11-21 14:15:37             -5 negative.cas",
           "2026-11-21 14:15:37 99999999999999999999 overflow.cas",
           "                                          ",
       }) {
    EXPECT_FALSE(ParseRemoteListingLine(line)) << line;
  }
}

}  // namespace
}  // namespace zelkor::lib
