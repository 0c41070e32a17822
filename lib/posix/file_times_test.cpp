#include "lib/file_times.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv
#include <sys/stat.h>
#include <sys/xattr.h>
#include <time.h>  // NOLINT(modernize-deprecated-headers): tzset

#include "lib/date_fixture.h"
#include "lib/files.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

constexpr const char* kCreatedAttribute = "user.zelkor.created";
// 4 March 2021 10:20:30 UTC and 4 July 2021 10:20:30 UTC.
constexpr std::int64_t kMarch = 1614853230;
constexpr std::int64_t kJuly = 1625394030;

class FileTimes : public tests::Sandbox {
 protected:
  FileTimes() { MoveTo("UTC"); }
  ~FileTimes() override {
    unsetenv("TZ");
    tzset();
  }
  static void MoveTo(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  // A file with these access and write times, nanoseconds included.
  [[nodiscard]] std::string Make(timespec accessed, timespec written) const {
    WriteNative(Home() / "a", "content");
    const std::array<timespec, 2> times = {accessed, written};
    EXPECT_EQ(utimensat(AT_FDCWD, (Home() / "a").c_str(), times.data(), 0), 0);
    return "c:\\a";
  }
  [[nodiscard]] struct stat Stat() const {
    struct stat info {};
    EXPECT_EQ(stat((Home() / "a").c_str(), &info), 0);
    return info;
  }
  [[nodiscard]] bool KeepsAttributes() const { return setxattr(Home().c_str(), "user.zelkor.test", "1", 1, 0) == 0; }
};

TEST_F(FileTimes, AreReadToTheSecondBelow) {
  const std::string path = Make({kJuly, 999999999}, {kMarch, 999000000});
  EXPECT_EQ(GetFileDate(path, FileTime::Written), DateOf(2021, 3, 4, 10, 20, 30));
  EXPECT_EQ(GetFileDate(path, FileTime::Accessed), DateOf(2021, 7, 4, 10, 20, 30));
  EXPECT_EQ(GetFileInfo(path)->written, DateOf(2021, 3, 4, 10, 20, 30));
}

TEST_F(FileTimes, BeforeTheSystemsEpochAreReadToTheSecondBelowToo) {
  const std::string path = Make({kJuly, 0}, {-2, 999000000});  // 1.001 seconds before 1970
  EXPECT_EQ(GetFileDate(path, FileTime::Written), DateOf(1969, 12, 31, 23, 59, 58));
}

TEST_F(FileTimes, AreLocalTimesByTheOffsetOfTheirOwnDate) {
  const std::string path = Make({kJuly, 0}, {kMarch, 0});
  MoveTo("Europe/Berlin");
  EXPECT_EQ(GetFileDate(path, FileTime::Written), DateOf(2021, 3, 4, 11, 20, 30));
  EXPECT_EQ(GetFileDate(path, FileTime::Accessed), DateOf(2021, 7, 4, 12, 20, 30));
  EXPECT_FALSE(SetFileDate(path, FileTime::Written, DateOf(2021, 7, 4, 12, 20, 30)));
  EXPECT_EQ(Stat().st_mtim.tv_sec, kJuly);
}

TEST_F(FileTimes, SetOneAndLeaveTheOthers) {
  const std::string path = Make({kJuly, 123456789}, {kMarch, 987654321});
  const Date created = GetFileDate(path, FileTime::Created);
  ASSERT_FALSE(SetFileDate(path, FileTime::Written, DateOf(2001, 2, 3, 4, 5, 6)));
  EXPECT_EQ(GetFileDate(path, FileTime::Written), DateOf(2001, 2, 3, 4, 5, 6));
  EXPECT_EQ(Stat().st_mtim.tv_nsec, 0);
  EXPECT_EQ(Stat().st_atim.tv_sec, kJuly);
  EXPECT_EQ(Stat().st_atim.tv_nsec, 123456789);
  ASSERT_FALSE(SetFileDate(path, FileTime::Accessed, DateOf(2002, 2, 3, 4, 5, 6)));
  EXPECT_EQ(GetFileDate(path, FileTime::Accessed), DateOf(2002, 2, 3, 4, 5, 6));
  EXPECT_EQ(GetFileDate(path, FileTime::Written), DateOf(2001, 2, 3, 4, 5, 6));
  EXPECT_EQ(GetFileDate(path, FileTime::Created), created);
}

TEST_F(FileTimes, KeepTheCreationTimeOnceItIsSet) {
  if (!KeepsAttributes()) GTEST_SKIP() << "no attributes on this file system";
  const std::string path = Make({kJuly, 5}, {kMarch, 7});
  ASSERT_FALSE(SetFileDate(path, FileTime::Created, DateOf(2021, 3, 4, 10, 20, 30)));
  EXPECT_EQ(GetFileDate(path, FileTime::Created), DateOf(2021, 3, 4, 10, 20, 30));
  EXPECT_EQ(File::Open(path, OpenMode::Read)->Info()->created, DateOf(2021, 3, 4, 10, 20, 30));
  std::string text(32, '\0');
  text.resize(static_cast<std::size_t>(
      std::max<ssize_t>(0, getxattr((Home() / "a").c_str(), kCreatedAttribute, text.data(), text.size()))));
  EXPECT_EQ(text, "1614853230");
  EXPECT_EQ(Stat().st_mtim.tv_sec, kMarch);
  EXPECT_EQ(Stat().st_mtim.tv_nsec, 7);
  EXPECT_EQ(Stat().st_atim.tv_nsec, 5);
}

TEST_F(FileTimes, TakeTheSystemsCreationTimeWhenNoneWasSet) {
  const std::string path = Make({kJuly, 0}, {kMarch, 0});
  struct statx facts {};
  ASSERT_EQ(statx(AT_FDCWD, (Home() / "a").c_str(), 0, STATX_BTIME | STATX_MTIME, &facts), 0);
  const std::int64_t seconds = (facts.stx_mask & STATX_BTIME) != 0 ? facts.stx_btime.tv_sec : kMarch;
  EXPECT_EQ(DateToSeconds(GetFileDate(path, FileTime::Created)), seconds + kUnixEpoch);
  if (!KeepsAttributes()) return;
  ASSERT_EQ(setxattr((Home() / "a").c_str(), kCreatedAttribute, "12x", 3, 0), 0);
  EXPECT_EQ(DateToSeconds(GetFileDate(path, FileTime::Created)), seconds + kUnixEpoch) << "no number, no time";
}

TEST_F(FileTimes, OfAReadOnlyFileCanNotBeSet) {
  const std::string path = Make({kJuly, 0}, {kMarch, 0});
  for (const mode_t mode : {0444U, 0466U}) {
    ASSERT_EQ(chmod((Home() / "a").c_str(), mode), 0);
    for (const FileTime which : {FileTime::Created, FileTime::Accessed, FileTime::Written}) {
      EXPECT_TRUE(SetFileDate(path, which, DateOf(2001, 2, 3, 4, 5, 6)));
    }
  }
  EXPECT_EQ(Stat().st_mtim.tv_sec, kMarch);
  EXPECT_EQ(Stat().st_atim.tv_sec, kJuly);
  EXPECT_EQ(GetFileDate(path, FileTime::Written), DateOf(2021, 3, 4, 10, 20, 30)) << "but read";
}

TEST_F(FileTimes, AreZeroForWhatCanNotBeOpened) {
  EXPECT_EQ(GetFileDate("c:\\none", FileTime::Written), 0);
  EXPECT_EQ(GetFileDate("c:\\", FileTime::Written), 0);
  EXPECT_EQ(GetFileDate("q:\\a", FileTime::Written), 0);
  EXPECT_TRUE(SetFileDate("c:\\none", FileTime::Written, DateOf(2001, 2, 3, 4, 5, 6)));
  EXPECT_TRUE(SetFileDate("c:\\", FileTime::Written, DateOf(2001, 2, 3, 4, 5, 6)));
}

TEST_F(FileTimes, AreNotSetToNoDate) {
  const std::string path = Make({kJuly, 0}, {kMarch, 0});
  EXPECT_TRUE(SetFileDate(path, FileTime::Written, 0));
  EXPECT_TRUE(SetFileDate(path, FileTime::Written, 1e300));
  EXPECT_EQ(Stat().st_mtim.tv_sec, kMarch);
}

TEST_F(FileTimes, OfAnOpenFileAreSetTogether) {
  Result<NewFile> file = NewFile::Create("c:\\a");
  ASSERT_TRUE(file.Ok());
  ASSERT_TRUE(file->Content().SetTimes(DateOf(2021, 3, 4, 10, 20, 30), DateOf(2021, 7, 4, 10, 20, 30)).Ok());
  ASSERT_TRUE(file->Replace().Ok());
  EXPECT_EQ(Stat().st_mtim.tv_sec, kJuly);
  EXPECT_EQ(Stat().st_mtim.tv_nsec, 0);
  if (KeepsAttributes()) {
    EXPECT_EQ(GetFileDate("c:\\a", FileTime::Created), DateOf(2021, 3, 4, 10, 20, 30));
  }
}

TEST_F(FileTimes, SurviveEverySecondOfADay) {
  const std::string path = Make({kJuly, 0}, {kMarch, 0});
  const std::int64_t midnight = DateToSeconds(DateOf(2021, 3, 4, 0, 0, 0));
  for (int second = 0; second < 86400; second += 7) {
    const Date date = SecondsToDate(midnight + second);
    ASSERT_FALSE(SetFileDate(path, FileTime::Written, date));
    ASSERT_EQ(GetFileDate(path, FileTime::Written), date) << second;
  }
}

}  // namespace
}  // namespace zelkor::lib
