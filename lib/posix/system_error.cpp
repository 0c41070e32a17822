#include "lib/posix/system_error.h"

#include <cerrno>
#include <cstring>
#include <string>

namespace zelkor::lib::posix {

Status Failure(Cause cause, std::string_view path, std::string_view why) {
  return {cause, "\"" + std::string(path) + "\": " + std::string(why)};
}

Status SystemFailure(int error, std::string_view path) {
  switch (error) {
    case ENOENT:
      return Failure(Cause::NotFound, path, "there is no such file");
    case ENOTDIR:
      return Failure(Cause::PathNotFound, path, "there is no such directory");
    case EEXIST:
      return Failure(Cause::Exists, path, "the name is taken");
    case EISDIR:
      return Failure(Cause::Exists, path, "the name is a directory's");
    case EACCES:
    case EPERM:
      return Failure(Cause::AccessDenied, path, "the system denies access");
    case EROFS:
      return Failure(Cause::ReadOnly, path, "the medium is read-only");
    case ETXTBSY:
      return Failure(Cause::AccessDenied, path, "the program is running");
    case ELOOP:
      return Failure(Cause::AccessDenied, path, "the name is a link that can not be followed");
    case ENOSPC:
      return Failure(Cause::DiskFull, path, "the disk is full");
    case EDQUOT:
      return Failure(Cause::DiskFull, path, "the quota of the disk is used up");
    case EFBIG:
      return Failure(Cause::DiskFull, path, "the file is too large for the disk");
    case ENAMETOOLONG:
      return Failure(Cause::Refused, path, "the name is too long");
    case EXDEV:
      return Failure(Cause::Failed, path, "the two names are on different disks");
    case EIO:
      return Failure(Cause::Failed, path, "input/output error");
    default:
      // The C library's own words, which are ASCII and not translated.
      const char* words = strerrordesc_np(error);
      return Failure(Cause::Failed, path, words != nullptr ? words : "error " + std::to_string(error));
  }
}

}  // namespace zelkor::lib::posix
