#include "lib/windows/dde.h"

#include <algorithm>

#include "lib/windows/names.h"

namespace zelkor::lib::windows {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

}  // namespace

std::string DdeTopicOf(std::string_view programDir) { return NameForProgramDir(kDdeTopic, programDir); }

std::string ToPrintable(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 4);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F && c != '%') {
      text += c;
    } else {
      text += '%';
      text += kDigits[byte >> 4];
      text += kDigits[byte & 0xF];
    }
  }
  return text;
}

std::string FromPrintable(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      bytes += text[i];
      continue;
    }
    if (text.size() - i < 3) break;
    const std::size_t high = kDigits.find(text[i + 1]);
    const std::size_t low = kDigits.find(text[i + 2]);
    i += 2;
    if (high != std::string_view::npos && low != std::string_view::npos) bytes += static_cast<char>(high << 4 | low);
  }
  return bytes;
}

HDDEDATA MakeDdeText(DWORD instance, HSZ item, const std::string& text) {
  auto* const bytes = reinterpret_cast<BYTE*>(const_cast<char*>(text.c_str()));  // NOLINT: only read
  return DdeCreateDataHandle(instance, bytes, static_cast<DWORD>(text.size() + 1), 0, item, CF_TEXT, 0);
}

std::string DdeTextOf(HDDEDATA data) {
  const DWORD size = DdeGetData(data, nullptr, 0, 0);
  std::string bytes(size, '\0');
  bytes.resize(DdeGetData(data, reinterpret_cast<BYTE*>(bytes.data()), size, 0));
  const bool wide = bytes.size() >= 4 && bytes[0] != '\0' && bytes[1] == '\0' && bytes[2] != '\0' && bytes[3] == '\0';
  if (!wide) return bytes.substr(0, bytes.find('\0'));
  std::string text;
  for (std::size_t i = 0; i + 1 < bytes.size() && bytes[i] != '\0'; i += 2) text += bytes[i];
  return text;
}

void PumpMessages(HANDLE wake, const std::atomic<bool>& ending, DWORD everyMs, const std::function<void()>& work) {
  while (!ending) {
    MsgWaitForMultipleObjects(1, &wake, FALSE, everyMs, QS_ALLINPUT);
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    if (!ending) work();
  }
}

}  // namespace zelkor::lib::windows
