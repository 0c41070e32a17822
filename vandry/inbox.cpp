#include "vandry/inbox.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "lib/clock.h"
#include "lib/paths.h"
#include "lib/text.h"
#include "vandry/pairings.h"
#include "vandry/peer_words.h"
#include "vandry/private_files.h"

namespace zelkor::vandry {

namespace {

constexpr std::string_view kPrefix = "in-";
constexpr const char* kPart = ".part";
constexpr const char* kWhole = ".whole";
constexpr const char* kNote = ".note";
constexpr double kKeptDays = 30;
constexpr std::int64_t kMostNoteBytes = 4096;
constexpr std::int64_t kMostDoneBytes = 256 * 1024;
constexpr std::size_t kRemembered = 1000;

// The sender and the ticket that a name in the folder stands for.
std::optional<InboxKey> KeyOf(std::string_view name) {
  if (!name.starts_with(kPrefix)) return std::nullopt;
  name.remove_prefix(kPrefix.size());
  name = name.substr(0, name.rfind('.'));
  // An ID may hold a dash, a ticket may not.
  const std::size_t dash = name.rfind('-');
  if (dash == std::string_view::npos) return std::nullopt;
  InboxKey key{.senderId = std::string(name.substr(0, dash)), .ticket = std::string(name.substr(dash + 1))};
  if (!IsComputerId(key.senderId) || !IsTicket(key.ticket)) return std::nullopt;
  return key;
}

std::string LineOf(const InboxKey& key) { return key.senderId + " " + key.ticket; }

std::int64_t NumberOf(std::string_view text) {
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

std::string Inbox::NameOf(const InboxKey& key, const char* extension) const {
  return folder_ + std::string(kPrefix) + key.senderId + "-" + key.ticket + extension;
}

void Inbox::Sweep() const {
  const lib::Result<std::vector<lib::DirectoryEntry>> entries = lib::ListDirectory(folder_);
  if (!entries.Ok()) return;
  for (const lib::DirectoryEntry& entry : *entries) {
    if (entry.directory || !entry.refused.Ok() || !KeyOf(entry.name)) continue;
    const lib::Result<lib::FileInfo> info = lib::GetFileInfo(folder_ + entry.name);
    if (info.Ok() && info->written < lib::Now() - kKeptDays) lib::KillFile(folder_ + entry.name);
  }
}

lib::Result<lib::File> Inbox::OpenPart(const InboxKey& key) const {
  const std::string path = NameOf(key, kPart);
  lib::Result<lib::File> made = lib::File::Open(path, lib::OpenMode::CreateNew);
  if (made.Ok() || made.Why() != lib::Cause::Exists) return made;
  return lib::File::Open(path, lib::OpenMode::Existing);
}

void Inbox::DropPart(const InboxKey& key) const { lib::KillFile(NameOf(key, kPart)); }

lib::Status Inbox::Complete(lib::File part, const InboxNote& note) const {
  lib::Status done = part.Flush();
  part.Close();
  // A note without its file means nothing, a file without its note would never be announced.
  if (done.Ok()) done = WriteNote(note);
  if (done.Ok()) done = lib::RenameFile(NameOf(note.key, kPart), NameOf(note.key, kWhole));
  if (done.Ok()) done = Remember(note.key);
  if (done.Ok()) done = lib::FlushDirectory(folder_);
  return done;
}

std::optional<InboxNote> Inbox::ReadNote(const InboxKey& key) const {
  const lib::Result<std::string> text = lib::ReadSmallFile(NameOf(key, kNote), kMostNoteBytes);
  if (!text.Ok()) return std::nullopt;
  const std::vector<std::string> lines = lib::SplitLines(*text);
  if (lines.size() < 4) return std::nullopt;
  return InboxNote{.key = key,
                   .size = NumberOf(lines[0]),
                   .address = lines[1],
                   .deliveries = static_cast<int>(NumberOf(lines[2])),
                   .path = lines[3].substr(1)};
}

lib::Status Inbox::WriteNote(const InboxNote& note) const {
  // The mark before the path keeps its line from being empty.
  return WritePrivateFile(NameOf(note.key, kNote), std::to_string(note.size) + "\r\n" + note.address + "\r\n" +
                                                       std::to_string(note.deliveries) + "\r\n>" + note.path + "\r\n");
}

std::vector<InboxNote> Inbox::Notes() const {
  std::vector<std::pair<lib::Date, InboxNote>> found;
  const lib::Result<std::vector<lib::DirectoryEntry>> entries = lib::ListDirectory(folder_);
  if (!entries.Ok()) return {};
  for (const lib::DirectoryEntry& entry : *entries) {
    if (!entry.refused.Ok() || !entry.name.ends_with(kNote)) continue;
    const std::optional<InboxKey> key = KeyOf(entry.name);
    std::optional<InboxNote> note = key ? ReadNote(*key) : std::nullopt;
    if (!note) continue;
    const bool there = lib::FileExists(NameOf(*key, kWhole));
    if (!there && note->path.empty()) continue;  // it was never whole
    // A crash may have come between the note of the path and the move to it.
    if (there) note->path.clear();
    const lib::Result<lib::FileInfo> info = lib::GetFileInfo(folder_ + entry.name);
    found.emplace_back(info.Ok() ? info->written : 0, std::move(*note));
  }
  std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<InboxNote> notes;
  notes.reserve(found.size());
  for (auto& [written, note] : found) notes.push_back(std::move(note));
  return notes;
}

lib::Status Inbox::PutAt(InboxNote& note, const std::string& path) const {
  InboxNote put = note;
  put.path = path;
  ++put.deliveries;
  if (lib::Status noted = WriteNote(put); !noted.Ok()) return noted;
  const std::string whole = NameOf(note.key, kWhole);
  if (!lib::RenameFile(whole, path).Ok()) {
    // Another file system: copied there, and renamed there when whole.
    const lib::Result<lib::File> from = lib::File::Open(whole, lib::OpenMode::Read);
    if (!from.Ok()) return from.Failure();
    lib::Result<lib::NewFile> to = lib::NewFile::Create(path, lib::NewFile::Access::OwnerOnly);
    if (!to.Ok()) return to.Failure();
    const lib::CopyOutcome copied = lib::CopyRange(*from, 0, to->Content(), 0, note.size);
    if (!copied.status.Ok()) return copied.status;
    if (copied.sourceEnded) return {lib::Cause::Damaged, whole + " is not as it was received"};
    if (lib::Status flushed = to->Content().Flush(); !flushed.Ok()) return flushed;
    if (lib::Status named = to->Replace(); !named.Ok()) return named;
    lib::KillFile(whole);
  }
  note = put;
  return {};
}

bool Inbox::TakeBack(InboxNote& note) const {
  if (note.path.empty()) return true;
  const std::string whole = NameOf(note.key, kWhole);
  const lib::Result<lib::FileInfo> info = lib::GetFileInfo(note.path);
  if (!info.Ok() || info->directory || info->size != note.size) return false;
  if (!lib::RenameFile(note.path, whole).Ok()) {
    const lib::Result<lib::File> from = lib::File::Open(note.path, lib::OpenMode::Read);
    lib::Result<lib::NewFile> to = lib::NewFile::Create(whole, lib::NewFile::Access::OwnerOnly);
    if (!from.Ok() || !to.Ok()) return false;
    const lib::CopyOutcome copied = lib::CopyRange(*from, 0, to->Content(), 0, note.size);
    if (!copied.status.Ok() || copied.sourceEnded || !to->Replace().Ok()) return false;
  }
  note.path.clear();
  return true;
}

void Inbox::Forget(const InboxKey& key) const {
  for (const char* extension : {kWhole, kPart, kNote}) lib::KillFile(NameOf(key, extension));
}

bool Inbox::IsWhole(const InboxKey& key) const { return lib::FileExists(NameOf(key, kWhole)); }

bool Inbox::WasDone(const InboxKey& key) const {
  const lib::Result<std::string> text = lib::ReadSmallFile(folder_ + "done.txt", kMostDoneBytes);
  if (!text.Ok()) return false;
  const std::vector<std::string> lines = lib::SplitLines(*text);
  return std::find(lines.begin(), lines.end(), LineOf(key)) != lines.end();
}

lib::Status Inbox::Remember(const InboxKey& key) const {
  const std::string path = folder_ + "done.txt";
  const lib::Result<std::string> text = lib::ReadSmallFile(path, kMostDoneBytes);
  if (!text.Ok() && text.Why() != lib::Cause::NotFound && text.Why() != lib::Cause::Damaged) return text.Failure();
  std::vector<std::string> lines = text.Ok() ? lib::SplitLines(*text) : std::vector<std::string>();
  lines.push_back(LineOf(key));
  std::string kept;
  for (std::size_t i = lines.size() - std::min(lines.size(), kRemembered); i < lines.size(); ++i) {
    kept += lines[i] + "\r\n";
  }
  return WritePrivateFile(path, kept);
}

}  // namespace zelkor::vandry
