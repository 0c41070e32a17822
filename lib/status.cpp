#include "lib/status.h"

namespace zelkor::lib {

int ErrorNumber(Cause cause) {
  switch (cause) {
    case Cause::None:
      return 0;
    case Cause::NotFound:
      return 53;
    case Cause::PathNotFound:
      return 76;
    case Cause::Exists:
      return 58;
    case Cause::ReadOnly:
      return 75;
    case Cause::AccessDenied:
      return 70;
    case Cause::DiskFull:
      return 61;
    case Cause::Refused:
      return 52;
    case Cause::Damaged:
    case Cause::Failed:
      return 57;
  }
  return 57;
}

}  // namespace zelkor::lib
