#include "tests/support/computer.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <sys/stat.h>

#include "tests/support/bytes.h"
#include "tests/support/wine.h"

namespace zelkor::tests {

namespace {

constexpr std::size_t kItemBytes = 1024;
constexpr std::size_t kConfigBytes = 4096;
constexpr std::size_t kSlotBytes = 256;
constexpr std::size_t kSlots = 16;

// What sanitizers end a process with; no status of the program's own.
constexpr int kSanitizerStatus = 77;

std::string EmptyConfiguration() {
  std::string bytes(kConfigBytes + kSlots * kSlotBytes, ' ');
  PutText(bytes, 0, 8, "Zelkor!");
  PutI16(bytes, 8, 220);
  return bytes;
}

std::string EncodeTarget(const Target& target) {
  std::string bytes(kSlotBytes, ' ');
  PutText(bytes, 0, 8, target.id);
  PutDate(bytes, 8, target.lastImport);
  PutDate(bytes, 16, target.lastExport);
  PutText(bytes, 24, 64, target.mediaPath);
  PutI16(bytes, 88, target.connectionType);
  PutText(bytes, 90, 64, target.address);
  PutText(bytes, 154, 32, target.userName);
  PutText(bytes, 186, 32, target.password);
  PutText(bytes, 218, 32, target.directory);
  bytes[250] = target.excludedByDefault ? '\1' : '\0';
  return bytes;
}

Target DecodeTarget(const std::string& bytes) {
  Target target;
  target.id = TakeText(bytes, 0, 8);
  target.lastImport = TakeDate(bytes, 8);
  target.lastExport = TakeDate(bytes, 16);
  target.mediaPath = TakeText(bytes, 24, 64);
  target.connectionType = TakeI16(bytes, 88);
  target.address = TakeText(bytes, 90, 64);
  target.userName = TakeText(bytes, 154, 32);
  target.password = TakeText(bytes, 186, 32);
  target.directory = TakeText(bytes, 218, 32);
  target.excludedByDefault = (bytes[250] & 1) != 0;
  return target;
}

}  // namespace

std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << bytes;
}

void SetTime(const std::filesystem::path& path, std::time_t written) {
  const std::array<timespec, 2> times{timespec{written, 0}, timespec{written, 0}};
  utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
}

std::time_t TimeOf(const std::filesystem::path& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? info.st_mtim.tv_sec : 0;
}

std::vector<std::string> NamesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

std::string EncodeItem(const Item& item) {
  std::string bytes(kItemBytes, ' ');
  PutText(bytes, 0, 512, item.fileName);
  PutText(bytes, 512, 64, item.description);
  PutText(bytes, 576, 16, item.source);
  PutI16(bytes, 592, item.flags);
  PutI32(bytes, 594, 0);
  PutI32(bytes, 598, 0);
  PutDate(bytes, 602, item.imported);
  PutText(bytes, 610, 8, item.signature);
  PutI16(bytes, 618, item.syncMethod);
  PutText(bytes, 620, 128, item.codes);
  PutI32(bytes, 748, item.memoId);
  PutI16(bytes, 752, item.syncTo);
  return bytes;
}

Item DecodeItem(const std::string& bytes) {
  Item item;
  item.fileName = TakeText(bytes, 0, 512);
  item.description = TakeText(bytes, 512, 64);
  item.source = TakeText(bytes, 576, 16);
  item.flags = TakeI16(bytes, 592);
  item.imported = TakeDate(bytes, 602);
  item.signature = TakeText(bytes, 610, 8);
  item.syncMethod = TakeI16(bytes, 618);
  item.codes = TakeText(bytes, 620, 128);
  item.memoId = TakeI32(bytes, 748);
  item.syncTo = TakeI16(bytes, 752);
  return item;
}

System Computer::UsualSystem() {
  const char* given = std::getenv("ZELKOR_COMPUTERS");
  return given != nullptr && std::string(given) == "windows" ? System::Windows : System::Linux;
}

Computer::Computer(const std::filesystem::path& root, std::string id, System system)
    : system_(system), root_(root), id_(std::move(id)), folder_(root / id_) {
  for (const char* name : {"home", "config", "program", "run", "tmp"}) {
    std::filesystem::create_directories(folder_ / name);
  }
  std::filesystem::create_directories(root_ / "stick");
  AddSetting("Orlim", "User=" + id_);
  AddSetting("Drives", "m=" + Written(root_ / "stick"));
}

