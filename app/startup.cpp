#include "app/startup.h"

#include <optional>

#include "app/command_line.h"
#include "app/identity.h"
#include "app/program_state.h"
#include "db/memory_rows.h"
#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/run_time_error.h"
#include "lib/settings.h"
#include "lib/single_copy.h"
#include "sync/synchronize.h"

namespace zelkor::app {

namespace {

constexpr const char* kNoWindows =
    "This version has no windows yet. Start it with /syncexp or /syncimp; zelkor --help says how.";

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

// The words in order. An exit status when one of them ended the program.
std::optional<int> RunCommandLine(ProgramState& state, const std::vector<Word>& words,
                                  const std::string& startDirectory) {
  db::Filters& filters = state.catalogue.ItemFilters();
  for (const Word& word : words) {
    switch (word.kind) {
      case WordKind::Synchronize:
        return sync::Synchronize(state.synchronisation, word.text, startDirectory);
      case WordKind::Select:
        filters.standardSelection = filters.activeSelection = CodesOf(word.argument);
        state.catalogue.ApplySelectFilter();
        break;
      case WordKind::Exclude:
        filters.standardExclusion = filters.activeExclusion = CodesOf(word.argument);
        state.catalogue.ApplySelectFilter();
        break;
      case WordKind::File:
      case WordKind::Ignored:
        break;
    }
  }
  return std::nullopt;
}

}  // namespace

int Main(const std::vector<std::string>& arguments, lib::User& user) {
  const std::string startDirectory = lib::StartDirectory();
  std::vector<Word> words;
  try {
    words = ParseCommandLine(arguments, startDirectory);
  } catch (const lib::RunTimeError& tooMany) {
    user.Message(tooMany.what(), lib::Icon::Critical);
    return sync::kStatusNothingDone;
  }
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
  db::MemoryRows rows;
  ProgramState state(user, rows, *programDir);
  if (const std::optional<int> status = InitProgram(state)) return *status;
  if (const std::optional<int> status = OpenData(state)) return *status;
  if (const std::optional<int> status = RunCommandLine(state, words, startDirectory)) return *status;
  user.Message(kNoWindows);
  return sync::kStatusNothingDone;
}

}  // namespace zelkor::app
