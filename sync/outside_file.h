// A sync file that a person hands in: dropped on the window, named on the command line, double-clicked.
#pragma once

#include <string>

#include "sync/import.h"

namespace zelkor::sync {

// Imports the file at `path` after asking "Proceed?". The target is the one that the file's header names as its sender;
// the file is never deleted. A file that can not be read, or is no sync file, is said so in a message.
ImportResult ImportOutsideFile(Context& context, const std::string& path);

}  // namespace zelkor::sync
