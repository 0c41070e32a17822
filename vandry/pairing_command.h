// Pairing from the command line: --fingerprint, --pair, --paired, --unpair.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelkor::vandry {

// Whether the first word of the command line is one of these switches.
[[nodiscard]] bool IsPairingCommand(std::string_view word);

// Runs it; answers go to standard output, failures to standard error. The process's exit status: 0 done, 1 failed,
// 2 words that can not be understood.
[[nodiscard]] int RunPairingCommand(const std::vector<std::string>& words, const std::string& programDir);

}  // namespace zelkor::vandry
