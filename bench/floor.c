// The floor under Zelkor's speed: the same system calls on the same data with next to no work between them.
//
//   floor export CATALOGUE HOME TEMPORARY DESTINATION LOG SINCE
//   floor import SYNCFILE HOME CATALOGUE LOG (link|rename)
//
// export writes every file of the catalogue's items (one file an item, on drive c, which is HOME) that changed after
// SINCE (Unix seconds) to TEMPORARY, and moves that to DESTINATION, flushed before it takes its name. import writes
// every file of SYNCFILE that is missing below HOME, whole and with its time before it takes its name, and appends its
// item to CATALOGUE; a file that is there with the entry's time is left alone; at its end SYNCFILE is deleted. A line
// for each item and file goes to LOG and to standard output with one write each. Local time is taken to be UTC.
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

enum {
  kHeaderBytes = 256,
  kRecordBytes = 1024,
  kFileNameBytes = 512,
  kPathBytes = 200,
  kDataLengthAt = 594,
  kFileCountAt = 598,
  kRecordSignatureAt = 610,
  kSizeAt = 208,
  kCreatedAt = 212,
  kWrittenAt = 228,
  kBufferBytes = 1 << 17,
};

// Where the creation time is kept, which the system has for itself but does not let anybody set.
static const char kCreatedAttribute[] = "user.zelkor.created";

// Seconds between 30 December 1899, where dates begin, and 1 January 1970.
static const double kUnixEpochDays = 25569.0;

static char buffer[kBufferBytes];
static int logFile = -1;

static void Die(const char* what) {
  perror(what);
  exit(1);
}

static int Checked(int result, const char* what) {
  if (result < 0) Die(what);
  return result;
}

static void WriteAll(int file, const void* bytes, size_t count, const char* what) {
  const char* at = bytes;
  while (count > 0) {
    const ssize_t written = write(file, at, count);
    if (written < 0) Die(what);
    at += written;
    count -= (size_t)written;
  }
}

static void LogLine(const char* before, const char* text, const char* after) {
  char line[1024];
  const int length = snprintf(line, sizeof line, "%s%s%s\n", before, text, after);
  WriteAll(logFile, line, (size_t)length, "log");
  WriteAll(STDOUT_FILENO, line, (size_t)length, "standard output");
}

// The numbers of a sync file are little-endian, as this machine's are.
static void PutInt(char* record, int offset, int32_t value) { memcpy(record + offset, &value, sizeof value); }
static void PutDate(char* record, int offset, int64_t unixSeconds) {
  const double date = (double)unixSeconds / 86400.0 + kUnixEpochDays;
  memcpy(record + offset, &date, sizeof date);
}
static int32_t GetInt(const char* record, int offset) {
  int32_t value;
  memcpy(&value, record + offset, sizeof value);
  return value;
}
static int64_t GetSeconds(const char* record, int offset) {
  double date;
  memcpy(&date, record + offset, sizeof date);
  return (int64_t)((date - kUnixEpochDays) * 86400.0 + 0.5);
}

// "c:\one\two" padded with blanks, as HOME/one/two.
static void NativePath(const char* field, int width, const char* home, char* out, size_t outBytes) {
  while (width > 0 && (field[width - 1] == ' ' || field[width - 1] == '\0' || field[width - 1] == '\n' ||
                       field[width - 1] == '\r')) {
    --width;
  }
  if (width < 3) {
    fprintf(stderr, "an item without a file\n");
    exit(1);
  }
  snprintf(out, outBytes, "%s/%.*s", home, width - 3, field + 3);
  for (char* c = out; *c != '\0'; ++c) {
    if (*c == '\\') *c = '/';
  }
}

// Output gathered in the buffer; what is larger than the buffer goes past it.
static size_t gathered;
static int64_t outBytesTotal;

static void Flush(int out) {
  WriteAll(out, buffer, gathered, "sync file");
  gathered = 0;
}

static void Put(int out, const void* bytes, size_t count) {
  if (gathered + count > sizeof buffer) Flush(out);
  memcpy(buffer + gathered, bytes, count);
  gathered += count;
  outBytesTotal += (int64_t)count;
}

// The contents of `in` behind what is gathered; small files are read straight into the buffer.
static void PutContents(int out, int in, int64_t size) {
  if ((int64_t)(sizeof buffer - gathered) < size) Flush(out);
  outBytesTotal += size;
  while (size > 0) {
    const size_t want = size < (int64_t)(sizeof buffer - gathered) ? (size_t)size : sizeof buffer - gathered;
    const ssize_t got = read(in, buffer + gathered, want);
    if (got <= 0) Die("read");
    gathered += (size_t)got;
    size -= got;
    if (gathered == sizeof buffer) Flush(out);
  }
}