std::string Computer::Written(const std::filesystem::path& path) const {
  return system_ == System::Windows ? WindowsPath(path) : path.string();
}

std::map<std::string, std::string> Computer::LinuxEnvironment() const {
  return {
      {"HOME", Home().string()},
      {"XDG_CONFIG_HOME", (folder_ / "config").string()},
      {"XDG_RUNTIME_DIR", (folder_ / "run").string()},
      {"ZELKOR_DIR", Program().string()},
      {"TMPDIR", Temporary().string()},
      {"PATH", "/usr/bin:/bin"},
      {"LC_ALL", "C"},
      {"TZ", "UTC0"},
      {"ASAN_OPTIONS", "verify_asan_link_order=0:exitcode=" + std::to_string(kSanitizerStatus)},
      {"UBSAN_OPTIONS", "print_stacktrace=1:exitcode=" + std::to_string(kSanitizerStatus)},
      {"LSAN_OPTIONS", "exitcode=" + std::to_string(kSanitizerStatus)},
  };
}

// Wine keeps the temporary folder of its Windows, whatever it is told; that is on drive y.
std::map<std::string, std::string> Computer::WindowsEnvironment() const {
  std::map<std::string, std::string> variables = WineEnvironment();
  variables["XDG_CONFIG_HOME"] = WindowsPath(folder_ / "config");
  variables["ZELKOR_DIR"] = WindowsPath(Program());
  variables["ZELKOR_DRIVES"] = "c=" + WindowsPath(Home()) + ";y=C:\\;z=Z:\\";
  variables["TZ"] = "UTC";
  return variables;
}

Command Computer::MakeCommand(const std::vector<std::string>& arguments, const Options& options) const {
  const bool windows = system_ == System::Windows;
  std::map<std::string, std::string> variables = windows ? WindowsEnvironment() : LinuxEnvironment();
  const Faults& faults = options.faults;
  if (faults.killAt != 0) variables["FAULTS_AT"] = std::to_string(faults.killAt);
  if (faults.signal != 0) variables["FAULTS_SIGNAL"] = std::to_string(faults.signal);
  if (!faults.rules.empty()) variables["FAULTS_RULES"] = faults.rules;
  if (!faults.capacity.empty()) variables["FAULTS_CAPACITY"] = faults.capacity;
  if (faults.clock != 0) variables["FAULTS_CLOCK"] = std::to_string(faults.clock);
  if (faults.count) {
    std::filesystem::remove(CountFile());
    variables["FAULTS_COUNT"] = CountFile().string();
  }
  if (std::any_of(variables.begin(), variables.end(),
                  [](const auto& variable) { return variable.first.starts_with("FAULTS_"); })) {
    if (windows) throw std::logic_error("a computer with Windows has no faults");
    variables["LD_PRELOAD"] = ZELKOR_FAULTS;
    variables["FAULTS_ROOT"] = root_.string();
  }
  for (const auto& [name, value] : options.environment) variables[name] = value;

  Command command;
  command.program = !options.program.empty() ? options.program
                    : windows                ? WindowsProgram("app/zelkor.exe")
                                             : std::filesystem::path(ZELKOR_PROGRAM);
  command.arguments = arguments;
  if (windows) {
    command.arguments.insert(command.arguments.begin(), command.program);
    command.program = WineProgram("wine");
  }
  for (const auto& [name, value] : variables) command.environment.push_back(name + "=" + value);
  command.directory = options.directory.empty() ? Home() : options.directory;
  command.input = options.input;
  command.terminal = options.terminal;
  command.timeLimit = options.timeLimit;
  return command;
}

Outcome Computer::Run(const std::vector<std::string>& arguments, const Options& options) const {
  Outcome outcome = RunCommand(MakeCommand(arguments, options));
  // A finding of the sanitizers is no status that a test may mistake for the program's.
  if (outcome.status == kSanitizerStatus) throw std::runtime_error("sanitizer: " + outcome.err);
  return outcome;
}

std::unique_ptr<RunningProcess> Computer::Start(const std::vector<std::string>& arguments,
                                                const Options& options) const {
  return std::make_unique<RunningProcess>(MakeCommand(arguments, options));
}

