#include "sync/import_ahead.h"

#include <algorithm>
#include <filesystem>

#include "lib/file_times.h"
#include "tests/support/sandbox.h"
#include "tests/support/sync_bytes.h"

namespace zelkor::sync {
namespace {

namespace fs = std::filesystem;

constexpr lib::Date kWritten = 46000.5;
constexpr lib::Date kCreated = 45000.25;
constexpr lib::Date kNeverImported = 0;
constexpr bool kMakes = true;

class ImportAheadTest : public tests::Sandbox {
 protected:
  // One item whose files all have the same times.
  void WriteSyncFile(const std::vector<std::pair<std::string, std::string>>& files) {
    tests::SyncRecord record{.fileName = "c:\\in\\*.*", .description = "all"};
    for (const auto& [path, content] : files) {
      record.files.push_back({.path = path, .content = content, .written = kWritten, .created = kCreated});
    }
    const tests::SyncImage image = tests::OneBlock("office", {record});
    WriteNative(Home() / "a.cas", tests::EncodeSync(image));
    places_.clear();
    for (const tests::SyncBoundary& boundary : tests::SyncBoundaries(image)) {
      if (boundary.what.find("content") != std::string::npos) {
        places_.push_back(static_cast<std::int64_t>(boundary.offset));
      }
    }
    ASSERT_EQ(places_.size(), files.size());
  }
  // Asks until the thread has come that far: what it has not begun yet it leaves to the import.
  std::optional<lib::UnnamedFile> TakeLast(const std::string& path) {
    for (int i = 0; i < 10000; ++i) {
      ImportAhead ahead("c:\\a.cas", remap_, kNeverImported, kMakes);
      std::this_thread::yield();
      if (std::optional<lib::UnnamedFile> file = ahead.Take(places_.back(), path).file) return file;
    }
    return std::nullopt;
  }
  static std::string ContentOf(lib::File& file) {
    std::string content(static_cast<std::size_t>(*file.Length()), '\0');
    EXPECT_EQ(*file.ReadAt(0, content), content.size());
    return content;
  }

