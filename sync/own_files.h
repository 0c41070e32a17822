// Zelkor's own files, which no sync file may touch.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelkor::sync {

class OwnFiles {
 public:
  explicit OwnFiles(std::string_view programDir);

  // True for a path (X:\…) of a file in the program's directory, of the settings file, or of the programs themselves,
  // under whatever spelling. The program's directory holds nothing but the program's files: the database, its logs, the
  // remapping table.
  [[nodiscard]] bool Contains(std::string_view path);

 private:
  // A directory by its device and index, with the one name in it that is the program's; all names when it is empty.
  struct Own {
    std::pair<std::uint64_t, std::uint64_t> directory;
    std::string name;
  };
  void Add(std::string_view directory, std::string_view name);

  std::vector<Own> own_;
  // The directory looked at last: most files of a sync file stand together.
  std::string lastDirectory_;
  std::pair<std::uint64_t, std::uint64_t> lastIndex_;
};

}  // namespace zelkor::sync
