#include "lib/secret.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <sys/prctl.h>

namespace zelkor::lib {

void Wipe(std::span<char> bytes) {
  if (!bytes.empty()) explicit_bzero(bytes.data(), bytes.size());
}

void FreeWiped(void* memory) {
  if (memory != nullptr) explicit_bzero(memory, malloc_usable_size(memory));
  std::free(memory);
}

void* ReallocateWiped(void* memory, std::size_t size) {
  if (memory == nullptr) return std::malloc(size);
  const std::size_t before = malloc_usable_size(memory);
  if (size <= before && size > before / 2) return memory;
  void* other = std::malloc(size);
  if (other == nullptr) return nullptr;
  std::memcpy(other, memory, std::min(size, before));
  FreeWiped(memory);
  return other;
}

// Not by the limit of core files' sizes: the programs that this one starts would inherit it, and it does not hold for
// core files that are piped to a program. This holds for both, and ends where another program begins.
void KeepMemoryPrivate() { prctl(PR_SET_DUMPABLE, 0, 0, 0, 0); }

}  // namespace zelkor::lib