static void Export(const char* catalogue, const char* home, const char* temporary, const char* destination,
                   int64_t since) {
  const int items = Checked(open(catalogue, O_RDONLY | O_CLOEXEC), catalogue);
  const int out = Checked(open(temporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600), temporary);
  struct stat info;
  Checked(fstat(items, &info), catalogue);
  const int32_t count = (int32_t)(info.st_size / kRecordBytes);
  char* records = malloc((size_t)info.st_size + 1);
  if (records == NULL || read(items, records, (size_t)info.st_size) != info.st_size) Die(catalogue);
  close(items);

  char header[kHeaderBytes] = {0};
  memcpy(header, "floor   ", 8);
  header[16] = (char)200;
  header[18] = 1;
  memcpy(header + 20, "SyncFile", 8);
  memset(header + 28, 0xFF, 2);
  Put(out, header, sizeof header);
  char block[kHeaderBytes] = {0};
  memcpy(block, "ZELKOR  ", 8);
  PutInt(block, 14, count);
  block[18] = (char)223;
  Put(out, block, sizeof block);

  for (int32_t i = 0; i < count; ++i) {
    char* record = records + (size_t)i * kRecordBytes;
    char path[4096];
    NativePath(record, kFileNameBytes, home, path, sizeof path);
    struct stat file;
    Checked(stat(path, &file), path);
    const int goes = file.st_mtime > since;
    int in = -1;
    if (goes) {
      in = Checked(open(path, O_RDONLY | O_CLOEXEC), path);
      Checked(fstat(in, &file), path);
    }
    PutInt(record, kDataLengthAt, goes ? (int32_t)(kHeaderBytes + file.st_size) : 0);
    PutInt(record, kFileCountAt, goes);
    memcpy(record + kRecordSignatureAt, "memosign", 8);
    Put(out, record, kRecordBytes);
    LogLine("", path, "");
    if (!goes) continue;
    char fileHeader[kHeaderBytes] = {0};
    memcpy(fileHeader, "FileHdr ", 8);
    memcpy(fileHeader + 8, record, kPathBytes);
    PutInt(fileHeader, kSizeAt, (int32_t)file.st_size);
    char created[32] = "";
    const ssize_t digits = fgetxattr(in, kCreatedAttribute, created, sizeof created - 1);
    PutDate(fileHeader, kCreatedAt, digits > 0 ? atoll(created) : file.st_ctime);
    PutDate(fileHeader, kWrittenAt, file.st_mtime);
    Put(out, fileHeader, sizeof fileHeader);
    PutContents(out, in, file.st_size);
    close(in);
    LogLine("  [", path, "]");
  }
  Flush(out);
  // A block of 2^31 bytes or more says 0, and its records tell where it ends.
  const int64_t length = outBytesTotal - 2 * kHeaderBytes;
  PutInt(block, 8, length > INT32_MAX ? 0 : (int32_t)length);
  if (pwrite(out, block, sizeof block, kHeaderBytes) != sizeof block) Die(temporary);
  Checked(fdatasync(out), temporary);
  Checked(rename(temporary, destination), destination);
  Checked(fchmod(out, 0644), destination);
  close(out);
}

// Input read through the buffer.
static size_t have;
static size_t used;

static int Get(int in, char* out, size_t count) {
  while (count > 0) {
    if (used == have) {
      const ssize_t got = read(in, buffer, sizeof buffer);
      if (got < 0) Die("sync file");
      if (got == 0) return 0;
      have = (size_t)got;
      used = 0;
    }
    const size_t piece = count < have - used ? count : have - used;
    memcpy(out, buffer + used, piece);
    used += piece;
    out += piece;
    count -= piece;
  }
  return 1;
}

// The next `size` bytes are passed over.
static void Skip(int in, int64_t size) {
  const int64_t inBuffer = (int64_t)(have - used) < size ? (int64_t)(have - used) : size;
  used += (size_t)inBuffer;
  if (size > inBuffer && lseek(in, size - inBuffer, SEEK_CUR) < 0) Die("sync file");
}

// The next `size` bytes to `out`.
static void Take(int in, int out, int64_t size) {
  while (size > 0) {
    if (used == have) {
      const ssize_t got = read(in, buffer, sizeof buffer);
      if (got <= 0) Die("sync file");
      have = (size_t)got;
      used = 0;
    }
    const size_t piece = size < (int64_t)(have - used) ? (size_t)size : have - used;
    WriteAll(out, buffer + used, piece, "file");
    used += piece;
    size -= (int64_t)piece;
  }
}

