#include "lib/secret.h"

#include <malloc.h>
#include <string.h>  // NOLINT(modernize-deprecated-headers): explicit_bzero
#include <sys/prctl.h>

#include "lib/memory_block.h"

namespace zelkor::lib {

void Wipe(std::span<char> bytes) {
  if (!bytes.empty()) explicit_bzero(bytes.data(), bytes.size());
}

std::size_t UsableBytes(void* memory) { return malloc_usable_size(memory); }

// Not by the limit of core files' sizes: the programs that this one starts would inherit it, and it does not hold for
// core files that are piped to a program. This holds for both, and ends where another program begins.
void KeepMemoryPrivate() { prctl(PR_SET_DUMPABLE, 0, 0, 0, 0); }

}  // namespace zelkor::lib
