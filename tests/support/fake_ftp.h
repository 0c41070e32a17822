// A directory on an FTP server, as the scripted Vandry offers it: FTPDir, FTPSend and FTPGet work on a native folder.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "lib/remote_listing.h"
#include "tests/support/fake_vandry.h"
#include "tests/support/sandbox.h"

namespace zelkor::tests {

class FakeFtp {
 public:
  using NativePath = std::function<std::filesystem::path(const std::string& path)>;

  FakeFtp(std::filesystem::path folder, NativePath nativePath)
      : folder_(std::move(folder)), nativePath_(std::move(nativePath)) {
    std::filesystem::create_directory(folder_);
  }

  // Commands whose text holds this fail.
  std::string fails{};
  // Commands whose text holds this are never answered.
  std::string unanswered{};
  // Called before each command.
  std::function<void(FakeVandry&, const std::string& command)> before{};

  std::string operator()(FakeVandry& vandry, const std::string& command) {
    if (before) before(vandry, command);
    if (!fails.empty() && command.find(fails) != std::string::npos) return "Error 550 refused by the server";
    if (!unanswered.empty() && command.find(unanswered) != std::string::npos) return {};
    const std::vector<std::string> words = Quoted(command);
    if (command.starts_with("FTPDir ")) return Dir(nativePath_(words.at(4)));
    if (command.starts_with("FTPSend ")) return Copy(nativePath_(words.at(4)), folder_ / words.at(5));
    if (command.starts_with("FTPGet ")) return Copy(folder_ / words.at(4), nativePath_(words.at(5)));
    return {};
  }

  // The texts between double quotes.
  static std::vector<std::string> Quoted(const std::string& command) {
    std::vector<std::string> words;
    for (std::size_t at = command.find('"'); at != std::string::npos; at = command.find('"', at)) {
      const std::size_t end = command.find('"', at + 1);
      words.push_back(command.substr(at + 1, end - at - 1));
      at = end + 1;
    }
    return words;
  }

 private:
  std::string Dir(const std::filesystem::path& listing) const {
    std::string text;
    int entries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      const bool directory = entry.is_directory();
      text += lib::RemoteListingLine({.written = 46000.5,
                                      .size = directory ? 0 : static_cast<std::int64_t>(entry.file_size()),
                                      .directory = directory,
                                      .name = entry.path().filename().string()}) +
              "\r\n";
      ++entries;
    }
    Put(listing, text);
    return "OK " + std::to_string(entries);
  }
  static std::string Copy(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (!std::filesystem::exists(from)) return "Error 550 no such file";
    std::ifstream in(from, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    Put(to, bytes);
    return "OK " + std::to_string(bytes.size());
  }
  // Under a temporary name first, as the real one does, so that the name is another file's afterwards.
  static void Put(const std::filesystem::path& path, const std::string& bytes) {
    const std::filesystem::path part = path.string() + ".part";
    std::ofstream(part, std::ios::binary) << bytes;
    std::filesystem::rename(part, path);
  }

  std::filesystem::path folder_;
  NativePath nativePath_;
};

}  // namespace zelkor::tests
