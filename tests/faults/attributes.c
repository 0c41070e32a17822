// The calls that set a file's times, mode and extended attributes.
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/xattr.h>
#include <time.h>
#include <unistd.h>

#include "tests/faults/faults.h"

static bool AdmitChange(int calls, int directoryFd, const char* path) {
  char absolute[FAULTS_PATH_BYTES];
  FaultsPathAt(directoryFd, path, absolute);
  const FaultsVerdict verdict = FaultsJudge(calls, absolute, NULL);
  if (verdict.error != 0) {
    errno = verdict.error;
    return false;
  }
  FaultsCountChange(absolute, NULL);
  return true;
}

// "Now" is the time of the shifted clock.
static int SetTimes(int directoryFd, const char* path, const struct timespec* times, int flags) {
  if (!AdmitChange(kFaultsTimes, directoryFd, path)) return -1;
  if (FaultsClockShift() == 0) return (int)syscall(SYS_utimensat, directoryFd, path, times, flags);
  struct timespec shifted[2];
  for (int i = 0; i < 2; ++i) {
    if (times == NULL || times[i].tv_nsec == UTIME_NOW) {
      clock_gettime(CLOCK_REALTIME, &shifted[i]);
    } else {
      shifted[i] = times[i];
    }
  }
  return (int)syscall(SYS_utimensat, directoryFd, path, shifted, flags);
}

int utimensat(int directoryFd, const char* path, const struct timespec times[2], int flags) {
  return SetTimes(directoryFd, path, times, flags);
}
int futimens(int fd, const struct timespec times[2]) { return SetTimes(fd, NULL, times, 0); }

static int SetMicroTimes(int directoryFd, const char* path, const struct timeval* times) {
  if (times == NULL) return SetTimes(directoryFd, path, NULL, 0);
  const struct timespec nanoTimes[2] = {{times[0].tv_sec, times[0].tv_usec * 1000},
                                        {times[1].tv_sec, times[1].tv_usec * 1000}};
  return SetTimes(directoryFd, path, nanoTimes, 0);
}
int utimes(const char* path, const struct timeval times[2]) { return SetMicroTimes(AT_FDCWD, path, times); }
int futimes(int fd, const struct timeval times[2]) { return SetMicroTimes(fd, NULL, times); }

int fsetxattr(int fd, const char* name, const void* value, size_t size, int flags) {
  if (!AdmitChange(kFaultsXattr, fd, NULL)) return -1;
  return (int)syscall(SYS_fsetxattr, fd, name, value, size, flags);
}
int setxattr(const char* path, const char* name, const void* value, size_t size, int flags) {
  if (!AdmitChange(kFaultsXattr, AT_FDCWD, path)) return -1;
  return (int)syscall(SYS_setxattr, path, name, value, size, flags);
}

int fchmod(int fd, mode_t mode) {
  if (!AdmitChange(kFaultsMode, fd, NULL)) return -1;
  return (int)syscall(SYS_fchmod, fd, mode);
}
int chmod(const char* path, mode_t mode) {
  if (!AdmitChange(kFaultsMode, AT_FDCWD, path)) return -1;
  return (int)syscall(SYS_fchmodat, AT_FDCWD, path, mode);
}
int fchmodat(int directoryFd, const char* path, mode_t mode, int flags) {
  if (!AdmitChange(kFaultsMode, directoryFd, path)) return -1;
  if (flags != 0) {
    errno = ENOTSUP;
    return -1;
  }
  return (int)syscall(SYS_fchmodat, directoryFd, path, mode);
}
