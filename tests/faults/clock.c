// The real-time clock, ahead or behind by a number of seconds.
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include "tests/faults/faults.h"

static long fixedShift = 0;
static const char* shiftFile = NULL;

__attribute__((constructor)) static void ReadClockVariables(void) {
  const char* value = getenv("FAULTS_CLOCK");
  if (value != NULL && value[0] != '\0') {
    char* end = NULL;
    fixedShift = strtol(value, &end, 10);
    if (*end != '\0') FaultsRefuse("FAULTS_CLOCK", value);
  }
  shiftFile = getenv("FAULTS_CLOCK_FILE");
}

long FaultsClockShift(void) {
  if (shiftFile == NULL || shiftFile[0] == '\0') return fixedShift;
  const int savedError = errno;
  const int fd = (int)syscall(SYS_openat, AT_FDCWD, shiftFile, O_RDONLY | O_CLOEXEC, 0);
  char text[32] = {0};
  if (fd >= 0) {
    syscall(SYS_pread64, fd, text, sizeof text - 1, 0);
    close(fd);
  }
  errno = savedError;
  return fixedShift + atol(text);
}

int clock_gettime(clockid_t clock, struct timespec* now) {
  const int result = (int)syscall(SYS_clock_gettime, clock, now);
  if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) now->tv_sec += FaultsClockShift();
  return result;
}

time_t time(time_t* out) {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  if (out != NULL) *out = now.tv_sec;
  return now.tv_sec;
}

int gettimeofday(struct timeval* restrict now, void* restrict zone) {
  const int result = (int)syscall(SYS_gettimeofday, now, zone);
  if (result == 0) now->tv_sec += FaultsClockShift();
  return result;
}

int timespec_get(struct timespec* now, int base) {
  if (base != TIME_UTC) return 0;
  clock_gettime(CLOCK_REALTIME, now);
  return base;
}
