// What stands behind an open File.
#pragma once

#include <string>
#include <utility>

#include "lib/files.h"
#include "lib/windows/handle.h"

namespace zelkor::lib {

struct File::State {
  State(windows::OwnedHandle opened, std::string programPath) : file(std::move(opened)), path(std::move(programPath)) {}

  windows::OwnedHandle file;
  std::string path;  // in the program's form
};

namespace windows {

// Everybody may read, write, rename and delete what is open here, as on systems without locks.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Reads or writes up to `count` bytes at the offset; `moved` tells how many. 0 or the system's error; at the end of a
// file 0 bytes are read.
[[nodiscard]] DWORD ReadPiece(HANDLE file, std::int64_t offset, char* to, std::size_t count, std::size_t& moved);
[[nodiscard]] DWORD WritePiece(HANDLE file, std::int64_t offset, const char* from, std::size_t count,
                               std::size_t& moved);

}  // namespace windows
}  // namespace zelkor::lib
