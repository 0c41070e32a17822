// The start of the program, and its end.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "app/main_view.h"
#include "app/program_state.h"
#include "db/item_editing.h"
#include "lib/list_rows.h"
#include "lib/user.h"

namespace zelkor::app {

// Whether one of the words runs a synchronisation and ends the program, so that no window is shown.
[[nodiscard]] bool IsUnattended(const std::vector<Word>& words);

// Shows the main window and returns the exit status when the program has ended. `files` are those of the command line,
// paths in the program's form, each followed by CR LF.
using RunWindows = std::function<int(ProgramState& state, const std::string& files)>;

// Runs the program with these words and returns its exit status. `startDirectory` (native) is where relative names
// count from. Not to be called with words that are not unattended and without `runWindows`.
int Main(const std::vector<Word>& words, const std::string& startDirectory, lib::User& user, lib::ListRows& rows,
         const RunWindows& runWindows);

// What Main does with the main window: places and shows it, takes the files in, starts the link and the tray icon.
void ShowMainWindow(ProgramState& state, MainView& view, db::ItemEditing& editing, const std::string& files);

// Saves what belongs to shutdown and ends the program.
void ExitProgram(ProgramState& state, MainView& view);

}  // namespace zelkor::app
