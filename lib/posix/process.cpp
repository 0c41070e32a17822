#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <unistd.h>

#include "lib/native_path.h"

namespace zelkor::lib {

Result<std::string> ExecutablePath() {
  std::array<char, PATH_MAX> path{};
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
  if (length < 0)
    return Status(Cause::Failed, "The program's own file can not be told: " + std::string(strerror(errno)));
  return FromNative(std::string_view(path.data(), static_cast<std::size_t>(length)));
}

Status EnterDirectory(std::string_view directory) {
  const Result<std::string> native = ToNative(directory);
  if (!native.Ok()) return native.Failure();
  if (chdir(native->c_str()) == 0) return {};
  return {Cause::Failed, "Can not enter [" + std::string(directory) + "]: " + strerror(errno)};
}

}  // namespace zelkor::lib
