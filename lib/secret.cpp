#include "lib/secret.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "lib/memory_block.h"

namespace zelkor::lib {

void Wipe(std::string& text) {
  // What a longer text left behind the present one's end counts too.
  text.resize(text.capacity());
  Wipe(std::span<char>(text));
  text.clear();
}

void AppendWiped(std::string& text, std::string_view more) {
  if (text.capacity() - text.size() < more.size()) {
    std::string larger;
    larger.reserve(std::max(2 * text.capacity(), text.size() + more.size()));
    larger.append(text);
    Wipe(text);
    text.swap(larger);
  }
  text.append(more);
}

void EraseFrontWiped(std::string& text, std::size_t count) {
  const std::size_t before = text.size();
  text.erase(0, count);
  const std::size_t after = text.size();
  // Writes over what stood there.
  text.resize(before);
  text.resize(after);
}

void FreeWiped(void* memory) {
  Wipe({static_cast<char*>(memory), UsableBytes(memory)});
  std::free(memory);
}

void* ReallocateWiped(void* memory, std::size_t size) {
  if (memory == nullptr) return std::malloc(size);
  const std::size_t before = UsableBytes(memory);
  if (size <= before && size > before / 2) return memory;
  void* other = std::malloc(size);
  if (other == nullptr) return nullptr;
  std::memcpy(other, memory, std::min(size, before));
  FreeWiped(memory);
  return other;
}

}  // namespace zelkor::lib
