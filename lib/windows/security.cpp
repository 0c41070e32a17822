#include "lib/windows/security.h"

#include <vector>

#include "lib/windows/handle.h"

namespace zelkor::lib::windows {

SecurityDescriptor ParseSecurityDescriptor(const std::wstring& text) {
  PSECURITY_DESCRIPTOR made = nullptr;
  ConvertStringSecurityDescriptorToSecurityDescriptorW(text.c_str(), SDDL_REVISION_1, &made, nullptr);
  return SecurityDescriptor(made);
}

std::wstring ThisUser() {
  // Whoever owns a file; only where the user can not be told.
  std::wstring owner = L"OW";
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == 0) return owner;
  const OwnedHandle token(opened);
  DWORD size = 0;
  GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &size);
  std::vector<std::uint64_t> buffer(size / sizeof(std::uint64_t) + 1);  // aligned as the system wants it
  if (GetTokenInformation(token.Get(), TokenUser, buffer.data(), size, &size) == 0) return owner;
  wchar_t* text = nullptr;
  if (ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(buffer.data())->User.Sid, &text) == 0) return owner;
  std::wstring user = text;
  LocalFree(text);
  return user;
}

}  // namespace zelkor::lib::windows
