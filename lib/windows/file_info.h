// What the system tells about a file, and its times in the program's.
#pragma once

#include <cstdint>
#include <string>

#include "lib/files.h"
#include "lib/windows/system.h"

namespace zelkor::lib::windows {

struct Facts {
  DWORD attributes = 0;
  FILETIME created{};
  FILETIME written{};
  std::int64_t changed = 0;  // the last change of anything about the file, in the system's units
  std::int64_t size = 0;
  std::uint64_t device = 0;
  std::uint64_t index = 0;

  [[nodiscard]] bool IsDirectory() const { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
  [[nodiscard]] bool IsReadOnly() const {
    // On a directory the attribute says nothing about writing in it.
    return !IsDirectory() && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  }
};

// Of an open file or directory; 0, or the system's error.
[[nodiscard]] DWORD ReadFacts(HANDLE file, Facts& facts);
// Of what has the name; links are followed.
[[nodiscard]] DWORD ReadFacts(const std::wstring& systemPath, Facts& facts);
// Whether the name is a link, to a file or a directory.
[[nodiscard]] bool IsLink(const std::wstring& systemPath);

// What FileInfo has as its change stamp.
[[nodiscard]] std::int64_t ChangeStamp(const Facts& facts);
[[nodiscard]] FileInfo ToFileInfo(const Facts& facts);

// Seconds since 1 January 1970 0:00 UTC; parts of a second are dropped toward the past.
[[nodiscard]] std::int64_t ToUtc(const FILETIME& time);
[[nodiscard]] FILETIME FromUtc(std::int64_t utcSeconds);

}  // namespace zelkor::lib::windows
