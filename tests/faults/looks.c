// The calls that ask about a file.
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/faults/faults.h"

static bool Admit(int directoryFd, const char* path) {
  char absolute[FAULTS_PATH_BYTES];
  FaultsPathAt(directoryFd, path, absolute);
  const FaultsVerdict verdict = FaultsJudge(kFaultsStat, absolute, NULL);
  if (verdict.error == 0) return true;
  errno = verdict.error;
  return false;
}

static int Look(int directoryFd, const char* path, void* info, int flags) {
  if (!Admit(directoryFd, path)) return -1;
  return (int)syscall(SYS_newfstatat, directoryFd, path, info, flags);
}

int fstatat(int directoryFd, const char* restrict path, struct stat* restrict info, int flags) {
  return Look(directoryFd, path, info, flags);
}
int fstatat64(int directoryFd, const char* restrict path, struct stat64* restrict info, int flags) {
  return Look(directoryFd, path, info, flags);
}
int stat(const char* restrict path, struct stat* restrict info) { return Look(AT_FDCWD, path, info, 0); }
int stat64(const char* restrict path, struct stat64* restrict info) { return Look(AT_FDCWD, path, info, 0); }
int lstat(const char* restrict path, struct stat* restrict info) {
  return Look(AT_FDCWD, path, info, AT_SYMLINK_NOFOLLOW);
}
int lstat64(const char* restrict path, struct stat64* restrict info) {
  return Look(AT_FDCWD, path, info, AT_SYMLINK_NOFOLLOW);
}
int statx(int directoryFd, const char* restrict path, int flags, unsigned mask, struct statx* restrict info) {
  if (!Admit(directoryFd, path)) return -1;
  return (int)syscall(SYS_statx, directoryFd, path, flags, mask, info);
}
