// The calls that open, name, rename and delete files and directories.
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/faults/faults.h"

// True when the call may go on; else errno is set.
static bool Admit(int calls, const char* path, const char* other) {
  const FaultsVerdict verdict = FaultsJudge(calls, path, other);
  if (verdict.error == 0) return true;
  errno = verdict.error;
  return false;
}

static int Open(int directoryFd, const char* path, int flags, mode_t mode) {
  char absolute[FAULTS_PATH_BYTES];
  FaultsPathAt(directoryFd, path, absolute);
  const bool unnamed = (flags & O_TMPFILE) == O_TMPFILE;
  const bool writes = (flags & O_ACCMODE) != O_RDONLY;
  const bool creates = (flags & O_CREAT) != 0 && syscall(SYS_faccessat, directoryFd, path, F_OK) != 0;
  const bool changes = unnamed || creates || (writes && (flags & O_TRUNC) != 0);
  const int calls = kFaultsOpen | (changes ? kFaultsCreate : 0) | (unnamed ? kFaultsUnnamed : 0);
  if (!Admit(calls, absolute, NULL)) return -1;
  if (changes) FaultsCountChange(absolute, NULL);
  return (int)syscall(SYS_openat, directoryFd, path, flags, mode);
}

// The mode is passed only with flags that make a file.
#define TAKE_MODE(flags, mode)                                      \
  if (((flags)&O_CREAT) != 0 || ((flags)&O_TMPFILE) == O_TMPFILE) { \
    va_list arguments;                                              \
    va_start(arguments, flags);                                     \
    (mode) = va_arg(arguments, mode_t);                             \
    va_end(arguments);                                              \
  }

int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  TAKE_MODE(flags, mode)
  return Open(AT_FDCWD, path, flags, mode);
}
int open64(const char* path, int flags, ...) {
  mode_t mode = 0;
  TAKE_MODE(flags, mode)
  return Open(AT_FDCWD, path, flags, mode);
}
int openat(int directoryFd, const char* path, int flags, ...) {
  mode_t mode = 0;
  TAKE_MODE(flags, mode)
  return Open(directoryFd, path, flags, mode);
}
int openat64(int directoryFd, const char* path, int flags, ...) {
  mode_t mode = 0;
  TAKE_MODE(flags, mode)
  return Open(directoryFd, path, flags, mode);
}
int creat(const char* path, mode_t mode) { return Open(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode); }

// What the C library calls instead in programs that were built with its checks.
int __open_2(const char* path, int flags);
int __open_2(const char* path, int flags) { return Open(AT_FDCWD, path, flags, 0); }
int __open64_2(const char* path, int flags);
int __open64_2(const char* path, int flags) { return Open(AT_FDCWD, path, flags, 0); }
int __openat_2(int directoryFd, const char* path, int flags);
int __openat_2(int directoryFd, const char* path, int flags) { return Open(directoryFd, path, flags, 0); }
int __openat64_2(int directoryFd, const char* path, int flags);
int __openat64_2(int directoryFd, const char* path, int flags) { return Open(directoryFd, path, flags, 0); }
ssize_t __read_chk(int fd, void* out, size_t length, size_t room);
ssize_t __read_chk(int fd, void* out, size_t length, size_t room) {
  return read(fd, out, length < room ? length : room);
}

// Two names; `calls` says whether one becomes the other or both stand.
static bool AdmitPair(int calls, int oldFd, const char* oldPath, int newFd, const char* newPath) {
  char from[FAULTS_PATH_BYTES];
  char to[FAULTS_PATH_BYTES];
  FaultsPathAt(oldFd, oldPath, from);
  FaultsPathAt(newFd, newPath, to);
  if (!Admit(calls, from, to)) return false;
  if (FaultsCrossesBorder(from, to)) {
    errno = EXDEV;
    return false;
  }
  FaultsCountChange(from, to);
  return true;
}

int renameat2(int oldFd, const char* oldPath, int newFd, const char* newPath, unsigned flags) {
  if (!AdmitPair(kFaultsRename, oldFd, oldPath, newFd, newPath)) return -1;
  return (int)syscall(SYS_renameat2, oldFd, oldPath, newFd, newPath, flags);
}
int renameat(int oldFd, const char* oldPath, int newFd, const char* newPath) {
  return renameat2(oldFd, oldPath, newFd, newPath, 0);
}
int rename(const char* oldPath, const char* newPath) { return renameat2(AT_FDCWD, oldPath, AT_FDCWD, newPath, 0); }

int linkat(int oldFd, const char* oldPath, int newFd, const char* newPath, int flags) {
  if (!AdmitPair(kFaultsLink, oldFd, oldPath, newFd, newPath)) return -1;
  return (int)syscall(SYS_linkat, oldFd, oldPath, newFd, newPath, flags);
}
int link(const char* oldPath, const char* newPath) { return linkat(AT_FDCWD, oldPath, AT_FDCWD, newPath, 0); }

// Calls with one path that change what it names.
static bool AdmitChange(int calls, int directoryFd, const char* path) {
  char absolute[FAULTS_PATH_BYTES];
  FaultsPathAt(directoryFd, path, absolute);
  if (!Admit(calls, absolute, NULL)) return false;
  FaultsCountChange(absolute, NULL);
  return true;
}

int unlinkat(int directoryFd, const char* path, int flags) {
  if (!AdmitChange(kFaultsUnlink, directoryFd, path)) return -1;
  return (int)syscall(SYS_unlinkat, directoryFd, path, flags);
}
int unlink(const char* path) { return unlinkat(AT_FDCWD, path, 0); }
int rmdir(const char* path) { return unlinkat(AT_FDCWD, path, AT_REMOVEDIR); }
int remove(const char* path) {
  struct stat info;
  const bool directory =
      syscall(SYS_newfstatat, AT_FDCWD, path, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
  return unlinkat(AT_FDCWD, path, directory ? AT_REMOVEDIR : 0);
}

int mkdirat(int directoryFd, const char* path, mode_t mode) {
  if (!AdmitChange(kFaultsMkdir, directoryFd, path)) return -1;
  return (int)syscall(SYS_mkdirat, directoryFd, path, mode);
}
int mkdir(const char* path, mode_t mode) { return mkdirat(AT_FDCWD, path, mode); }
