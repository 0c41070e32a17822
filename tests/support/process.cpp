#include "tests/support/process.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <ostream>
#include <poll.h>
#include <pty.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): kill
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zelkor::tests {

namespace {

struct Pipe {
  int reading = -1;
  int writing = -1;
};

Pipe MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {ends[0], ends[1]};
}

Pipe MakeTerminal() {
  Pipe ends;
  winsize size{};
  size.ws_row = 25;
  size.ws_col = 80;
  if (openpty(&ends.reading, &ends.writing, nullptr, nullptr, &size) != 0) throw std::runtime_error("no terminal");
  fcntl(ends.reading, F_SETFD, FD_CLOEXEC);
  fcntl(ends.writing, F_SETFD, FD_CLOEXEC);
  return ends;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

void CloseFd(int& fd) {
  if (fd >= 0) close(fd);
  fd = -1;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << "status " << outcome.status << ", signal " << outcome.signal << (outcome.timedOut ? ", timed out" : "")
             << "\n--- output ---\n"
             << outcome.out << "--- errors ---\n"
             << outcome.err << "---";
}

RunningProcess::RunningProcess(const Command& command)
    : terminal_(command.terminal), end_(std::chrono::steady_clock::now() + command.timeLimit) {
  std::vector<std::string> words{command.program.string()};
  words.insert(words.end(), command.arguments.begin(), command.arguments.end());
  std::vector<std::string> settings = command.environment;
  const std::vector<char*> arguments = Pointers(words);
  const std::vector<char*> environment = Pointers(settings);

  const Pipe out = MakePipe();
  const Pipe err = terminal_ ? MakeTerminal() : MakePipe();
  const Pipe in = terminal_ ? Pipe{err.writing, dup(err.reading)} : MakePipe();
  if (terminal_) fcntl(in.writing, F_SETFD, FD_CLOEXEC);

  pid_ = fork();
  if (pid_ == 0) {
    if (terminal_) {
      setsid();
      ioctl(err.writing, TIOCSCTTY, 0);
    } else {
      setpgid(0, 0);
    }
    dup2(in.reading, 0);
    dup2(out.writing, 1);
    dup2(err.writing, 2);
    if (chdir(command.directory.c_str()) == 0) execve(words[0].c_str(), arguments.data(), environment.data());
    _exit(126);
  }
  close(out.writing);
  close(err.writing);
  if (!terminal_) close(in.reading);
  input_ = in.writing;
  output_ = out.reading;
  error_ = err.reading;
  if (pid_ < 0) throw std::runtime_error("no process");
  exitFd_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  fcntl(output_, F_SETFL, O_NONBLOCK);
  fcntl(error_, F_SETFL, O_NONBLOCK);
}

RunningProcess::~RunningProcess() {
  if (!reaped_ && pid_ > 0) {
    KillAll();
    waitpid(pid_, nullptr, 0);
  }
  for (int* fd : {&input_, &output_, &error_, &exitFd_}) CloseFd(*fd);
}

std::chrono::milliseconds RunningProcess::TimeLeft() const {
  return std::max(std::chrono::milliseconds{0},
                  std::chrono::duration_cast<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now()));
}

bool RunningProcess::ReadInto(std::string& text, int& fd) {
  std::array<char, 65536> piece{};
  bool any = false;
  while (fd >= 0) {
    const ssize_t length = read(fd, piece.data(), piece.size());
    if (length > 0) {
      text.append(piece.data(), static_cast<std::size_t>(length));
      any = true;
      continue;
    }
    // A terminal whose other end is closed says EIO where a pipe says that it has ended.
    if (length == 0 || (errno != EAGAIN && errno != EINTR)) CloseFd(fd);
    if (length == 0 || errno != EINTR) break;
  }
  return any;
}

RunningProcess::Moved RunningProcess::ReadMore(std::chrono::milliseconds patience) {
  std::array<pollfd, 3> fds{pollfd{output_, POLLIN, 0}, pollfd{error_, POLLIN, 0}, pollfd{exitFd_, POLLIN, 0}};
  const int ready = poll(fds.data(), fds.size(), static_cast<int>(std::min(patience, TimeLeft()).count()));
  const bool any = ReadInto(out_, output_);
  const bool anyErrors = ReadInto(err_, error_);
  if (any || anyErrors) return Moved::Yes;
  if (fds[2].revents != 0) return Moved::Ended;
  return ready == 0 ? Moved::TimedOut : Moved::Yes;
}

bool RunningProcess::WaitFor(const std::string& text, const std::string& seen, std::size_t& from) {
  while (true) {
    const std::size_t found = seen.find(text, from);
    if (found != std::string::npos) {
      from = found + text.size();
      return true;
    }
    if (ReadMore(TimeLeft()) != Moved::Yes) return false;
  }
}

bool RunningProcess::WaitForError(const std::string& text) { return WaitFor(text, err_, errSeen_); }
bool RunningProcess::WaitForOutput(const std::string& text) { return WaitFor(text, out_, outSeen_); }

bool RunningProcess::WaitUntilStopped() {
  while (TimeLeft().count() > 0) {
    siginfo_t info{};
    if (waitid(P_PID, static_cast<id_t>(pid_), &info, WSTOPPED | WEXITED | WNOHANG | WNOWAIT) != 0) return false;
    if (info.si_code == CLD_STOPPED) return true;
    if (info.si_pid != 0) return false;
    // Nothing to poll tells of a stop.
    ReadMore(std::chrono::milliseconds{5});
  }
  return false;
}

void RunningProcess::Write(const std::string& bytes) const {
  // A process that ended without reading is seen in its outcome; the test must not end by SIGPIPE.
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  struct sigaction before {};
  sigaction(SIGPIPE, &ignore, &before);
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t length = write(input_, bytes.data() + done, bytes.size() - done);
    if (length < 0 && errno != EINTR) break;
    if (length > 0) done += static_cast<std::size_t>(length);
  }
  sigaction(SIGPIPE, &before, nullptr);
}

void RunningProcess::CloseInput() {
  if (terminal_ && input_ >= 0) Write("\x04");
  CloseFd(input_);
}

// The process leads a group of its own, so that nothing it started outlives it.
void RunningProcess::KillAll() const {
  kill(-pid_, SIGKILL);
  kill(pid_, SIGKILL);
}

void RunningProcess::CloseOutputs() {
  CloseFd(output_);
  CloseFd(error_);
}

void RunningProcess::Signal(int number) const { kill(pid_, number); }

Outcome RunningProcess::Wait() {
  CloseInput();
  Outcome outcome;
  Moved moved = Moved::Yes;
  while ((moved = ReadMore(TimeLeft())) == Moved::Yes) continue;
  if (moved == Moved::TimedOut) {
    outcome.timedOut = true;
    KillAll();
  }
  int status = 0;
  waitpid(pid_, &status, 0);
  reaped_ = true;
  ReadInto(out_, output_);
  ReadInto(err_, error_);
  if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) {
    outcome.signal = WTERMSIG(status);
    outcome.core = WCOREDUMP(status);
  }
  outcome.out = out_;
  outcome.err = err_;
  return outcome;
}

Outcome RunCommand(const Command& command) {
  RunningProcess process(command);
  process.Write(command.input);
  return process.Wait();
}

}  // namespace zelkor::tests
