// The computer "office" in a sandbox, with all that its synchronisation runs work with.
#pragma once

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "db/catalogue.h"
#include "db/database.h"
#include "db/memory_rows.h"
#include "db/remap.h"
#include "lib/file_times.h"
#include "net/targets.h"
#include "sync/context.h"
#include "sync/sync_log.h"

namespace zelkor::tests {

// `Base` makes the sandbox (Sandbox or a fixture from it), `User` is who answers.
template <typename Base, typename User>
class Office : public Base {
 protected:
  Office() { EXPECT_EQ(database_.OpenDatabase(), db::Database::Opened::Yes); }

  // Where a medium would be.
  [[nodiscard]] std::filesystem::path Stick() const { return Base::Root() / "stick"; }
  // A file on drive c.
  void PutFile(const std::string& name, const std::string& content, lib::Date written) {
    Base::WriteNative(Base::Home() / name, content);
    ASSERT_FALSE(lib::SetFileDate("c:\\" + name, lib::FileTime::Written, written));
  }
  [[nodiscard]] std::string Content(const std::string& name) const { return Base::ReadNative(Base::Home() / name); }
  void ChangeTarget(const std::string& id, const std::function<void(net::TargetRec&)>& change) {
    const int slot = targets_.FindTarget(id, false);
    ASSERT_NE(slot, 0);
    change(targets_.Current());
    targets_.WriteTarget(slot, targets_.Current());
  }
  // What a computer of this ID would work with here; the ID must outlive it.
  [[nodiscard]] sync::Context ContextOf(const std::string& computerId) {
    return {.catalogue = catalogue_,
            .targets = targets_,
            .remap = remap_,
            .log = log_,
            .user = user_,
            .computerId = computerId};
  }
  [[nodiscard]] lib::Date LastExport(const std::string& id) { return DateOf(id, net::TargetRec::kLastExport); }
  [[nodiscard]] lib::Date LastImport(const std::string& id) { return DateOf(id, net::TargetRec::kLastImport); }

  User user_;
  db::Database database_{Base::ProgramDir(), user_};
  db::MemoryRows rows_;
  db::Catalogue catalogue_{database_, rows_, user_};
  net::Targets targets_{database_, user_};
  db::RemapTable remap_;
  sync::SyncLog log_{Base::ProgramDir(), user_};
  const std::string computerId_ = "office";
  sync::Context context_ = ContextOf(computerId_);

 private:
  lib::Date DateOf(const std::string& id, const lib::Field& field) {
    targets_.FindTarget(id, false);
    return targets_.Current().Date(field);
  }
};

}  // namespace zelkor::tests
