// An item's file selection: lines of paths, expanded into single files.
//
// A selection is lines ended by CR LF (a bare LF is accepted). Blank lines and blanks around a line do not count. The
// last component of a line may hold the wildcards * and ?; they match files, hidden ones and links to files too, never
// directories or links to directories. A line that begins with "+- " takes its directory's sub-directories in, each
// level, at most 10,000 of them.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "lib/status.h"

namespace zelkor::lib {

inline constexpr int kMaxSubdirectories = 10000;

// The lines that name something, trimmed, with their "+- " where they have it. The one place that knows how a
// selection is cut into lines.
[[nodiscard]] std::vector<std::string> SelectionLines(std::string_view selection);
// The same lines joined by CR LF, as a record stores them.
[[nodiscard]] std::string NormaliseSelection(std::string_view selection);

// What one step of an expansion gives: the path of a file (which may not exist when the line has no wildcards), or,
// when `refused` is not Ok, a name or line that was left out and why.
struct SelectedFile {
  std::string path;
  Status refused;
};

// Calls `take` for each file in the order of the lines, the files of a wildcard line sorted, each file once; the
// directory is kept as typed. Ends early, with false, when `take` returns false.
bool ExpandSelection(std::string_view selection, const std::function<bool(const SelectedFile&)>& take);

// The first file of the selection; empty when there is none.
[[nodiscard]] std::string FirstSelectedFile(std::string_view selection);

}  // namespace zelkor::lib
