#include "lib/shell.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/posix/descriptor.h"
#include "lib/posix/drives.h"
#include "lib/posix/system_error.h"
#include "lib/viewing.h"

namespace zelkor::lib {
namespace {

constexpr const char* kOpener = "xdg-open";

std::filesystem::path CacheFolder() {
  const std::string given = posix::Environment("XDG_CACHE_HOME");
  const std::filesystem::path caches =
      !given.empty() && given.front() == '/' ? given : posix::HomeDirectory() + "/.cache";
  return caches / "zelkor";
}

// In the grandchild: only calls that are safe after a fork. Returns when the program can not be started.
void Become(const char* directory, char* const* arguments, char* const* environment) {
  setsid();
  // What this program ignores its child would ignore too.
  signal(SIGPIPE, SIG_DFL);
  signal(SIGXFSZ, SIG_DFL);
  if (chdir(directory) != 0 && chdir("/") != 0) _exit(126);
  const int nothing = open("/dev/null", O_RDWR);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, standard);
  if (nothing > STDERR_FILENO) close(nothing);
  execvpe(arguments[0], arguments, environment);
}

// This process's environment with `settings` over it; both must stay while it is used.
std::vector<char*> EnvironmentWith(std::vector<std::string>& settings) {
  std::vector<char*> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view have(*entry);
    const bool replaced = std::any_of(settings.begin(), settings.end(), [&](const std::string& setting) {
      const std::size_t name = setting.find('=') + 1;
      return have.substr(0, name) == std::string_view(setting).substr(0, name);
    });
    if (!replaced) environment.push_back(*entry);
  }
  for (std::string& setting : settings) environment.push_back(setting.data());
  environment.push_back(nullptr);
  return environment;
}

// Starts a program as nobody's child here, so that nothing has to wait for it and no zombie stays. 0, or why the
// system did not start it.
int Launch(const std::string& directory, std::vector<std::string> words, std::vector<std::string> settings = {}) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const std::vector<char*> environment = EnvironmentWith(settings);
  // Closed by a start that works; otherwise the reason comes through it.
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return errno;
  const posix::Descriptor reading(ends[0]);
  posix::Descriptor writing(ends[1]);
  const pid_t child = fork();
  if (child == 0) {
    if (fork() != 0) _exit(0);
    Become(directory.c_str(), arguments.data(), environment.data());
    const int why = errno;
    if (write(writing.Get(), &why, sizeof why) < 0) _exit(126);
    _exit(127);
  }
  if (child < 0) return errno;
  writing.Close();
  (void)posix::Uninterrupted([&] { return waitpid(child, nullptr, 0); });
  int why = 0;
  const ssize_t told = posix::Uninterrupted([&] { return read(reading.Get(), &why, sizeof why); });
  return told == static_cast<ssize_t>(sizeof why) ? why : 0;
}

std::string DirectoryToStartIn() {
  const Result<std::string> home = ToNative("c:\\");
  return home.Ok() ? *home : "/";
}

}  // namespace

void ShellOpen(std::string_view document, ShowMode /*mode*/) {
  std::string target = ToUtf8(document);
  if (IsDrivePath(document)) {
    const Result<std::string> native = ToNative(document);
    if (!native.Ok()) return;
    target = NameForViewer(*native, CacheFolder());
  }
  // A first character "-" would make it an option.
  if (target.empty() || target.front() == '-') return;
  (void)Launch(DirectoryToStartIn(), {kOpener, target});
}

Status StartProgram(const std::string& nativePath, const std::vector<std::string>& arguments,
                    const std::vector<std::string>& settings) {
  std::vector<std::string> words{nativePath};
  words.insert(words.end(), arguments.begin(), arguments.end());
  const int why = Launch(DirectoryToStartIn(), std::move(words), settings);
  return why == 0 ? Status() : posix::SystemFailure(why, FromUtf8Lossy(nativePath));
}

}  // namespace zelkor::lib
