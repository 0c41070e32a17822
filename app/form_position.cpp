#include "app/form_position.h"

#include "lib/settings.h"

namespace zelkor::app {

FormPosition LoadFormPosition(const FormPosition& design, const FormPosition& screen, const std::string& keyPrefix) {
  FormPosition form{.state = WindowState::Normal,
                    .left = screen.left + screen.width - design.width,
                    .top = screen.top,
                    .width = design.width,
                    .height = screen.height - kFreeBelow};
  const auto get = [&](const char* key, std::int32_t value) {
    return lib::GetIniNumber("ZELKOR", keyPrefix + key, value);
  };
  const std::int32_t state = get("FormWindowState", static_cast<std::int32_t>(WindowState::Normal));
  if (state == static_cast<std::int32_t>(WindowState::Minimised)) form.state = WindowState::Minimised;
  if (state == static_cast<std::int32_t>(WindowState::Maximised)) form.state = WindowState::Maximised;
  if (form.state != WindowState::Normal) return form;
  form.left = get("FormLeft", form.left);
  form.top = get("FormTop", form.top);
  form.width = get("FormWidth", form.width);
  form.height = get("FormHeight", form.height);
  return form;
}

FormPosition BesideMain(const FormPosition& side, const FormPosition& main) {
  FormPosition placed = side;
  placed.left = main.left - side.width;
  placed.top = main.top;
  return placed;
}

void SaveFormPosition(const FormPosition& form, const std::string& keyPrefix) {
  if (form.state != WindowState::Normal) return;
  const auto put = [&](const char* key, std::int32_t value) { lib::PutIniValue("ZELKOR", keyPrefix + key, value); };
  put("FormWindowState", static_cast<std::int32_t>(form.state));
  put("FormLeft", form.left);
  put("FormTop", form.top);
  put("FormWidth", form.width);
  put("FormHeight", form.height);
}

}  // namespace zelkor::app
