// The calls that move bytes: reading, writing, copying inside the kernel, and changing a file's length.
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include "tests/faults/faults.h"

static size_t Half(size_t length, bool half) { return half && length > 1 ? length / 2 : length; }

// Whether a transfer between files goes on, and with how many bytes: the rules for the source, then for the
// destination, then the destination's capacity. -1 with errno set when it does not. -1 as fd: no such side.
static ssize_t Admit(int from, int to, off_t toOffset, size_t length) {
  char path[FAULTS_PATH_BYTES];
  FaultsVerdict verdict = {0, false};
  if (from >= 0 && FaultsIsRegularFile(from)) {
    FaultsPathOfFd(from, path);
    verdict = FaultsJudge(kFaultsRead, path, NULL);
  }
  if (verdict.error == 0 && to >= 0 && FaultsIsRegularFile(to)) {
    FaultsPathOfFd(to, path);
    const FaultsVerdict other = FaultsJudge(kFaultsWrite, path, NULL);
    verdict.error = other.error;
    verdict.transferHalf = verdict.transferHalf || other.transferHalf;
    if (verdict.error == 0) {
      length = Half(length, verdict.transferHalf);
      verdict.transferHalf = false;
      const ssize_t fits = FaultsBytesThatFit(to, path, toOffset, length);
      if (fits < 0) verdict.error = ENOSPC;
      if (fits >= 0) length = (size_t)fits;
    }
    if (verdict.error == 0) FaultsCountChange(path, NULL);
  }
  if (verdict.error != 0) {
    errno = verdict.error;
    return -1;
  }
  return (ssize_t)Half(length, verdict.transferHalf);
}

ssize_t read(int fd, void* out, size_t length) {
  const ssize_t admitted = Admit(fd, -1, 0, length);
  return admitted < 0 ? -1 : syscall(SYS_read, fd, out, (size_t)admitted);
}

ssize_t pread64(int fd, void* out, size_t length, off64_t offset) {
  const ssize_t admitted = Admit(fd, -1, 0, length);
  return admitted < 0 ? -1 : syscall(SYS_pread64, fd, out, (size_t)admitted, offset);
}
ssize_t pread(int fd, void* out, size_t length, off_t offset) { return pread64(fd, out, length, offset); }

ssize_t write(int fd, const void* bytes, size_t length) {
  const ssize_t admitted = Admit(-1, fd, -1, length);
  return admitted < 0 ? -1 : syscall(SYS_write, fd, bytes, (size_t)admitted);
}

ssize_t pwrite64(int fd, const void* bytes, size_t length, off64_t offset) {
  const ssize_t admitted = Admit(-1, fd, offset, length);
  return admitted < 0 ? -1 : syscall(SYS_pwrite64, fd, bytes, (size_t)admitted, offset);
}
ssize_t pwrite(int fd, const void* bytes, size_t length, off_t offset) { return pwrite64(fd, bytes, length, offset); }

// The pieces cut so that they hold `length` bytes together; returns how many pieces are left.
static int CutPieces(struct iovec* pieces, int count, size_t length) {
  for (int i = 0; i < count; ++i) {
    if (pieces[i].iov_len >= length) {
      pieces[i].iov_len = length;
      return i + 1;
    }
    length -= pieces[i].iov_len;
  }
  return count;
}

static ssize_t TransferPieces(bool writing, int fd, const struct iovec* pieces, int count) {
  struct iovec admittedPieces[IOV_MAX];
  if (count < 0 || count > IOV_MAX) {
    errno = EINVAL;
    return -1;
  }
  size_t length = 0;
  for (int i = 0; i < count; ++i) {
    admittedPieces[i] = pieces[i];
    length += pieces[i].iov_len;
  }
  const ssize_t admitted = Admit(writing ? -1 : fd, writing ? fd : -1, -1, length);
  if (admitted < 0) return -1;
  const int left = CutPieces(admittedPieces, count, (size_t)admitted);
  return syscall(writing ? SYS_writev : SYS_readv, fd, admittedPieces, left);
}

