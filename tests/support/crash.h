// Ending a piece of the program at any of its calls of the system, as a crash or a power cut would.
#pragma once

#include <csignal>
#include <functional>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zelkor::tests {

enum class Ended { Crashed, Finished, NotTraced };

// Runs `action` in a process of its own, which is killed at the moment of that number: each call of the system has
// two, before it and after it. `Finished`: the action has fewer moments than that.
inline Ended CrashAt(int moment, const std::function<void()>& action) {
  const pid_t child = fork();
  if (child == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
    raise(SIGSTOP);
    action();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFSTOPPED(status)) return Ended::NotTraced;
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD);
  for (int seen = 0;;) {
    ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    if (waitpid(child, &status, 0) != child || WIFEXITED(status) || WIFSIGNALED(status)) return Ended::Finished;
    const bool atCall = WIFSTOPPED(status) && WSTOPSIG(status) == (SIGTRAP | 0x80);
    if (atCall && ++seen == moment) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      return Ended::Crashed;
    }
  }
}

}  // namespace zelkor::tests
