#include "sync/context.h"

#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/text.h"

namespace zelkor::sync {

std::string AddressOf(const net::TargetRec& target, const Place& place) {
  const std::string word = lib::FromUtf8Lossy(place.word);
  return word.empty() ? target.Text(net::TargetRec::kAddress) : std::string(lib::Trim(word));
}

void ClearStatus(Context& context) {
  context.log.CloseLog();
  context.user.SetStatus({}, false);
}

TemporarySyncFile::TemporarySyncFile() {
  const lib::Result<std::string> folder = lib::TemporaryDirectory();
  if (!folder.Ok()) {
    failure_ = folder.Failure();
    return;
  }
  // Another program may take the name between the look and the creation; a few tries are plenty.
  for (int attempt = 0; attempt < 100; ++attempt) {
    path_ = lib::TempFileName(*folder, "~sync", "");
    lib::Result<lib::File> file = lib::File::Open(path_, lib::OpenMode::CreateNew);
    if (file.Ok()) {
      file_ = std::move(*file);
      failure_ = {};
      return;
    }
    failure_ = file.Failure();
    if (file.Why() != lib::Cause::Exists) return;
  }
}

bool TemporarySyncFile::MoveTo(std::string_view path) {
  moved_ = lib::MoveToFreeName(file_, path).Ok();
  return moved_;
}

TemporarySyncFile::~TemporarySyncFile() {
  const bool made = !moved_ && (file_.IsOpen() || failure_.Ok());
  file_.Close();
  if (made) lib::KillFile(path_);
}

}  // namespace zelkor::sync
