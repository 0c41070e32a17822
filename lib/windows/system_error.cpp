#include "lib/windows/system_error.h"

#include <string>

#include "lib/windows/system.h"

namespace zelkor::lib::windows {
namespace {

// Source: Microsoft's "System Error Codes"; the compiler's headers lack it.
constexpr unsigned long kDiskQuotaExceeded = 1295;

}  // namespace

Status Failure(Cause cause, std::string_view path, std::string_view why) {
  return {cause, "\"" + std::string(path) + "\": " + std::string(why)};
}

Status SystemFailure(unsigned long error, std::string_view path) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
      return Failure(Cause::NotFound, path, "there is no such file");
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_DIRECTORY:
      return Failure(Cause::PathNotFound, path, "there is no such directory");
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return Failure(Cause::Exists, path, "the name is taken");
    case ERROR_ACCESS_DENIED:
    case ERROR_PRIVILEGE_NOT_HELD:
    case ERROR_NETWORK_ACCESS_DENIED:
      return Failure(Cause::AccessDenied, path, "the system denies access");
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_USER_MAPPED_FILE:
      return Failure(Cause::AccessDenied, path, "another program is using it");
    case ERROR_DELETE_PENDING:
      return Failure(Cause::AccessDenied, path, "it is being deleted");
    case ERROR_WRITE_PROTECT:
      return Failure(Cause::ReadOnly, path, "the medium is read-only");
    case ERROR_CANT_RESOLVE_FILENAME:
      return Failure(Cause::AccessDenied, path, "the name is a link that can not be followed");
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return Failure(Cause::DiskFull, path, "the disk is full");
    case kDiskQuotaExceeded:
      return Failure(Cause::DiskFull, path, "the quota of the disk is used up");
    case ERROR_FILE_TOO_LARGE:
      return Failure(Cause::DiskFull, path, "the file is too large for the disk");
    case ERROR_FILENAME_EXCED_RANGE:
      return Failure(Cause::Refused, path, "the name is too long");
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
      return Failure(Cause::Refused, path, "the system can not use such a name");
    case ERROR_NOT_SAME_DEVICE:
      return Failure(Cause::Failed, path, "the two names are on different disks");
    case ERROR_NOT_READY:
      return Failure(Cause::PathNotFound, path, "there is no medium in the drive");
    case ERROR_CRC:
    case ERROR_IO_DEVICE:
    case ERROR_READ_FAULT:
    case ERROR_WRITE_FAULT:
      return Failure(Cause::Failed, path, "input/output error");
    default:
      // The system's own words come in the language of the system and in another code page.
      return Failure(Cause::Failed, path, "error " + std::to_string(error));
  }
}

}  // namespace zelkor::lib::windows
