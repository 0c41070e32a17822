#include "lib/gui/icons.h"

#include "icon_sources.h"

namespace zelkor::lib {

wxBitmapBundle Picture(std::string_view key) {
  constexpr int kPixels = 24;
  for (const IconSource& source : kIconSources) {
    if (source.key == key) return wxBitmapBundle::FromSVG(source.svg, wxSize(kPixels, kPixels));
  }
  return {};
}

}  // namespace zelkor::lib
