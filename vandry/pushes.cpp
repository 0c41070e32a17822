#include "vandry/pushes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "lib/clock.h"
#include "lib/files.h"
#include "lib/paths.h"

namespace zelkor::vandry {

namespace {

constexpr std::string_view kExtension = "msg";
constexpr std::size_t kMostWaiting = 200;
constexpr std::int64_t kLongestMessage = 65536;
constexpr lib::Date kLongestStay = 30;  // days
constexpr lib::Date kMinute = 1.0 / (24 * 60);
// Somebody who asked for a sync file waits for it that long.
constexpr lib::Date kLongestRequest = 10 * kMinute;
constexpr std::string_view kRequest = "SyncMe ";

}  // namespace

std::string Pushes::PathOf(std::uint32_t number) const {
  std::array<char, 16> name{};
  std::snprintf(name.data(), name.size(), "%08x", static_cast<unsigned>(number));
  return folder_ + name.data() + "." + std::string(kExtension);
}

Pushes::Pushes(std::string folder) : folder_(std::move(folder)) {
  const lib::Result<std::vector<lib::DirectoryEntry>> names = lib::ListDirectory(folder_);
  if (!names.Ok()) return;
  for (const lib::DirectoryEntry& name : *names) {
    if (name.directory || lib::FileExtension(name.name) != kExtension) continue;
    const std::string base = lib::FileBaseName(name.name);
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(base.data(), base.data() + base.size(), number, 16);
    const std::string path = folder_ + name.name;
    const lib::Result<std::string> text = lib::ReadSmallFile(path, kLongestMessage);
    const lib::Result<lib::FileInfo> info = lib::GetFileInfo(path);
    const bool request = text.Ok() && text->compare(0, kRequest.size(), kRequest) == 0;
    const bool known = error == std::errc() && end == base.data() + base.size() && text.Ok() && info.Ok();
    if (!known || text->empty() || info->written < lib::Now() - (request ? kLongestRequest : kLongestStay)) {
      lib::KillFile(path);
      continue;
    }
    waiting_[number] = *text;
    last_ = std::max(last_, number);
  }
}

lib::Result<std::uint32_t> Pushes::Keep(std::string_view text) {
  if (waiting_.size() >= kMostWaiting) {
    return lib::Status(lib::Cause::DiskFull, "Too many messages wait for the program");
  }
  (void)lib::MakePath(folder_);
  const std::uint32_t number = NextNumber();
  lib::Result<lib::NewFile> file = lib::NewFile::Create(PathOf(number));
  if (!file.Ok()) return file.Failure();
  if (lib::Status written = file->Content().WriteAt(0, text); !written.Ok()) return written;
  if (lib::Status flushed = file->Content().Flush(); !flushed.Ok()) return flushed;
  if (lib::Status named = file->Replace(); !named.Ok()) return named;
  waiting_[number] = text;
  return number;
}

void Pushes::Handled(std::uint32_t number) {
  if (waiting_.erase(number) != 0) lib::KillFile(PathOf(number));
}

}  // namespace zelkor::vandry
