// Where a window stands, kept in the settings.
#pragma once

#include <cstdint>
#include <string>

namespace zelkor::app {

// The states in the numbering of the setting.
enum class WindowState : std::int32_t { Normal = 0, Minimised = 1, Maximised = 2 };

// In twips, 1/1440 inch.
struct FormPosition {
  WindowState state = WindowState::Normal;
  std::int32_t left = 0;
  std::int32_t top = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

// Writes section "ZELKOR", keys `keyPrefix` and "FormWindowState", "FormLeft", "FormTop", "FormWidth", "FormHeight".
// Of a minimised or maximised window nothing is written, so it comes back where it last stood as a normal one.
void SaveFormPosition(const FormPosition& form, const std::string& keyPrefix);

}  // namespace zelkor::app
