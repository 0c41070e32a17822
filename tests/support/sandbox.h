// A folder of its own for each test, with the environment of one computer in it: HOME, settings, ProgramDir and
// temporary folder. Nothing outside it is touched, and it is gone after the test.
#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

#include "lib/native_path.h"
#include "tests/support/system.h"

namespace zelkor::tests {

class Sandbox : public testing::Test {
 protected:
  Sandbox() {
    root_ = MakeTemporaryFolder();
    for (const char* name : {"home", "config", "program", "run", "tmp"})
      std::filesystem::create_directory(root_ / name);
    MoveToComputerIn(root_);
    lib::ForgetDrives();
  }
  ~Sandbox() override {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
    LeaveComputer();
  }

  // The folder, and the home directory, which is drive c.
  [[nodiscard]] const std::filesystem::path& Root() const { return root_; }
  [[nodiscard]] std::filesystem::path Home() const { return root_ / "home"; }
  [[nodiscard]] std::filesystem::path ProgramFolder() const { return root_ / "program"; }
  [[nodiscard]] std::filesystem::path SettingsFile() const { return root_ / "config" / "orlim.ini"; }
  // ProgramDir in the program's form, with its final backslash (on drive z, since it is outside the home directory).
  [[nodiscard]] std::string ProgramDir() const { return OnDriveZ(ProgramFolder()) + "\\"; }

  // The program's form of a native path, on drive z.
  static std::string OnDriveZ(const std::filesystem::path& path) {
    std::string text = "z:" + (path.root_directory() / path.relative_path()).string();
    for (char& c : text) {
      if (c == '/') c = '\\';
    }
    return text;
  }

  // A native path as the user of this computer types it: where those are of the program's form already, by its drives.
  static std::string AsTyped(const std::filesystem::path& path) {
    return NativePathsAreTheForm() ? OnDriveZ(path) : path.string();
  }

  static void WriteNative(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
  static std::string ReadNative(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::filesystem::path root_;
};

}  // namespace zelkor::tests
