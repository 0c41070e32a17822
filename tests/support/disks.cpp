#include "tests/support/disks.h"

#include <algorithm>
#include <fcntl.h>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <unistd.h>

namespace zelkor::tests {

namespace {

void WriteProcFile(const char* path, const std::string& text) {
  const int fd = open(path, O_WRONLY | O_CLOEXEC);
  if (fd < 0) return;
  [[maybe_unused]] const ssize_t written = write(fd, text.data(), text.size());
  close(fd);
}

bool MakeMountsPrivate() { return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0; }

}  // namespace

bool EnterOwnMountNamespace() {
  static const bool entered = [] {
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (unshare(CLONE_NEWNS) == 0) return MakeMountsPrivate();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    WriteProcFile("/proc/self/setgroups", "deny");
    WriteProcFile("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    WriteProcFile("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    return MakeMountsPrivate();
  }();
  return entered;
}

Drive::~Drive() {
  if (!mounts_) return;
  if (inserted_ != kNone) umount2(drive_.c_str(), MNT_DETACH);
  for (const auto& disk : disks_) umount2(disk.c_str(), MNT_DETACH);
}

std::size_t Drive::Format(long bytes) {
  const std::filesystem::path disk = drive_.parent_path() / ("disk" + std::to_string(disks_.size()));
  std::filesystem::create_directories(disk);
  if (mounts_ && mount("tmpfs", disk.c_str(), "tmpfs", 0, ("size=" + std::to_string(bytes)).c_str()) != 0) {
    throw std::runtime_error("no disk could be mounted");
  }
  disks_.push_back(disk);
  bytes_.push_back(bytes);
  return disks_.size() - 1;
}

void Drive::Insert(std::size_t disk) {
  Eject();
  if (mounts_) {
    if (mount(disks_[disk].c_str(), drive_.c_str(), nullptr, MS_BIND, nullptr) != 0) {
      throw std::runtime_error("the disk could not be put in");
    }
  } else {
    std::filesystem::remove(drive_);
    std::filesystem::rename(disks_[disk], drive_);
  }
  inserted_ = disk;
}

void Drive::Eject() {
  if (inserted_ == kNone) return;
  if (mounts_) {
    umount2(drive_.c_str(), MNT_DETACH);
  } else {
    std::filesystem::rename(drive_, disks_[inserted_]);
    std::filesystem::create_directory(drive_);
  }
  inserted_ = kNone;
}

std::filesystem::path Drive::Content(std::size_t disk) const {
  return !mounts_ && disk == inserted_ ? drive_ : disks_[disk];
}

Faults Drive::NeededFaults() const {
  Faults faults;
  // One capacity holds for whatever is in the drive: the smallest of the disks'.
  if (!mounts_ && !bytes_.empty()) {
    faults.capacity = drive_.string() + "=" + std::to_string(*std::min_element(bytes_.begin(), bytes_.end()));
  }
  return faults;
}

SmallDisk::SmallDisk(std::filesystem::path folder, long bytes) : folder_(std::move(folder)) {
  if (mount("tmpfs", folder_.c_str(), "tmpfs", 0, ("size=" + std::to_string(bytes)).c_str()) != 0) {
    throw std::runtime_error("no disk could be mounted");
  }
}

SmallDisk::~SmallDisk() { umount2(folder_.c_str(), MNT_DETACH); }

void SmallDisk::FillBut(long bytes) const {
  MakeRoom();
  const auto free = static_cast<long>(std::filesystem::space(folder_).available);
  WriteBytes(folder_ / kFiller, std::string(static_cast<std::size_t>(std::max(0L, free - bytes)), '\0'));
}

}  // namespace zelkor::tests
