#include "tests/support/desktop_program.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <strings.h>
#include <utility>

namespace zelkor::tests {

namespace {

// What tests/gui/in_display.sh sets for those who show windows.
constexpr std::array<const char*, 8> kOfTheDesktop{
    "DISPLAY",   "GDK_BACKEND",           "NO_AT_BRIDGE",  "GSETTINGS_BACKEND",
    "GTK_THEME", "GTK_OVERLAY_SCROLLING", "GTK_IM_MODULE", "DBUS_SESSION_BUS_ADDRESS"};

// How long a choice may take to close before it counts as not having heard of it.
constexpr auto kUntilTaken = std::chrono::seconds(2);

// Types until the box that has the keyboard holds what it should. Keys that nothing answered may be on their way still:
// each time they get twice as long, or typing would never be done with on a busy machine.
bool TypeUntil(const Screen& screen, const std::function<void()>& type,
               const std::function<bool(const std::string& text)>& asWanted) {
  std::chrono::milliseconds patience = kUntilMarked;
  return screen.Until([&] {
    type();
    const std::optional<std::string> text = screen.MarkedBy("Ctrl+a", patience);
    patience *= 2;
    return text.has_value() && asWanted(*text);
  });
}

bool SameName(const std::string& one, const std::string& other) { return strcasecmp(one.c_str(), other.c_str()) == 0; }

}  // namespace

DesktopProgram::DesktopProgram(const Computer& computer, const std::vector<std::string>& arguments,
                               Computer::Options options) {
  std::map<std::string, std::string> environment{
      // Not into the home directory, whose files tests count.
      {"XDG_CACHE_HOME", (computer.Folder() / "cache").string()},
      {"XDG_DATA_HOME", (computer.Folder() / "data").string()},
  };
  for (const char* name : kOfTheDesktop) {
    if (const char* value = std::getenv(name); value != nullptr) environment[name] = value;
  }
  // What the libraries below the toolkit keep is no leak of ours.
  if (const char* value = std::getenv("LSAN_OPTIONS"); value != nullptr) {
    environment["LSAN_OPTIONS"] = value + std::string(":exitcode=77");
  }
  for (const auto& [name, value] : options.environment) environment[name] = value;
  options.environment = std::move(environment);
  options.timeLimit = std::chrono::seconds(240);
  process_ = computer.Start(arguments, options);
}

std::string MainTitle(const Computer& computer) { return "Zelkor! - " + computer.Id(); }

Outcome ExitByMenu(const Screen& screen, const Computer& computer, DesktopProgram& program) {
  screen.WaitUntilActive(MainTitle(computer));
  screen.Press("Alt+f");
  screen.Press("x");
  return program.WaitForEnd();
}

void ChooseNative(const Screen& screen, const std::string& title, const std::string& path) {
  screen.WaitUntilActive(title);
  // The stroke that a path begins with opens the box for typing it, once the choice takes keys; a folder's name is
  // completed by a stroke at its end.
  const auto type = [&] { screen.Type(path); };
  if (!TypeUntil(screen, type, [&](const std::string& text) { return text == path || text == path + "/"; })) {
    throw std::runtime_error(path + " can not be typed into [" + title + "]");
  }
  // The first stroke may only close a list of completions that has come up late.
  std::chrono::milliseconds patience = kUntilTaken;
  const auto taken = [&] {
    screen.Press("Return");
    const auto end = std::chrono::steady_clock::now() + patience;
    patience *= 2;
    return screen.Until([&] { return !screen.Has(title) || std::chrono::steady_clock::now() > end; }) &&
           !screen.Has(title);
  };
  if (!screen.Until(taken)) throw std::runtime_error("[" + title + "] does not take " + path);
}

void FillBox(const Screen& screen, const std::string& accessKey, const std::string& text) {
  // A window that became active takes its keys a moment later to where its user left off.
  const auto type = [&] {
    screen.Press(accessKey);
    screen.Press("Ctrl+a");
    screen.Type(text);
  };
  if (!TypeUntil(screen, type, [&](const std::string& marked) { return marked == text; })) {
    throw std::runtime_error("[" + text + "] can not be typed behind " + accessKey);
  }
}

std::string Setting(const Computer& computer, const std::string& section, const std::string& key) {
  std::istringstream lines(ReadBytes(computer.SettingsFile()));
  std::string current;
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.size() > 2 && line.front() == '[') current = line.substr(1, line.size() - 2);
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || !SameName(current, section) || !SameName(line.substr(0, equals), key)) continue;
    return line.substr(equals + 1);
  }
  return {};
}

}  // namespace zelkor::tests