  db::RemapTable remap_;
  std::vector<std::int64_t> places_;
};

TEST_F(ImportAheadTest, MakesAFileWholeAndWithItsTimesButWithoutAName) {
  if (!lib::UnnamedFileMaker::Works()) GTEST_SKIP() << "nothing is made ahead here";
  fs::create_directory(Home() / "in");
  WriteSyncFile({{"c:\\in\\a", "first"}, {"c:\\in\\b", "second"}});
  std::optional<lib::UnnamedFile> file = TakeLast("c:\\in\\b");
  ASSERT_TRUE(file);
  EXPECT_EQ(ContentOf(file->Content()), "second");
  const lib::FileInfo info = *file->Content().Info();
  EXPECT_EQ(info.written, kWritten);
  EXPECT_EQ(info.created, kCreated);
  EXPECT_TRUE(fs::is_empty(Home() / "in"));
}

TEST_F(ImportAheadTest, MakesAFileWhoseDirectoryIsNotThereYet) {
  if (!lib::UnnamedFileMaker::Works()) GTEST_SKIP() << "nothing is made ahead here";
  WriteSyncFile({{"c:\\in\\deep\\a", "first"}});
  EXPECT_TRUE(TakeLast("c:\\in\\deep\\a"));
  EXPECT_FALSE(fs::exists(Home() / "in"));
}

TEST_F(ImportAheadTest, GivesAFileForThePathOnlyThatItWasMadeFor) {
  if (!lib::UnnamedFileMaker::Works()) GTEST_SKIP() << "nothing is made ahead here";
  fs::create_directory(Home() / "in");
  WriteSyncFile({{"c:\\in\\a", "first"}});
  ASSERT_TRUE(TakeLast("c:\\in\\a"));
  for (int i = 0; i < 100; ++i) {
    ImportAhead ahead("c:\\a.cas", remap_, kNeverImported, kMakes);
    EXPECT_FALSE(ahead.Take(places_.back(), "c:\\in\\other").file);
  }
}

TEST_F(ImportAheadTest, NeverGivesWhatWasNotToBeTaken) {
  fs::create_directory(Home() / "in");
  WriteNative(Home() / "in/same", "here");
  ASSERT_FALSE(lib::SetFileDate("c:\\in\\same", lib::FileTime::Written, kWritten));
  WriteSyncFile({{"c:\\in\\same", "there"}, {"c:\\in\\long", std::string(100000, 'x')}});
  for (int i = 0; i < 100; ++i) {
    ImportAhead ahead("c:\\a.cas", remap_, kNeverImported, kMakes);
    EXPECT_FALSE(ahead.Take(places_[0], "c:\\in\\same").file);
    EXPECT_FALSE(ahead.Take(places_[1], "c:\\in\\long").file);
  }
}

TEST_F(ImportAheadTest, TellsOfTheLocalFileAndMakesNoneWhenItOnlyLooks) {
  fs::create_directory(Home() / "in");
  WriteNative(Home() / "in/a", "older");
  ASSERT_FALSE(lib::SetFileDate("c:\\in\\a", lib::FileTime::Written, kWritten - 1));
  // The same file again and again: what is asked for before it was seen is left to the import.
  const std::vector<std::pair<std::string, std::string>> files(500, {"c:\\in\\a", "newer"});
  WriteSyncFile(files);
  int seen = 0;
  for (int round = 0; round < 1000 && seen == 0; ++round) {
    ImportAhead ahead("c:\\a.cas", remap_, kNeverImported, !kMakes);
    for (const std::int64_t place : places_) {
      std::this_thread::yield();
      const ImportAhead::Found found = ahead.Take(place, "c:\\in\\a");
      EXPECT_FALSE(found.file);
      if (!found.local) continue;
      ++seen;
      EXPECT_EQ(found.local->written, kWritten - 1);
    }
  }
  EXPECT_GT(seen, 0);
}

TEST_F(ImportAheadTest, TellsNothingThatItSawBeforeTheImportWrote) {
  fs::create_directory(Home() / "in");
  WriteNative(Home() / "in/b", "old");
  WriteSyncFile({{"c:\\in\\a", "first"}, {"c:\\in\\b", "second"}});
  for (int i = 0; i < 500; ++i) {
    ASSERT_FALSE(lib::SetFileDate("c:\\in\\b", lib::FileTime::Written, kWritten - 2));
    ImportAhead ahead("c:\\a.cas", remap_, kNeverImported, !kMakes);
    std::this_thread::yield();
    (void)ahead.Take(places_[0], "c:\\in\\a");
    ASSERT_FALSE(lib::SetFileDate("c:\\in\\b", lib::FileTime::Written, kWritten - 1));
    ahead.Wrote();
    const ImportAhead::Found found = ahead.Take(places_[1], "c:\\in\\b");
    if (found.local) {
      EXPECT_EQ(found.local->written, kWritten - 1);
    }
  }
}

TEST_F(ImportAheadTest, GoesThroughFarMoreFilesThanItKeeps) {
  if (!lib::UnnamedFileMaker::Works()) GTEST_SKIP() << "nothing is made ahead here";
  constexpr int kFiles = 2000;
  fs::create_directory(Home() / "in");
  std::vector<std::pair<std::string, std::string>> files;
  files.reserve(kFiles);
  for (int i = 0; i < kFiles; ++i) files.emplace_back("c:\\in\\f" + std::to_string(i), "content " + std::to_string(i));
  WriteSyncFile(files);
  int given = 0;
  // Again and again, for the two threads wait for each other in ever new ways.
  for (int round = 0; round < 10; ++round) {
    ImportAhead ahead("c:\\a.cas", remap_, kNeverImported, kMakes);
    for (std::size_t i = 0; i < files.size(); ++i) {
      std::optional<lib::UnnamedFile> file = ahead.Take(places_[i], files[i].first).file;
      if (!file) {
        std::this_thread::yield();
        continue;
      }
      ++given;
      ASSERT_EQ(ContentOf(file->Content()), files[i].second);
    }
  }
  EXPECT_GT(given, 0);
}

TEST_F(ImportAheadTest, EndsWhileManyFilesStandReady) {
  constexpr int kFiles = 500;
  fs::create_directory(Home() / "in");
  std::vector<std::pair<std::string, std::string>> files;
  files.reserve(kFiles);
  for (int i = 0; i < kFiles; ++i) files.emplace_back("c:\\in\\f" + std::to_string(i), "x");
  WriteSyncFile(files);
  for (int i = 0; i < 20; ++i) {
    ImportAhead ahead("c:\\a.cas", remap_, kNeverImported, kMakes);
    (void)ahead.Take(places_[static_cast<std::size_t>(i)], files[static_cast<std::size_t>(i)].first).file;
    if (i % 2 == 0) ahead.Stop();
  }
  EXPECT_TRUE(fs::is_empty(Home() / "in"));
}

TEST_F(ImportAheadTest, LeavesADamagedFileToTheImport) {
  fs::create_directory(Home() / "in");
  WriteSyncFile({{"c:\\in\\a", "first"}, {"c:\\in\\b", "second"}});
  const std::string whole = ReadNative(Home() / "a.cas");
  for (std::size_t length = 0; length < whole.size(); length += 7) {
    WriteNative(Home() / "a.cas", whole.substr(0, length));
    ImportAhead ahead("c:\\a.cas", remap_, kNeverImported, kMakes);
    EXPECT_FALSE(ahead.Take(places_[1], "c:\\in\\b").file) << length;
  }
}

}  // namespace
}  // namespace zelkor::sync
