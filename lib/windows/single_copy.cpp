#include "lib/single_copy.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

#include "lib/windows/drives.h"
#include "lib/windows/file_info.h"
#include "lib/windows/handle.h"
#include "lib/windows/names.h"
#include "lib/windows/wide.h"

namespace zelkor::lib {
namespace windows {

std::string NameForProgramDir(std::string_view kind, std::string_view programDir) {
  std::uint64_t device = 0;
  std::uint64_t index = 0;
  Facts facts;
  const Result<std::wstring> native = ToSystem(programDir);
  if (native.Ok() && ReadFacts(*native, facts) == 0) {
    device = facts.device;
    index = facts.index;
  }
  std::array<char, 40> number{};
  std::snprintf(number.data(), number.size(), "%08llx-%016llx", static_cast<unsigned long long>(device),
                static_cast<unsigned long long>(index));
  return std::string(kind) + "-" + number.data();
}

}  // namespace windows

// The name goes with its last holder, however that ends.
struct SingleCopy::State {
  windows::OwnedHandle mutex;
  bool first = true;
};

SingleCopy::SingleCopy(std::string_view programDir, std::string_view program) : state_(std::make_unique<State>()) {
  // Global: one for all sessions of the computer.
  const std::wstring name =
      windows::ToWide("Global\\" + windows::NameForProgramDir("Zelkor-" + std::string(program), programDir));
  state_->mutex = windows::OwnedHandle(CreateMutexW(nullptr, FALSE, name.c_str()));
  const DWORD error = GetLastError();
  // Another user's is there but not open to this one.
  state_->first = state_->mutex.IsOpen() ? error != ERROR_ALREADY_EXISTS : error != ERROR_ACCESS_DENIED;
}

SingleCopy::~SingleCopy() = default;

bool SingleCopy::First() const { return state_->first; }

}  // namespace zelkor::lib
