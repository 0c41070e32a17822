#include "tests/support/wine.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <stdlib.h>  // NOLINT(modernize-deprecated-headers): mkdtemp

#include "tests/support/process.h"

namespace zelkor::tests {

namespace fs = std::filesystem;

namespace {

std::string Given(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

// A Windows of this process alone.
class Windows {
 public:
  Windows() : prefix_(Given("WINEPREFIX")), display_(Given("DISPLAY")) {
    if (display_.empty()) StartDisplay();
    if (!prefix_.empty()) return;
    // It outlives the test's own computer, whose temporary folder this process may have now.
    std::string pattern = "/tmp/zelkor-wine-XXXXXX";
    const char* made = mkdtemp(pattern.data());
    if (made == nullptr) throw std::runtime_error("no folder for Wine");
    own_ = made;
    prefix_ = own_ / "prefix";
    fs::create_directory(prefix_);
    // With a server that stays, the next program need not wait for a Windows that begins anew. It goes by itself when
    // nobody has needed it for some minutes, should this process be killed.
    Run({"wineserver", "--persistent=300"});
    Run({"wineboot", "--init"});
  }
  ~Windows() {
    if (own_.empty()) return;
    Run({"wineserver", "--kill"});
    std::error_code ignored;
    fs::remove_all(own_, ignored);
  }
  Windows(const Windows&) = delete;
  Windows& operator=(const Windows&) = delete;

  [[nodiscard]] std::map<std::string, std::string> Environment() const {
    std::map<std::string, std::string> variables{
        {"WINEPREFIX", prefix_.string()},
        {"WINEARCH", Given("WINEARCH").empty() ? "win64" : Given("WINEARCH")},
        {"WINEDEBUG", "-all"},
        {"WINEDLLOVERRIDES", "mscoree,mshtml="},
        // Wine wants a home folder, and a locale in whose character set the names of files are.
        {"HOME", own_.empty() ? Given("HOME") : own_.string()},
        {"PATH", "/usr/bin:/bin"},
        {"LC_ALL", "C.UTF-8"},
    };
    // DDE, and timers, need one.
    if (!display_.empty()) variables["DISPLAY"] = display_;
    return variables;
  }

 private:
  void Run(const std::vector<std::string>& words) const {
    Command command;
    command.program = WineProgram(words.front());
    command.arguments.assign(words.begin() + 1, words.end());
    for (const auto& [name, value] : Environment()) command.environment.push_back(name + "=" + value);
    static_cast<void>(RunCommand(command));
  }

  // The server writes the number of the first free display.
  void StartDisplay() {
    Command command;
    command.program = "/usr/bin/Xvfb";
    command.arguments = {"-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset"};
    command.environment = {"PATH=/usr/bin:/bin"};
    command.timeLimit = std::chrono::hours(2);
    server_ = std::make_unique<RunningProcess>(command);
    if (!server_->WaitForOutput("\n")) return;
    display_ = ":" + server_->Output().substr(0, server_->Output().find('\n'));
  }

  fs::path own_;
  fs::path prefix_;
  std::string display_;
  std::unique_ptr<RunningProcess> server_;
};

}  // namespace

fs::path WineProgram(const std::string& name) {
  const std::string folder = Given("ZELKOR_WINE");
  return fs::path(folder.empty() ? "/usr/bin" : folder) / name;
}

fs::path WindowsProgram(const std::string& name) {
  const std::string build = Given("ZELKOR_TEST_WINDOWS");
  return fs::path(build.empty() ? ZELKOR_WINDOWS_BUILD : build) / name;
}

bool HasWindowsPrograms() { return fs::exists(WineProgram("wine")) && fs::exists(WindowsProgram("app/zelkor.exe")); }

std::string WindowsPath(const fs::path& path) {
  std::string text = "Z:" + path.string();
  std::replace(text.begin(), text.end(), '/', '\\');
  return text;
}

std::map<std::string, std::string> WineEnvironment() {
  static const Windows windows;
  return windows.Environment();
}

}  // namespace zelkor::tests
