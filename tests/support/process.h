// Programs run from outside: arguments, environment, standard input in; exit status, signal, standard output and error
// out. Nothing of the test's own environment is passed on.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace zelkor::tests {

struct Command {
  std::filesystem::path program{};
  std::vector<std::string> arguments{};
  std::vector<std::string> environment{};  // NAME=value, all there is
  std::filesystem::path directory = "/";
  std::string input{};    // all of standard input, for RunCommand
  bool terminal = false;  // standard input and error are a terminal of 80 columns, the process's own
  std::chrono::seconds timeLimit{120};
};

struct Outcome {
  int status = -1;    // exit status; -1 when a signal ended the process
  int signal = 0;     // the signal that ended it
  bool core = false;  // it left a core file then
  bool timedOut = false;
  std::string out{};
  std::string err{};
};

// For messages of failed assertions.
std::ostream& operator<<(std::ostream& out, const Outcome& outcome);

// A process that was started and can be talked to. It is killed when the object goes.
class RunningProcess {
 public:
  explicit RunningProcess(const Command& command);
  ~RunningProcess();
  RunningProcess(const RunningProcess&) = delete;
  RunningProcess& operator=(const RunningProcess&) = delete;

  // Reads until `text` appears on standard error behind everything already waited for. False when the process or the
  // time ends first.
  [[nodiscard]] bool WaitForError(const std::string& text);
  [[nodiscard]] bool WaitForOutput(const std::string& text);
  // What has been read so far.
  [[nodiscard]] const std::string& Output() const { return out_; }
  // Waits until the process is stopped by a signal; false when it or the time ends first.
  [[nodiscard]] bool WaitUntilStopped();
  void Write(const std::string& bytes) const;
  void CloseInput();
  // Nobody reads what the process writes from here on.
  void CloseOutputs();
  void Signal(int number) const;
  [[nodiscard]] pid_t Pid() const { return pid_; }
  // Closes the input and reads until the process ends; kills it at the end of its time.
  Outcome Wait();

 private:
  enum class Moved { Yes, Ended, TimedOut };
  void KillAll() const;
  // Reads what has come; waits at most `patience` for something to come.
  Moved ReadMore(std::chrono::milliseconds patience);
  static bool ReadInto(std::string& text, int& fd);
  bool WaitFor(const std::string& text, const std::string& seen, std::size_t& from);
  [[nodiscard]] std::chrono::milliseconds TimeLeft() const;

  pid_t pid_ = -1;
  int exitFd_ = -1;
  int input_ = -1;
  int output_ = -1;
  int error_ = -1;
  bool reaped_ = false;
  bool terminal_ = false;
  std::chrono::steady_clock::time_point end_;
  std::string out_;
  std::string err_;
  std::size_t outSeen_ = 0;
  std::size_t errSeen_ = 0;
};

Outcome RunCommand(const Command& command);

}  // namespace zelkor::tests
