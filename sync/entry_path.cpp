#include "sync/entry_path.h"

#include "lib/selection.h"
#include "lib/text.h"

namespace zelkor::sync {

std::string SharedPath(const FileHeader& entry, const db::FileRec& item) {
  std::string path = entry.Text(FileHeader::kPath);
  if (path.size() < FileHeader::kPath.width) return path;
  std::string whole;
  for (const std::string& line : lib::SelectionLines(item.Text(db::FileRec::kFileName))) {
    if (!lib::BeginsWithNoCase(line, path)) continue;
    if (!whole.empty()) return {};
    whole = line;
  }
  return whole;
}

}  // namespace zelkor::sync
