// The synchronisation window: what it shows, its logs and options, its keys, and how it closes.

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "lib/settings.h"
#include "net/sync_window.h"
#include "tests/support/sync_window_fixture.h"

namespace zelkor::net {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::ShownModal;

using SyncWindow = tests::SyncWindowFixture;

TEST_F(SyncWindow, ShowsTheTargetsAndTheFolderOfTheFirst) {
  Open();
  EXPECT_THAT(Entries(), ElementsAre("laptop", "tower"));
  EXPECT_EQ(List().GetSelection(), 0);
  EXPECT_EQ(Connections().GetStringSelection(), "File");
  EXPECT_THAT(Rows(), ElementsAre("Media=" + OnDriveZ(Stick())));
  EXPECT_FALSE(DefaultExclude().GetValue());
  EXPECT_TRUE(ToolEnabled(Sync::Sync_View));
  EXPECT_TRUE(Child(*window_, "Browse...")->IsShownOnScreen());
  EXPECT_FALSE(CanSave());
  Screenshot("sync-file");
}

TEST_F(SyncWindow, ShowsAnFtpConnectionWithItsPasswordMasked) {
  Open();
  Select(1);
  EXPECT_EQ(Connections().GetStringSelection(), "FTP");
  EXPECT_THAT(Rows(), ElementsAre("Server=ftp.example.com", "Username=anna", "Password=secret", "Directory=/sync"));
  EXPECT_TRUE(Box("Password").HasFlag(wxTE_PASSWORD));
  for (const char* caption : {"Server", "Username", "Directory"}) {
    EXPECT_FALSE(Box(caption).HasFlag(wxTE_PASSWORD)) << caption;
  }
  EXPECT_TRUE(DefaultExclude().GetValue());
  EXPECT_FALSE(ToolEnabled(Sync::Sync_View));
  EXPECT_FALSE(Child(*window_, "Browse...")->IsShownOnScreen());
  Screenshot("sync-ftp");
}

TEST_F(SyncWindow, OffersTheThreeConnectionsAndTheRowsFollow) {
  Open();
  Connections().SetFocus();
  Press(WXK_DOWN);
  ASSERT_TRUE(Until([&] { return Connections().GetStringSelection() == "IP connection"; }));
  EXPECT_THAT(Rows(), ElementsAre("IP address="));
  EXPECT_TRUE(CanSave());
  Screenshot("sync-ip");
  Press(WXK_DOWN);
  ASSERT_TRUE(Until([&] { return Connections().GetStringSelection() == "FTP"; }));
  EXPECT_THAT(Rows(), ElementsAre("Server=", "Username=", "Password=", "Directory="));
  EXPECT_EQ(Connections().GetCount(), 3U);
}

TEST_F(SyncWindow, ShowsTheFtpDirectoryCommandForFtpTargetsOnly) {
  Open();
  EXPECT_EQ(window_->GetMenuBar()->FindItem(Sync::Target_FtpDir), nullptr);
  Select(1);
  EXPECT_NE(window_->GetMenuBar()->FindItem(Sync::Target_FtpDir), nullptr);
  Select(0);
  EXPECT_EQ(window_->GetMenuBar()->FindItem(Sync::Target_FtpDir), nullptr);
}

TEST_F(SyncWindow, HasRoomForTheFullestConnection) {
  Open();
  const wxSize before = window_->GetSize();
  Select(1);
  EXPECT_EQ(window_->GetSize(), before);
  const wxRect save = Child(*window_, "Save")->GetScreenRect();
  EXPECT_LE(Box("Directory").GetScreenRect().GetBottom(), save.y);
  EXPECT_LE(DefaultExclude().GetScreenRect().GetBottom(), save.GetBottom());
}

TEST_F(SyncWindow, EmptySaysWhatToDo) {
  targets_.DeleteTarget(1);
  targets_.DeleteTarget(2);
  Open();
  EXPECT_THAT(Entries(), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_FALSE(Connections().IsShownOnScreen());
  EXPECT_FALSE(DefaultExclude().IsShownOnScreen());
  for (const auto command : {Sync::Target_Delete, Sync::Sync_Import, Sync::Sync_Export, Sync::Sync_View}) {
    EXPECT_FALSE(Enabled(command));
    EXPECT_FALSE(ToolEnabled(command));
  }
  EXPECT_TRUE(ToolEnabled(Sync::Target_New));
  Screenshot("sync-empty");
}

TEST_F(SyncWindow, ShowsAllSixteenTargetsWithTheirDates) {
  for (int i = 3; i <= 16; ++i) targets_.NewTarget("pc" + std::to_string(i));
  for (const std::string& id : targets_.TargetIds()) targets_.SetTargetDates(id, 46000.5, 45999.25);
  Open();
  EXPECT_EQ(Entries().size(), 16U);
  EXPECT_EQ(Entries()[15], "pc16 [Imp:12/9/2025] [Exp:12/8/2025]");
  Select(15);
  EXPECT_TRUE(List().IsShownOnScreen());
  Screenshot("sync-full");
}

TEST_F(SyncWindow, TheTargetRememberedIsSelected) {
  lib::PutIniValue("Zelkor", "LastTarget", "tower");
  Open();
  EXPECT_EQ(List().GetStringSelection(), "tower");
  EXPECT_EQ(Connections().GetStringSelection(), "FTP");
}

// Logs, options, closing ------------------------------------------------------------------------------------------

TEST_F(SyncWindow, OpensTheLogAndTheHistoryInTheEditor) {
  WriteNative(History(), std::string(64000, 'x'));
  Open();
  Press('L', wxMOD_CONTROL);
  Press('H', wxMOD_CONTROL);
  Menu("LV");
  Menu("LH");
  const std::string log = ProgramDir() + "ZELKOR.log";
  const std::string history = ProgramDir() + "ZELKOR history.log";
  EXPECT_THAT(desktop_.edited, ElementsAre(log, history, log, history));
}

TEST_F(SyncWindow, AHistoryOf64001BytesIsRefused) {
  WriteNative(History(), std::string(64001, 'x'));
  Open();
  AnswerBox("File too big", "error", "OK");
  Press('H', wxMOD_CONTROL);
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  EXPECT_THAT(desktop_.edited, IsEmpty());
}

TEST_F(SyncWindow, DeletesTheHistoryAfterAQuestion) {
  WriteNative(History(), "old");
  Open();
  Expect([](ShownModal& box) {
    EXPECT_EQ(box.Title(), "Memo!");
    EXPECT_EQ(box.Text(), "Delete history log?");
    EXPECT_THAT(box.Buttons(), testing::UnorderedElementsAre("OK", "Cancel"));
    box.Click("Cancel");
  });
  Menu("LD");
  ASSERT_TRUE(Until([] { return StillExpected() == 0; }));
  Settle();
  EXPECT_TRUE(fs::exists(History()));
  AnswerBox("Delete history log?", "", "OK");
  Menu("LD");
  ASSERT_TRUE(Until([&] { return !fs::exists(History()); }));
}

TEST_F(SyncWindow, TheOptionsShowAndStoreTheirState) {
  lib::PutIniValue("Zelkor", "ConfirmUpdates", "1");
  Open();
  EXPECT_TRUE(window_->GetMenuBar()->IsChecked(Sync::Options_Confirm));
  EXPECT_FALSE(window_->GetMenuBar()->IsChecked(Sync::Options_AcceptNetConn));
  Menu("OC");
  EXPECT_FALSE(window_->GetMenuBar()->IsChecked(Sync::Options_Confirm));
  EXPECT_EQ(lib::GetIniString("Zelkor", "ConfirmUpdates", ""), "0");
  Menu("OA");
  EXPECT_TRUE(window_->GetMenuBar()->IsChecked(Sync::Options_AcceptNetConn));
  EXPECT_EQ(lib::GetIniString("Zelkor", "AcceptNetConn", ""), "1");
  EXPECT_THAT(calls_, ElementsAre("link"));
  Menu("OA");
  EXPECT_FALSE(window_->GetMenuBar()->IsChecked(Sync::Options_AcceptNetConn));
  EXPECT_EQ(lib::GetIniString("Zelkor", "AcceptNetConn", ""), "0");
  EXPECT_THAT(calls_, ElementsAre("link"));
}

TEST_F(SyncWindow, ClosesByKeyByMenuByEscapeAndByItsFrameAndSavesFirst) {
  targets_.SetTargetDates("tower", 46000.5, 45999.25);
  Open();
  const auto closedBy = [&](const std::function<void()>& act, const char* typed) {
    if (!window_->IsShown()) ShowActive(*window_);
    Select(1);
    Fill("Username", typed);
    act();
    EXPECT_TRUE(Until([&] { return !window_->IsShown(); }));
    EXPECT_EQ(Target("tower").Text(TargetRec::kUserName), typed);
  };
  closedBy([] { Press('W', wxMOD_CONTROL); }, "one");
  EXPECT_EQ(lib::GetIniString("Zelkor", "LastTarget", ""), "tower");
  closedBy([] { Menu("SC"); }, "two");
  closedBy([] { Press(WXK_ESCAPE); }, "three");
  closedBy([this] { window_->Close(); }, "four");
}

TEST_F(SyncWindow, IsShownAgainAsItWasLeft) {
  Open();
  Select(1);
  Press('W', wxMOD_CONTROL);
  ASSERT_TRUE(Until([&] { return !window_->IsShown(); }));
  window_->FillTargetList();
  window_->ShowWindow();
  ASSERT_TRUE(Until([&] { return window_->IsShownOnScreen(); }));
  EXPECT_EQ(List().GetStringSelection(), "tower");
}

TEST_F(SyncWindow, EveryControlHasItsAccessKey) {
  Open();
  Press('M', wxMOD_ALT);
  EXPECT_TRUE(Box("Media").HasFocus());
  Press('G', wxMOD_ALT);
  EXPECT_FALSE(Box("Media").HasFocus());
  Press(WXK_END);
  ASSERT_TRUE(Until([&] { return List().GetStringSelection() == "tower"; }));
  Press('X', wxMOD_ALT);
  EXPECT_FALSE(DefaultExclude().GetValue());
  for (const auto& [key, caption] : std::vector<std::pair<char, const char*>>{
           {'R', "Server"}, {'U', "Username"}, {'P', "Password"}, {'D', "Directory"}}) {
    Press(key, wxMOD_ALT);
    EXPECT_TRUE(Box(caption).HasFocus()) << caption;
  }
  Press('C', wxMOD_ALT);
  Press(WXK_UP);
  ASSERT_TRUE(Until([&] { return Connections().GetStringSelection() == "IP connection"; }));
  Press('I', wxMOD_ALT);
  EXPECT_TRUE(Box("IP address").HasFocus());
  Press('V', wxMOD_ALT);
  EXPECT_TRUE(Until([&] { return Target("tower").Number(TargetRec::kConnectionType) == 1; }));
}

TEST_F(SyncWindow, ALongStatusIsCutAndWholeInItsTooltip) {
  Open();
  const std::string text = "Sync request received form [" + std::string(400, 'x') + "]";
  const wxSize before = window_->GetSize();
  user_.SetStatus(text, false);
  EXPECT_EQ(Status(), text);
  EXPECT_EQ(Named<wxStaticText>("Status").GetToolTipText(), text);
  EXPECT_EQ(window_->GetSize(), before);
  EXPECT_LE(Named<wxStaticText>("Status").GetScreenRect().GetRight(), window_->GetScreenRect().GetRight());
}

}  // namespace
}  // namespace zelkor::net
