// Runs as the synchronisation window and its log show them.

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>
#include <wx/button.h>
#include <wx/gauge.h>
#include <wx/timer.h>
#include <wx/utils.h>

#include "lib/clock.h"
#include "lib/settings.h"
#include "net/sync_window.h"
#include "tests/support/native_windows.h"
#include "tests/support/sync_window_fixture.h"

namespace zelkor::net {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tests::ShownModal;

class SyncRun : public tests::SyncWindowFixture, private lib::RunView {
 protected:
  // As if a run had begun; it lasts until EndRun.
  void BeginRun() {
    run_.emplace(catalogue_.Occupied());
    OpenLog();
  }
  // A window manager gives the new window the keyboard, and this one gives it back.
  void OpenLog() {
    const bool there = window_->Log().IsShown();
    logCame_ = there || !tests::native::NewWindowsGetTheKeyboard();
    window_->Log().Bind(wxEVT_ACTIVATE, [this](wxActivateEvent& event) {
      logCame_ = true;
      event.Skip();
    });
    user_.ShowLog("Sync Log");
    const auto isBack = [&] {
      // A log that was there before gives nothing back, and the test may just have used it.
      if (there && !window_->IsActive()) window_->Raise();
      return logCame_ && window_->IsActive();
    };
    Until(isBack, "the keyboard to come back from the log");
    Settle();
  }
  void EndRun() {
    run_.reset();
    Settle();
  }

  // A target whose sync files come back to this computer, and some files for it.
  void OpenWithFiles(int count, std::size_t size = 10) {
    targets_.NewTarget("test");
    ChangeTarget("test", [this](TargetRec& rec) { rec.SetText(TargetRec::kMediaPath, OnDriveZ(Stick())); });
    for (int i = 1; i <= count; ++i) WriteNative(Home() / "data" / Name(i), std::string(size, 'x'));
    AddItem("Data", "c:\\data\\*.*");
    Open();
    OpenLog();
    Select(2);
  }
  static std::string Name(int number) { return "file" + std::to_string(1000 + number) + ".txt"; }
  // Puts this between the run and the window: `act` is called after each log line, with its number.
  void AtLogLine(std::function<void(int)> act) {
    atLogLine_ = std::move(act);
    user_.ShowRunsIn([this]() -> lib::RunView& { return *this; });
  }

  [[nodiscard]] const std::vector<std::string>& LogLines() const { return window_->Log().List().Lines(); }
  [[nodiscard]] static wxWindow& CancelButton(const wxWindow& window) { return *Child(window, "Cancel"); }
  [[nodiscard]] wxString ProgressText() const { return Named<wxStaticText>("Progress text").GetLabelText(); }
  [[nodiscard]] bool FilesWaitOnTheStick() const { return fs::exists(Stick() / "office.cas"); }

 private:
  void SetStatus(const std::string& text, bool busy) override { window_->SetStatus(text, busy); }
  void ShowLog(const std::string& caption) override { window_->ShowLog(caption); }
  void LogLine(const std::string& line) override {
    window_->LogLine(line);
    atLogLine_(++logLines_);
  }
  void ShowProgress(const lib::Progress& progress) override { window_->ShowProgress(progress); }
  void EndProgress() override { window_->EndProgress(); }
  [[nodiscard]] bool Cancelled() const override { return window_->Cancelled(); }

  std::optional<lib::Occupation::Guard> run_;
  std::function<void(int)> atLogLine_;
  int logLines_ = 0;
  bool logCame_ = false;
};

TEST_F(SyncRun, ExportsByKeyByMenuAndByButton) {
  OpenWithFiles(3);
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return fs::exists(Stick() / "office.cas"); }));
  Menu("SE");
  ASSERT_TRUE(Until([&] { return fs::exists(Stick() / "office01.cas"); }));
  ClickTool(*window_, "Export");
  ASSERT_TRUE(Until([&] { return fs::exists(Stick() / "office02.cas"); }));
  ASSERT_TRUE(Until([&] { return Entries()[2].starts_with("test [Exp:"); }));
  EXPECT_EQ(List().GetSelection(), 2);
  EXPECT_THAT(calls_, Not(Contains("items")));
}

