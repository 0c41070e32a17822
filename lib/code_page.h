// The single-byte code page of stored text, and the way between it and UTF-8.
//
// Text inside the program is text in the code page, one byte a character, exactly as the files on disk hold it. UTF-8
// exists only at the edges: native file names, the terminal, the windows.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelkor::lib {

// Makes the code page with this name (as iconv knows it, for example "WINDOWS-1252", "CP1250" or "ISO-8859-15") the
// current one. False, and nothing changed, when the name is unknown or the code page is not a single-byte one that
// holds ASCII in its lower half. At the start WINDOWS-1252 is in force.
[[nodiscard]] bool SetCodePage(const std::string& name);

// Every byte has a character: a byte that the code page leaves undefined stands for the control character U+0080 to
// U+009F (or the private one U+F700 + byte above that) of the same number, so that the way to UTF-8 and back loses
// nothing.
[[nodiscard]] std::string ToUtf8(std::string_view text);

// Nothing when `utf8` is not UTF-8 or has a character outside the code page.
[[nodiscard]] std::optional<std::string> FromUtf8(std::string_view utf8);

// As FromUtf8, with "?" for what the code page lacks; for texts that are only shown.
[[nodiscard]] std::string FromUtf8Lossy(std::string_view utf8);

// Case folding in the code page, letter by letter.
[[nodiscard]] char LowerChar(char c);
[[nodiscard]] std::string Lower(std::string_view text);
[[nodiscard]] std::string Upper(std::string_view text);

}  // namespace zelkor::lib
