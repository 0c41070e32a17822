// Copying between open files.
#include <algorithm>
#include <memory>

#include "lib/windows/open_file.h"
#include "lib/windows/system_error.h"

namespace zelkor::lib {
namespace {

constexpr std::int64_t kBufferBytes = 1 << 20;

}  // namespace

CopyOutcome CopyRange(const File& from, std::int64_t fromOffset, File& to, std::int64_t toOffset, std::int64_t count) {
  CopyOutcome outcome;
  const auto bufferBytes = static_cast<std::size_t>(std::clamp<std::int64_t>(count, 1, kBufferBytes));
  const auto buffer = std::make_unique_for_overwrite<char[]>(bufferBytes);  // NOLINT(modernize-avoid-c-arrays)
  while (outcome.copied < count) {
    const auto wanted =
        static_cast<std::size_t>(std::min(count - outcome.copied, static_cast<std::int64_t>(bufferBytes)));
    std::size_t read = 0;
    if (const DWORD error =
            windows::ReadPiece(from.state_->file.Get(), fromOffset + outcome.copied, buffer.get(), wanted, read);
        error != 0) {
      outcome.readFailed = true;
      outcome.status = windows::SystemFailure(error, from.Path());
      return outcome;
    }
    if (read == 0) {
      outcome.sourceEnded = true;
      return outcome;
    }
    for (std::size_t done = 0; done < read;) {
      std::size_t written = 0;
      if (const DWORD error = windows::WritePiece(to.state_->file.Get(), toOffset + outcome.copied, buffer.get() + done,
                                                  read - done, written);
          error != 0) {
        outcome.status = windows::SystemFailure(error, to.Path());
        return outcome;
      }
      done += written;
      outcome.copied += static_cast<std::int64_t>(written);
    }
  }
  return outcome;
}

}  // namespace zelkor::lib
