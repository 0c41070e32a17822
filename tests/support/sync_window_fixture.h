// The synchronisation window on the screen, above a database in a sandbox.
#pragma once

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/listbox.h>
#include <wx/menu.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/toolbar.h>

#include "app/window_user.h"
#include "db/memory_rows.h"
#include "lib/gui/text.h"
#include "net/sync_window.h"
#include "tests/support/gui_testing.h"
#include "tests/support/office.h"
#include "tests/support/scripted_desktop.h"

namespace zelkor::tests {

// The synchronisation window of the computer "office" with the targets "laptop" (a folder) and "tower" (FTP).
class SyncWindowFixture : public Office<GuiTest, app::WindowUser> {
 protected:
  SyncWindowFixture() {
    catalogue_.FillItemList(db::kLiveItems);
    std::filesystem::create_directory(Stick());
    targets_.NewTarget("laptop");
    ChangeTarget("laptop", [this](net::TargetRec& rec) { rec.SetText(net::TargetRec::kMediaPath, OnDriveZ(Stick())); });
    targets_.NewTarget("tower");
    ChangeTarget("tower", [](net::TargetRec& rec) {
      rec.SetNumber(net::TargetRec::kConnectionType, 2);
      rec.SetText(net::TargetRec::kAddress, "ftp.example.com");
      rec.SetText(net::TargetRec::kUserName, "anna");
      rec.SetText(net::TargetRec::kPassword, "secret");
      rec.SetText(net::TargetRec::kDirectory, "/sync");
      rec.SetNumber(net::TargetRec::kDefaultExclude, 1);
    });
  }
  ~SyncWindowFixture() override {
    EXPECT_EQ(StillExpected(), 0U) << "modal windows that never came";
    catalogue_.Occupied().OnChange({});
    delete window_;
  }

  // As the main window opens it.
  void Open() {
    window_ = new net::Sync(nullptr, context_, desktop_, Hooks());
    user_.ShowRunsIn([this]() -> lib::RunView& { return *window_; });
    catalogue_.Occupied().OnChange([this] { window_->OccupationChanged(); });
    window_->FillTargetList();
    window_->ShowWindow();
    ShowActive(*window_);
  }

  [[nodiscard]] std::filesystem::path History() const { return ProgramFolder() / "ZELKOR history.log"; }
  net::TargetRec Target(const std::string& id) {
    EXPECT_NE(targets_.FindTarget(id, false), 0) << id;
    return targets_.Current();
  }
  void AddItem(const std::string& description, const std::string& selection) {
    const std::int32_t recno = *catalogue_.AddItem(description, selection);
    database_.Item().SetNumber(db::FileRec::kSyncMethod, static_cast<std::int32_t>(db::SyncMethod::On));
    database_.WriteItem(recno);
  }

  template <class Control>
  Control& Named(const char* name) const {
    auto* found = wxDynamicCast(wxWindow::FindWindowByName(name, window_), Control);
    if (found == nullptr) throw std::runtime_error(std::string("no control ") + name);
    return *found;
  }
  [[nodiscard]] wxListBox& List() const { return Named<wxListBox>("Targets"); }
  [[nodiscard]] wxChoice& Connections() const { return Named<wxChoice>("Connection"); }
  [[nodiscard]] wxTextCtrl& Box(const char* caption) const { return Named<wxTextCtrl>(caption); }
  [[nodiscard]] wxCheckBox& DefaultExclude() const { return Named<wxCheckBox>("DefaultExclude"); }
  [[nodiscard]] std::string Status() const { return lib::FromWx(Named<wxStaticText>("Status").GetLabelText()); }
  [[nodiscard]] std::vector<std::string> Entries() const {
    std::vector<std::string> entries;
    for (const wxString& text : List().GetStrings()) entries.push_back(lib::FromWx(text));
    return entries;
  }
  // Captions and values of the visible rows.
  [[nodiscard]] std::vector<std::string> Rows() const {
    std::vector<std::string> rows;
    for (const char* caption : {"Media", "IP address", "Server", "Username", "Password", "Directory"}) {
      const auto* box = wxDynamicCast(wxWindow::FindWindowByName(caption, window_), wxTextCtrl);
      if (box == nullptr || !box->IsShownOnScreen()) continue;
      EXPECT_TRUE(Child(*window_, caption)->IsShownOnScreen()) << caption;
      rows.push_back(caption + ("=" + lib::FromWx(box->GetValue())));
    }
    return rows;
  }
  [[nodiscard]] bool CanSave() const { return Enabled(net::Sync::Target_Save); }
  [[nodiscard]] bool Enabled(net::Sync::Command command) const { return window_->GetMenuBar()->IsEnabled(command); }
  [[nodiscard]] bool ToolEnabled(net::Sync::Command command) const {
    return window_->GetToolBar()->GetToolEnabled(command);
  }

  // Access keys, one menu after another.
  static void Menu(const std::string& keys) { GuiTest::Menu(keys[0], keys.substr(1)); }
  // Selects a target with the keyboard.
  void Select(int index) {
    List().SetFocus();
    Press(index == 0 ? WXK_HOME : WXK_END);
    ASSERT_TRUE(Until([&] { return List().GetSelection() == index; }));
  }
  // The middle of a target's entry, on the screen.
  [[nodiscard]] wxPoint PlaceOfTarget(int index) const {
    const wxSize size = List().GetClientSize();
    const int x = size.GetWidth() / 2;
    int top = 0;
    while (top < size.GetHeight() && List().HitTest(x, top) != index) ++top;
    int bottom = top;
    while (bottom < size.GetHeight() && List().HitTest(x, bottom) == index) ++bottom;
    EXPECT_LT(top, bottom) << "entry " << index << " is not to be seen";
    return List().ClientToScreen(wxPoint(x, (top + bottom) / 2));
  }
  // Replaces a box's text as somebody types it.
  void Fill(const char* caption, const char* text) {
    Click(Box(caption));
    Press('A', wxMOD_CONTROL);
    Type(text);
  }
  static void AnswerInput(const char* prompt, const char* text) {
    Expect([=](ShownModal& box) {
      ASSERT_NE(box.Window(), nullptr);
      EXPECT_NE(Child(*box.Window(), prompt), nullptr);
      if (text == nullptr) {
        Press(WXK_ESCAPE);
      } else {
        Press('A', wxMOD_CONTROL);
        if (*text != '\0') {
          Type(text);
        } else {
          Press(WXK_DELETE);
        }
        Press(WXK_RETURN);
      }
    });
  }
  static void AnswerBox(const std::string& text, const std::string& icon, const std::string& button) {
    Expect([=](ShownModal& box) {
      EXPECT_EQ(box.Text(), text);
      EXPECT_EQ(box.Icon(), icon);
      box.Click(button);
    });
  }

  net::SyncHooks Hooks() {
    const auto with = [this](const std::string& name) {
      return [this, name] { calls_.push_back(name + " " + targets_.Current().Text(net::TargetRec::kPassword)); };
    };
    return {.startLink = [this] { calls_.emplace_back("link"); },
            .testConnection = with("test"),
            .showFtpDirectory = with("directory"),
            .beforeRun = [this] { calls_.emplace_back("before"); },
            .itemsChanged = [this] { calls_.emplace_back("items"); }};
  }

  ScriptedDesktop desktop_;
  std::vector<std::string> calls_;
  net::Sync* window_ = nullptr;
};

}  // namespace zelkor::tests
