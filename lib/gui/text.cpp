#include "lib/gui/text.h"

#include "lib/code_page.h"

namespace zelkor::lib {

wxString ToWx(std::string_view text) {
  const std::string utf8 = ToUtf8(text);
  return wxString::FromUTF8(utf8.data(), utf8.size());
}

wxString LinesToWx(std::string_view text) {
  wxString lines = ToWx(text);
  lines.Replace("\r\n", "\n");
  return lines;
}

std::string FromWx(const wxString& text) { return FromUtf8Lossy(text.utf8_string()); }

bool TextFits(const wxString& text) { return FromUtf8(text.utf8_string()).has_value(); }

}  // namespace zelkor::lib
