#include "lib/secret.h"

#include <malloc.h>

#include "lib/memory_block.h"
#include "lib/windows/security.h"

namespace zelkor::lib {

void Wipe(std::span<char> bytes) {
  if (!bytes.empty()) SecureZeroMemory(bytes.data(), bytes.size());
}

std::size_t UsableBytes(void* memory) { return memory == nullptr ? 0 : _msize(memory); }

void KeepMemoryPrivate() {
  // No report of a crash, which would hold the memory.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  // The process's owner (OW) may see that it runs, wait for it and end it (SYNCHRONIZE, query limited information,
  // terminate); the system may do everything.
  const windows::SecurityDescriptor made = windows::ParseSecurityDescriptor(L"D:P(A;;0x101001;;;OW)(A;;GA;;;SY)");
  if (made) SetKernelObjectSecurity(GetCurrentProcess(), DACL_SECURITY_INFORMATION, made.get());
}

}  // namespace zelkor::lib
