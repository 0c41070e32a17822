#include "lib/secret.h"

#include <cstring>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace zelkor::lib {

void Wipe(std::span<char> bytes) {
  if (!bytes.empty()) explicit_bzero(bytes.data(), bytes.size());
}

void Wipe(std::string& text) {
  // What a longer text left behind the present one's end counts too.
  text.resize(text.capacity());
  Wipe(std::span<char>(text));
  text.clear();
}

void KeepMemoryPrivate() {
  const rlimit none{.rlim_cur = 0, .rlim_max = 0};
  setrlimit(RLIMIT_CORE, &none);
  // A core file piped to a program ignores that limit, but not this.
  prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
}

}  // namespace zelkor::lib