TEST_F(SyncRun, ImportsAndViewsByKeyByMenuAndByButton) {
  OpenWithFiles(1);
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return FilesWaitOnTheStick(); }));
  int views = 0;
  for (const std::function<void()>& view : std::vector<std::function<void()>>{
           [] { Press('R', wxMOD_CONTROL); }, [] { Menu("SV"); }, [this] { ClickTool(*window_, "View"); }}) {
    ++views;
    view();
    ASSERT_TRUE(Until([&] {
      return std::count_if(LogLines().begin(), LogLines().end(),
                           [](const std::string& line) { return line.ends_with(" Sync - View"); }) == views;
    }));
    EXPECT_TRUE(FilesWaitOnTheStick());
  }
  for (const std::function<void()>& import : std::vector<std::function<void()>>{
           [] { Press('I', wxMOD_CONTROL); }, [] { Menu("SI"); }, [this] { ClickTool(*window_, "Import"); }}) {
    if (!FilesWaitOnTheStick()) Press('E', wxMOD_CONTROL);
    ASSERT_TRUE(Until([&] { return FilesWaitOnTheStick(); }));
    calls_.clear();
    import();
    ASSERT_TRUE(Until([&] { return !FilesWaitOnTheStick(); }));
    EXPECT_THAT(calls_, testing::ElementsAre("before", "items"));
  }
  EXPECT_THAT(Entries()[2], HasSubstr("[Imp:"));
}

TEST_F(SyncRun, ShowsItsLogUnderTheCaptionWithTheNewestLineSelected) {
  OpenWithFiles(40);
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return !LogLines().empty() && LogLines().back().starts_with("Export completed."); }));
  Settle();
  LogWindow& log = window_->Log();
  EXPECT_TRUE(log.IsShownOnScreen());
  EXPECT_EQ(log.GetTitle(), "Sync Log");
  EXPECT_THAT(LogLines().front(), EndsWith(" Sync - Export"));
  EXPECT_THAT(LogLines(), Contains("  [c:\\data\\" + Name(40) + "]"));
  const long newest = log.List().GetItemCount() - 1;
  EXPECT_EQ(newest + 1, static_cast<long>(LogLines().size()));
  EXPECT_EQ(log.List().GetFirstSelected(), newest);
  wxRect row;
  ASSERT_TRUE(log.List().GetItemRect(newest, row));
  EXPECT_TRUE(log.List().GetClientRect().Intersects(row));
  EXPECT_LE(row.GetBottom(), log.List().GetClientSize().GetHeight());
  Screenshot("sync-log");
}

TEST_F(SyncRun, TheLogStandsBesideTheWindowAndLeavesItTheKeyboard) {
  OpenWithFiles(1);
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return FilesWaitOnTheStick(); }));
  EXPECT_TRUE(window_->Log().IsShownOnScreen());
  EXPECT_TRUE(window_->IsActive());
  EXPECT_TRUE(List().HasFocus());
  EXPECT_FALSE(window_->Log().GetRect().Intersects(window_->GetRect()));
}

TEST_F(SyncRun, ASecondRunAddsToAnOpenLogAndStartsAClosedOneAnew) {
  OpenWithFiles(1);
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return !LogLines().empty() && LogLines().back().starts_with("Export completed."); }));
  const std::size_t first = LogLines().size();
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return LogLines().size() == 2 * first; }));
  window_->Log().Close();
  EXPECT_FALSE(window_->Log().IsShown());
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return LogLines().size() == first && window_->Log().IsShown(); }));
}

TEST_F(SyncRun, AsksForEachFileWhenUpdatesAreConfirmed) {
  OpenWithFiles(2);
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return FilesWaitOnTheStick(); }));
  fs::remove_all(Home() / "data");
  Menu("OC");
  for (const auto& [number, answer] : std::vector<std::pair<int, std::string>>{{1, "No"}, {2, "Yes"}}) {
    Expect([number = number, answer = answer](ShownModal& box) {
      EXPECT_EQ(box.Title(), "Import");
      EXPECT_EQ(box.Text(), "Import c:\\data\\" + Name(number) + "?");
      EXPECT_EQ(box.Icon(), "question");
      box.Click(answer);
    });
  }
  Press('I', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return fs::exists(Home() / "data" / Name(2)); }));
  EXPECT_FALSE(fs::exists(Home() / "data" / Name(1)));
}

