// Dropping the deleted items.
#pragma once

#include <cstdint>
#include <string>

#include "lib/files.h"
#include "lib/status.h"

namespace zelkor::db {

// Writes the live ones of the first `count` items to a new file `path`, in their order, flushed and closed. When it
// fails nothing stands under that name.
[[nodiscard]] lib::Status BuildCompacted(const lib::File& items, std::int32_t count, const std::string& path);

}  // namespace zelkor::db
