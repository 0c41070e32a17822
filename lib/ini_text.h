// The text of a settings file, read and edited in memory.
//
// Sections and keys are matched without regard to case; of several equal ones the first counts. A section that stands
// there twice is one section. Blanks and tabs around a key and a value are no part of them, a value in a pair of
// single or double quotes loses them when read, a line that begins with ";" is a comment, and lines outside any
// section or without "=" mean nothing. Line ends are CR LF or LF.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelkor::lib {

// Nothing when the key is missing; an empty value when nothing stands behind its "=".
[[nodiscard]] std::optional<std::string> IniValue(std::string_view text, std::string_view section,
                                                  std::string_view key);

// The keys of a section, in order, in lower case, each once.
[[nodiscard]] std::vector<std::string> IniSectionKeys(std::string_view text, std::string_view section);

// The text with the value put in the place of the old one, every other byte as it was. A new key goes behind the last
// line of its section that is not empty, a new section to the end; their line ends are those of the text (CR LF in
// an empty one). The value is cut at its first line end or NUL, since it could not be read back whole.
[[nodiscard]] std::string WithIniValue(std::string_view text, std::string_view section, std::string_view key,
                                       std::string_view value);

}  // namespace zelkor::lib
