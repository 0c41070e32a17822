// Makes and changes items and targets of this computer's catalogue, as a person would with the windows. For the demo,
// the benchmarks and for trials; the environment says which computer is meant (HOME, XDG_CONFIG_HOME, ZELKOR_DIR).
//
// Standard input holds one command a line, its words kept apart by tabs, in UTF-8:
//   target  ID                                                 a new target
//   connect ID  network  ADDRESS                               how a target is reached
//   connect ID  ftp  SERVER  USER  PASSWORD  DIRECTORY
//   item    DESCRIPTION  METHOD  SYNC-TO  CODES  LINE [LINE …]  a new item; the lines are its file selection
//   method  DESCRIPTION  METHOD                                changes an item; METHOD is Auto, On or Off
//   codes   DESCRIPTION  CODES
//   delete  DESCRIPTION                                        marks an item as deleted
// and SYNC-TO is All, AllButExcluded or OnlyIncluded. The argument --list prints the items instead.
#include <cstdio>
#include <functional>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "db/catalogue.h"
#include "db/database.h"
#include "db/memory_rows.h"
#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/single_copy.h"
#include "lib/text.h"
#include "lib/user.h"
#include "net/targets.h"

namespace {

using zelkor::db::FileRec;
namespace db = zelkor::db;
namespace lib = zelkor::lib;
namespace net = zelkor::net;

constexpr std::string_view kMethods[] = {"Auto", "On", "Off"};
constexpr std::string_view kSyncTo[] = {"All", "AllButExcluded", "OnlyIncluded"};

class Trouble : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Nobody is asked anything here: a message is trouble.
class NoUser : public lib::User {
 public:
  lib::Button Ask(const lib::Box& box) override { throw Trouble(lib::ToUtf8(box.text)); }
  [[nodiscard]] bool InputEnded() const override { return true; }
  bool Retry(const lib::Box& /*box*/) override { return false; }
  std::string Input(const std::string& /*prompt*/, const std::string& /*title*/,
                    const std::string& /*preset*/) override {
    return {};
  }
  [[nodiscard]] bool CanChooseFile() const override { return false; }
  std::string ChooseFile(const std::string& /*title*/, const std::string& /*filter*/,
                         const std::string& /*folder*/) override {
    return {};
  }
  void PendingEvents() override {}
  [[nodiscard]] bool Cancelled() const override { return false; }
  bool WaitFor(const std::string& /*caption*/, const std::function<bool()>& /*done*/) override { return false; }
  void SetStatus(const std::string& /*text*/, bool /*busy*/) override {}
  void ShowLog(const std::string& /*caption*/) override {}
  void LogLine(const std::string& /*line*/) override {}
  [[nodiscard]] bool ShowsProgress() const override { return false; }
  void ShowProgress(const lib::Progress& /*progress*/) override {}
  void EndProgress() override {}
};

std::string CodePageText(std::string_view utf8) {
  std::optional<std::string> text = lib::FromUtf8(utf8);
  if (!text) throw Trouble("not in the code page: " + std::string(utf8));
  return *std::move(text);
}

std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words(1);
  for (const char c : CodePageText(line)) {
    if (c == '\t') {
      words.emplace_back();
    } else {
      words.back() += c;
    }
  }
  return words;
}

template <std::size_t N>
std::int32_t Position(const std::string_view (&choices)[N], std::string_view word) {
  for (std::size_t i = 0; i < N; ++i) {
    if (choices[i] == word) return static_cast<std::int32_t>(i);
  }
  throw Trouble("unknown choice: " + std::string(word));
}

class Seeder {
 public:
  explicit Seeder(const std::string& programDir)
      : database_(programDir, user_), catalogue_(database_, rows_, user_), targets_(database_, user_) {
    if (database_.OpenDatabase() != db::Database::Opened::Yes) throw Trouble("the database can not be opened");
    catalogue_.FillItemList(db::kAllItems);
  }

