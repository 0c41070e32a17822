// Sending and getting one file and reading one directory, each from its first connection to its end: with attempts that
// go on where a broken one stopped. They run in a thread of their own and use nothing of the loop's.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "lib/files.h"
#include "vandry/ftp_session.h"

namespace zelkor::vandry {

// What a transfer may use of the outside.
struct FtpOutside {
  std::function<bool()> stopped;
  // False when it was stopped meanwhile.
  std::function<bool(std::chrono::milliseconds)> sleep;
  FtpSession::Progress progress;
  // Before the first repetition, doubled for each one that brings nothing more.
  std::chrono::milliseconds pause{1000};
};

// What became of it.
struct FtpOutcome {
  FtpAnswer answer;
  // On success: the bytes of the file, or nothing told of a directory.
  std::int64_t bytes = 0;
  // Why our own file failed, with Kind::LocalFailed.
  lib::Status local;
};

struct FtpUpload {
  lib::File file;
  std::int64_t size = 0;
  std::string name;       // on the server, UTF-8
  std::string temporary;  // the name until the file is whole
  // What the server has under the temporary name is a beginning of this file.
  bool begun = false;
  // A file of that name on the server is replaced; otherwise only an empty one is.
  bool replaces = true;
};
[[nodiscard]] FtpOutcome SendByFtp(const FtpSettings& settings, const FtpPlace& place, FtpUpload& upload,
                                   const FtpOutside& outside);

struct FtpDownload {
  lib::File file;  // what has come so far
  lib::File note;  // which of the server's files it belongs to
  std::string name;
};
[[nodiscard]] FtpOutcome GetByFtp(const FtpSettings& settings, const FtpPlace& place, FtpDownload& download,
                                  const FtpOutside& outside);

struct FtpListing {
  bool machine = false;  // of MLSD, otherwise of LIST
  std::string text;
};
[[nodiscard]] FtpOutcome ListByFtp(const FtpSettings& settings, const FtpPlace& place, FtpListing& listing,
                                   const FtpOutside& outside);

}  // namespace zelkor::vandry
