// Two or three computers driven through random work, and a model of what each of them must hold in the end.
//
// The model is small on purpose. Every version of a file that somebody wrote has a date of writing of its own, and the
// version with the latest date is the one that all computers must end with. An item that is marked as deleted anywhere,
// and does not come back with a newer file, ends as deleted everywhere; its files are then left alone.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/computer.h"
#include "tests/support/e2e.h"

namespace zelkor::tests {

class World {
 public:
  explicit World(std::uint32_t seed);

  // One random thing happens; false, with Wrong() saying what, when something is then as it must never be.
  bool Step();
  // All computers exchange everything, twice in each direction, without interruptions; then each must hold what the
  // model says.
  bool Settle();

  [[nodiscard]] const std::string& Wrong() const { return wrong_; }
  // What has happened so far, one line each.
  [[nodiscard]] const std::vector<std::string>& Story() const { return story_; }

 private:
  struct Version {
    std::time_t written = 0;
    std::string content;
  };
  // A file in its shared name, such as "d/f1.txt".
  struct File {
    std::string name;
    std::int32_t memoId = 0;
    std::vector<Version> versions;  // all that were ever written, in any order
  };
  struct Machine {
    std::unique_ptr<Computer> computer;
    long clock = 0;      // seconds ahead of the real one
    std::string folder;  // in place of "d" here
  };
  enum class Disturbance { None, Kill, Cancel, Fault, FullDisk };

  std::uint32_t Below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }
  Machine& AnyMachine() { return machines_[Below(static_cast<std::uint32_t>(machines_.size()))]; }
  std::pair<Machine*, Machine*> AnyTwo();
  [[nodiscard]] static std::time_t Now(const Machine& machine) { return std::time(nullptr) + machine.clock; }
  // The name of a file on this computer.
  [[nodiscard]] std::string LocalName(const Machine& machine, const std::string& name) const;

  void NewItem(Machine& machine);
  void NewFileOfFolder(Machine& machine);
  void Edit(Machine& machine);
  void DeleteItem(Machine& machine);
  void StepClock(Machine& machine);
  bool Export(Machine& from, const Machine& to, Disturbance disturbance);
  bool Import(const Machine& from, Machine& to, Disturbance disturbance);
  Faults Disturb(const Machine& machine, Disturbance disturbance);
  bool CheckOutcome(const Outcome& outcome, Disturbance disturbance, const std::string& what);

  void WriteVersion(const Machine& machine, File& file);
  // What must hold at every moment.
  bool CheckAlways();
  bool CheckSettled();
  bool Fail(const std::string& what);
  void Tell(const std::string& what) { story_.push_back(what); }

  std::mt19937 random_;
  TemporaryFolder folder_;
  std::vector<Machine> machines_;
  std::vector<File> files_;
  std::int32_t lastMemoId_ = 0;
  int versionsWritten_ = 0;
  std::vector<std::string> story_;
  std::string wrong_;
};

}  // namespace zelkor::tests