std::string Computer::ExportWord(const std::string& target, const std::string& place) {
  return "/syncexp:" + target + ":\"" + place + "\"";
}
std::string Computer::ImportWord(const std::string& target, const std::string& place) {
  return "/syncimp:" + target + ":\"" + place + "\"";
}

long Computer::ChangingCalls() const {
  const std::string text = ReadBytes(CountFile());
  return text.empty() ? 0 : std::stol(text);
}

void Computer::AddSetting(const std::string& section, const std::string& line) const {
  std::string text = ReadBytes(SettingsFile());
  const std::string head = "[" + section + "]\r\n";
  const std::size_t found = text.find(head);
  if (found == std::string::npos) {
    text.append(head).append(line).append("\r\n");
  } else {
    text.insert(found + head.size(), line + "\r\n");
  }
  WriteBytes(SettingsFile(), text);
}

void Computer::AddRemapLine(const std::string& line) const {
  const std::filesystem::path file = Program() / "ReMap.txt";
  WriteBytes(file, ReadBytes(file) + line + "\r\n");
}

void Computer::EnsureDatabase() const {
  const std::filesystem::path configuration = Program() / "zelkor.cfg";
  if (!std::filesystem::exists(configuration)) WriteBytes(configuration, EmptyConfiguration());
}

void Computer::AddItem(const Item& item) const {
  EnsureDatabase();
  const std::filesystem::path file = Program() / "zelkor.ind";
  WriteBytes(file, ReadBytes(file) + EncodeItem(item));
}

void Computer::ChangeItem(std::size_t recno, const Item& item) const {
  const std::filesystem::path file = Program() / "zelkor.ind";
  std::string bytes = ReadBytes(file);
  bytes.replace((recno - 1) * kItemBytes, kItemBytes, EncodeItem(item));
  WriteBytes(file, bytes);
}

std::vector<Item> Computer::Items() const {
  const std::string bytes = ReadBytes(Program() / "zelkor.ind");
  std::vector<Item> items;
  for (std::size_t at = 0; at + kItemBytes <= bytes.size(); at += kItemBytes) {
    items.push_back(DecodeItem(bytes.substr(at, kItemBytes)));
  }
  return items;
}

std::optional<Item> Computer::ItemWithId(std::int32_t memoId) const {
  for (const Item& item : Items()) {
    if (item.memoId == memoId) return item;
  }
  return std::nullopt;
}

void Computer::SetTarget(const Target& target) const {
  EnsureDatabase();
  const std::filesystem::path file = Program() / "zelkor.cfg";
  std::string bytes = ReadBytes(file);
  std::size_t slot = 0;
  while (slot < kSlots) {
    const std::string id = DecodeTarget(bytes.substr(kConfigBytes + slot * kSlotBytes, kSlotBytes)).id;
    if (id.empty() || id == target.id) break;
    ++slot;
  }
  bytes.replace(kConfigBytes + slot * kSlotBytes, kSlotBytes, EncodeTarget(target));
  WriteBytes(file, bytes);
}

std::optional<Target> Computer::TargetWithId(const std::string& id) const {
  const std::string bytes = ReadBytes(Program() / "zelkor.cfg");
  for (std::size_t at = kConfigBytes; at + kSlotBytes <= bytes.size(); at += kSlotBytes) {
    Target target = DecodeTarget(bytes.substr(at, kSlotBytes));
    if (target.id == id) return target;
  }
  return std::nullopt;
}

std::string Computer::PathOf(const std::string& name) {
  std::string path = "c:\\" + name;
  std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

void Computer::WriteFile(const std::string& name, const std::string& content, std::time_t written) const {
  WriteBytes(Home() / name, content);
  SetTime(Home() / name, written);
}
std::string Computer::ReadFile(const std::string& name) const { return ReadBytes(Home() / name); }
bool Computer::HasFile(const std::string& name) const { return std::filesystem::exists(Home() / name); }
std::time_t Computer::FileTime(const std::string& name) const { return TimeOf(Home() / name); }

std::vector<std::string> Computer::Files() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(Home())) {
    if (!entry.is_directory()) names.push_back(entry.path().lexically_relative(Home()));
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string Computer::Log() const { return ReadBytes(Program() / "ZELKOR.log"); }
std::string Computer::History() const { return ReadBytes(Program() / "ZELKOR history.log"); }

}  // namespace zelkor::tests
