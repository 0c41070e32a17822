#include "tests/random/world.h"

#include <algorithm>
#include <csignal>
#include <set>

namespace zelkor::tests {

namespace {

constexpr std::int32_t kFolderItem = 1000000;  // memo IDs from here on are of items with wildcards

bool IsFolderItem(std::int32_t memoId) { return memoId >= kFolderItem; }

}  // namespace

World::World(std::uint32_t seed) : random_(seed) {
  const std::uint32_t count = 2 + Below(2);
  const std::vector<std::string> ids{"one", "two", "three"};
  for (std::uint32_t i = 0; i < count; ++i) {
    Machine machine;
    machine.computer = std::make_unique<Computer>(folder_.Path(), ids[i]);
    machine.clock = static_cast<long>(Below(20000)) - 10000;
    machine.folder = Below(2) == 0 ? "d" : "Place " + ids[i];
    if (machine.folder != "d") machine.computer->AddRemapLine("c:\\" + machine.folder + "\\=c:\\d\\");
    machines_.push_back(std::move(machine));
  }
  for (const Machine& machine : machines_) {
    for (const Machine& other : machines_) {
      if (&machine != &other) machine.computer->SetTarget({.id = other.computer->Id(), .mediaPath = "m:\\"});
    }
  }
}

bool World::Fail(const std::string& what) {
  wrong_ = what;
  return false;
}

std::pair<World::Machine*, World::Machine*> World::AnyTwo() {
  const auto count = static_cast<std::uint32_t>(machines_.size());
  const std::uint32_t first = Below(count);
  const std::uint32_t second = (first + 1 + Below(count - 1)) % count;
  return {&machines_[first], &machines_[second]};
}

std::string World::LocalName(const Machine& machine, const std::string& name) const {
  return machine.folder + name.substr(name.find('/'));
}

bool World::Step() {
  // Time passes everywhere.
  for (Machine& machine : machines_) machine.clock += static_cast<long>(Below(3000)) + 3;
  const auto [from, to] = AnyTwo();
  const std::uint32_t dice = Below(100);
  const std::uint32_t luck = Below(12);
  const Disturbance disturbance = luck == 0   ? Disturbance::Kill
                                  : luck == 1 ? Disturbance::Cancel
                                  : luck == 2 ? Disturbance::Fault
                                  : luck == 3 ? Disturbance::FullDisk
                                              : Disturbance::None;
  bool good = true;
  if (dice < 12 || files_.empty()) {
    NewItem(AnyMachine());
  } else if (dice < 18) {
    NewFileOfFolder(AnyMachine());
  } else if (dice < 45) {
    Edit(AnyMachine());
  } else if (dice < 48) {
    DeleteItem(AnyMachine());
  } else if (dice < 52) {
    StepClock(AnyMachine());
  } else if (dice < 77) {
    good = Export(*from, *to, disturbance);
  } else {
    good = Import(*from, *to, disturbance);
  }
  return good && CheckAlways();
}

void World::WriteVersion(const Machine& machine, File& file) {
  const std::string name = LocalName(machine, file.name);
  std::time_t written = Now(machine);
  if (machine.computer->HasFile(name)) written = std::max(written, machine.computer->FileTime(name) + 1);
  const auto taken = [&file](std::time_t time) {
    return std::any_of(file.versions.begin(), file.versions.end(),
                       [time](const Version& version) { return version.written == time; });
  };
  while (taken(written)) ++written;
  std::string content = file.name + " version " + std::to_string(++versionsWritten_) + "\n";
  content += std::string(Below(5) == 0 ? Below(60000) : Below(200), static_cast<char>('a' + Below(26)));
  if (Below(15) == 0) content.clear();
  machine.computer->WriteFile(name, content, written);
  file.versions.push_back({written, content});
  Tell(machine.computer->Id() + " writes " + name + " of " + std::to_string(written) + ", " +
       std::to_string(content.size()) + " bytes");
}

void World::NewItem(Machine& machine) {
  const bool folder = Below(4) == 0;
  const std::int32_t memoId = ++lastMemoId_ + (folder ? kFolderItem : 0);
  const std::string base = "d/" + std::string(folder ? "w" : "f") + std::to_string(lastMemoId_);
  files_.push_back({.name = base + (folder ? "/0.txt" : ".txt"), .memoId = memoId, .versions = {}});
  WriteVersion(machine, files_.back());
  const std::string selection = Computer::PathOf(LocalName(machine, base) + (folder ? "/*.txt" : ".txt"));
  machine.computer->AddItem({.fileName = selection,
                             .description = base,
                             .memoId = memoId,
                             .syncMethod = Below(4) == 0 ? 1 : 0,
                             .syncTo = static_cast<int>(Below(2))});
  Tell(machine.computer->Id() + " catalogues " + selection);
}

void World::NewFileOfFolder(Machine& machine) {
  // Only where the item is known: elsewhere the file would belong to nobody.
  std::vector<std::int32_t> known;
  for (const Item& item : machine.computer->Items()) {
    if (IsFolderItem(item.memoId)) known.push_back(item.memoId);
  }
  if (known.empty()) return;
  const std::int32_t memoId = known[Below(static_cast<std::uint32_t>(known.size()))];
  const std::string name =
      "d/w" + std::to_string(memoId - kFolderItem) + "/" + std::to_string(Below(5)) + machine.computer->Id() + ".txt";
  const auto found = std::find_if(files_.begin(), files_.end(), [&](const File& file) { return file.name == name; });
  if (found != files_.end()) return;
  files_.push_back({.name = name, .memoId = memoId, .versions = {}});
  WriteVersion(machine, files_.back());
}

void World::Edit(Machine& machine) {
  File& file = files_[Below(static_cast<std::uint32_t>(files_.size()))];
  if (!machine.computer->HasFile(LocalName(machine, file.name))) return;
  const auto item = machine.computer->ItemWithId(file.memoId);
  if (!item || item->flags != 0) return;
  WriteVersion(machine, file);
}

void World::DeleteItem(Machine& machine) {
  const std::vector<Item> items = machine.computer->Items();
  if (items.empty()) return;
  const std::size_t row = Below(static_cast<std::uint32_t>(items.size()));
  // Items with several files stay: of such an item one file could come back and another not.
  if (IsFolderItem(items[row].memoId)) return;
  Item item = items[row];
  item.flags = 1;
  machine.computer->ChangeItem(row + 1, item);
  Tell(machine.computer->Id() + " deletes item " + std::to_string(item.memoId));
}

void World::StepClock(Machine& machine) {
  long step = static_cast<long>(Below(200000)) - 60000;
  machine.clock += step;
  Tell("the clock of " + machine.computer->Id() + " steps by " + std::to_string(step));
  if (step >= 0) return;
  // Files written now would seem older than exports of before; whoever turns a clock back clears the dates.
  for (const Machine& other : machines_) {
    if (&other == &machine) continue;
    auto target = machine.computer->TargetWithId(other.computer->Id());
    if (!target) continue;
    target->lastExport = 0;
    machine.computer->SetTarget(*target);
  }
}

Faults World::Disturb(const Machine& machine, Disturbance disturbance) {
  Faults faults{.clock = machine.clock};
  switch (disturbance) {
    case Disturbance::None:
      break;
    case Disturbance::Kill:
      faults.killAt = 1 + static_cast<long>(Below(60));
      break;
    case Disturbance::Cancel:
      faults.killAt = 1 + static_cast<long>(Below(60));
      faults.signal = SIGINT;
      break;
    case Disturbance::Fault: {
      static const std::vector<std::string> kCalls{"write", "create", "rename+link", "open",
                                                   "read",  "sync",   "times",       "unlink"};
      static const std::vector<std::string> kErrors{"EIO", "ENOSPC", "EACCES"};
      faults.rules = kCalls[Below(static_cast<std::uint32_t>(kCalls.size()))] + ":" + folder_.Path().string() + ":" +
                     kErrors[Below(static_cast<std::uint32_t>(kErrors.size()))] + ":" + std::to_string(1 + Below(30)) +
                     ":once";
      break;
    }
    case Disturbance::FullDisk: {
      const std::vector<std::filesystem::path> places{machine.computer->Home(), machine.computer->Temporary(),
                                                      folder_.Path() / "stick"};
      faults.capacity = places[Below(3)].string() + "=" + std::to_string(Below(120000));
      break;
    }
  }
  return faults;
}

bool World::CheckOutcome(const Outcome& outcome, Disturbance disturbance, const std::string& what) {
  const std::string ended =
      outcome.signal != 0 ? "signal " + std::to_string(outcome.signal) : "status " + std::to_string(outcome.status);
  static const std::vector<std::string> kNames{"", ", killed", ", cancelled", ", a fault", ", a full disk"};
  Tell(what + kNames[static_cast<std::size_t>(disturbance)] + ": " + ended);
  if (outcome.timedOut) return Fail(what + ": it did not end");
  const bool killed = disturbance == Disturbance::Kill && outcome.signal == SIGKILL;
  if (outcome.signal != 0 && !killed) return Fail(what + ": ended by signal\n" + outcome.err);
  if (outcome.signal == 0 && outcome.status > 1 && disturbance != Disturbance::Fault) {
    return Fail(what + ": status " + std::to_string(outcome.status) + "\n" + outcome.out + outcome.err);
  }
  return true;
}

bool World::Export(Machine& from, const Machine& to, Disturbance disturbance) {
  const Outcome outcome = from.computer->Export(to.computer->Id(), {.faults = Disturb(from, disturbance)});
  const std::string what = from.computer->Id() + " exports to " + to.computer->Id();
  if (!CheckOutcome(outcome, disturbance, what)) return false;
  if (disturbance == Disturbance::None && outcome.status != 0)
    return Fail(what + " failed\n" + outcome.out + outcome.err);
  return true;
}

bool World::Import(const Machine& from, Machine& to, Disturbance disturbance) {
  const Outcome outcome = to.computer->Import(from.computer->Id(), {.faults = Disturb(to, disturbance)});
  const std::string what = to.computer->Id() + " imports from " + from.computer->Id();
  if (!CheckOutcome(outcome, disturbance, what)) return false;
  const bool nothing = outcome.err.find("No file to import!") != std::string::npos;
  if (disturbance == Disturbance::None && outcome.status != 0 && !nothing) {
    return Fail(what + " failed\n" + outcome.out + outcome.err);
  }
  return true;
}

bool World::CheckAlways() {
  // Every sync file is whole.
  for (const std::string& name : NamesIn(folder_.Path() / "stick")) {
    if (!name.ends_with(".cas")) continue;
    try {
      static_cast<void>(DecodeSync(ReadBytes(folder_.Path() / "stick" / name)));
    } catch (const std::exception& torn) {
      return Fail("the sync file " + name + " is torn: " + torn.what());
    }
  }
  for (const Machine& machine : machines_) {
    const Computer& computer = *machine.computer;
    std::set<std::int32_t> known;
    for (const Item& item : computer.Items()) {
      if (!known.insert(item.memoId).second) {
        return Fail(computer.Id() + " has item " + std::to_string(item.memoId) + " twice");
      }
    }
    // Every file is one whole version of itself, with that version's date, and belongs to an item.
    std::map<std::string, const File*> byName;
    for (const File& file : files_) byName[LocalName(machine, file.name)] = &file;
    for (const std::string& name : computer.Files()) {
      const auto file = byName.find(name);
      if (file == byName.end()) {
        if (name.find('~') != std::string::npos) continue;  // the temporary name of a run that was killed
        return Fail(computer.Id() + " has a file that nobody wrote: " + name);
      }
      const std::string content = computer.ReadFile(name);
      const std::time_t written = computer.FileTime(name);
      const auto& versions = file->second->versions;
      const bool whole = std::any_of(versions.begin(), versions.end(), [&](const Version& version) {
        return version.written == written && version.content == content;
      });
      if (!whole) {
        return Fail(computer.Id() + " has no version of " + name + ": " + std::to_string(content.size()) +
                    " bytes of " + std::to_string(written));
      }
      if (!known.contains(file->second->memoId)) return Fail(computer.Id() + " has " + name + " without its item");
    }
  }
  return true;
}

bool World::Settle() {
  for (int round = 0; round < 2; ++round) {
    for (Machine& from : machines_) {
      for (Machine& to : machines_) {
        if (&from == &to) continue;
        for (Machine& machine : machines_) machine.clock += 10;
        if (!Export(from, to, Disturbance::None) || !Import(from, to, Disturbance::None) || !CheckAlways())
          return false;
      }
    }
  }
  return CheckSettled();
}

bool World::CheckSettled() {
  for (const File& file : files_) {
    std::size_t deleted = 0;
    for (const Machine& machine : machines_) {
      const auto item = machine.computer->ItemWithId(file.memoId);
      if (!item) return Fail(machine.computer->Id() + " lacks item " + std::to_string(file.memoId) + ", " + file.name);
      if ((item->flags & 1) != 0) ++deleted;
    }
    if (deleted == machines_.size()) continue;
    if (deleted != 0) return Fail("item " + std::to_string(file.memoId) + " is deleted on some computers only");
    const Version& latest = *std::max_element(file.versions.begin(), file.versions.end(),
                                              [](const Version& a, const Version& b) { return a.written < b.written; });
    for (const Machine& machine : machines_) {
      const std::string name = LocalName(machine, file.name);
      if (!machine.computer->HasFile(name)) return Fail(machine.computer->Id() + " lacks " + name);
      if (machine.computer->FileTime(name) != latest.written || machine.computer->ReadFile(name) != latest.content) {
        return Fail(machine.computer->Id() + " has " + name + " of " +
                    std::to_string(machine.computer->FileTime(name)) + ", not the latest of " +
                    std::to_string(latest.written));
      }
    }
  }
  for (const std::string& name : NamesIn(folder_.Path() / "stick")) {
    if (name.ends_with(".cas")) return Fail("the sync file " + name + " was left behind");
  }
  return true;
}

}  // namespace zelkor::tests
