// The office computer with its database, a link and a scripted Vandry at its other end, and a target "lap" that is
// reached over the network.
#pragma once

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "db/catalogue.h"
#include "db/memory_rows.h"
#include "db/remap.h"
#include "lib/file_times.h"
#include "lib/settings.h"
#include "net/link.h"
#include "net/targets.h"
#include "sync/context.h"
#include "sync/export.h"
#include "sync/sync_log.h"
#include "tests/support/fake_vandry.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::tests {

class Networked : public Sandbox {
 protected:
  static constexpr lib::Date kOld = 40000.25;
  static constexpr lib::Date kNew = 46000.5;

  Networked() {
    EXPECT_EQ(database_.OpenDatabase(), db::Database::Opened::Yes);
    catalogue_.FillItemList(db::kLiveItems);
    for (const char* id : {"home", "lap"}) targets_.NewTarget(id);
    ChangeTarget("lap", [](net::TargetRec& rec) {
      rec.SetNumber(net::TargetRec::kConnectionType, static_cast<std::int32_t>(net::ConnectionType::Ip));
      rec.SetText(net::TargetRec::kAddress, "10.0.0.2");
      rec.SetDate(net::TargetRec::kLastExport, kOld);
    });
    lib::PutIniValue("Zelkor", "AcceptNetConn", 1);
  }

  void StartVandry(FakeVandry::Script script = {}) {
    vandry_ = std::make_unique<FakeVandry>(ProgramDir(), std::move(script));
  }

  void ChangeTarget(const std::string& id, const std::function<void(net::TargetRec&)>& change) {
    const int slot = targets_.FindTarget(id, false);
    change(targets_.Current());
    targets_.WriteTarget(slot, targets_.Current());
  }
  lib::Date DateOf(const std::string& id, const lib::Field& field) {
    targets_.FindTarget(id, false);
    return targets_.Current().Date(field);
  }
  lib::Date LastExport(const std::string& id = "lap") { return DateOf(id, net::TargetRec::kLastExport); }
  lib::Date LastImport(const std::string& id = "lap") { return DateOf(id, net::TargetRec::kLastImport); }

  void PutFile(const std::string& name, const std::string& content, lib::Date written = kNew) {
    WriteNative(Home() / name, content);
    ASSERT_FALSE(lib::SetFileDate("c:\\" + name, lib::FileTime::Written, written));
  }
  // An item with one file that goes to every target.
  std::int32_t AddItem(const std::string& name, const std::string& content) {
    PutFile(name, content);
    const std::int32_t recno = *catalogue_.AddItem(name, "c:\\" + name);
    database_.Item().SetNumber(db::FileRec::kSyncMethod, static_cast<std::int32_t>(db::SyncMethod::Auto));
    database_.Item().SetNumber(db::FileRec::kSyncTo, static_cast<std::int32_t>(db::SyncTo::All));
    database_.WriteItem(recno);
    return recno;
  }
  // A sync file that the computer `sender` made for this one out of the same items.
  [[nodiscard]] std::string SyncFileOf(const std::string& sender) {
    const std::string computerId = sender;
    sync::Context context{.catalogue = catalogue_,
                          .targets = targets_,
                          .remap = remap_,
                          .log = log_,
                          .user = user_,
                          .computerId = computerId};
    if (targets_.FindTarget("office", false) == 0) targets_.NewTarget("office");
    targets_.SetTargetDates("office", 0, kOld);
    const std::filesystem::path folder = Root() / "made";
    std::filesystem::create_directory(folder);
    EXPECT_EQ(sync::ExportToTarget(context, "office", {.word = AsTyped(folder), .startDirectory = "/"}),
              sync::ExportResult::Done);
    std::string bytes = ReadNative(folder / "office.cas");
    std::filesystem::remove_all(folder);
    targets_.FindTarget("office", false);
    for (int slot = 1; slot <= net::kTargetSlots; ++slot) {
      targets_.ReadTarget(slot, targets_.Current());
      if (targets_.Current().Id() == "office") targets_.DeleteTarget(slot);
    }
    user_.log.clear();
    user_.statuses.clear();
    return bytes;
  }
  [[nodiscard]] std::string Content(const std::string& name) const { return ReadNative(Home() / name); }
  // The native path of a path on drive z or c, as a program on the other side of the link would have it. The drives of
  // the program are not asked: they belong to its thread.
  [[nodiscard]] std::filesystem::path NativePath(const std::string& path) const {
    std::string rest = path.substr(3);
    std::replace(rest.begin(), rest.end(), '\\', '/');
    return (path[0] == 'z' ? Root().root_path() : Home()) / rest;
  }
  // Handles messages until `count` of them were dealt with.
  void HandleMessages(std::size_t count) {
    ASSERT_EQ(link_.StartLink(), 0);
    for (int i = 0; i < 3000 && vandry_->HandledPushes().size() < count; ++i) {
      link_.TakeMessages();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_EQ(vandry_->HandledPushes().size(), count);
    link_.TakeMessages();
  }

  ScriptedUser user_;
  db::Database database_{ProgramDir(), user_};
  db::MemoryRows rows_;
  db::Catalogue catalogue_{database_, rows_, user_};
  net::Targets targets_{database_, user_};
  db::RemapTable remap_;
  sync::SyncLog log_{ProgramDir(), user_};
  const std::string computerId_ = "office";
  std::unique_ptr<FakeVandry> vandry_;
  net::Link link_{user_, catalogue_.Occupied(), Means()};
  sync::Context context_{.catalogue = catalogue_,
                         .targets = targets_,
                         .remap = remap_,
                         .log = log_,
                         .user = user_,
                         .computerId = computerId_,
                         .link = &link_};

 private:
  net::LinkMeans Means() {
    net::LinkMeans means = net::RealLinkMeans(ProgramDir(), user_);
    means.launch = [] { return 0; };
    means.waitASecond = [] {};
    means.patience = LinkPatience();
    return means;
  }
};

}  // namespace zelkor::tests
