// What the system knows of memory that std::malloc gave.
#pragma once

#include <cstddef>

namespace zelkor::lib {

// The bytes that may be used of it, at least those that were asked for; of no memory 0.
[[nodiscard]] std::size_t UsableBytes(void* memory);

}  // namespace zelkor::lib
