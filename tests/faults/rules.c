// The rules of FAULTS_RULES: read once, then asked about each call.
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/faults/faults.h"

typedef enum { kFail, kShort, kGrow, kCut, kTouch, kSignal } Action;

typedef struct {
  int calls;
  char part[256];
  Action action;
  int number;  // errno or signal
  long from;
  bool once;
  long matches;
} Rule;

typedef struct {
  const char* name;
  int value;
} Name;

static const Name kCalls[] = {
    {"read", kFaultsRead},     {"write", kFaultsWrite}, {"open", kFaultsOpen},         {"create", kFaultsCreate},
    {"rename", kFaultsRename}, {"link", kFaultsLink},   {"unlink", kFaultsUnlink},     {"unnamed", kFaultsUnnamed},
    {"sync", kFaultsSync},     {"mkdir", kFaultsMkdir}, {"truncate", kFaultsTruncate}, {"times", kFaultsTimes},
    {"xattr", kFaultsXattr},   {"stat", kFaultsStat},   {"mode", kFaultsMode},         {"any", kFaultsAny},
};
static const Name kErrors[] = {
    {"ENOSPC", ENOSPC}, {"EIO", EIO},       {"EACCES", EACCES}, {"EINTR", EINTR},           {"EPERM", EPERM},
    {"EROFS", EROFS},   {"EXDEV", EXDEV},   {"ENOENT", ENOENT}, {"EOPNOTSUPP", EOPNOTSUPP}, {"EDQUOT", EDQUOT},
    {"EINVAL", EINVAL}, {"EMFILE", EMFILE}, {"ENOSYS", ENOSYS}, {"EBUSY", EBUSY},           {"ENODEV", ENODEV},
};
static const Name kSignals[] = {{"SIGINT", SIGINT}, {"SIGSTOP", SIGSTOP}, {"SIGTERM", SIGTERM}, {"SIGKILL", SIGKILL}};

enum { kMaxRules = 16 };
static Rule rules[kMaxRules];
static int ruleCount = 0;

#define LOOK_UP(table, text) LookUp(table, sizeof(table) / sizeof(table)[0], text)
static int LookUp(const Name* table, size_t count, const char* text) {
  for (size_t i = 0; i < count; ++i) {
    if (strcmp(table[i].name, text) == 0) return table[i].value;
  }
  return 0;
}

static bool ReadCalls(char* text, Rule* rule) {
  for (char* rest = text; rest != NULL;) {
    const int call = LOOK_UP(kCalls, strsep(&rest, "+"));
    if (call == 0) return false;
    rule->calls |= call;
  }
  return true;
}

static bool ReadAction(const char* text, Rule* rule) {
  if (strcmp(text, "SHORT") == 0) {
    rule->action = kShort;
  } else if (strcmp(text, "GROW") == 0) {
    rule->action = kGrow;
  } else if (strcmp(text, "CUT") == 0) {
    rule->action = kCut;
  } else if (strcmp(text, "TOUCH") == 0) {
    rule->action = kTouch;
  } else if ((rule->number = LOOK_UP(kSignals, text)) != 0) {
    rule->action = kSignal;
  } else {
    rule->action = kFail;
    rule->number = LOOK_UP(kErrors, text);
    return rule->number != 0;
  }
  return true;
}

static bool ReadRule(char* text, Rule* rule) {
  char* fields[5] = {NULL};
  int count = 0;
  for (char* rest = text; rest != NULL && count < 5;) fields[count++] = strsep(&rest, ":");
  if (count < 4 || strlen(fields[1]) >= sizeof rule->part) return false;
  snprintf(rule->part, sizeof rule->part, "%s", fields[1]);
  rule->from = atol(fields[3]);
  rule->once = count == 5 && strcmp(fields[4], "once") == 0;
  return ReadCalls(fields[0], rule) && ReadAction(fields[2], rule) && rule->from > 0 && (count == 4 || rule->once);
}

__attribute__((constructor)) static void ReadRules(void) {
  const char* value = getenv("FAULTS_RULES");
  if (value == NULL || value[0] == '\0') return;
  static char text[8192];
  snprintf(text, sizeof text, "%s", value);
  for (char* rest = text; rest != NULL;) {
    if (ruleCount == kMaxRules || !ReadRule(strsep(&rest, "|"), &rules[ruleCount])) FaultsRefuse("FAULTS_RULES", value);
    ++ruleCount;
  }
}

// The library's own changes to files pass by the calls that it stands in front of.
static void ChangeFile(const char* path, Action action) {
  const int fd = (int)syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CLOEXEC, 0);
  if (fd < 0) return;
  struct stat info;
  if (fstat(fd, &info) == 0) {
    static const char kMore[1000] = {0};
    if (action == kGrow) syscall(SYS_pwrite64, fd, kMore, sizeof kMore, info.st_size);
    if (action == kCut) syscall(SYS_ftruncate, fd, info.st_size / 2);
    if (action == kTouch) {
      info.st_mtim.tv_sec += 2;
      const struct timespec times[2] = {info.st_atim, info.st_mtim};
      syscall(SYS_utimensat, fd, NULL, times, 0);
    }
  }
  close(fd);
}

FaultsVerdict FaultsJudge(int calls, const char* path, const char* other) {
  FaultsVerdict verdict = {0, false};
  for (int i = 0; i < ruleCount; ++i) {
    Rule* rule = &rules[i];
    if ((rule->calls & calls) == 0) continue;
    const bool first = strstr(path, rule->part) != NULL;
    if (!first && (other == NULL || strstr(other, rule->part) == NULL)) continue;
    ++rule->matches;
    if (rule->once ? rule->matches != rule->from : rule->matches < rule->from) continue;
    switch (rule->action) {
      case kFail:
        if (verdict.error == 0) verdict.error = rule->number;
        break;
      case kShort:
        verdict.transferHalf = true;
        break;
      case kGrow:
      case kCut:
      case kTouch:
        ChangeFile(first ? path : other, rule->action);
        break;
      case kSignal:
        kill(getpid(), rule->number);
        break;
    }
  }
  return verdict;
}
