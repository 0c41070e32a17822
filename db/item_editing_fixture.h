// An item dialog without a window over a real database, for tests of item editing.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "db/item_editing.h"
#include "db/memory_rows.h"
#include "tests/support/bytes.h"
#include "tests/support/database_fixture.h"
#include "tests/support/golden_database.h"
#include "tests/support/scripted_desktop.h"

namespace zelkor::db {

// The dialog without a window. `Type…` does what the controls do: it changes the text and says so.
class ScriptedForm : public ItemForm {
 public:
  [[nodiscard]] bool FormShown() const override { return shown; }
  void ShowForm() override { shown = true; }
  void HideForm() override { shown = false; }
  void SetItem(const ItemShown& item) override {
    last = item;
    edited = {.description = item.description,
              .codes = item.codes,
              .fileNameUtf8 = item.fileName,
              .syncMethod = item.syncMethod,
              .syncTo = item.syncTo};
  }
  [[nodiscard]] ItemEdited Edited() const override { return edited; }
  void SetFileName(const std::string& utf8) override { edited.fileNameUtf8 = utf8; }
  [[nodiscard]] bool ApplyEnabled() const override { return applyEnabled; }
  void EnableApply(bool enable) override { applyEnabled = enable; }
  void EnableFields(bool enable) override { fieldsEnabled = enable; }

  bool shown = false;
  bool applyEnabled = false;
  bool fieldsEnabled = true;
  ItemShown last;
  ItemEdited edited;
};

class ScriptedView : public CurrentItemView {
 public:
  void ShowCurrentItem(const CurrentItem& item) override { shown.push_back(item); }
  [[nodiscard]] const CurrentItem& Last() const { return shown.back(); }
  std::vector<CurrentItem> shown;
};

// One item of a test's database, its fields as docs/formats.md places them.
struct Given {
  std::string description;
  std::string fileName{};
  std::string codes{};
  int syncMethod = 0;
  int syncTo = 1;
  int flags = 0;
  std::string source{};
  double imported = 0;
  std::int32_t memoId = 0;
};

inline std::string RecordOf(const Given& item) {
  std::string bytes(1024, '\0');
  tests::PutText(bytes, 0, 512, item.fileName);
  tests::PutText(bytes, 512, 64, item.description);
  tests::PutText(bytes, 576, 16, item.source);
  tests::PutI16(bytes, 592, item.flags);
  tests::PutDate(bytes, 602, item.imported);
  tests::PutI16(bytes, 618, item.syncMethod);
  tests::PutText(bytes, 620, 128, item.codes);
  tests::PutI32(bytes, 748, item.memoId);
  tests::PutI16(bytes, 752, item.syncTo);
  return bytes;
}

class ItemEditingTest : public tests::DatabaseFixture {
 protected:
  ItemEditingTest() { tests::MoveToZone("UTC"); }

  void OpenWith(const std::vector<Given>& items) {
    std::string bytes;
    std::int32_t memoId = 1000;
    for (Given item : items) {
      if (item.memoId == 0) item.memoId = ++memoId;
      bytes += RecordOf(item);
    }
    WriteConfigFile(tests::GoldenConfig());
    WriteItemFile(bytes);
    ASSERT_EQ(Open(), Database::Opened::Yes);
    catalogue_.emplace(Data(), rows_, user_);
    editing_.emplace(*catalogue_, user_, desktop_);
    editing_->Attach(&form_, &view_);
    editing_->ImportsWith([this](const std::string& path) { imported_.push_back(path); });
    catalogue_->FillItemList(kAllItems);
    editing_->UpdateCurrentItem();
  }
  [[nodiscard]] ItemEditing& Editing() { return *editing_; }
  // The user clicks a row.
  void Click(int row) {
    rows_.Select(row);
    editing_->UpdateCurrentItem();
  }
  void Type(std::string ItemEdited::*field, const std::string& text) {
    form_.edited.*field = text;
    editing_->Edit();
  }
  // A field of a record on the disk.
  [[nodiscard]] std::string Stored(int recno, std::size_t offset, std::size_t width) const {
    return tests::TakeText(ItemFile(), static_cast<std::size_t>(recno - 1) * 1024 + offset, width);
  }
  [[nodiscard]] int StoredNumber(int recno, std::size_t offset) const {
    return tests::TakeI16(ItemFile(), static_cast<std::size_t>(recno - 1) * 1024 + offset);
  }
  [[nodiscard]] std::string StoredFiles(int recno) const { return Stored(recno, 0, 512); }
  [[nodiscard]] std::string StoredDescription(int recno) const { return Stored(recno, 512, 64); }
  [[nodiscard]] std::string StoredCodes(int recno) const { return Stored(recno, 620, 128); }
  [[nodiscard]] int Records() const { return static_cast<int>(ItemFile().size() / 1024); }

  void WriteFile(const std::string& name, const std::string& content, std::time_t written = 0) const {
    WriteNative(Home() / name, content);
    if (written == 0) return;
    const std::chrono::sys_seconds moment{std::chrono::seconds(written)};
    std::filesystem::last_write_time(Home() / name, std::chrono::file_clock::from_sys(moment));
  }

  MemoryRows rows_;
  tests::ScriptedDesktop desktop_;
  ScriptedForm form_;
  ScriptedView view_;
  std::vector<std::string> imported_;
  std::optional<Catalogue> catalogue_;
  std::optional<ItemEditing> editing_;
};

}  // namespace zelkor::db
