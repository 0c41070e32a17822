#include "lib/gui/icons.h"

#include "icon_sources.h"

namespace zelkor::lib {

wxBitmapBundle Picture(std::string_view key, int pixels) {
  for (const IconSource& source : kIconSources) {
    if (source.key == key) return wxBitmapBundle::FromSVG(source.svg, wxSize(pixels, pixels));
  }
  return {};
}

}  // namespace zelkor::lib
