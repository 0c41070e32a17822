// What is the same of an open file on every system; the rest stands in a file of this name for each.
#include "open_file.h"

namespace zelkor::lib {

File::File() = default;
File::~File() = default;
File::File(File&&) noexcept = default;
File& File::operator=(File&&) noexcept = default;

bool File::IsOpen() const { return state_ != nullptr; }
void File::Close() { state_.reset(); }

const std::string& File::Path() const {
  static const std::string kNone;
  return state_ ? state_->path : kNone;
}

Status File::Append(std::span<const char> bytes) {
  const Result<std::int64_t> end = Length();
  return end.Ok() ? WriteAt(*end, bytes) : end.Failure();
}

}  // namespace zelkor::lib
