#include "lib/gui/icons.h"

#include "icon_sources.h"

namespace zelkor::lib {

wxBitmapBundle Picture(std::string_view key, int pixels) {
  for (const IconSource& source : kIconSources) {
    if (source.key == key) return wxBitmapBundle::FromSVG(source.svg, wxSize(pixels, pixels));
  }
  return {};
}

wxIconBundle ProgramIcons() {
  constexpr int kLargestSmall = 24;
  wxIconBundle icons;
  for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
    const wxBitmapBundle source = Picture(size <= kLargestSmall ? kTrayIcon : kProgramIcon);
    wxIcon icon;
    icon.CopyFromBitmap(source.GetBitmap(wxSize(size, size)));
    icons.AddIcon(icon);
  }
  return icons;
}

}  // namespace zelkor::lib
