#include "lib/code_page_table.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

#include "lib/windows/system.h"

namespace zelkor::lib {
namespace {

constexpr UINT kUnknown = 0;
constexpr UINT kAscii = 20127;

std::string Capitals(std::string_view name) {
  std::string text(name);
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 0x20);
  }
  return text;
}

// The number behind a prefix of the name; 0 when it is none.
UINT NumberBehind(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix)) return 0;
  name.remove_prefix(prefix.size());
  UINT number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  return error == std::errc() && end == name.data() + name.size() ? number : 0;
}

// The system's number of a code page. Source: Microsoft's "Code Page Identifiers".
UINT NumberOf(const std::string& given) {
  struct Named {
    std::string_view name;
    UINT number;
  };
  constexpr auto kNamed = std::to_array<Named>({{"UTF-8", CP_UTF8},
                                                {"US-ASCII", kAscii},
                                                {"ASCII", kAscii},
                                                {"LATIN1", 28591},
                                                {"LATIN2", 28592},
                                                {"LATIN-9", 28605},
                                                {"KOI8-R", 20866},
                                                {"KOI8-U", 21866},
                                                {"SHIFT_JIS", 932},
                                                {"SJIS", 932},
                                                {"GBK", 936},
                                                {"BIG5", 950},
                                                {"EUC-JP", 20932},
                                                {"MACINTOSH", 10000}});
  const std::string name = Capitals(given);
  for (const Named& named : kNamed) {
    if (name == named.name) return named.number;
  }
  for (const std::string_view prefix : {"WINDOWS-", "CP", "IBM"}) {
    if (const UINT number = NumberBehind(name, prefix); number != 0) return number;
  }
  for (const std::string_view prefix : {"ISO-8859-", "ISO8859-", "ISO_8859-"}) {
    if (const UINT number = NumberBehind(name, prefix); number != 0) return 28590 + number;
  }
  return kUnknown;
}

// The code pages whose conversions take no flags and mark nothing as undefined.
bool IsPrivate(wchar_t unit) { return unit >= 0xE000 && unit <= 0xF8FF; }

std::optional<std::wstring> Widened(UINT codePage, const std::string& text) {
  if (text.empty()) return std::wstring();
  const auto size = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
  if (length <= 0) return std::nullopt;
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text.data(), size, wide.data(), length);
  return wide;
}

}  // namespace

std::optional<CodePageTable> ReadCodePage(const std::string& name) {
  const UINT number = NumberOf(name);
  CPINFO info{};
  if (number == kUnknown || GetCPInfo(number, &info) == 0 || info.MaxCharSize != 1) return std::nullopt;
  CodePageTable table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    if (number == kAscii && byte >= 0x80) continue;
    const std::optional<std::wstring> wide = Widened(number, std::string(1, static_cast<char>(byte)));
    // The system gives bytes that a code page leaves undefined a control or a private character.
    if (!wide || wide->size() != 1 || IsPrivate(wide->front())) continue;
    table[byte] = wide->front();
  }
  return table;
}

std::optional<std::string> ConvertText(const std::string& text, const std::string& from, const std::string& to) {
  const UINT source = NumberOf(from);
  const UINT destination = NumberOf(to);
  if (source == kUnknown || destination == kUnknown) return std::nullopt;
  const std::optional<std::wstring> wide = Widened(source, text);
  if (!wide) return std::nullopt;
  if (wide->empty()) return std::string();
  const auto units = static_cast<int>(wide->size());
  const bool utf8 = destination == CP_UTF8;
  BOOL lacks = FALSE;
  BOOL* const tellLack = utf8 ? nullptr : &lacks;
  const DWORD flags = utf8 ? DWORD{WC_ERR_INVALID_CHARS} : DWORD{WC_NO_BEST_FIT_CHARS};
  const int length = WideCharToMultiByte(destination, flags, wide->data(), units, nullptr, 0, nullptr, tellLack);
  if (length <= 0 || lacks != FALSE) return std::nullopt;
  std::string result(static_cast<std::size_t>(length), '\0');
  WideCharToMultiByte(destination, flags, wide->data(), units, result.data(), length, nullptr, tellLack);
  return result;
}

}  // namespace zelkor::lib
