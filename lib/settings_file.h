// The settings file as each system keeps it; settings.cpp says what its values mean.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelkor::lib {

// Where the file is, or would be made.
[[nodiscard]] std::string NativeSettingsPath();

// The value as it stands in the file, of any length. Nothing when there is none, or no file that can be read.
[[nodiscard]] std::optional<std::string> ReadSetting(std::string_view section, std::string_view key);
// A failure changes nothing and is not reported.
void WriteSetting(std::string_view section, std::string_view key, std::string_view value);
// Every key of a section, in the file's order, in lower case.
[[nodiscard]] std::vector<std::string> ReadSettingKeys(std::string_view section);

}  // namespace zelkor::lib
