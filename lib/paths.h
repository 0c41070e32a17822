// Paths in the program's form: drive letter, colon, backslashes (C:\dir\name), on every system. Only lib's system
// folders turn them into native paths and back.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "lib/status.h"

namespace zelkor::lib {

// `remove` false: "\" appended unless the path already ends in one. True: one trailing "\" removed if there is one.
[[nodiscard]] std::string SlashPath(std::string_view path, bool remove = false);
// The text after the last "\" or ":"; the whole text when there is neither.
[[nodiscard]] std::string FileNamePart(std::string_view path);
// The text before FileNamePart: the directory with its final "\" (or the drive and its ":"); empty when there is none.
[[nodiscard]] std::string DirectoryPart(std::string_view path);
// The text after the first "." of the name part; empty when there is no ".".
[[nodiscard]] std::string FileExtension(std::string_view fileName);
// The text before the first "."; the whole name when there is none. Takes a name part, not a path.
[[nodiscard]] std::string FileBaseName(std::string_view name);

// True for X:\…, X any letter.
[[nodiscard]] bool IsDrivePath(std::string_view path);

// How much of a path stands before its first component: "X:\", and "\\server\share\" on a system that has such names
// (native_path.h). 0 for any other path.
[[nodiscard]] std::size_t RootLength(std::string_view path);

// Whether the form can carry `name`, one component of a path: refused with a message that says which name and why for
// an empty name, backslash, colon, *, ?, ", control characters, and a blank at either end.
[[nodiscard]] Status CheckName(std::string_view name);
// A native text, of UTF-8, in the code page; refused as a name that holds a character outside of it.
[[nodiscard]] Result<std::string> TextFromNative(std::string_view utf8);
// The same for a component of a path, which must also be as CheckName wants it.
[[nodiscard]] Result<std::string> NameFromNative(std::string_view utf8);
// True for the names that Windows keeps for devices (con, nul, com1 …), with or without an extension.
[[nodiscard]] bool IsDeviceName(std::string_view name);
// Whether `path` has a root and CheckName takes every component of it; the last one may be missing.
[[nodiscard]] Status CheckPath(std::string_view path);
// Whether a path that came with a sync file may be written to or read: it has a root, every component as CheckName
// wants it, neither "." nor "..", no name of a device (con, nul, com1 … with or without an extension).
[[nodiscard]] Status CheckReceivedPath(std::string_view path);

}  // namespace zelkor::lib
