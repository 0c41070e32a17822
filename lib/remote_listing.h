// The listing of a directory on a server, as Vandry writes it for Zelkor: a text file of one line an entry, each ended
// by CR LF, in columns that stay put:
//
//   2026-11-21 14:15:37          12345 lap.cas
//   2026-11-20 09:00:00              0 lap01.cas
//   2026-11-19 00:00:00          <DIR> a folder
//   ---------- --------              7 the server told no date.txt
//
// The date and time (19 characters), a blank, the size in bytes at the right of 14 characters, a blank, and the name,
// which may hold blanks, up to the end of the line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lib/date.h"

namespace zelkor::lib {

struct RemoteEntry {
  Date written = 0;  // 0: not told
  std::int64_t size = 0;
  bool directory = false;
  std::string name;
  bool operator==(const RemoteEntry&) const = default;
};

// Without the line's end.
[[nodiscard]] std::string RemoteListingLine(const RemoteEntry& entry);
// Nothing when the line is not of that form.
[[nodiscard]] std::optional<RemoteEntry> ParseRemoteListingLine(std::string_view line);

}  // namespace zelkor::lib
