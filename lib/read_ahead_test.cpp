#include "lib/read_ahead.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "lib/file_times.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

constexpr Date kOld = 40000.25;
constexpr Date kNew = 46000.5;

class ReadAheadTest : public tests::Sandbox {
 protected:
  std::string MakeFile(const std::string& name, const std::string& content, Date written = kNew) {
    WriteNative(Home() / name, content);
    EXPECT_FALSE(SetFileDate("c:\\" + name, FileTime::Written, written));
    return "c:\\" + name;
  }
  // Gives the thread the time that it needs to come to the next file, if it ever does.
  const ReadAhead::Found* TakeWhenReady(std::int32_t turn, const std::string& path) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!ahead_.Ready(turn) && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    return ahead_.Take(turn, path);
  }
  static std::string Content(const ReadAhead::Found& found) { return {found.content.begin(), found.content.end()}; }

  ReadAhead ahead_;
};

TEST_F(ReadAheadTest, HandsOutContentAndFactsInTurn) {
  const std::string one = MakeFile("one.txt", "first");
  const std::string two = MakeFile("two.txt", "");
  EXPECT_FALSE(SetFileDate(one, FileTime::Created, kOld));
  ahead_.Want(1, one, 0);
  ahead_.Want(2, two, 0);
  ahead_.Start();
  const ReadAhead::Found* found = TakeWhenReady(1, one);
  ASSERT_NE(found, nullptr);
  EXPECT_TRUE(found->read);
  EXPECT_EQ(Content(*found), "first");
  EXPECT_EQ(found->info.size, 5);
  EXPECT_EQ(found->info.created, File::Open(one, OpenMode::Read)->Info()->created);
  EXPECT_EQ(found->info.written, kNew);
  found = TakeWhenReady(2, two);
  ASSERT_NE(found, nullptr);
  EXPECT_TRUE(found->read);
  EXPECT_EQ(Content(*found), "");
}

TEST_F(ReadAheadTest, OnlyLooksAtTheDateOfAFileThatIsNotLaterThanTheCutoff) {
  const std::string same = MakeFile("same.txt", "x", kOld);
  const std::string later = MakeFile("later.txt", "y", kOld + 1.0 / 86400);
  ahead_.Want(1, same, kOld);
  ahead_.Want(2, later, kOld);
  ahead_.Start();
  const ReadAhead::Found* found = TakeWhenReady(1, same);
  ASSERT_NE(found, nullptr);
  EXPECT_FALSE(found->read);
  EXPECT_EQ(found->info.written, kOld);
  found = TakeWhenReady(2, later);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(Content(*found), "y");
}

TEST_F(ReadAheadTest, ForgetsWhatNobodyTookInItsTurn) {
  const std::string one = MakeFile("one.txt", "1");
  const std::string two = MakeFile("two.txt", "2");
  ahead_.Want(1, one, 0);
  ahead_.Want(2, two, 0);
  ahead_.Start();
  EXPECT_EQ(ahead_.Take(0, one), nullptr);
  EXPECT_EQ(ahead_.Wanted(), 2U);
  const ReadAhead::Found* found = TakeWhenReady(2, two);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(Content(*found), "2");
  EXPECT_EQ(ahead_.Take(2, two), nullptr);
  EXPECT_EQ(ahead_.Wanted(), 0U);
}

TEST_F(ReadAheadTest, GoesRoundManyTimesWithoutMixingFilesUp) {
  constexpr std::int32_t kTurns = 2000;
  constexpr std::int32_t kFiles = 50;
  for (std::int32_t i = 0; i < kFiles; ++i) MakeFile("f" + std::to_string(i), "content " + std::to_string(i));
  const auto path = [](std::int32_t turn) { return "c:\\f" + std::to_string(turn % kFiles); };
  std::int32_t wanted = 0;
  for (std::int32_t turn = 1; turn <= kTurns; ++turn) {
    if (ahead_.Wanted() < ReadAhead::kFiles / 2) {
      while (wanted < kTurns && ahead_.Wanted() < ReadAhead::kFiles) {
        ++wanted;
        ahead_.Want(wanted, path(wanted), 0);
      }
      ahead_.Start();
    }
    // Some are taken before the thread can have come to them, some are never asked for.
    if (turn % 7 == 0) continue;
    const ReadAhead::Found* found = ahead_.Take(turn, path(turn));
    if (found == nullptr) continue;
    ASSERT_TRUE(found->read);
    ASSERT_EQ(Content(*found), "content " + std::to_string(turn % kFiles));
  }
}

TEST_F(ReadAheadTest, EndsWithFilesStillWanted) {
  const std::string one = MakeFile("one.txt", "1");
  for (std::size_t i = 0; i < ReadAhead::kFiles; ++i) ahead_.Want(1, one, 0);
  ahead_.Start();
}

TEST_F(ReadAheadTest, LeavesWhatItCanNotReadToWhoeverNeedsIt) {
  const std::string directory = "c:\\folder";
  std::filesystem::create_directory(Home() / "folder");
  const std::string longest = MakeFile("longest", std::string(ReadAhead::kLongest, 'x'));
  const std::string longer = MakeFile("longer", std::string(ReadAhead::kLongest + 1, 'x'));
  std::int32_t turn = 0;
  const std::string missing = "c:\\missing";
  for (const std::string& path : {missing, directory, longer, std::string("q:\\x"), longest}) {
    ahead_.Want(++turn, path, 0);
  }
  ahead_.Start();
  const ReadAhead::Found* found = TakeWhenReady(turn, longest);  // the ones before it have been seen to
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(Content(*found), std::string(ReadAhead::kLongest, 'x'));
  for (const std::string& path : {missing, directory, longer, std::string("q:\\x")}) {
    ahead_.Want(++turn, path, 0);
    ahead_.Want(++turn, longest, 0);
    ahead_.Start();
    found = ahead_.Take(turn - 1, path);
    EXPECT_TRUE(found == nullptr || !found->read) << path;
    found = TakeWhenReady(turn, longest);
    EXPECT_NE(found, nullptr);
  }
}

}  // namespace
}  // namespace zelkor::lib
