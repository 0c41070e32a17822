// Zelkor: the program's entry. Here it is decided whether it runs with windows.

#include <exception>
#include <string>
#include <vector>

#include "app/console_user.h"
#include "app/help_file.h"
#include "app/run_with_windows.h"
#include "app/startup.h"
#include "db/memory_rows.h"
#include "lib/command_line.h"
#include "lib/format.h"
#include "lib/native_path.h"
#include "lib/run_time_error.h"
#include "lib/secret.h"
#include "lib/shell.h"
#include "lib/terminal.h"
#include "lib/version.h"
#include "sync/damaged.h"
#include "sync/synchronize.h"

namespace {

constexpr const char* kHelp =
    "Usage: zelkor [WORD]...\n"
    "Keeps a catalogue of files, and the files, in step with other computers.\n"
    "\n"
    "  FILE                     a file to put into the catalogue, or a sync file to import\n"
    "  /syncexp:TARGET:\"PLACE\"  export to a target and end\n"
    "  /syncimp:TARGET:\"PLACE\"  import from a target and end\n"
    "                           TARGET is a computer ID. PLACE is a folder, on import also one sync\n"
    "                           file; or the address or FTP server of a target that is reached so.\n"
    "                           \"\" stands for the target's own.\n"
    "  /select:CODE,...         only items that carry all of these codes\n"
    "  /exclude:CODE,...        no items that carry one of these codes\n"
    "  --show-help              opens the help in the desktop's viewer\n"
    "  --help                   this text\n"
    "  --version                the version\n"
    "\n"
    "Words are taken in order; a synchronisation ends the program. Quote the word for the shell:\n"
    "  zelkor '/syncexp:laptop:\"/media/stick\"'\n"
    "\n"
    "Exit status: 0 done; 1 the run failed, was refused or cancelled; 2 nothing was done;\n"
    "3 a damaged sync file.\n";

std::string Version() {
  return "Zelkor " + zelkor::lib::FormatTwoDecimals(zelkor::lib::kProgramVersion / 100.0) + "\n";
}

// Shows the program's own help, or one that is named (the desktop does that for a help file that was opened there).
int ShowHelp(const std::string& named) {
  zelkor::app::ConsoleUser user;
  if (!named.empty()) {
    const zelkor::lib::Result<std::string> path = zelkor::lib::FromCommandLine(named, zelkor::lib::StartDirectory());
    if (path.Ok()) zelkor::lib::ShellOpen(*path);
    return path.Ok() ? zelkor::sync::kStatusDone : zelkor::sync::kStatusNothingDone;
  }
  const zelkor::lib::Result<std::string> programDir = zelkor::lib::FindProgramDir();
  if (!programDir.Ok()) {
    user.Message(programDir.Failure().Message(), zelkor::lib::Icon::Critical);
    return zelkor::sync::kStatusNothingDone;
  }
  return zelkor::app::OpenHelp(*programDir, user) ? zelkor::sync::kStatusDone : zelkor::sync::kStatusNothingDone;
}

// A run that shows no window and needs no display. Run-time errors that nothing catches end here.
int RunUnattended(const std::vector<zelkor::app::Word>& words, const std::string& startDirectory) {
  zelkor::lib::WatchForInterrupt();
  zelkor::app::ConsoleUser user;
  zelkor::db::MemoryRows rows;
  try {
    return zelkor::app::Main(words, startDirectory, user, rows, {});
  } catch (const zelkor::sync::DamagedSyncFile& damaged) {
    user.Message(damaged.what(), zelkor::lib::Icon::Critical);
    return zelkor::sync::kStatusDamaged;
  } catch (const std::exception& error) {
    user.Message(error.what(), zelkor::lib::Icon::Critical);
    return zelkor::sync::kStatusFailed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  // The targets, passwords of FTP servers among them, are in memory from the start to the end.
  zelkor::lib::KeepMemoryPrivate();
  const std::vector<std::string> arguments = zelkor::lib::CommandLineWords(argc, argv);
  for (const std::string& argument : arguments) {
    if (argument == "--help" || argument == "--version") {
      zelkor::lib::WriteToStandardOutput(argument == "--help" ? kHelp : Version());
      return zelkor::sync::kStatusDone;
    }
  }
  zelkor::lib::UseLocaleOfEnvironment();
  if (!arguments.empty() && arguments[0] == "--show-help") return ShowHelp(arguments.size() > 1 ? arguments[1] : "");
  const std::string startDirectory = zelkor::lib::StartDirectory();
  std::vector<zelkor::app::Word> words;
  try {
    words = zelkor::app::ParseCommandLine(arguments, startDirectory);
  } catch (const zelkor::lib::RunTimeError& tooMany) {
    zelkor::app::ConsoleUser().Message(tooMany.what(), zelkor::lib::Icon::Critical);
    return zelkor::sync::kStatusNothingDone;
  }
  if (zelkor::app::IsUnattended(words)) return RunUnattended(words, startDirectory);
  return zelkor::app::RunWithWindows({.arguments = argv, .words = words, .startDirectory = startDirectory});
}
