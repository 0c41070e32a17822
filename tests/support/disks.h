// Disks that can be changed in the drive "stick": real file systems of a few pages each where the system allows a
// mount namespace of our own, else folders whose capacity the fault library keeps.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/computer.h"

namespace zelkor::tests {

// Tries to give the calling process a mount namespace of its own, for the rest of its life; false when that is not
// allowed.
[[nodiscard]] bool EnterOwnMountNamespace();

// A drive, and disks of which one at a time is in it.
class Drive {
 public:
  Drive(std::filesystem::path drive, bool mounts) : drive_(std::move(drive)), mounts_(mounts) {}
  ~Drive();
  Drive(const Drive&) = delete;
  Drive& operator=(const Drive&) = delete;

  // A new disk of this many bytes (whole pages where disks are mounted); its number, counting from 0.
  std::size_t Format(long bytes);
  // Puts a disk into the drive; the one there comes out.
  void Insert(std::size_t disk);
  void Eject();
  // The native folder of a disk that is not in the drive, or of the drive when it is.
  [[nodiscard]] std::filesystem::path Content(std::size_t disk) const;
  [[nodiscard]] std::vector<std::string> NamesOn(std::size_t disk) const { return NamesIn(Content(disk)); }
  // What the fault library has to know for these disks.
  [[nodiscard]] Faults NeededFaults() const;

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::filesystem::path drive_;
  bool mounts_;
  std::vector<std::filesystem::path> disks_;
  std::vector<long> bytes_;
  std::size_t inserted_ = kNone;
};

// A file system of its own in a folder, of this many bytes. Needs the mount namespace above; the folder's content is
// hidden as long as the object lives.
class SmallDisk {
 public:
  SmallDisk(std::filesystem::path folder, long bytes);
  ~SmallDisk();
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;
  // Takes all the room but this many bytes, or gives it back.
  void FillBut(long bytes) const;
  void MakeRoom() const { std::filesystem::remove(folder_ / kFiller); }

 private:
  static constexpr const char* kFiller = "filler";
  std::filesystem::path folder_;
};

}  // namespace zelkor::tests
