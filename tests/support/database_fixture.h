// A database in a sandbox, with a user whose answers are written down.
#pragma once

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "db/database.h"
#include "tests/support/sandbox.h"
#include "tests/support/scripted_user.h"

namespace zelkor::tests {

class DatabaseFixture : public Sandbox {
 protected:
  [[nodiscard]] std::filesystem::path ConfigPath() const { return ProgramFolder() / "zelkor.cfg"; }
  [[nodiscard]] std::filesystem::path ItemsPath() const { return ProgramFolder() / "zelkor.ind"; }
  void WriteConfigFile(const std::string& bytes) const { WriteNative(ConfigPath(), bytes); }
  void WriteItemFile(const std::string& bytes) const { WriteNative(ItemsPath(), bytes); }
  [[nodiscard]] std::string ConfigFile() const { return ReadNative(ConfigPath()); }
  [[nodiscard]] std::string ItemFile() const { return ReadNative(ItemsPath()); }

  // As a new start of the program.
  db::Database::Opened Open() {
    database_ = std::make_unique<db::Database>(ProgramDir(), user_);
    return database_->OpenDatabase();
  }
  [[nodiscard]] db::Database& Data() { return *database_; }

  // Everything in the program's folder, sorted.
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(ProgramFolder())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  ScriptedUser user_;

 private:
  std::unique_ptr<db::Database> database_;
};

}  // namespace zelkor::tests
