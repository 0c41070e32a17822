#include "db/file_rec.h"

#include <string>

#include "lib/code_page.h"
#include "lib/text.h"

namespace zelkor::db {

bool ItemGoesToTarget(const FileRec& item, std::string_view targetId, bool excludedByDefault) {
  const auto syncTo = static_cast<SyncTo>(item.Number(FileRec::kSyncTo));
  if (!excludedByDefault && syncTo == SyncTo::All) return true;

  const std::string id = lib::Lower(lib::Trim(targetId));
  // A blank at both ends, so that a mark is found at the very start and the very end too.
  std::string codes(" ");
  codes.append(lib::Lower(item.Text(FileRec::kCodes))).append(" ");
  const auto marked = [&](const char* mark) {
    return codes.find(std::string(mark).append(id).append(" ")) != std::string::npos;
  };

  if (!excludedByDefault && syncTo == SyncTo::AllButExcluded) return !marked(" -");
  return marked(" +");
}

}  // namespace zelkor::db
