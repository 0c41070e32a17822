#include "db/remap.h"

#include <cstdint>

#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/run_time_error.h"
#include "lib/text.h"

namespace zelkor::db {
namespace {

constexpr std::string_view kDefaultFile =
    ";Drive/directory remapping\r\n"
    ";Lines beginning with ; are treated as comments\r\n"
    ";\r\n"
    ";Example:\r\n"
    ";  c:\\job\\finance\\=c:\\finance\\\r\n"
    ";  will ReMap all files in c:\\job\\finance\\ on this computer\r\n"
    ";  to c:\\finance\\ on all other targets\r\n"
    ";\r\n";

// Room for a full table of the longest paths, several times over.
constexpr std::int64_t kLargestFile = std::int64_t{4} * 1024 * 1024;

// A file that is something else altogether would show a box for each of its lines, and nobody gets past thousands.
constexpr int kInvalidLinesReported = 10;

constexpr const char* kSeeSettings = "\r\nSee File/Settings/ReMapping.";

// A failure when something stands under that name already.
lib::Status CreateDefaultFile(const std::string& path) {
  lib::Result<lib::File> file = lib::File::Open(path, lib::OpenMode::CreateNew);
  if (file.Ok()) {
    static_cast<void>(file->WriteAt(0, kDefaultFile));
  } else if (file.Why() == lib::Cause::Exists) {
    return file.Failure();
  }
  return {};
}

}  // namespace

bool RemapTable::LoadRemapTable(const std::string& programDir, lib::User& user) {
  const std::string path = programDir + "ReMap.txt";
  const lib::Result<std::string> content = lib::ReadSmallFile(path, kLargestFile);
  if (!content.Ok()) {
    const lib::Status status =
        content.Why() == lib::Cause::NotFound ? CreateDefaultFile(path) : lib::Status(content.Failure());
    // A file is there: replacing it by the default one would lose what the user wrote.
    if (!status.Ok()) user.Message(status.Message() + "." + kSeeSettings, lib::Icon::Critical);
    return status.Ok();
  }

  std::int64_t lineNumber = 0;
  std::int64_t invalid = 0;
  for (const std::string& untrimmed : lib::SplitLines(*content)) {
    ++lineNumber;
    const std::string_view line = lib::Trim(untrimmed);
    if (line.empty() || line.front() == ';') continue;
    if (lib::CountOf(line, "=") != 1) {
      if (++invalid <= kInvalidLinesReported) {
        user.Message("Invalid remapping in ReMap.txt, line no:" + std::to_string(lineNumber) + kSeeSettings,
                     lib::Icon::Critical);
      }
      continue;
    }
    if (entries_.size() == kMaxRemapEntries) lib::SubscriptOutOfRange("more than 999 remappings");
    const std::string_view local = lib::GetToken(line, "=", 1);
    const std::string_view shared = lib::GetToken(line, "=", 2);
    entries_.push_back(
        {.local = {std::string(local), lib::Lower(local)}, .shared = {std::string(shared), lib::Lower(shared)}});
  }
  if (invalid > kInvalidLinesReported) {
    user.Message("Invalid remapping in ReMap.txt: " + std::to_string(invalid - kInvalidLinesReported) + " more lines" +
                     kSeeSettings,
                 lib::Icon::Critical);
  }
  return true;
}

std::string RemapTable::RemapPath(std::string_view paths, bool toLocal) const {
  if (entries_.empty()) return std::string(paths);
  // Whether an entry applies at all is asked of the text as given, without regard to case; what it then replaces in a
  // line must agree in case too. So a path that differs from the table in case alone stays as it is, on purpose.
  const std::string lower = lib::Lower(paths);
  std::vector<const Entry*> applying;
  for (const Entry& entry : entries_) {
    const Form& from = toLocal ? entry.shared : entry.local;
    if (!from.path.empty() && lower.find(from.lower) != std::string::npos) applying.push_back(&entry);
  }
  if (applying.empty()) return std::string(paths);

  std::string result;
  for (std::string line : lib::SplitLines(paths)) {
    for (const Entry* entry : applying) {
      const Form& from = toLocal ? entry->shared : entry->local;
      const Form& to = toLocal ? entry->local : entry->shared;
      line = lib::ReplaceAll(line, from.path, to.path);
    }
    result += line + "\r\n";
  }
  // A text that ended in a line break keeps it.
  if (paths.back() != '\n' && paths.back() != '\r') result.resize(result.size() - 2);
  return result;
}

}  // namespace zelkor::db
