#include "lib/shell.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/posix/drives.h"

namespace zelkor::lib {
namespace {

constexpr const char* kOpener = "xdg-open";

// In the grandchild: only calls that are safe after a fork.
[[noreturn]] void Become(const char* directory, char* const* arguments) {
  setsid();
  // What this program ignores its child would ignore too.
  signal(SIGPIPE, SIG_DFL);
  signal(SIGXFSZ, SIG_DFL);
  if (chdir(directory) != 0 && chdir("/") != 0) _exit(126);
  const int nothing = open("/dev/null", O_RDWR);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, standard);
  if (nothing > STDERR_FILENO) close(nothing);
  execvp(arguments[0], arguments);
  _exit(127);
}

}  // namespace

void ShellOpen(std::string_view document, ShowMode /*mode*/) {
  std::string target = ToUtf8(document);
  if (IsDrivePath(document)) {
    const Result<std::string> native = ToNative(document);
    if (!native.Ok()) return;
    target = *native;
  }
  // A first character "-" would make it an option.
  if (target.empty() || target.front() == '-') return;
  std::string opener = kOpener;
  const Result<std::string> home = ToNative("c:\\");
  const std::string directory = home.Ok() ? *home : "/";
  const std::array<char*, 3> arguments = {opener.data(), target.data(), nullptr};
  // The grandchild is nobody's child here, so nothing has to wait for it and no zombie stays.
  const pid_t child = fork();
  if (child == 0) {
    if (fork() != 0) _exit(0);
    Become(directory.c_str(), arguments.data());
  }
  while (child > 0 && waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace zelkor::lib
