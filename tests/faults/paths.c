#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/faults/faults.h"

void FaultsPathOfFd(int fd, char out[FAULTS_PATH_BYTES]) {
  char link[64];
  snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  const ssize_t length = readlink(link, out, FAULTS_PATH_BYTES - 1);
  out[length > 0 ? length : 0] = '\0';
  static const char kDeleted[] = " (deleted)";
  const size_t tail = sizeof kDeleted - 1;
  const size_t total = strlen(out);
  if (total > tail && strcmp(out + total - tail, kDeleted) == 0) out[total - tail] = '\0';
}

void FaultsPathAt(int directoryFd, const char* path, char out[FAULTS_PATH_BYTES]) {
  if (path == NULL || path[0] == '\0') {
    FaultsPathOfFd(directoryFd, out);
    return;
  }
  static const char kOwnFds[] = "/proc/self/fd/";
  if (strncmp(path, kOwnFds, sizeof kOwnFds - 1) == 0) {
    FaultsPathOfFd(atoi(path + sizeof kOwnFds - 1), out);
    return;
  }
  size_t used = 0;
  if (path[0] != '/') {
    if (directoryFd == AT_FDCWD) {
      if (getcwd(out, FAULTS_PATH_BYTES) == NULL) out[0] = '\0';
    } else {
      FaultsPathOfFd(directoryFd, out);
    }
    used = strlen(out);
    if (used + 1 < FAULTS_PATH_BYTES) out[used++] = '/';
  }
  snprintf(out + used, FAULTS_PATH_BYTES - used, "%s", path);
}

bool FaultsIsBelow(const char* path, const char* directory) {
  size_t length = strlen(directory);
  while (length > 0 && directory[length - 1] == '/') --length;
  return strncmp(path, directory, length) == 0 && (path[length] == '/' || path[length] == '\0');
}

bool FaultsIsRegularFile(int fd) {
  struct stat info;
  return fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
}

void FaultsRefuse(const char* variable, const char* value) {
  fprintf(stderr, "faults: %s=%s cannot be understood\n", variable, value);
  _exit(125);
}
