#include "db/conversion.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "db/record_io.h"
#include "lib/date.h"
#include "lib/text.h"

namespace zelkor::db {
namespace {

// So many bytes from the beginning of the file are looked at; some hundred records.
constexpr std::int64_t kSampleBytes = std::int64_t{256} * 1024;

// What a text field looks like when it is one: printable characters, then padding to the end.
bool LooksLikeText(std::string_view raw, bool lineBreaks) {
  const std::size_t end = std::min(raw.find('\0'), raw.size());
  const auto printable = [lineBreaks](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte != 0x7F) || (lineBreaks && (c == '\r' || c == '\n'));
  };
  const auto padding = [](char c) { return c == '\0' || c == ' '; };
  return std::all_of(raw.begin(), raw.begin() + static_cast<std::ptrdiff_t>(end), printable) &&
         std::all_of(raw.begin() + static_cast<std::ptrdiff_t>(end), raw.end(), padding);
}

// X:\…, \\server\… or a line that takes sub-directories in.
bool LooksLikePath(std::string_view text) {
  if (text.substr(0, 3) == "+- ") text.remove_prefix(3);
  const auto letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  return text.substr(0, 2) == "\\\\" || (text.size() >= 3 && letter(text[0]) && text.substr(1, 2) == ":\\");
}

// Zero bytes are a date (never), eight blanks are a number too small to be one.
bool LooksLikeDate(lib::Date date) { return date == 0 || (lib::IsDate(date) && std::abs(date) >= 1); }

// A number drawn from 2^31: neither zero bytes nor four blanks stand there by chance.
bool LooksLikeMemoId(std::int32_t memoId) { return memoId > 0 && memoId != 0x20202020; }

// How much of a record is what its fields should hold: 0 to 8.
template <class Rec>
int Plausibility(const Rec& rec) {
  const auto within = [](std::int32_t number, std::int32_t maximum) { return number >= 0 && number <= maximum; };
  int points = 0;
  points += within(rec.Number(Rec::kFlags), kItemDeleted) ? 1 : 0;
  points += within(rec.Number(Rec::kSyncMethod), 2) ? 1 : 0;
  points += within(rec.Number(Rec::kSyncTo), 2) ? 1 : 0;
  points += LooksLikeDate(rec.Date(Rec::kImportDate)) ? 1 : 0;
  points += LooksLikeMemoId(rec.Number(Rec::kMemoId)) ? 1 : 0;
  points += LooksLikePath(rec.RawText(Rec::kFileName)) ? 1 : 0;
  points += LooksLikeText(rec.RawText(Rec::kFileName), true) ? 1 : 0;
  points += LooksLikeText(rec.RawText(Rec::kDescription), false) &&
                    LooksLikeText(rec.RawText(Rec::kImportSource), false) &&
                    LooksLikeText(rec.RawText(Rec::kCodes), false)
                ? 1
                : 0;
  return points;
}

// The mean of the sampled records, 0 to 1; 0 when there is no whole record.
template <class Rec>
lib::Result<double> MeanPlausibility(const lib::File& items, std::int64_t length) {
  const std::int64_t records = std::min(length, kSampleBytes) / static_cast<std::int64_t>(Rec::kBytes);
  std::int64_t points = 0;
  const lib::Status status = ReadRecords<Rec>(items, records, [&points](std::int64_t, const Rec& rec) {
    points += Plausibility(rec);
    return lib::Status();
  });
  if (!status.Ok()) return status;
  return records == 0 ? 0.0 : static_cast<double>(points) / (8.0 * static_cast<double>(records));
}

}  // namespace

FileRec ConvertRecord(const OldFileRec& old) {
  FileRec rec;
  rec.SetText(FileRec::kFileName, old.RawText(OldFileRec::kFileName));
  rec.SetText(FileRec::kDescription, old.RawText(OldFileRec::kDescription));
  rec.SetText(FileRec::kImportSource, old.RawText(OldFileRec::kImportSource));
  rec.SetNumber(FileRec::kFlags, old.Number(OldFileRec::kFlags));
  rec.SetNumber(FileRec::kFileDataLength, old.Number(OldFileRec::kReserved1));
  rec.SetNumber(FileRec::kFileCount, old.Number(OldFileRec::kReserved2));
  rec.SetDate(FileRec::kImportDate, old.Date(OldFileRec::kImportDate));
  rec.SetText(FileRec::kSignature, old.RawText(OldFileRec::kSignature));
  rec.SetNumber(FileRec::kSyncMethod, old.Number(OldFileRec::kSyncMethod));
  rec.SetText(FileRec::kCodes, old.RawText(OldFileRec::kCodes));
  rec.SetNumber(FileRec::kMemoId, old.Number(OldFileRec::kMemoId));
  rec.SetNumber(FileRec::kSyncTo, old.Number(OldFileRec::kSyncTo));
  return rec;
}

lib::Status BuildConverted(const lib::File& oldItems, const std::string& path) {
  const lib::Result<std::int64_t> length = oldItems.Length();
  if (!length.Ok()) return length.Failure();
  lib::KillFile(path);
  lib::Result<lib::File> made = lib::File::Open(path, lib::OpenMode::CreateNew);
  if (!made.Ok()) return made.Failure();
  RecordWriter<FileRec> writer(*made);
  lib::Status status = ReadRecords<OldFileRec>(
      oldItems, *length / static_cast<std::int64_t>(OldFileRec::kBytes),
      [&writer](std::int64_t, const OldFileRec& old) { return writer.Add(ConvertRecord(old)); });
  if (status.Ok()) status = writer.Finish();
  made->Close();
  if (!status.Ok()) lib::KillFile(path);
  return status;
}

lib::Result<ItemLayout> LookAtLayout(const lib::File& items, bool versionSaysOld) {
  const lib::Result<std::int64_t> length = items.Length();
  if (!length.Ok()) return length.Failure();
  const lib::Result<double> asOld = MeanPlausibility<OldFileRec>(items, *length);
  if (!asOld.Ok()) return asOld.Failure();
  const lib::Result<double> asCurrent = MeanPlausibility<FileRec>(items, *length);
  if (!asCurrent.Ok()) return asCurrent.Failure();

  // Good records score near 1 in their own layout and below 0.5 in the other one, where most fields land on text or
  // padding; so the gap between the two is wide, and a narrow one means that the content is neither.
  constexpr double kGood = 0.6;
  constexpr double kGap = 0.2;
  // An odd number of 512 bytes is a whole file in one layout and a torn one in the other.
  const bool oddHalf =
      *length % static_cast<std::int64_t>(FileRec::kBytes) == static_cast<std::int64_t>(OldFileRec::kBytes);
  const double current = *asCurrent - (oddHalf ? kGap / 2 : 0.0);
  const double old = *asOld;
  if (current >= kGood && current - old >= kGap) return ItemLayout::Current;
  if (old >= kGood && old - current >= kGap) return ItemLayout::Old;
  return versionSaysOld && old >= current ? ItemLayout::Old : ItemLayout::Unknown;
}

}  // namespace zelkor::db
