// What tests of selections share: files to select, and what a selection expands to.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "lib/selection.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {

class SelectionFixture : public tests::Sandbox {
 protected:
  void Make(const std::filesystem::path& name) const { WriteNative(Home() / name, ""); }
  static std::vector<std::string> Files(std::string_view selection) {
    std::vector<std::string> files;
    ExpandSelection(selection, [&](const SelectedFile& file) {
      if (file.refused.Ok()) files.push_back(file.path);
      return true;
    });
    return files;
  }
  static std::vector<SelectedFile> Refused(std::string_view selection) {
    std::vector<SelectedFile> refused;
    ExpandSelection(selection, [&](const SelectedFile& file) {
      if (!file.refused.Ok()) refused.push_back(file);
      return true;
    });
    return refused;
  }
};

}  // namespace zelkor::lib
