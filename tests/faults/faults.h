// Faults injected between an unmodified program and the system: a shared library loaded with LD_PRELOAD that stands in
// front of the calls by which a program reads and changes files and asks for the time. What it does is said by
// environment variables; without any it only passes the calls on.
//
//   FAULTS_ROOT=/folder      only files below it count as changed (default: every file)
//   FAULTS_COUNT=/file       the number of changing calls made so far is kept there as decimal text; the count goes on
//                            from the number found there, so that several processes can share it
//   FAULTS_AT=n              before the n-th changing call (counting from 1) the process gets a signal
//   FAULTS_SIGNAL=n          that signal, by number; default 9, SIGKILL
//   FAULTS_RULES=r|r|…       calls that fail or act; each rule is CALLS:PATHPART:ACTION:FROM[:once]
//                              CALLS     read, write, open, create, unnamed, rename, link, unlink, sync, truncate,
//                                        mkdir, times, xattr, mode, stat or any, several joined by "+"
//                              PATHPART  the rule matches when a path of the call contains it; empty matches all
//                              ACTION    an errno name such as ENOSPC; SHORT (half the bytes are transferred);
//                                        GROW, CUT or TOUCH (the file gets longer by 1000 bytes, loses its second half,
//                                        or gets another last-write time, then the call goes on);
//                                        SIGINT, SIGSTOP, SIGTERM or SIGKILL (the process gets it, then the call goes
//                                        on)
//                              FROM      the first match, counting from 1, at which it acts
//                              once      it acts at that match only; else from it on
//   FAULTS_CAPACITY=dir=n|…  the files below dir hold n bytes together; beyond that writing is cut short and then fails
//                            with ENOSPC. Renaming and linking across the border of dir fails with EXDEV, as between
//                            two file systems
//   FAULTS_CLOCK=n           the real-time clock is n seconds ahead (behind when negative)
//   FAULTS_CLOCK_FILE=/file  the same, read from a file at each look at the clock; both add up
//
// A changing call is one that changes what a file system holds: writing, creating, emptying, renaming, linking,
// deleting, making a directory, setting times, modes and attributes. Flushing changes nothing in this sense.
//
// A variable that cannot be understood ends the process with status 125.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

#define FAULTS_PATH_BYTES 4096

// Classes of calls, as in the rules.
enum {
  kFaultsRead = 1,
  kFaultsWrite = 2,
  kFaultsOpen = 4,
  kFaultsCreate = 8,
  kFaultsUnnamed = 16,
  kFaultsRename = 32,
  kFaultsLink = 64,
  kFaultsUnlink = 128,
  kFaultsSync = 256,
  kFaultsTruncate = 512,
  kFaultsMkdir = 1024,
  kFaultsTimes = 2048,
  kFaultsXattr = 4096,
  kFaultsMode = 8192,
  kFaultsStat = 16384,
  kFaultsAny = 32767
};

// What the rules say about one call.
typedef struct {
  int error;          // errno to fail with, 0 to go on
  bool transferHalf;  // a transfer of bytes moves only the first half
} FaultsVerdict;

// paths.c: the absolute path of an open file, and of a path argument relative to a directory. An unnamed or deleted
// file has the path that the system tells for it, with " (deleted)" cut off.
void FaultsPathOfFd(int fd, char out[FAULTS_PATH_BYTES]);
void FaultsPathAt(int directoryFd, const char* path, char out[FAULTS_PATH_BYTES]);
bool FaultsIsBelow(const char* path, const char* directory);
bool FaultsIsRegularFile(int fd);

// rules.c: looks the call up in the rules, does what they say, and tells what becomes of it. `other` is the second path
// of a rename or link, else null.
FaultsVerdict FaultsJudge(int calls, const char* path, const char* other);

// changes.c: counts a changing call and sends the signal when its turn has come.
void FaultsCountChange(const char* path, const char* other);

// capacity.c: how many bytes of a write of `length` bytes at `offset` fit; -1 when not even one does and length is not
// 0. An `offset` of -1 is the present position of `fd`, or its end when it was opened for appending.
ssize_t FaultsBytesThatFit(int fd, const char* path, off_t offset, size_t length);
// True when one path lies in a directory with a capacity and the other does not lie in the same.
bool FaultsCrossesBorder(const char* path, const char* other);

// clock.c: seconds to add to the real-time clock.
long FaultsClockShift(void);

// Ends the process over a variable that cannot be understood.
__attribute__((noreturn)) void FaultsRefuse(const char* variable, const char* value);
