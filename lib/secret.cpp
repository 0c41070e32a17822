#include "lib/secret.h"

#include <algorithm>

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

}  // namespace zelkor::lib