static void MakeDirectories(const char* path) {
  char level[4096];
  snprintf(level, sizeof level, "%s", path);
  for (char* c = level + 1; *c != '\0'; ++c) {
    if (*c != '/') continue;
    *c = '\0';
    if (mkdir(level, 0777) < 0 && errno != EEXIST) Die(level);
    *c = '/';
  }
}

static int OpenWithoutName(const char* path, int byLink, char* temporary, size_t bytes) {
  snprintf(temporary, bytes, "%s", path);
  if (byLink) {
    *strrchr(temporary, '/') = '\0';
    return open(temporary, O_WRONLY | O_TMPFILE | O_CLOEXEC, 0666);
  }
  snprintf(temporary, bytes, "%s.part", path);
  return open(temporary, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
}

static void ImportFile(int in, const char* header, const char* record, const char* path, int catalogue, int byLink) {
  char temporary[4096];
  int out = OpenWithoutName(path, byLink, temporary, sizeof temporary);
  if (out < 0 && errno == ENOENT) {
    MakeDirectories(path);
    out = OpenWithoutName(path, byLink, temporary, sizeof temporary);
  }
  Checked(out, path);
  Take(in, out, GetInt(header, kSizeAt));
  const struct timespec times[2] = {{.tv_nsec = UTIME_OMIT}, {.tv_sec = GetSeconds(header, kWrittenAt)}};
  Checked(futimens(out, times), path);
  char created[32];
  const int digits = snprintf(created, sizeof created, "%lld", (long long)GetSeconds(header, kCreatedAt));
  // Not every file system has attributes.
  if (fsetxattr(out, kCreatedAttribute, created, (size_t)digits, 0) < 0 && errno != ENOTSUP) Die(path);
  WriteAll(catalogue, record, kRecordBytes, "catalogue");
  if (byLink) {
    char name[64];
    snprintf(name, sizeof name, "/proc/self/fd/%d", out);
    Checked(linkat(AT_FDCWD, name, AT_FDCWD, path, AT_SYMLINK_FOLLOW), path);
    close(out);
  } else {
    close(out);
    Checked(rename(temporary, path), path);
  }
}

static void Import(const char* syncFile, const char* home, const char* cataloguePath, int byLink) {
  const int in = Checked(open(syncFile, O_RDONLY | O_CLOEXEC), syncFile);
  const int catalogue = Checked(open(cataloguePath, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), cataloguePath);
  char header[kHeaderBytes];
  // That of the file, then that of its block.
  for (int i = 0; i < 2; ++i) {
    if (!Get(in, header, sizeof header)) Die(syncFile);
  }
  char record[kRecordBytes];
  while (Get(in, record, sizeof record)) {
    char path[4096];
    NativePath(record, kFileNameBytes, home, path, sizeof path);
    LogLine("", path, ", 1 files");
    for (int32_t i = GetInt(record, kFileCountAt); i > 0; --i) {
      if (!Get(in, header, sizeof header)) Die(syncFile);
      NativePath(header + 8, kPathBytes, home, path, sizeof path);
      struct stat local;
      if (stat(path, &local) == 0 && local.st_mtime == GetSeconds(header, kWrittenAt)) {
        Skip(in, GetInt(header, kSizeAt));
        continue;
      }
      ImportFile(in, header, record, path, catalogue, byLink);
      LogLine("  [", path, "]: New");
    }
  }
  close(in);
  // Once for all files: they are on the medium before the run counts as done.
  Checked(syncfs(catalogue), cataloguePath);
  close(catalogue);
  Checked(unlink(syncFile), syncFile);
}

int main(int argc, char** argv) {
  if (argc == 8 && strcmp(argv[1], "export") == 0) {
    logFile = Checked(open(argv[6], O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), argv[6]);
    Export(argv[2], argv[3], argv[4], argv[5], atoll(argv[7]));
  } else if (argc == 7 && strcmp(argv[1], "import") == 0) {
    logFile = Checked(open(argv[5], O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), argv[5]);
    Import(argv[2], argv[3], argv[4], strcmp(argv[6], "link") == 0);
  } else {
    fprintf(stderr,
            "usage: floor export CATALOGUE HOME TEMPORARY DESTINATION LOG SINCE\n"
            "       floor import SYNCFILE HOME CATALOGUE LOG (link|rename)\n");
    return 2;
  }
  return 0;
}
