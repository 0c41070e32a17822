// What the system knows about a code page; the source of the tables in code_page.cpp.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace zelkor::lib {

// The character of each byte; 0 for a byte above 0 that the code page leaves undefined.
using CodePageTable = std::array<char32_t, 256>;

// Nothing when the system has no code page of this name, or when it is not one byte a character.
[[nodiscard]] std::optional<CodePageTable> ReadCodePage(const std::string& name);

// `text` in the character set `from`, as iconv names it, in the character set `to`. Nothing when either is unknown or
// `text` cannot be expressed.
[[nodiscard]] std::optional<std::string> ConvertText(const std::string& text, const std::string& from,
                                                     const std::string& to);

}  // namespace zelkor::lib