TEST_F(SyncRun, DuringARunItsCommandsAreDisabledAndThenComeBack) {
  Open();
  BeginRun();
  const std::vector<Sync::Command> commands{Sync::Target_New,        Sync::Target_Delete,     Sync::Target_Clear,
                                            Sync::Target_DateImport, Sync::Target_DateExport, Sync::Target_TestConn,
                                            Sync::Sync_Import,       Sync::Sync_Export,       Sync::Sync_View};
  for (const auto command : commands) EXPECT_FALSE(Enabled(command)) << command;
  for (const auto command : {Sync::Sync_Import, Sync::Sync_Export, Sync::Sync_View, Sync::Target_New}) {
    EXPECT_FALSE(ToolEnabled(command));
  }
  EXPECT_FALSE(List().IsEnabled());
  EXPECT_FALSE(Box("Media").IsEnabled());
  EXPECT_TRUE(Enabled(Sync::Log_View));
  Press('N', wxMOD_CONTROL);  // asks nothing
  Press('E', wxMOD_CONTROL);
  EXPECT_TRUE(calls_.empty());
  EndRun();
  for (const auto command : commands) EXPECT_TRUE(Enabled(command)) << command;
  EXPECT_TRUE(List().IsEnabled());
  EXPECT_TRUE(List().HasFocus());
}

TEST_F(SyncRun, SelectingATargetIsIgnoredDuringARun) {
  Open();
  BeginRun();
  Click(PlaceOfTarget(1));
  EXPECT_EQ(List().GetSelection(), 0);
  EXPECT_EQ(Connections().GetStringSelection(), "File");
  EndRun();
  Click(PlaceOfTarget(1));
  EXPECT_TRUE(Until([&] { return Connections().GetStringSelection() == "FTP"; }));
}

TEST_F(SyncRun, ClosingDuringARunIsRefused) {
  Open();
  BeginRun();
  AnswerBox("Sync-process in progress.\nCannot close window", "error", "OK");
  Press('W', wxMOD_CONTROL);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  AnswerBox("Sync-process in progress.\nCannot close window", "error", "OK");
  window_->Close();
  EXPECT_TRUE(window_->IsShown());
  EXPECT_TRUE(window_->Log().IsShown());
  EXPECT_EQ(lib::GetIniString("Zelkor", "LastTarget", "unset"), "unset");
  EndRun();
  Press('W', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return !window_->IsShown(); }));
  EXPECT_FALSE(window_->Log().IsShown());
}

TEST_F(SyncRun, TellsItsProgressInBothWindows) {
  Open();
  BeginRun();
  lib::Progress progress{.doing = "Exporting", .items = 1, .itemsTotal = 4, .bytes = 0, .bytesTotal = 8 << 20};
  user_.SetStatus("Copying file...", true);
  user_.ShowProgress(progress);
  progress.bytes = 2 << 20;
  auto* text = dynamic_cast<wxStaticText*>(CancelButton(*window_).GetParent()->FindWindow("Progress text"));
  ASSERT_NE(text, nullptr);
  const auto told = [&] {
    user_.ShowProgress(progress);
    return text->GetLabelText().Contains(" left");
  };
  ASSERT_TRUE(Until(told, "rate and time left"));
  EXPECT_TRUE(text->GetLabelText().StartsWith("Exporting  1 of 4 items  2.0 MB of 8.0 MB  "));
  EXPECT_TRUE(text->GetLabelText().Contains("/s  "));
  auto* bar = dynamic_cast<wxGauge*>(CancelButton(*window_).GetParent()->FindWindow("Progress"));
  ASSERT_NE(bar, nullptr);
  EXPECT_EQ(bar->GetValue() * 4, bar->GetRange());
  EXPECT_EQ(window_->Log().Progress().Text().GetLabelText(), text->GetLabelText());
  EXPECT_EQ(window_->Log().Progress().Bar().GetValue(), bar->GetValue());
  EXPECT_EQ(Status(), "Copying file...");
  EXPECT_TRUE(wxIsBusy());
  Screenshot("sync-progress");
  user_.EndProgress();
  EXPECT_EQ(bar->GetValue(), 0);
  user_.SetStatus("", false);
  EXPECT_FALSE(wxIsBusy());
  EndRun();
  EXPECT_FALSE(text->IsShownOnScreen());
  EXPECT_FALSE(window_->Log().Progress().IsShown());
}

