// Text as the system takes it: UTF-16. Native paths are kept in UTF-8 and become UTF-16 only on their way to a call.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelkor::lib::windows {

// Bytes that are no UTF-8, and halves of surrogate pairs, become U+FFFD.
[[nodiscard]] std::wstring ToWide(std::string_view utf8);
[[nodiscard]] std::string FromWide(std::wstring_view wide);
// In the system's ANSI code page, for the functions that exist only so; nothing when it lacks a character.
[[nodiscard]] std::optional<std::string> ToSystemAnsi(std::string_view utf8);

// An absolute native path as the file functions take it: with the prefix that lets it be longer than 260 characters
// and keeps the system from reading anything into it.
[[nodiscard]] std::wstring ToSystemPath(std::string_view native);

// The value of an environment variable in UTF-8; empty when it is not set.
[[nodiscard]] std::string Environment(const char* name);

}  // namespace zelkor::lib::windows
