// Runs a command and tells its elapsed time and peak memory:  measure REPORT COMMAND [ARGUMENT …]
//
// REPORT gets one line: seconds, peak resident memory in KiB, exit status (128 + the signal when one ended it). A
// program of its own, because a process inherits the peak of the one that started it: a large one would hide a small
// one.
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: measure REPORT COMMAND [ARGUMENT ...]\n");
    return 2;
  }
  struct timespec before;
  struct timespec after;
  clock_gettime(CLOCK_MONOTONIC, &before);
  const pid_t child = fork();
  if (child == 0) {
    execvp(argv[2], argv + 2);
    perror(argv[2]);
    _exit(127);
  }
  int status = 0;
  struct rusage usage;
  if (child < 0 || wait4(child, &status, 0, &usage) < 0) {
    perror("measure");
    return 1;
  }
  clock_gettime(CLOCK_MONOTONIC, &after);
  const double seconds = (double)(after.tv_sec - before.tv_sec) + (double)(after.tv_nsec - before.tv_nsec) / 1e9;
  FILE* report = fopen(argv[1], "w");
  if (report == NULL) {
    perror(argv[1]);
    return 1;
  }
  fprintf(report, "%.6f %ld %d\n", seconds, usage.ru_maxrss,
          WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
  return fclose(report) == 0 ? 0 : 1;
}
