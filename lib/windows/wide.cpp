#include "lib/windows/wide.h"

#include "lib/windows/system.h"

namespace zelkor::lib::windows {
namespace {

int Size(std::size_t size) { return static_cast<int>(size); }

std::wstring Widened(UINT codePage, std::string_view text) {
  if (text.empty()) return {};
  const int length = MultiByteToWideChar(codePage, 0, text.data(), Size(text.size()), nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(codePage, 0, text.data(), Size(text.size()), wide.data(), length);
  return wide;
}

}  // namespace

std::wstring ToWide(std::string_view utf8) { return Widened(CP_UTF8, utf8); }

std::string FromWide(std::wstring_view wide) {
  if (wide.empty()) return {};
  const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), Size(wide.size()), nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(length), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), Size(wide.size()), utf8.data(), length, nullptr, nullptr);
  return utf8;
}

std::optional<std::string> ToSystemAnsi(std::string_view utf8) {
  const std::wstring wide = ToWide(utf8);
  if (wide.empty()) return std::string();
  const int length = WideCharToMultiByte(CP_ACP, 0, wide.data(), Size(wide.size()), nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(length), '\0');
  WideCharToMultiByte(CP_ACP, 0, wide.data(), Size(wide.size()), text.data(), length, nullptr, nullptr);
  // A character that the code page lacks became one that only looks like it.
  if (Widened(CP_ACP, text) != wide) return std::nullopt;
  return text;
}

std::wstring ToSystemPath(std::string_view native) {
  if (native.substr(0, 4) == R"(\\?\)") return ToWide(native);
  if (native.substr(0, 2) == R"(\\)") return LR"(\\?\UNC\)" + ToWide(native.substr(2));
  return LR"(\\?\)" + ToWide(native);
}

std::string Environment(const char* name) {
  const std::wstring wideName = ToWide(name);
  const DWORD size = GetEnvironmentVariableW(wideName.c_str(), nullptr, 0);
  if (size == 0) return {};
  std::wstring value(size, L'\0');
  value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), size));
  return FromWide(value);
}

}  // namespace zelkor::lib::windows