ssize_t writev(int fd, const struct iovec* pieces, int count) { return TransferPieces(true, fd, pieces, count); }
ssize_t readv(int fd, const struct iovec* pieces, int count) { return TransferPieces(false, fd, pieces, count); }

ssize_t copy_file_range(int from, off64_t* fromOffset, int to, off64_t* toOffset, size_t length, unsigned flags) {
  // A request for more than there is must not look like bytes that do not fit.
  struct stat info;
  if (fstat(from, &info) == 0 && S_ISREG(info.st_mode)) {
    const off_t at = fromOffset != NULL ? *fromOffset : lseek(from, 0, SEEK_CUR);
    const size_t rest = info.st_size > at ? (size_t)(info.st_size - at) : 0;
    if (rest < length) length = rest;
  }
  const ssize_t admitted = Admit(from, to, toOffset != NULL ? *toOffset : -1, length);
  return admitted < 0 ? -1 : syscall(SYS_copy_file_range, from, fromOffset, to, toOffset, (size_t)admitted, flags);
}

ssize_t sendfile64(int to, int from, off64_t* fromOffset, size_t length) {
  struct stat info;
  if (fstat(from, &info) == 0 && S_ISREG(info.st_mode)) {
    const off_t at = fromOffset != NULL ? *fromOffset : lseek(from, 0, SEEK_CUR);
    const size_t rest = info.st_size > at ? (size_t)(info.st_size - at) : 0;
    if (rest < length) length = rest;
  }
  const ssize_t admitted = Admit(from, to, -1, length);
  return admitted < 0 ? -1 : syscall(SYS_sendfile, to, from, fromOffset, (size_t)admitted);
}
ssize_t sendfile(int to, int from, off_t* fromOffset, size_t length) {
  return sendfile64(to, from, fromOffset, length);
}

// Changes of length: 0, or the error. A file that is to grow must fit.
static int AdmitLength(int fd, off_t length) {
  char path[FAULTS_PATH_BYTES];
  if (!FaultsIsRegularFile(fd)) return 0;
  FaultsPathOfFd(fd, path);
  const FaultsVerdict verdict = FaultsJudge(kFaultsTruncate, path, NULL);
  if (verdict.error != 0) return verdict.error;
  struct stat info;
  if (fstat(fd, &info) == 0 && length > info.st_size) {
    const size_t growth = (size_t)(length - info.st_size);
    if (FaultsBytesThatFit(fd, path, info.st_size, growth) != (ssize_t)growth) return ENOSPC;
  }
  FaultsCountChange(path, NULL);
  return 0;
}

int ftruncate64(int fd, off64_t length) {
  const int error = AdmitLength(fd, length);
  if (error != 0) {
    errno = error;
    return -1;
  }
  return (int)syscall(SYS_ftruncate, fd, length);
}
int ftruncate(int fd, off_t length) { return ftruncate64(fd, length); }

int fallocate64(int fd, int mode, off64_t offset, off64_t length) {
  const int error = AdmitLength(fd, offset + length);
  if (error != 0) {
    errno = error;
    return -1;
  }
  return (int)syscall(SYS_fallocate, fd, mode, offset, length);
}
int fallocate(int fd, int mode, off_t offset, off_t length) { return fallocate64(fd, mode, offset, length); }

// Unlike the others this one returns its error.
int posix_fallocate64(int fd, off64_t offset, off64_t length) {
  return fallocate64(fd, 0, offset, length) == 0 ? 0 : errno;
}
int posix_fallocate(int fd, off_t offset, off_t length) { return posix_fallocate64(fd, offset, length); }

static int Flush(long call, int fd) {
  char path[FAULTS_PATH_BYTES];
  FaultsPathOfFd(fd, path);
  const FaultsVerdict verdict = FaultsJudge(kFaultsSync, path, NULL);
  if (verdict.error != 0) {
    errno = verdict.error;
    return -1;
  }
  return (int)syscall(call, fd);
}
int fsync(int fd) { return Flush(SYS_fsync, fd); }
int fdatasync(int fd) { return Flush(SYS_fdatasync, fd); }
int syncfs(int fd) { return Flush(SYS_syncfs, fd); }
