// Pairing from the command line: --fingerprint, --pair, --paired, --unpair.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelkor::vandry {

// What the switches are for, one a line, as part of a help text.
inline constexpr std::string_view kPairingHelp =
    "  --pair                   shows a code for another computer to type, and waits for it\n"
    "  --pair ADDRESS CODE      types the code that the computer at ADDRESS (host or host:port) shows\n"
    "  --pair ID FINGERPRINT    makes the computer ID known by its key, without a connection;\n"
    "                           to be done on both, each with what --fingerprint shows on the other\n"
    "  --fingerprint            shows the fingerprint of this computer's key\n"
    "  --paired                 lists the computers that are known here, with their fingerprints\n"
    "  --unpair ID              forgets one of them\n";

// Whether the first word of the command line is one of these switches.
[[nodiscard]] bool IsPairingCommand(std::string_view word);

// Runs it; answers go to standard output, failures to standard error. The process's exit status: 0 done, 1 failed,
// 2 words that can not be understood.
[[nodiscard]] int RunPairingCommand(const std::vector<std::string>& words, const std::string& programDir);

}  // namespace zelkor::vandry
