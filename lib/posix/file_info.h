// What the system tells about a file, and the creation time that is kept with it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "lib/files.h"

namespace zelkor::lib::posix {

// Where a file's creation time is kept once it has been set: this extended attribute, seconds since 1970 UTC in
// decimal. The system's own creation time can be read, never set.
inline constexpr const char* kCreatedAttribute = "user.zelkor.created";

// An open file, or a path whose last link is followed.
struct FileName {
  int descriptor = -1;
  const char* path = nullptr;
};

// 0, or an errno.
[[nodiscard]] int ReadFacts(FileName file, struct statx& facts);
// An open file's attribute; nothing when there is none, or no number in it.
[[nodiscard]] std::optional<std::int64_t> ReadCreated(int descriptor);
// What FileInfo has as its change stamp.
[[nodiscard]] std::int64_t ChangeStamp(const struct statx& facts);
[[nodiscard]] FileInfo ToFileInfo(const struct statx& facts, std::optional<std::int64_t> created);
// The creation time in seconds since 1970 UTC: the attribute, else what the system knows, else the last write.
[[nodiscard]] std::int64_t CreatedSeconds(const struct statx& facts, std::optional<std::int64_t> created);
// Whether its owner may not write the file.
[[nodiscard]] bool IsReadOnly(unsigned mode);

// Sets the attribute; 0, or an errno. Where the file system keeps no attributes nothing happens.
[[nodiscard]] int WriteCreated(int descriptor, std::int64_t seconds);

}  // namespace zelkor::lib::posix
