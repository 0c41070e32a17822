#include "tests/support/system.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): setenv, mkdtemp
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>  // NOLINT(modernize-deprecated-headers): tzset
#include <unistd.h>

namespace zelkor::tests {

void SetVariable(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }
void ClearVariable(const char* name) { unsetenv(name); }

bool MoveToZone(const char* zone) {
  SetVariable("TZ", zone);
  tzset();
  return true;
}

void LeaveZone() {
  ClearVariable("TZ");
  tzset();
}

bool NativePathsAreTheForm() { return false; }
bool HasModes() { return true; }
std::chrono::milliseconds LinkPatience() { return std::chrono::milliseconds(400); }

unsigned ModeOf(const std::filesystem::path& path) {
  return static_cast<unsigned>(std::filesystem::status(path).permissions());
}

std::chrono::duration<double, std::milli> ProcessorTime() {
  return std::chrono::duration<double>(static_cast<double>(std::clock()) / CLOCKS_PER_SEC);
}

// By the name of a socket that is in no folder: it goes with the process, and belongs to a network as the ports do.
bool ReservePort(std::uint16_t port) {
  const std::string name = "zelkor-test-port-" + std::to_string(port);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  name.copy(address.sun_path + 1, name.size());
  const int mark = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  if (bind(mark, reinterpret_cast<const sockaddr*>(&address), length) == 0) return true;
  close(mark);
  return false;
}

std::size_t MemoryInUse() {
  std::ifstream statm("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  statm >> total >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

std::filesystem::path MakeFolderElsewhere() {
  struct stat here {};
  struct stat there {};
  if (stat("/dev/shm", &there) != 0 || stat(std::filesystem::temp_directory_path().c_str(), &here) != 0 ||
      here.st_dev == there.st_dev) {
    return {};
  }
  std::string pattern = "/dev/shm/zelkor-test-XXXXXX";
  return mkdtemp(pattern.data());
}

std::filesystem::path MakeTemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zelkor-test-XXXXXX").string();
  return mkdtemp(pattern.data());
}

void MoveToComputerIn(const std::filesystem::path& root) {
  SetVariable("HOME", root / "home");
  SetVariable("XDG_CONFIG_HOME", root / "config");
  SetVariable("ZELKOR_DIR", root / "program");
  SetVariable("TMPDIR", root / "tmp");
  SetVariable("XDG_RUNTIME_DIR", root / "run");
  SetVariable("XDG_CACHE_HOME", root / "cache");
}

void LeaveComputer() {
  for (const char* name : {"TMPDIR", "XDG_RUNTIME_DIR", "XDG_CACHE_HOME"}) ClearVariable(name);
}

void CatchOpenedDocuments(const std::filesystem::path& programs, const std::filesystem::path& opened) {
  namespace fs = std::filesystem;
  fs::create_directories(programs);
  const std::string part = opened.string() + ".part";
  std::ofstream(programs / "xdg-open") << "#!/bin/sh\nprintf %s \"$1\" >" << part << "\nmv " << part << " "
                                       << opened.string() << "\n";
  fs::permissions(programs / "xdg-open", fs::perms::owner_all);
  SetVariable("PATH", programs.string() + ":" + std::getenv("PATH"));
}

void PutTellingProgram(const std::filesystem::path& program) {
  namespace fs = std::filesystem;
  fs::create_directories(program.parent_path());
  std::ofstream(program) << "#!/bin/sh\nprintf '%s\\n' \"$ZELKOR_DIR\" >>\"$0.told\"\n";
  fs::permissions(program, fs::perms::owner_all);
}

// A link to itself can not be followed; the first pages of a process's memory are never there.
RefusingFile::RefusingFile(const std::filesystem::path& path, Refuses what) : path_(path) {
  std::filesystem::remove(path);
  std::filesystem::create_symlink(what == Refuses::Opening ? path : "/proc/self/mem", path);
}
RefusingFile::~RefusingFile() { std::filesystem::remove(path_); }

}  // namespace zelkor::tests
