#include "app/list_editing.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

namespace zelkor::app {

bool AddEntry(lib::ListDialog& dialog, lib::User& user) {
  std::string entry = user.Input("Add:", dialog.title, {});
  if (entry.empty()) return false;
  dialog.entries.push_back(std::move(entry));
  dialog.selected = static_cast<int>(dialog.entries.size()) - 1;
  return true;
}

bool DeleteEntry(lib::ListDialog& dialog) {
  if (dialog.selected < 0 || static_cast<std::size_t>(dialog.selected) >= dialog.entries.size()) return false;
  dialog.entries.erase(dialog.entries.begin() + dialog.selected);
  dialog.selected = std::min(dialog.selected, static_cast<int>(dialog.entries.size()) - 1);
  return true;
}

}  // namespace zelkor::app
