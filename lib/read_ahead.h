// Small files read on a thread of its own, ahead of whoever will need them next.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "lib/date.h"
#include "lib/files.h"

namespace zelkor::lib {

// Never more than a help: what was not read ahead, for whatever reason, is opened by whoever needs it, and so every
// error is met, and told, there. Nothing on the medium is changed.
class ReadAhead {
 public:
  // At most this many files are wanted at a time, and longer ones are not read.
  static constexpr std::size_t kFiles = 128;
  static constexpr std::int64_t kLongest = std::int64_t{1} << 16;

  struct Found {
    FileInfo info;
    // Whether the content was read, and the file stood still meanwhile; else only `info` counts.
    bool read = false;
    std::span<const char> content;  // valid until the next call of anything here
  };

  ReadAhead();
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  [[nodiscard]] std::size_t Wanted() const;
  // `turn` never decreases from call to call. The content is read only when the file was written after `cutoff`.
  // REQUIRES: Wanted() < kFiles.
  void Want(std::int32_t turn, std::string path, Date cutoff);
  // Sets to work on what was wanted since the last call: many files at a time spare many wakings.
  void Start();
  // Whether something is known of the next file and it is wanted for this turn, so that Take will not wait.
  [[nodiscard]] bool Ready(std::int32_t turn);
  // What is known of the file, when it is the next one wanted for this turn; null otherwise. What was wanted for
  // earlier turns is forgotten.
  [[nodiscard]] const Found* Take(std::int32_t turn, const std::string& path);

 private:
  void ForgetBefore(std::int32_t turn);

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace zelkor::lib
