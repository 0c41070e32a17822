#include "lib/secret.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>

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

void KeepMemoryPrivate() {
  const rlimit none{.rlim_cur = 0, .rlim_max = 0};
  setrlimit(RLIMIT_CORE, &none);
  // A core file piped to a program ignores that limit, but not this.
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

}  // namespace zelkor::lib
