// Keeping secrets out of what outlives their use: freed memory and core files.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace zelkor::lib {

// Overwrites the bytes, also where a compiler would find that nobody looks at them any more.
void Wipe(std::span<char> bytes);
// All of the text's memory; the text is empty afterwards.
void Wipe(std::string& text);

// For texts that grow and shrink while something secret passes through: text.append(more) and text.erase(0, count), but
// nothing stays in the memory given up or behind the end.
void AppendWiped(std::string& text, std::string_view more);
void EraseFrontWiped(std::string& text, std::size_t count);

// Wipes a text when it goes.
class WipedAtEnd {
 public:
  explicit WipedAtEnd(std::string& text) : text_(text) {}
  ~WipedAtEnd() { Wipe(text_); }
  WipedAtEnd(const WipedAtEnd&) = delete;
  WipedAtEnd& operator=(const WipedAtEnd&) = delete;

 private:
  std::string& text_;
};

// For libraries that let their memory be managed: as free and realloc, but what is given back is overwritten first.
void FreeWiped(void* memory);
[[nodiscard]] void* ReallocateWiped(void* memory, std::size_t size);

// From here on this process leaves no core file, and other processes of the same user can not look into its memory.
void KeepMemoryPrivate();

}  // namespace zelkor::lib
