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

#include "lib/settings.h"
#include "net/link.h"
#include "sync/export.h"
#include "tests/support/fake_vandry.h"
#include "tests/support/office.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"
#include "tests/support/until.h"

namespace zelkor::tests {

class Networked : public Office<Sandbox, ScriptedUser> {
 protected:
  static constexpr lib::Date kOld = 40000.25;
  static constexpr lib::Date kNew = 46000.5;

  Networked() {
    context_.link = &link_;
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

  // An item with one file that goes to every target.
  std::int32_t AddItem(const std::string& name, const std::string& content) {
    PutFile(name, content, kNew);
    const std::int32_t recno = *catalogue_.AddItem(name, "c:\\" + name);
    database_.Item().SetNumber(db::FileRec::kSyncMethod, static_cast<std::int32_t>(db::SyncMethod::Auto));
    database_.Item().SetNumber(db::FileRec::kSyncTo, static_cast<std::int32_t>(db::SyncTo::All));
    database_.WriteItem(recno);
    return recno;
  }
  // A sync file that the computer `sender` made for this one out of the same items.
  [[nodiscard]] std::string SyncFileOf(const std::string& sender) {
    sync::Context context = ContextOf(sender);
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
    constexpr auto kPatience = std::chrono::seconds(10);
    ASSERT_TRUE(HoldsWithin(kPatience, [&] {
      link_.TakeMessages();
      return vandry_->HandledPushes().size() >= count;
    }));
    ASSERT_EQ(vandry_->HandledPushes().size(), count);
    link_.TakeMessages();
  }

  std::unique_ptr<FakeVandry> vandry_;
  net::Link link_{user_, catalogue_.Occupied(), Means()};

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
