// Directories that hold a limited number of bytes, as a disk does.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/faults/faults.h"

typedef struct {
  char directory[FAULTS_PATH_BYTES];
  long long bytes;
} Capacity;

enum { kMaxCapacities = 4 };
static Capacity capacities[kMaxCapacities];
static int capacityCount = 0;

__attribute__((constructor)) static void ReadCapacities(void) {
  const char* value = getenv("FAULTS_CAPACITY");
  if (value == NULL || value[0] == '\0') return;
  static char text[4 * FAULTS_PATH_BYTES];
  snprintf(text, sizeof text, "%s", value);
  for (char* rest = text; rest != NULL;) {
    char* entry = strsep(&rest, "|");
    char* sign = strrchr(entry, '=');
    if (sign == NULL || capacityCount == kMaxCapacities) FaultsRefuse("FAULTS_CAPACITY", value);
    *sign = '\0';
    Capacity* capacity = &capacities[capacityCount++];
    snprintf(capacity->directory, sizeof capacity->directory, "%s", entry);
    char* end = NULL;
    capacity->bytes = strtoll(sign + 1, &end, 10);
    if (end == sign + 1 || *end != '\0' || capacity->bytes < 0) FaultsRefuse("FAULTS_CAPACITY", value);
  }
}

static const Capacity* CapacityOf(const char* path) {
  for (int i = 0; i < capacityCount; ++i) {
    if (FaultsIsBelow(path, capacities[i].directory)) return &capacities[i];
  }
  return NULL;
}

static long long BytesBelow(const char* directory) {
  long long total = 0;
  DIR* stream = opendir(directory);
  if (stream == NULL) return 0;
  for (struct dirent* entry = readdir(stream); entry != NULL; entry = readdir(stream)) {
    if (strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0) continue;
    struct stat info;
    // Not the interposed call: this look is not the program's.
    if (syscall(SYS_newfstatat, dirfd(stream), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) continue;
    if (S_ISREG(info.st_mode)) total += info.st_size;
    if (S_ISDIR(info.st_mode)) {
      char below[FAULTS_PATH_BYTES];
      snprintf(below, sizeof below, "%.2000s/%s", directory, entry->d_name);
      total += BytesBelow(below);
    }
  }
  closedir(stream);
  return total;
}

// Files without a name take room too, as long as this process holds them open.
static long long UnnamedBytesBelow(const char* directory) {
  long long total = 0;
  DIR* stream = opendir("/proc/self/fd");
  if (stream == NULL) return 0;
  for (struct dirent* entry = readdir(stream); entry != NULL; entry = readdir(stream)) {
    const int fd = atoi(entry->d_name);
    struct stat info;
    char path[FAULTS_PATH_BYTES];
    if (entry->d_name[0] == '.' || fd == dirfd(stream) || fstat(fd, &info) != 0) continue;
    if (!S_ISREG(info.st_mode) || info.st_nlink != 0) continue;
    FaultsPathOfFd(fd, path);
    if (FaultsIsBelow(path, directory)) total += info.st_size;
  }
  closedir(stream);
  return total;
}

ssize_t FaultsBytesThatFit(int fd, const char* path, off_t offset, size_t length) {
  const Capacity* capacity = CapacityOf(path);
  struct stat info;
  if (capacity == NULL || length == 0 || fstat(fd, &info) != 0) return (ssize_t)length;
  if (offset < 0) offset = (fcntl(fd, F_GETFL) & O_APPEND) != 0 ? info.st_size : lseek(fd, 0, SEEK_CUR);
  const int savedError = errno;
  const long long used = BytesBelow(capacity->directory) + UnnamedBytesBelow(capacity->directory);
  errno = savedError;
  const long long end = info.st_size + (capacity->bytes > used ? capacity->bytes - used : 0);
  const long long fits = end - offset;
  if (fits <= 0) return -1;
  return fits < (long long)length ? (ssize_t)fits : (ssize_t)length;
}

bool FaultsCrossesBorder(const char* path, const char* other) { return CapacityOf(path) != CapacityOf(other); }
