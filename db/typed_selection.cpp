#include "db/typed_selection.h"

#include <optional>
#include <utility>

#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/selection.h"
#include "lib/text.h"

namespace zelkor::db {

namespace {

constexpr std::string_view kWithSubdirectories = "+- ";
constexpr std::string_view kLineEnd = "\r\n";

// A native path in the program's form. Wildcards are no part of a native name, so they are kept apart from it.
lib::Result<std::string> FromNativeLine(std::string_view line) {
  const std::size_t slash = line.rfind('/');
  const std::string_view last = line.substr(slash + 1);
  if (last.find_first_of("*?") == std::string_view::npos) return lib::FromNative(line);
  lib::Result<std::string> wildcard = lib::TextFromNative(last);
  if (!wildcard.Ok()) return wildcard;
  const lib::Result<std::string> directory = lib::FromNative(slash == 0 ? "/" : line.substr(0, slash));
  if (!directory.Ok()) return directory.Failure();
  return lib::SlashPath(*directory) + *wildcard;
}

void AddLine(std::string& text, std::string_view line) {
  if (!text.empty()) text += kLineEnd;
  text += line;
}

}  // namespace

TypedSelection TakeTyped(std::string_view utf8) {
  TypedSelection taken;
  for (const std::string& typed : lib::SelectionLines(utf8)) {
    const bool deep = std::string_view(typed).starts_with(kWithSubdirectories);
    const std::string_view path = deep ? lib::Trim(std::string_view(typed).substr(kWithSubdirectories.size())) : typed;
    std::optional<std::string> line;
    if (path.starts_with('/')) {
      const lib::Result<std::string> form = FromNativeLine(path);
      if (form.Ok()) line = (deep ? std::string(kWithSubdirectories) : std::string()) + *form;
      if (!form.Ok()) taken.refused.push_back(form.Failure());
    }
    if (line) {
      AddLine(taken.utf8, lib::ToUtf8(*line));
    } else {
      AddLine(taken.utf8, typed);
      const bool told = path.starts_with('/');
      line = lib::FromUtf8(typed);
      if (!line && !told) taken.refused.push_back(lib::TextFromNative(path).Failure());
    }
    if (line) AddLine(taken.selection, *line);
  }
  return taken;
}

}  // namespace zelkor::db
