// The usual scene of a run from outside: two computers, "office" and "lap", that exchange sync files by the folder
// "stick", which is drive m on both, and know each other as File targets with that folder.
#pragma once

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp
#include <string>
#include <vector>

#include "tests/support/bytes.h"
#include "tests/support/computer.h"
#include "tests/support/sync_bytes.h"

namespace zelkor::tests {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zelkor-run-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  [[nodiscard]] const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

class TwoComputers : public testing::Test {
 protected:
  TwoComputers() {
    office.SetTarget({.id = "lap", .mediaPath = "m:\\"});
    lap.SetTarget({.id = "office", .mediaPath = "m:\\"});
  }

  [[nodiscard]] std::filesystem::path Stick() const { return folder.Path() / "stick"; }
  [[nodiscard]] std::vector<std::string> OnStick() const { return NamesIn(Stick()); }
  // A file on a computer with an item of its own, called after it.
  static void AddFileItem(const Computer& computer, std::int32_t memoId, const std::string& name,
                          const std::string& content, std::time_t written, int syncMethod = 0) {
    computer.WriteFile(name, content, written);
    computer.AddItem(
        {.fileName = Computer::PathOf(name), .description = name, .memoId = memoId, .syncMethod = syncMethod});
  }
  // A sync file put on the stick for a computer.
  void Put(const std::string& name, const SyncImage& image) const { WriteBytes(Stick() / name, EncodeSync(image)); }

  // A sync file that an export left on the stick.
  [[nodiscard]] SyncImage Waiting(const std::string& name) const { return DecodeSync(ReadBytes(Stick() / name)); }

  TemporaryFolder folder;
  Computer office{folder.Path(), "office"};
  Computer lap{folder.Path(), "lap"};
};

// For EXPECT_THAT of what a run said.
inline auto Says(const std::string& text) { return testing::HasSubstr(text); }

}  // namespace zelkor::tests
