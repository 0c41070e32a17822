#include "app/form_position.h"

#include "lib/settings.h"

namespace zelkor::app {

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
