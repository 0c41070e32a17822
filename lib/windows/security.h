// The system's security descriptors: who may do what with a file or a process.
#pragma once

#include <memory>
#include <string>

#include "lib/windows/system.h"

// These need the one above.
#include <aclapi.h>
#include <sddl.h>

namespace zelkor::lib::windows {

struct LocallyFreed {
  void operator()(void* memory) const { LocalFree(memory); }
};
using SecurityDescriptor = std::unique_ptr<void, LocallyFreed>;

// From the system's language for them; null when the system refuses it (GetLastError says why).
[[nodiscard]] SecurityDescriptor ParseSecurityDescriptor(const std::wstring& text);
// The user of this process, in that language.
[[nodiscard]] std::wstring ThisUser();

}  // namespace zelkor::lib::windows
