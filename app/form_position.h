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

// The strip at the bottom of the screen that a window without a stored height leaves free, in twips.
inline constexpr std::int32_t kFreeBelow = 500;

// The stored placement. What is not stored: the state normal, the width of `design`, the right edge of the screen, its
// top, and its height but for kFreeBelow. A state other than normal is taken alone; the rest is then the defaults.
[[nodiscard]] FormPosition LoadFormPosition(const FormPosition& design, const FormPosition& screen,
                                            const std::string& keyPrefix);

// Where a side window stands: at the main window's top, flush against its left edge.
[[nodiscard]] FormPosition BesideMain(const FormPosition& side, const FormPosition& main);

// Writes section "ZELKOR", keys `keyPrefix` and "FormWindowState", "FormLeft", "FormTop", "FormWidth", "FormHeight".
// Of a minimised or maximised window nothing is written, so it comes back where it last stood as a normal one.
void SaveFormPosition(const FormPosition& form, const std::string& keyPrefix);

}  // namespace zelkor::app
