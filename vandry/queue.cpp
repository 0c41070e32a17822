#include "vandry/queue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <optional>
#include <random>
#include <set>

#include "lib/clock.h"
#include "lib/date.h"
#include "lib/files.h"
#include "lib/paths.h"
#include "lib/text.h"

namespace zelkor::vandry {

namespace {

constexpr std::int64_t kLongestStay = 30 * lib::kSecondsPerDay;
constexpr std::int64_t kLongestEntry = 100'000;  // bytes; a message is at most 65,536
constexpr std::string_view kEntryExtension = "job";
constexpr std::string_view kFileExtension = "cas";
constexpr std::size_t kNumberDigits = 8;

// Six lines: the version of this form, the address, the time, the own ID, the target's ID, the message.
constexpr std::string_view kVersion = "1";
constexpr std::size_t kLines = 6;

std::string Encode(const QueueEntry& entry) {
  std::string text;
  for (const std::string& line :
       {std::string(kVersion), entry.address, std::to_string(entry.created), entry.ownId, entry.targetId, entry.text}) {
    text += line + "\r\n";
  }
  return text;
}

template <class Number>
std::optional<Number> WholeNumber(std::string_view text, int base) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<QueueEntry> Decode(const std::string& ticket, std::string_view text) {
  const std::vector<std::string> lines = lib::SplitLines(text);
  if (lines.size() != kLines || lines[0] != kVersion) return std::nullopt;
  const std::optional<std::int64_t> created = WholeNumber<std::int64_t>(lines[2], 10);
  if (!created || lines[1].empty()) return std::nullopt;
  QueueEntry entry;
  entry.ticket = ticket;
  entry.address = lines[1];
  entry.created = *created;
  entry.ownId = lines[3];
  entry.targetId = lines[4];
  entry.text = lines[5];
  return entry;
}

}  // namespace

Queue::Queue(std::string folder) : folder_(std::move(folder)) { Load(); }

void Queue::Load() {
  const lib::Result<std::vector<lib::DirectoryEntry>> names = lib::ListDirectory(folder_);
  if (!names.Ok()) return;
  std::set<std::string> kept;
  for (const lib::DirectoryEntry& name : *names) {
    if (name.directory || lib::FileExtension(name.name) != kEntryExtension) continue;
    const std::string ticket = lib::FileBaseName(name.name);
    const std::string path = folder_ + name.name;
    const lib::Result<std::string> text = lib::ReadSmallFile(path, kLongestEntry);
    // What can not be read now may be another time; it is in nobody's way.
    if (!text.Ok() && text.Why() != lib::Cause::Damaged) {
      kept.insert(ticket);
      continue;
    }
    std::optional<QueueEntry> entry = text.Ok() ? Decode(ticket, *text) : std::nullopt;
    if (entry && entry->IsFile()) {
      entry->path = folder_ + ticket + "." + std::string(kFileExtension);
      if (!lib::FileExists(entry->path)) entry.reset();
    }
    if (!entry || entry->created < lib::NowUtc() - kLongestStay) {
      lib::KillFile(path);
      continue;
    }
    kept.insert(ticket);
    last_ = std::max(last_, WholeNumber<std::uint32_t>(ticket.substr(0, kNumberDigits), 16).value_or(0));
    entries_.push_back(std::move(*entry));
  }
  for (const lib::DirectoryEntry& name : *names) {
    const bool file = !name.directory && lib::FileExtension(name.name) == kFileExtension;
    if (file && kept.count(lib::FileBaseName(name.name)) == 0) lib::KillFile(folder_ + name.name);
  }
}

const QueueEntry* Queue::Find(std::string_view ticket) const {
  const auto at =
      std::find_if(entries_.begin(), entries_.end(), [&](const QueueEntry& entry) { return entry.ticket == ticket; });
  return at == entries_.end() ? nullptr : &*at;
}

// The number keeps the order, also over a restart; the rest makes the ticket one that nobody else gives.
std::string Queue::NewTicket() {
  std::random_device random;
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%08x%08x%08x", static_cast<unsigned>(++last_),
                static_cast<unsigned>(random()), static_cast<unsigned>(random()));
  return text.data();
}

lib::Status Queue::Write(const QueueEntry& entry) {
  const std::string path = folder_ + entry.ticket + "." + std::string(kEntryExtension);
  lib::Result<lib::NewFile> file = lib::NewFile::Create(path);
  if (!file.Ok()) return file.Failure();
  if (lib::Status written = file->Content().WriteAt(0, Encode(entry)); !written.Ok()) return written;
  if (lib::Status flushed = file->Content().Flush(); !flushed.Ok()) return flushed;
  if (lib::Status named = file->TakeFreeName(); !named.Ok()) return named;
  return lib::FlushDirectory(folder_);
}

lib::Result<std::string> Queue::AddMessage(std::string_view address, std::string_view text) {
  (void)lib::MakePath(folder_);
  QueueEntry entry;
  entry.ticket = NewTicket();
  entry.address = address;
  entry.created = lib::NowUtc();
  entry.text = text;
  if (lib::Status written = Write(entry); !written.Ok()) return written;
  entries_.push_back(entry);
  return entry.ticket;
}

lib::Result<QueueEntry> Queue::PlaceForFile(std::string_view address, std::string_view ownId,
                                            std::string_view targetId) {
  if (!lib::MakePath(folder_)) {
    return lib::Status(lib::Cause::Failed, "The folder [" + folder_ + "] can not be made");
  }
  QueueEntry entry;
  entry.ticket = NewTicket();
  entry.address = address;
  entry.created = lib::NowUtc();
  entry.ownId = ownId;
  entry.targetId = targetId;
  entry.path = folder_ + entry.ticket + "." + std::string(kFileExtension);
  return entry;
}

lib::Status Queue::AddFile(const QueueEntry& entry) {
  if (lib::Status written = Write(entry); !written.Ok()) return written;
  entries_.push_back(entry);
  return {};
}

void Queue::Remove(std::string_view ticket) {
  const auto at =
      std::find_if(entries_.begin(), entries_.end(), [&](const QueueEntry& entry) { return entry.ticket == ticket; });
  if (at == entries_.end()) return;
  // The entry first: without it the file is swept.
  lib::KillFile(folder_ + at->ticket + "." + std::string(kEntryExtension));
  if (at->IsFile()) lib::KillFile(at->path);
  entries_.erase(at);
}

}  // namespace zelkor::vandry
