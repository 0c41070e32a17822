// The program with its windows, in a test's display and folder, up to the shown main window.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/mw.h"
#include "app/startup.h"
#include "app/windows.h"
#include "lib/gui/text.h"
#include "tests/support/golden_database.h"
#include "tests/support/gui_testing.h"
#include "tests/support/native_windows.h"
#include "tests/support/system.h"

namespace zelkor::tests {

class ProgramWithWindows : public GuiTest {
 protected:
  struct Given {
    std::string description;
    std::string codes = "";  // NOLINT(readability-redundant-string-init): braces may leave it out
    std::int32_t flags = 0;
    std::string fileName = "c:\\a.dat";
    std::int32_t syncMethod = 0;
  };

  ProgramWithWindows() { Settings("[Orlim]\r\nUser=Office\r\n"); }
  ~ProgramWithWindows() override { End(); }

  void Settings(const std::string& text) const { WriteNative(SettingsFile(), text); }
  [[nodiscard]] std::string SettingsText() const { return ReadNative(SettingsFile()); }
  [[nodiscard]] std::string ItemFile() const { return ReadNative(ProgramFolder() / "zelkor.ind"); }
  [[nodiscard]] bool StoredDeleted(std::size_t recno) const { return (ItemFile()[(recno - 1) * 1024 + 592] & 1) != 0; }

  void WriteItems(const std::vector<Given>& items) const {
    std::string bytes;
    std::int32_t memoId = 0;
    for (const Given& given : items) {
      db::FileRec rec;
      rec.SetText(db::FileRec::kFileName, given.fileName);
      rec.SetText(db::FileRec::kDescription, given.description);
      rec.SetText(db::FileRec::kImportSource, {});
      rec.SetText(db::FileRec::kCodes, given.codes);
      rec.SetNumber(db::FileRec::kFlags, given.flags);
      rec.SetNumber(db::FileRec::kMemoId, ++memoId);
      rec.SetNumber(db::FileRec::kSyncMethod, given.syncMethod);
      bytes.append(rec.Bytes().data(), db::FileRec::kBytes);
    }
    WriteNative(ProgramFolder() / "zelkor.cfg", GoldenConfig());
    WriteNative(ProgramFolder() / "zelkor.ind", bytes);
  }

  // Starts the program over these items, as the main program does. `files` as from the command line.
  void Start(const std::vector<Given>& items, const std::string& files = {}) {
    WriteItems(items);
    StartOnFiles(files);
    if (!Main().IsIconized() && Main().IsShown()) ShowActive(Main());
  }
  void StartOnFiles(const std::string& files = {}) {
    ended_ = false;
    user_.emplace();
    rows_.emplace();
    state_.emplace(*user_, *rows_, ProgramDir());
    state_->computerId = "Office";
    ASSERT_EQ(state_->database.OpenDatabase(), db::Database::Opened::Yes);
    ASSERT_TRUE(state_->remap.LoadRemapTable(ProgramDir(), *user_));
    state_->catalogue.FillItemList(db::kLiveItems);
    windows_ = std::make_unique<app::Windows>(*state_, *user_, *rows_, [this] { ended_ = true; });
    ShowMainWindow(*state_, Main(), windows_->Editing(), files);
    Settle();
  }
  // Takes the windows away, as the end of the program does.
  void End() {
    windows_.reset();
    state_.reset();
    Settle();
  }

  [[nodiscard]] app::mw& Main() { return windows_->Main(); }
  [[nodiscard]] app::StatusLine& Status() { return Main().Status(); }
  [[nodiscard]] std::string Panel(app::Panel panel) { return Status().Shown(panel); }
  [[nodiscard]] wxStaticText& SearchLabel() { return dynamic_cast<wxStaticText&>(*Child(Status(), "Quicksearch")); }
  [[nodiscard]] db::Catalogue& Items() { return state_->catalogue; }
  [[nodiscard]] int Row() { return rows_->Selected(); }
  // What the detailed view shows.
  [[nodiscard]] std::vector<std::string> Listed(int column = 0) {
    Settle();
    std::vector<std::string> texts;
    texts.reserve(static_cast<std::size_t>(Main().Details().GetItemCount()));
    for (int item = 0; item < Main().Details().GetItemCount(); ++item) {
      texts.push_back(lib::FromWx(Main().Details().GetItemText(item, column)));
    }
    return texts;
  }
  // The middle of a row of the detailed view, on the screen.
  [[nodiscard]] wxPoint RowPlace(int row) {
    wxRect place;
    EXPECT_TRUE(Main().Details().GetItemRect(row - 1, place));
    return Main().Details().ClientToScreen(wxPoint(place.x + 30, place.y + place.height / 2));
  }
  void ClickTool(const std::string& caption) {
    for (const native::Button& tool : native::ToolButtons(Main().GetHandle())) {
      if (tool.caption == caption) {
        Click(tool.centre);
        return;
      }
    }
    ADD_FAILURE() << "no button " << caption;
  }

  // Has the programs of the desktop be one that writes its argument to a file.
  void CatchOpenedDocuments() const { tests::CatchOpenedDocuments(Root() / "bin", Root() / "opened"); }
  [[nodiscard]] std::string OpenedDocument() const {
    Until([this] { return std::filesystem::exists(Root() / "opened"); }, "a document to be opened");
    return ReadNative(Root() / "opened");
  }

  std::optional<app::WindowUser> user_;
  std::optional<app::MwRows> rows_;
  std::optional<app::ProgramState> state_;
  std::unique_ptr<app::Windows> windows_;
  bool ended_ = false;
};

}  // namespace zelkor::tests
