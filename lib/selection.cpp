#include "lib/selection.h"

#include <algorithm>
#include <cstddef>
#include <unordered_set>
#include <utility>

#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/paths.h"
#include "lib/text.h"

namespace zelkor::lib {
namespace {

constexpr std::string_view kWithSubdirectories = "+- ";
constexpr std::string_view kWildcards = "*?";

bool HoldsWildcards(std::string_view text) { return FindAnyOf(text, kWildcards) != std::string_view::npos; }

// A file that an import was just about to give its name when it was killed; nobody's, and no wildcard means it.
bool IsLeftover(std::string_view name) { return MatchesFileName(name, "~zelkor-????????????.tmp"); }

// Whether a line can name files: a drive, and names that the form can carry; the last one may hold wildcards, or be
// missing.
Status CheckLine(std::string_view line) {
  if (!HoldsWildcards(line)) return CheckPath(line);
  std::string path(line);
  if (RootLength(path) != 0) {
    const auto name = path.end() - static_cast<std::ptrdiff_t>(FileNamePart(path).size());
    std::replace_if(
        name, path.end(), [](char c) { return kWildcards.find(c) != std::string_view::npos; }, '_');
  }
  return CheckPath(path);
}

// One expansion: hands each file on once.
class Expansion {
 public:
  Expansion(bool severalLines, const std::function<bool(const SelectedFile&)>& take)
      : severalLines_(severalLines), take_(take) {}

  // False when the taker has had enough.
  bool Line(std::string_view line) {
    const bool deep = line.substr(0, kWithSubdirectories.size()) == kWithSubdirectories;
    const std::string path(deep ? Trim(line.substr(kWithSubdirectories.size())) : line);
    if (Status usable = CheckLine(path); !usable.Ok()) return take_({.path = path, .refused = std::move(usable)});
    const std::string name = FileNamePart(path);
    if (!deep && !HoldsWildcards(name)) return Give(path);
    matched_ = false;
    subdirectories_ = 0;
    line_ = path;
    if (!Directory(DirectoryPart(path), name, deep)) return false;
    // A single file that is nowhere is for the caller to miss.
    return matched_ || HoldsWildcards(name) || Give(path);
  }

 private:
  // A file of an earlier line does not come again. One line alone gives no file twice.
  bool Give(const std::string& path) {
    if (severalLines_ && !given_.insert(Lower(path)).second) return true;
    return take_({.path = path, .refused = {}});
  }

  // The files of one directory, and when `deep` those below it. `directory` ends in a backslash.
  bool Directory(const std::string& directory, const std::string& wildcard, bool deep) {
    Result<std::vector<DirectoryEntry>> listed = ListDirectory(directory);
    if (!listed.Ok()) return take_({.path = directory + wildcard, .refused = listed.Failure()});
    std::vector<std::pair<std::string, DirectoryEntry>> entries;  // with the name in lower case
    entries.reserve(listed->size());
    for (DirectoryEntry& entry : *listed) {
      std::string lower = Lower(entry.name);
      entries.emplace_back(std::move(lower), std::move(entry));
    }
    listed->clear();
    std::stable_sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    return Files(entries, directory, wildcard) && (!deep || Subdirectories(entries, directory, wildcard));
  }

  bool Files(const std::vector<std::pair<std::string, DirectoryEntry>>& entries, const std::string& directory,
             const std::string& wildcard) {
    const std::string* last = nullptr;  // the file given last, in lower case
    for (const auto& [lower, entry] : entries) {
      if (entry.directory || entry.other || !MatchesFileName(entry.name, wildcard)) continue;
      if (IsLeftover(entry.name)) continue;
      const std::string path = directory + entry.name;
      Status refused = entry.refused;
      if (refused.Ok() && last != nullptr && *last == lower) {
        refused = {Cause::Refused, "The name \"" + entry.name + "\" can not be used: another one differs in case only"};
      }
      if (refused.Ok()) {
        last = &lower;
        matched_ = true;
      }
      if (!(refused.Ok() ? Give(path) : take_({.path = path, .refused = std::move(refused)}))) return false;
    }
    return true;
  }

  // Links are not followed, so there is no way round in a circle.
  bool Subdirectories(const std::vector<std::pair<std::string, DirectoryEntry>>& entries, const std::string& directory,
                      const std::string& wildcard) {
    for (const auto& [lower, entry] : entries) {
      if (!entry.directory || entry.link) continue;
      if (subdirectories_ > kMaxSubdirectories) return true;
      ++subdirectories_;
      if (subdirectories_ > kMaxSubdirectories) {
        return take_(
            {.path = line_,
             .refused = {Cause::Refused, "\"" + line_ + "\" has more than " + std::to_string(kMaxSubdirectories) +
                                             " sub-directories; the others are left out"}});
      }
      if (!entry.refused.Ok()) {
        if (!take_({.path = directory + entry.name, .refused = entry.refused})) return false;
        continue;
      }
      if (!Directory(directory + entry.name + "\\", wildcard, true)) return false;
    }
    return true;
  }

  const bool severalLines_;
  const std::function<bool(const SelectedFile&)>& take_;
  std::unordered_set<std::string> given_;  // paths in lower case
  std::string line_;
  int subdirectories_ = 0;
  bool matched_ = false;
};

}  // namespace

std::vector<std::string> SelectionLines(std::string_view selection) {
  std::vector<std::string> lines;
  while (!selection.empty()) {
    const std::string_view trimmed = Trim(TakeLine(selection));
    // The marker alone, which has lost its blank, names nothing.
    if (!trimmed.empty() && trimmed != Trim(kWithSubdirectories)) lines.emplace_back(trimmed);
  }
  return lines;
}

std::string NormaliseSelection(std::string_view selection) {
  std::string text;
  for (const std::string& line : SelectionLines(selection)) {
    if (!text.empty()) text += "\r\n";
    text += line;
  }
  return text;
}

bool ExpandSelection(std::string_view selection, const std::function<bool(const SelectedFile&)>& take) {
  const std::vector<std::string> lines = SelectionLines(selection);
  Expansion expansion(lines.size() > 1, take);
  return std::all_of(lines.begin(), lines.end(), [&](const std::string& line) { return expansion.Line(line); });
}

std::string FirstSelectedFile(std::string_view selection) {
  std::string first;
  ExpandSelection(selection, [&](const SelectedFile& file) {
    if (!file.refused.Ok()) return true;
    first = file.path;
    return false;
  });
  return first;
}

}  // namespace zelkor::lib
