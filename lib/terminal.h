// The terminal that a run without windows may have, and the wish to stop that comes from it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelkor::lib {

// From here on an interrupt (Ctrl-C, or a request to end) no longer ends the process but makes Interrupted() true, and
// ends a wait for input. A second one ends the process.
void WatchForInterrupt();
[[nodiscard]] bool Interrupted();
// Called first in any other thread than the first: interrupts go to the first one, whose waits they end.
void LeaveInterruptsToFirstThread();

[[nodiscard]] bool StandardErrorIsTerminal();
[[nodiscard]] bool StandardOutputIsTerminal();
// Columns of the terminal of standard error; 80 when they can not be told.
[[nodiscard]] int TerminalColumns();

// The next line of standard input without its end, in native bytes; nothing at the end of the input or after an
// interrupt.
[[nodiscard]] std::optional<std::string> ReadInputLine();
// Writes all of the text at once; failures (a closed pipe) are ignored.
void WriteToStandardOutput(std::string_view text);
void WriteToStandardError(std::string_view text);

}  // namespace zelkor::lib
