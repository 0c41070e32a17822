// The way between the program's text (bytes in the code page) and what the windows show.
#pragma once

#include <string>
#include <string_view>
#include <wx/string.h>

namespace zelkor::lib {

[[nodiscard]] wxString ToWx(std::string_view text);
// A text whose line breaks are CR LF, with LF instead, which is what boxes break lines at.
[[nodiscard]] wxString LinesToWx(std::string_view text);
// A text typed or pasted by the user; "?" stands for what the code page lacks (see TextFits).
[[nodiscard]] std::string FromWx(const wxString& text);
// Whether the code page holds every character of the text.
[[nodiscard]] bool TextFits(const wxString& text);

}  // namespace zelkor::lib
