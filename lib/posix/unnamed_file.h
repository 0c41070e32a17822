// Files without a name.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "lib/files.h"
#include "lib/posix/descriptor.h"

namespace zelkor::lib {

namespace posix {

// What a new file's mode is asked to be; the umask takes its part.
inline constexpr mode_t kAskedFor = 0666;

// An unnamed file can be named later only by way of /proc.
[[nodiscard]] bool UnnamedFilesCanBeNamed();

// A file without a name in that directory, which is meant as in openat; nothing, and an errno, when it can not be.
// Nobody else can open it before it has its name, so it may have its final mode from the start.
[[nodiscard]] std::optional<Descriptor> OpenUnnamed(int at, const char* directory, mode_t mode);

// Whether a directory gives new files its own group, or rights by an access control list: what is moved there would
// lack them.
[[nodiscard]] bool HandsOn(const std::string& directory, const struct stat& info);

// The directory in which unnamed files are made for names in `directory`.
class UnnamedPlace {
 public:
  // `path` is for error messages. The place is the nearest directory at or above that is there.
  [[nodiscard]] static Result<std::unique_ptr<UnnamedPlace>> For(const std::string& directory, std::string_view path);

  [[nodiscard]] const std::string& Directory() const { return directory_; }
  [[nodiscard]] std::optional<Descriptor> Open() const { return OpenUnnamed(opened_.Get(), ".", kAskedFor); }
  // Whether a file from here is in that directory as if it had been made there. Asked by one thread only.
  [[nodiscard]] bool TakesNamesIn(const std::string& directory) const;

 private:
  std::string directory_;
  Descriptor opened_;
  dev_t device_ = 0;
  bool isAbove_ = false;              // the directory itself was missing
  mutable std::optional<bool> fits_;  // once that was looked at
};

}  // namespace posix

struct UnnamedFile::State {
  File content;
  std::shared_ptr<const posix::UnnamedPlace> place;
};

}  // namespace zelkor::lib
