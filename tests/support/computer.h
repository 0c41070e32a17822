// A computer with Zelkor on it: a folder of its own with home directory, settings, ProgramDir and temporary folder, in
// which the built program runs as its users run it. Several of them on one machine exchange sync files.
//
// Its database is written and read by hand here, not by the program's code. It lives in UTC and in the C locale.
#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/process.h"

namespace zelkor::tests {

// When files were written that nobody has changed lately.
inline constexpr std::time_t kYesterday = 1'700'000'000;

// One item as its record holds it.
struct Item {
  std::string fileName{};  // one path, or several with CR LF behind each but perhaps the last
  std::string description{};
  std::int32_t memoId = 0;
  int syncMethod = 0;  // 0 "Auto", 1 "On", 2 "Off"
  std::string codes{};
  int syncTo = 0;  // 0 "All", 1 "All but excluded", 2 "Only included"
  int flags = 0;   // 1: deleted
  std::string source{};
  double imported = 0;
  std::string signature{};
};

// One target as its slot holds it.
struct Target {
  std::string id{};
  std::string mediaPath{};
  double lastImport = 0;
  double lastExport = 0;
  int connectionType = 0;  // 0 File, 1 IP connection, 2 FTP
  bool excludedByDefault = false;
  std::string address{};  // network address or FTP server
  std::string userName{};
  std::string password{};
  std::string directory{};
};

// Faults below the program; tests/faults/faults.h says what the texts mean.
struct Faults {
  long killAt = 0;  // before this changing call, 0: never
  int signal = 0;   // instead of the killing signal
  std::string rules{};
  std::string capacity{};
  long clock = 0;  // seconds ahead
  bool count = false;
};

// What the computer runs: the program that was built here, or the one for Windows, under Wine.
enum class System { Linux, Windows };

class Computer {
 public:
  // `root` holds one folder for each computer, named by its ID. Drive m of the settings is the folder "stick" in
  // `root`, which all of them share; drive c is the home directory.
  Computer(const std::filesystem::path& root, std::string id, System system = UsualSystem());
  // Linux, unless the environment has ZELKOR_COMPUTERS=windows: then the tests of the whole program are run for
  // Windows.
  [[nodiscard]] static System UsualSystem();

  [[nodiscard]] const std::string& Id() const { return id_; }
  [[nodiscard]] const std::filesystem::path& Folder() const { return folder_; }
  [[nodiscard]] std::filesystem::path Home() const { return folder_ / "home"; }
  [[nodiscard]] std::filesystem::path Program() const { return folder_ / "program"; }
  [[nodiscard]] std::filesystem::path Temporary() const { return folder_ / "tmp"; }
  [[nodiscard]] std::filesystem::path SettingsFile() const { return folder_ / "config" / "orlim.ini"; }

  // A native path of this machine as it is written on that computer.
  [[nodiscard]] std::string Written(const std::filesystem::path& path) const;

  // Running the program.
  struct Options {
    std::string input{};
    Faults faults{};
    bool terminal = false;
    std::chrono::seconds timeLimit{120};
    std::map<std::string, std::string> environment{};  // over or beside the usual one
    std::filesystem::path directory{};                 // where it is started; default: the home directory
    std::filesystem::path program{};  // default: the one that was built; one for Windows on a computer with Windows
  };
  Outcome Run(const std::vector<std::string>& arguments, const Options& options) const;
  [[nodiscard]] Outcome Run(const std::vector<std::string>& arguments) const { return Run(arguments, Options{}); }
  [[nodiscard]] std::unique_ptr<RunningProcess> Start(const std::vector<std::string>& arguments,
                                                      const Options& options) const;
  // The word of an unattended run; an empty place is the target's stored one.
  [[nodiscard]] static std::string ExportWord(const std::string& target, const std::string& place = {});
  [[nodiscard]] static std::string ImportWord(const std::string& target, const std::string& place = {});
  Outcome Export(const std::string& target) const { return Run({ExportWord(target)}); }
  Outcome Import(const std::string& target) const { return Run({ImportWord(target)}); }
  Outcome Export(const std::string& target, const Options& options) const { return Run({ExportWord(target)}, options); }
  Outcome Import(const std::string& target, const Options& options) const { return Run({ImportWord(target)}, options); }
  // How many changing calls the last run with `count` made.
  [[nodiscard]] long ChangingCalls() const;

  // A line of the settings file's section, added at its end.
  void AddSetting(const std::string& section, const std::string& line) const;
  void AddRemapLine(const std::string& line) const;

  // Items, by record number counting from 1.
  void AddItem(const Item& item) const;
  void ChangeItem(std::size_t recno, const Item& item) const;
  [[nodiscard]] std::vector<Item> Items() const;
  [[nodiscard]] std::optional<Item> ItemWithId(std::int32_t memoId) const;

  void SetTarget(const Target& target) const;
  [[nodiscard]] std::optional<Target> TargetWithId(const std::string& id) const;

  // Files below the home directory, by native relative names. The program's form of such a name.
  static std::string PathOf(const std::string& name);
  void WriteFile(const std::string& name, const std::string& content, std::time_t written) const;
  [[nodiscard]] std::string ReadFile(const std::string& name) const;
  [[nodiscard]] bool HasFile(const std::string& name) const;
  [[nodiscard]] std::time_t FileTime(const std::string& name) const;
  // Every file below the home directory, by name.
  [[nodiscard]] std::vector<std::string> Files() const;

  // The run's log and the earlier runs' as the program keeps them.
  [[nodiscard]] std::string Log() const;
  [[nodiscard]] std::string History() const;

 private:
  [[nodiscard]] Command MakeCommand(const std::vector<std::string>& arguments, const Options& options) const;
  void EnsureDatabase() const;
  [[nodiscard]] std::filesystem::path CountFile() const { return folder_ / "calls"; }

  [[nodiscard]] std::map<std::string, std::string> LinuxEnvironment() const;
  [[nodiscard]] std::map<std::string, std::string> WindowsEnvironment() const;

  System system_;
  std::filesystem::path root_;
  std::string id_;
  std::filesystem::path folder_;
};

// Bytes of a native file; empty when there is none.
[[nodiscard]] std::string ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, const std::string& bytes);
void SetTime(const std::filesystem::path& path, std::time_t written);
[[nodiscard]] std::time_t TimeOf(const std::filesystem::path& path);
// The names in a folder, sorted.
[[nodiscard]] std::vector<std::string> NamesIn(const std::filesystem::path& folder);

// A database record as it stands on disk.
[[nodiscard]] std::string EncodeItem(const Item& item);
[[nodiscard]] Item DecodeItem(const std::string& bytes);

}  // namespace zelkor::tests
