// What stands behind an open File.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "lib/files.h"
#include "lib/posix/descriptor.h"

namespace zelkor::lib {

struct File::State {
  State(posix::Descriptor opened, std::string programPath) : file(std::move(opened)), path(std::move(programPath)) {}

  posix::Descriptor file;
  std::string path;  // in the program's form
  // What opening already asked the system; the first question for the file's facts is answered by it, unless the file
  // was used before.
  mutable std::optional<struct statx> facts;
};

}  // namespace zelkor::lib
