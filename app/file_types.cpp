#include "app/file_types.h"

#include <algorithm>

#include "db/config_rec.h"
#include "lib/text.h"

namespace zelkor::app {

namespace {

constexpr std::string_view kSeparator = " ";

}  // namespace

std::vector<std::string> FillListFromText(std::string_view text, std::string_view separator) {
  std::vector<std::string> entries;
  if (text.empty()) return entries;
  const int count = lib::CountOf(text, separator) + 1;
  for (int number = 1; number <= count; ++number) entries.emplace_back(lib::GetToken(text, separator, number));
  return entries;
}

void File_Extensions(FileTypes which, db::Database& database, lib::Desktop& desktop) {
  const bool view = which == FileTypes::View;
  const lib::Field& field = view ? db::ConfigRec::kEditorTypes : db::ConfigRec::kShellTypes;
  db::ConfigRec& config = database.Config();
  config.SetText(field, std::string(lib::TrimAtNul(config.RawText(field))));

  lib::ListDialog dialog{.title = view ? "View file-types" : "Run file-types",
                         .label = view ? "Extensions of files that open in the text editor:"
                                       : "Extensions of files that open with the system's program for them:",
                         .options = lib::kListFileTypes,
                         .entries = FillListFromText(config.Text(field), kSeparator)};
  desktop.ShowList(dialog);
  // No entry selected is Cancel, on purpose also after OK.
  if (dialog.selected < 0) return;

  std::string text;
  for (std::string entry : dialog.entries) {
    entry.erase(std::remove_if(entry.begin(), entry.end(), [](char c) { return c == '.' || c == ' '; }), entry.end());
    text += entry;
    text += kSeparator;
  }
  config.SetText(field, text);
  database.WriteConfig();
}

}  // namespace zelkor::app
