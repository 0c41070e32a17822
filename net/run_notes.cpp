#include "net/run_notes.h"

#include <algorithm>
#include <charconv>

#include "lib/clock.h"
#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/text.h"

namespace zelkor::net {

namespace {

constexpr std::int64_t kMostBytes = 1 << 20;
// Vandry keeps what it could not deliver for 30 days; one more for the way back.
constexpr std::int64_t kLongestWait = 31 * lib::kSecondsPerDay;
// As many runs to one target wait at most; what is older is only a date further back.
constexpr std::size_t kMostForTarget = 100;

std::optional<std::int64_t> ParseNumber(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

std::string IdOf(std::string_view id) { return lib::Lower(lib::Trim(id)); }

}  // namespace

RunNotes::RunNotes(std::string_view programDir) : path_(std::string(programDir) + "zelkor.net") {}

lib::Status RunNotes::Add(std::string_view targetId, lib::Date base, lib::Date date, std::string_view address) {
  const std::int64_t now = lib::NowUtc();
  std::vector<Note> notes = Read();
  std::erase_if(notes, [&](const Note& note) { return now - note.sent > kLongestWait; });
  Note added{.targetId = IdOf(targetId),
             .base = lib::DateToSeconds(base),
             .date = lib::DateToSeconds(date),
             .sent = now,
             .address = std::string(address)};
  const auto sameTarget = [&](const Note& note) { return note.targetId == added.targetId; };
  if (static_cast<std::size_t>(std::count_if(notes.begin(), notes.end(), sameTarget)) >= kMostForTarget) {
    // The oldest one stays: it bounds what a confirmation proves.
    notes.erase(std::find_if(std::find_if(notes.begin(), notes.end(), sameTarget) + 1, notes.end(), sameTarget));
  }
  notes.push_back(std::move(added));
  return Write(notes);
}

std::optional<lib::Date> RunNotes::Take(std::string_view targetId, lib::Date lastExport) {
  std::vector<Note> notes = Read();
  const auto oldest =
      std::find_if(notes.begin(), notes.end(), [&](const Note& note) { return note.targetId == IdOf(targetId); });
  if (oldest == notes.end()) return std::nullopt;
  const Note note = *oldest;
  notes.erase(oldest);
  // A note that can not be taken away would serve a second time.
  if (!Write(notes).Ok()) return std::nullopt;
  const std::int64_t current = lib::DateToSeconds(lastExport);
  if (current < note.base || current >= note.date) return std::nullopt;
  return lib::SecondsToDate(note.date);
}

void RunNotes::Forget(std::string_view targetId) {
  std::vector<Note> notes = Read();
  if (std::erase_if(notes, [&](const Note& note) { return note.targetId == IdOf(targetId); }) > 0) {
    static_cast<void>(Write(notes).Ok());
  }
}

void RunNotes::ForgetLast(std::string_view address) {
  std::vector<Note> notes = Read();
  const auto last = std::find_if(notes.rbegin(), notes.rend(),
                                 [&](const Note& note) { return lib::EqualNoCase(note.address, address); });
  if (last == notes.rend()) return;
  notes.erase(std::next(last).base());
  static_cast<void>(Write(notes).Ok());
}

std::vector<RunNotes::Note> RunNotes::Read() const {
  std::vector<Note> notes;
  const lib::Result<std::string> text = lib::ReadSmallFile(path_, kMostBytes);
  if (!text.Ok()) return notes;
  for (const std::string& line : lib::SplitLines(*text)) {
    const std::vector<std::string> words = lib::SplitWords(line, ' ', {});
    if (words.size() != 5) continue;
    const std::optional<std::int64_t> base = ParseNumber(words[1]);
    const std::optional<std::int64_t> date = ParseNumber(words[2]);
    const std::optional<std::int64_t> sent = ParseNumber(words[3]);
    if (base && date && sent) notes.push_back({words[0], *base, *date, *sent, words[4]});
  }
  return notes;
}

lib::Status RunNotes::Write(const std::vector<Note>& notes) const {
  // Whom the user exchanges files with is nobody else's business: a file made here is the user's alone, and one that
  // takes its place is like it.
  if (const lib::Result<lib::File> made = lib::File::Open(path_, lib::OpenMode::ReadWrite); !made.Ok()) {
    return made.Failure();
  }
  lib::Result<lib::NewFile> file = lib::NewFile::Create(path_);
  if (!file.Ok()) return file.Failure();
  std::string text;
  for (const Note& note : notes) {
    text += note.targetId + " " + std::to_string(note.base) + " " + std::to_string(note.date) + " " +
            std::to_string(note.sent) + " " + note.address + "\n";
  }
  if (lib::Status written = file->Content().WriteAt(0, text); !written.Ok()) return written;
  if (lib::Status flushed = file->Content().Flush(); !flushed.Ok()) return flushed;
  return file->Replace();
}

}  // namespace zelkor::net
