#include "app/startup.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "app/identity.h"
#include "app/mw_commands.h"
#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/settings.h"
#include "lib/single_copy.h"
#include "lib/text.h"
#include "sync/synchronize.h"

namespace zelkor::app {

namespace {

// Seconds for which nothing may move on the network in an unattended run.
constexpr int kNetTimeout = 120;

// Program-wide initialisation. An exit status when the program can not go on.
std::optional<int> InitProgram(ProgramState& state) {
  const std::string codePage = lib::GetIniString("Zelkor", "CodePage", "");
  if (!codePage.empty() && !lib::SetCodePage(codePage)) {
    state.user.Message("The code page [" + codePage +
                           "] of the settings is unknown or not a single-byte one. Mend section \"Zelkor\", key "
                           "\"CodePage\" of orlim.ini.",
                       lib::Icon::Critical);
    return sync::kStatusNothingDone;
  }
  if (const lib::Status entered = lib::EnterDirectory(state.ProgramDir); !entered.Ok()) {
    state.user.Message(entered.Message(), lib::Icon::Critical);
    return sync::kStatusFailed;
  }
  const std::optional<std::string> id = GetComputerID(state.user);
  if (!id) {
    state.user.Message("This computer has no ID yet, and nobody is there to give it one.", lib::Icon::Critical);
    return sync::kStatusNothingDone;
  }
  state.computerId = *id;
  return std::nullopt;
}

std::optional<int> OpenData(ProgramState& state) {
  switch (state.database.OpenDatabase()) {
    case db::Database::Opened::Yes:
      break;
    case db::Database::Opened::ConversionRefused:
      return sync::kStatusNothingDone;
    case db::Database::Opened::Unusable:
      return sync::kStatusFailed;
  }
  // Without its table a synchronisation would put files and items where they do not belong.
  if (!state.remap.LoadRemapTable(state.ProgramDir, state.user)) return sync::kStatusFailed;
  state.catalogue.FillItemList(db::kLiveItems);
  return std::nullopt;
}

// One run and its end. A Vandry that it had to start ends with it, once it has delivered everything.
int Synchronize(ProgramState& state, const std::string& word, const std::string& startDirectory) {
  state.link.LimitWaits(std::chrono::seconds(std::max(1, lib::GetIniNumber("Zelkor", "NetTimeout", kNetTimeout))));
  // Also behind a damaged sync file, which ends the program by an exception.
  struct AtEnd {
    net::Link& link;
    ~AtEnd() { link.Exit(); }
  };
  const AtEnd atEnd{state.link};
  return sync::Synchronize(state.synchronisation, word, startDirectory, &state.messages);
}

// The words in order; file names go to `files`, each followed by CR LF. An exit status when a word ended the program.
std::optional<int> RunCommandLine(ProgramState& state, const std::vector<Word>& words,
                                  const std::string& startDirectory, std::string& files) {
  db::Filters& filters = state.catalogue.ItemFilters();
  for (const Word& word : words) {
    switch (word.kind) {
      case WordKind::Synchronize:
        return Synchronize(state, word.text, startDirectory);
      case WordKind::Select:
        filters.standardSelection = filters.activeSelection = CodesOf(word.argument);
        state.catalogue.ApplySelectFilter();
        break;
      case WordKind::Exclude:
        filters.standardExclusion = filters.activeExclusion = CodesOf(word.argument);
        state.catalogue.ApplySelectFilter();
        break;
      case WordKind::File: {
        const lib::Result<std::string> path = lib::FromCommandLine(word.text, startDirectory);
        if (path.Ok()) {
          files += *path + "\r\n";
        } else {
          state.user.Message(path.Failure().Message(), lib::Icon::Critical);
        }
        break;
      }
      case WordKind::Ignored:
        break;
    }
  }
  return std::nullopt;
}

}  // namespace

bool IsUnattended(const std::vector<Word>& words) {
  return std::any_of(words.begin(), words.end(), [](const Word& word) { return word.kind == WordKind::Synchronize; });
}

int Main(const std::vector<Word>& words, const std::string& startDirectory, lib::User& user, lib::ListRows& rows,
         const RunWindows& runWindows) {
  const lib::Result<std::string> programDir = lib::FindProgramDir();
  if (!programDir.Ok()) {
    user.Message(programDir.Failure().Message(), lib::Icon::Critical);
    return sync::kStatusFailed;
  }
  const lib::SingleCopy copy(*programDir);
  if (!copy.First()) {
    user.Message("Zelkor is already running!", lib::Icon::Critical);
    return sync::kStatusNothingDone;
  }
  ProgramState state(user, rows, *programDir);
  if (const std::optional<int> status = InitProgram(state)) return *status;
  if (const std::optional<int> status = OpenData(state)) return *status;
  std::string files;
  if (const std::optional<int> status = RunCommandLine(state, words, startDirectory, files)) return *status;
  return runWindows(state, files);
}

void ShowMainWindow(ProgramState& state, MainView& view, db::ItemEditing& editing, const std::string& files) {
  view.Place(LoadFormPosition(view.Position(), view.Screen(), ""));
  view.PlaceSideWindows();
  view.SetCaption(MainCaption(state.computerId));
  view.ShowWindow();
  editing.UpdateCurrentItem();
  if (!files.empty()) editing.OpenItemFiles(lib::TrimCrLf(files));
  if (lib::GetIniNumber("Zelkor", "AcceptNetConn", 0) != 0) state.link.StartLink();
  if (lib::GetIniNumber("Zelkor", "SysTray", 0) != 0) {
    view.CheckSysTray(true);
    // Out of sight only where it can be reached again.
    if (view.SetTrayIcon(true)) {
      view.Minimise();
    } else {
      view.ShowStatus(kNoTray);
    }
  }
}

void ExitProgram(ProgramState& state, MainView& view) {
  state.link.Exit();
  lib::PutIniValue("Zelkor", "SysTray", state.trayFlag ? 1 : 0);
  state.database.WriteConfig();
  SaveFormPosition(view.Position(), "");
  if (state.trayFlag) view.SetTrayIcon(false);
  view.EndProgram();
}

}  // namespace zelkor::app
