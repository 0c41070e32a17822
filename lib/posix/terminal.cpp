#include "lib/terminal.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace zelkor::lib {

namespace {

volatile std::sig_atomic_t interrupts = 0;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): a handler's

void OnInterrupt(int signal) {
  if (interrupts != 0) {
    // The default action of the signal, as if it had never been watched for.
    std::signal(signal, SIG_DFL);
    std::raise(signal);
  }
  interrupts = 1;
}

void WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(descriptor, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

// Waits until standard input can be read or has ended; false when an interrupt came first, also one that came just
// before the wait: the signals are held back but for the wait itself.
bool WaitForInput() {
  sigset_t watched;
  sigemptyset(&watched);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&watched, signal);
  sigset_t usual;
  sigprocmask(SIG_BLOCK, &watched, &usual);
  bool ready = false;
  while (!ready && interrupts == 0) {
    pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
    ready = ppoll(&input, 1, nullptr, &usual) >= 0 || errno != EINTR;
  }
  sigprocmask(SIG_SETMASK, &usual, nullptr);
  return ready;
}

}  // namespace

void WatchForInterrupt() {
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // Without SA_RESTART, so that a wait for an answer ends.
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGHUP, &action, nullptr);
  // A reader of our output that goes away is no reason to stop a synchronisation.
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
  // Writing past a limit on the size of files is then an error of that write, like a full disk.
  sigaction(SIGXFSZ, &action, nullptr);
}

bool Interrupted() { return interrupts != 0; }

void LeaveInterruptsToFirstThread() {
  sigset_t watched;
  sigemptyset(&watched);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&watched, signal);
  pthread_sigmask(SIG_BLOCK, &watched, nullptr);
}

bool StandardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }
bool StandardOutputIsTerminal() { return isatty(STDOUT_FILENO) == 1; }

int TerminalColumns() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

std::optional<std::string> ReadInputLine() {
  // Byte by byte, so that nothing behind the line is taken from whoever reads the input next.
  std::string line;
  for (;;) {
    char c = 0;
    if (!WaitForInput()) return std::nullopt;
    const ssize_t got = ::read(STDIN_FILENO, &c, 1);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      if (got == 0 && !line.empty()) return line;
      return std::nullopt;
    }
    if (c == '\n') {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      return line;
    }
    // No answer is this long; the rest of such a line is passed over.
    if (line.size() < 4096) line.push_back(c);
  }
}

void WriteToStandardOutput(std::string_view text) { WriteAll(STDOUT_FILENO, text); }
void WriteToStandardError(std::string_view text) { WriteAll(STDERR_FILENO, text); }

}  // namespace zelkor::lib
