// The count of changing calls, and the signal at one of them.
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/faults/faults.h"

static char root[FAULTS_PATH_BYTES];
static int countFd = -1;
static long count = 0;
static long signalAt = 0;
static int signalNumber = SIGKILL;

static long ReadNumber(const char* variable) {
  const char* value = getenv(variable);
  if (value == NULL || value[0] == '\0') return 0;
  char* end = NULL;
  const long number = strtol(value, &end, 10);
  if (*end != '\0' || number <= 0) FaultsRefuse(variable, value);
  return number;
}

__attribute__((constructor)) static void ReadChangeVariables(void) {
  signalAt = ReadNumber("FAULTS_AT");
  const long number = ReadNumber("FAULTS_SIGNAL");
  if (number != 0) signalNumber = (int)number;
  const char* folder = getenv("FAULTS_ROOT");
  if (folder != NULL) snprintf(root, sizeof root, "%s", folder);
  const char* file = getenv("FAULTS_COUNT");
  if (file == NULL || file[0] == '\0') return;
  countFd = (int)syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (countFd < 0) FaultsRefuse("FAULTS_COUNT", file);
  char text[32] = {0};
  if (syscall(SYS_pread64, countFd, text, sizeof text - 1, 0) > 0) count = atol(text);
}

void FaultsCountChange(const char* path, const char* other) {
  if (!FaultsIsBelow(path, root) && (other == NULL || !FaultsIsBelow(other, root))) return;
  ++count;
  if (countFd >= 0) {
    char text[32];
    const int length = snprintf(text, sizeof text, "%ld\n", count);
    syscall(SYS_pwrite64, countFd, text, (size_t)length, 0);
  }
  if (count == signalAt) kill(getpid(), signalNumber);
}
