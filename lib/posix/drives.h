// Which native directory each drive letter stands for, and the plain turning of paths into native ones and back,
// without a look at what exists.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "lib/status.h"

namespace zelkor::lib::posix {

// A path in native form as it was written, in UTF-8. The first `root` bytes are the drive's directory (none for "/"),
// which is taken as it stands.
struct WrittenPath {
  std::string native;
  std::size_t root = 0;
};

class Drives {
 public:
  // The drives as the settings have them; read once, until Forget.
  static const Drives& Current();
  static void Forget();

  [[nodiscard]] Result<WrittenPath> ToWritten(std::string_view path) const;
  // `native` is absolute; "." and empty components do not count, ".." goes up.
  [[nodiscard]] Result<std::string> FromNative(std::string_view native) const;

 private:
  Drives();

  // A drive's directory without a final slash ("" for "/"), also with its links resolved.
  struct Drive {
    bool given = false;
    std::string directory;
    std::string resolved;
    std::string refused;  // why the drive has no directory
  };
  std::array<Drive, 26> drives_;
};

// The user's home directory, absolute.
[[nodiscard]] std::string HomeDirectory();
// The value of an environment variable; empty when it is not set.
[[nodiscard]] std::string Environment(const char* name);
// `path` made absolute against `directory`, without "." and empty components. ".." goes up; behind a link it goes up
// from where the link leads, as the system does.
[[nodiscard]] std::string AbsoluteNative(std::string_view path, std::string_view directory);

}  // namespace zelkor::lib::posix
