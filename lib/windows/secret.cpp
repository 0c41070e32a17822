#include "lib/secret.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

#include "lib/windows/security.h"

namespace zelkor::lib {

void Wipe(std::span<char> bytes) {
  if (!bytes.empty()) SecureZeroMemory(bytes.data(), bytes.size());
}

void FreeWiped(void* memory) {
  if (memory != nullptr) SecureZeroMemory(memory, _msize(memory));
  std::free(memory);
}

void* ReallocateWiped(void* memory, std::size_t size) {
  if (memory == nullptr) return std::malloc(size);
  const std::size_t before = _msize(memory);
  if (size <= before && size > before / 2) return memory;
  void* other = std::malloc(size);
  if (other == nullptr) return nullptr;
  std::memcpy(other, memory, std::min(size, before));
  FreeWiped(memory);
  return other;
}

void KeepMemoryPrivate() {
  // No report of a crash, which would hold the memory.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  // The process's owner (OW) may see that it runs, wait for it and end it (SYNCHRONIZE, query limited information,
  // terminate); the system may do everything.
  const windows::SecurityDescriptor made = windows::ParseSecurityDescriptor(L"D:P(A;;0x101001;;;OW)(A;;GA;;;SY)");
  if (made) SetKernelObjectSecurity(GetCurrentProcess(), DACL_SECURITY_INFORMATION, made.get());
}

}  // namespace zelkor::lib