TEST_F(SyncRun, IsCancelledByEscapeByTheButtonAndFromTheLog) {
  Open();
  const std::vector<std::function<void()>> ways{[] { Press(WXK_ESCAPE); }, [this] { Click(CancelButton(*window_)); },
                                                [] { Press('N', wxMOD_ALT); },
                                                [this] { Click(CancelButton(window_->Log())); },
                                                [this] {
                                                  ShowActive(window_->Log());
                                                  Press(WXK_ESCAPE);
                                                }};
  for (std::size_t i = 0; i < ways.size(); ++i) {
    SCOPED_TRACE(i);
    ShowActive(*window_);
    BeginRun();
    EXPECT_FALSE(user_.Cancelled());
    ways[i]();
    EXPECT_TRUE(Until([&] { return user_.Cancelled(); }));
    EXPECT_EQ(ProgressText(), "Ending with the file in hand...");
    user_.ShowProgress({.doing = "Exporting", .bytes = 1024});
    EXPECT_EQ(ProgressText(), "Ending with the file in hand...");
    EXPECT_EQ(window_->Log().Progress().Text().GetLabelText(), "Ending with the file in hand...");
    EXPECT_TRUE(window_->IsShown());
    EndRun();
  }
  // The next run knows nothing of it.
  BeginRun();
  EXPECT_FALSE(user_.Cancelled());
  EXPECT_EQ(ProgressText(), "");
  EndRun();
}

TEST_F(SyncRun, AnExportThatIsCancelledDeliversNothing) {
  OpenWithFiles(20);
  AtLogLine([this](int line) {
    if (line != 6) return;
    wxUIActionSimulator().Char(WXK_ESCAPE);
    ASSERT_TRUE(Until([&] { return window_->Cancelled(); }));
  });
  AnswerBox("Sync export failed!", "error", "OK");
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  ASSERT_TRUE(Until([&] { return List().IsEnabled(); }));
  EXPECT_THAT(LogLines(), Contains("Cancelled"));
  EXPECT_THAT(LogLines(), Not(Contains("  [c:\\data\\" + Name(20) + "]")));
  EXPECT_TRUE(fs::is_empty(Stick()));
  EXPECT_EQ(Target("test").Date(TargetRec::kLastExport), 0);
  EXPECT_EQ(Entries()[2], "test");
}

TEST_F(SyncRun, AnImportThatIsCancelledKeepsWholeFilesAndTheOldDate) {
  OpenWithFiles(20);
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return FilesWaitOnTheStick(); }));
  fs::remove_all(Home() / "data");
  AtLogLine([this](int) {
    if (window_->Cancelled() || !fs::exists(Home() / "data" / Name(3))) return;
    wxUIActionSimulator().Char(WXK_ESCAPE);
    ASSERT_TRUE(Until([&] { return window_->Cancelled(); }));
  });
  Press('I', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return !LogLines().empty() && LogLines().back() == "Cancelled" && List().IsEnabled(); }));
  for (int i = 1; i <= 20; ++i) {
    EXPECT_EQ(ReadNative(Home() / "data" / Name(i)), i <= 3 ? "xxxxxxxxxx" : "") << i;
  }
  EXPECT_TRUE(FilesWaitOnTheStick());
  EXPECT_EQ(Target("test").Date(TargetRec::kLastImport), 0);
}

TEST_F(SyncRun, TheWindowsLiveOnDuringALongRun) {
  OpenWithFiles(600);
  // As long as with a medium that takes its time for each file.
  AtLogLine([](int) {
    for (const double until = lib::Stopwatch() + 0.001; lib::Stopwatch() < until;) continue;
  });
  int beats = 0;
  int drawn = 0;  // lines of the log that are on the screen while others are still to come
  wxTimer heartbeat;
  heartbeat.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
    if (!catalogue_.Occupied().InHand()) return;
    ++beats;
    drawn = std::max(drawn, window_->Log().List().GetItemCount());
  });
  heartbeat.Start(5);
  Press('E', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return FilesWaitOnTheStick(); }));
  EXPECT_GE(beats, 2);
  EXPECT_GT(drawn, 100);
}

}  // namespace
}  // namespace zelkor::net