  void Do(const std::vector<std::string>& words) {
    const std::string& command = words[0];
    if (command == "target" && words.size() == 2) {
      if (targets_.FindTarget(words[1], false) != 0 || !targets_.NewTarget(words[1])) throw Trouble("target not made");
    } else if (command == "connect" && words.size() > 3) {
      Connect(words);
    } else if (command == "item" && words.size() > 5) {
      Add(words);
    } else if (command == "method" && words.size() == 3) {
      Change(words[1], [&](FileRec& item) { item.SetNumber(FileRec::kSyncMethod, Position(kMethods, words[2])); });
    } else if (command == "codes" && words.size() == 3) {
      Change(words[1], [&](FileRec& item) { item.SetText(FileRec::kCodes, words[2]); });
    } else if (command == "delete" && words.size() == 2) {
      Change(words[1],
             [](FileRec& item) { item.SetNumber(FileRec::kFlags, item.Number(FileRec::kFlags) | db::kItemDeleted); });
    } else {
      throw Trouble("unknown command, or too few words: " + command);
    }
  }

  void List() const {
    database_.ForEachItem([](std::int32_t recno, const FileRec& item) {
      const auto method = static_cast<std::size_t>(item.Number(FileRec::kSyncMethod));
      std::string files;
      for (const std::string& line : lib::SplitLines(item.Text(FileRec::kFileName))) files += "  " + line;
      std::cout << recno << (item.Deleted() ? " deleted " : " ") << (method < 3 ? kMethods[method] : "?") << " "
                << lib::ToUtf8(item.Text(FileRec::kDescription)) << " (" << lib::ToUtf8(item.Text(FileRec::kCodes))
                << ")" << lib::ToUtf8(files) << "\n";
    });
  }

 private:
  void Add(const std::vector<std::string>& words) {
    std::string selection;
    for (std::size_t i = 5; i < words.size(); ++i) selection += words[i] + "\r\n";
    if (selection.size() > FileRec::kFileName.width) throw Trouble("too many files for one item: " + words[1]);
    const std::optional<std::int32_t> recno = catalogue_.AddItem(words[1], selection);
    if (!recno) throw Trouble("item not made: " + words[1]);
    FileRec& item = database_.Item();
    item.SetNumber(FileRec::kSyncMethod, Position(kMethods, words[2]));
    item.SetNumber(FileRec::kSyncTo, Position(kSyncTo, words[3]));
    item.SetText(FileRec::kCodes, words[4]);
    database_.WriteItem(*recno);
  }

  void Connect(const std::vector<std::string>& words) {
    using net::TargetRec;
    const int slot = targets_.FindTarget(words[1], false);
    if (slot == 0) throw Trouble("no such target: " + words[1]);
    TargetRec& target = targets_.Current();
    const bool network = words[2] == "network" && words.size() == 4;
    if (!network && !(words[2] == "ftp" && words.size() == 7)) throw Trouble("unknown connection: " + words[2]);
    target.SetNumber(TargetRec::kConnectionType,
                     static_cast<std::int32_t>(network ? net::ConnectionType::Ip : net::ConnectionType::Ftp));
    target.SetText(TargetRec::kAddress, words[3]);
    if (!network) {
      target.SetText(TargetRec::kUserName, words[4]);
      target.SetText(TargetRec::kPassword, words[5]);
      target.SetText(TargetRec::kDirectory, words[6]);
    }
    targets_.WriteTarget(slot, target);
  }

  template <class Edit>
  void Change(const std::string& description, const Edit& edit) {
    std::int32_t found = 0;
    database_.ForEachItem([&](std::int32_t recno, const FileRec& item) {
      if (item.Text(FileRec::kDescription) == description) found = recno;
    });
    if (found == 0) throw Trouble("no such item: " + description);
    database_.ReadItem(found);
    edit(database_.Item());
    database_.WriteItem(found);
  }

  NoUser user_;
  db::MemoryRows rows_;
  db::Database database_;
  db::Catalogue catalogue_;
  net::Targets targets_;
};

int Run(const std::vector<std::string_view>& arguments) {
  const lib::Result<std::string> programDir = lib::FindProgramDir();
  if (!programDir.Ok()) throw Trouble(programDir.Failure().Message());
  const lib::SingleCopy copy(*programDir);
  if (!copy.First()) throw Trouble("Zelkor is running");
  Seeder seeder(*programDir);
  if (arguments.size() == 1 && arguments[0] == "--list") {
    seeder.List();
    return 0;
  }
  if (!arguments.empty()) throw Trouble("the only argument is --list");
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty()) seeder.Do(Words(line));
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run({argv + 1, argv + argc});
  } catch (const std::exception& error) {
    std::cerr << "zelkor_seed: " << error.what() << "\n";
    return 1;
  }
}
