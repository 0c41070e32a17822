#include "lib/sibling.h"

#include <array>
#include <cerrno>
#include <climits>
#include <string_view>
#include <unistd.h>

#include "lib/code_page.h"
#include "lib/posix/name_lookup.h"
#include "lib/posix/system_error.h"

namespace zelkor::lib {

Status GoOnAs(const std::string& name, char* const* arguments) {
  std::array<char, PATH_MAX> self{};
  const ssize_t length = readlink("/proc/self/exe", self.data(), self.size());
  if (length < 0) return posix::SystemFailure(errno, "/proc/self/exe");
  const std::string directory = posix::DirectoryOf(std::string_view(self.data(), static_cast<std::size_t>(length)));
  const std::string path = (directory == "/" ? "" : directory) + "/" + name;
  execv(path.c_str(), arguments);
  return posix::SystemFailure(errno, FromUtf8Lossy(path));
}

}  // namespace zelkor::lib
