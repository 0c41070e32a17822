// Twips, the unit in which placements are kept in the settings: 1/1440 inch, so that a window comes back at its size
// whatever the resolution of the screen.
#pragma once

#include <cstdint>
#include <wx/window.h>

namespace zelkor::lib {

[[nodiscard]] std::int32_t ToTwips(int pixels, const wxWindow& window);
[[nodiscard]] int FromTwips(std::int32_t twips, const wxWindow& window);

}  // namespace zelkor::lib
