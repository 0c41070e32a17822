#include "db/catalogue.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <unordered_set>
#include <utility>

#include "db/code_filter.h"
#include "db/equal_memo_ids.h"
#include "lib/clamp.h"
#include "lib/code_page.h"
#include "lib/run_time_error.h"
#include "lib/selection.h"
#include "lib/text.h"

namespace zelkor::db {
namespace {

std::mt19937_64 SeededGenerator() {
  // The clock alone would draw the same IDs on two computers that make an item at the same moment.
  std::random_device entropy;
  const auto now = static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count());
  std::seed_seq seed{static_cast<std::uint32_t>(now),
                     static_cast<std::uint32_t>(now >> 32),
                     entropy(),
                     entropy(),
                     entropy(),
                     entropy()};
  return std::mt19937_64(seed);
}

}  // namespace

std::int32_t DrawMemoId(const std::function<double()>& random, const std::function<bool(std::int32_t)>& taken) {
  constexpr double kRange = 2147483648.0;
  for (;;) {
    // Rounding can reach the end of the range, which does not fit the field.
    const auto drawn = std::llround(random() * kRange);
    if (drawn > std::numeric_limits<std::int32_t>::max()) continue;
    const auto memoId = static_cast<std::int32_t>(drawn);
    if (!taken(memoId)) return memoId;
  }
}

Catalogue::Catalogue(Database& database, lib::ListRows& rows, lib::User& user)
    : database_(database), list_(rows), user_(user), random_(SeededGenerator()) {}

lib::ListRow Catalogue::RowOf(std::int32_t recno, const FileRec& item) const {
  constexpr std::int32_t kLastChoice = 2;
  const auto choice = [&](const lib::Field& field) { return lib::ClampInt(item.Number(field), 0, kLastChoice); };
  return {.text = item.Text(FileRec::kDescription),
          .key = {},
          .selection = item.Text(FileRec::kFileName),
          .codes = item.Text(FileRec::kCodes),
          .exportState = ChosenExportState(recno).value_or(choice(FileRec::kSyncMethod)),
          .syncTo = choice(FileRec::kSyncTo),
          .importSource = item.Text(FileRec::kImportSource),
          .importDate = std::max(item.Date(FileRec::kImportDate), 0.0),
          .deleted = item.Deleted()};
}

void Catalogue::SelectFirstRow() {
  if (list_.Count() == 0) return;
  list_.SetRow(1);
  ReadCurrentItem();
}

void Catalogue::FillItemList(Mask shown) {
  const lib::Occupation::Guard occupied(occupied_);
  DropExportStates();
  Fill(shown);
}

void Catalogue::Fill(Mask shown) {
  filters_.activeSelection.clear();
  filters_.activeExclusion.clear();
  shown_ = shown;
  list_.Rows().Clear();
  user_.PendingEvents();

  const std::int32_t records = database_.RecordCount();
  if (records > kMaxItems) lib::SubscriptOutOfRange("more than 9999 items");
  EqualMemoIds equal(records);
  database_.ForEachItem([&](std::int32_t recno, const FileRec& item) {
    equal.Add(recno, item.Number(FileRec::kMemoId));
    if ((item.Number(FileRec::kFlags) & shown.mask) != shown.value) return;
    list_.Add(RowOf(recno, item), recno);
  });
  equal.Report(user_);
  SelectFirstRow();
}

void Catalogue::Refresh() {
  const lib::Occupation::Guard occupied(occupied_);
  // The records of the rows from the selected one to the last, then those before it, nearest first.
  std::vector<std::int32_t> wanted;
  const int selected = list_.Row();
  if (selected > 0) {
    for (int row = selected; row <= list_.Count(); ++row) wanted.push_back(list_.FileRec(row));
    for (int row = selected - 1; row >= 1; --row) wanted.push_back(list_.FileRec(row));
  }
  const std::string selection = filters_.activeSelection;
  const std::string exclusion = filters_.activeExclusion;
  Fill(shown_);
  if (!selection.empty() || !exclusion.empty()) {
    filters_.activeSelection = selection;
    filters_.activeExclusion = exclusion;
    ApplySelectFilter();
  }
  const std::vector<bool> listed = ListedRecords();
  const auto found = std::find_if(wanted.begin(), wanted.end(), [&listed](std::int32_t recno) {
    const auto index = static_cast<std::size_t>(recno);
    return index < listed.size() && listed[index];
  });
  if (found == wanted.end()) return;
  list_.SetRow(list_.RowOf(*found));
  ReadCurrentItem();
}

// Which records have a row, by record number.
std::vector<bool> Catalogue::ListedRecords() {
  std::vector<bool> listed(static_cast<std::size_t>(database_.RecordCount()) + 1);
  for (int row = 1; row <= list_.Count(); ++row) listed.at(static_cast<std::size_t>(list_.FileRec(row))) = true;
  return listed;
}

bool Catalogue::ApplySelectFilter() {
  const lib::Occupation::Guard occupied(occupied_);
  const int count = list_.Count();
  if (count == 0) return true;
  const CodeFilter filter(filters_.activeSelection, filters_.activeExclusion);
  std::vector<bool> kept = ListedRecords();
  database_.ForEachItem([&](std::int32_t recno, const FileRec& item) {
    const auto index = static_cast<std::size_t>(recno);
    kept[index] = kept[index] && filter.Keeps(item.RawText(FileRec::kCodes));
  });

  std::vector<bool> keep(static_cast<std::size_t>(count));
  bool any = false;
  for (int row = 1; row <= count; ++row) {
    const bool keeps = kept[static_cast<std::size_t>(list_.FileRec(row))];
    keep[static_cast<std::size_t>(row) - 1] = keeps;
    any = any || keeps;
  }
  user_.PendingEvents();
  if (!any) {
    user_.Message("Nothing selected!", lib::Icon::Exclamation);
    FillItemList(shown_);
    return false;
  }
  list_.Rows().Keep(keep);
  SelectFirstRow();
  return true;
}

std::vector<std::string> Catalogue::CollectCodes() {
  const std::vector<bool> listed = ListedRecords();
  std::vector<std::string> codesOf(listed.size());
  database_.ForEachItem([&](std::int32_t recno, const FileRec& item) {
    const auto index = static_cast<std::size_t>(recno);
    if (listed[index]) codesOf[index] = item.Text(FileRec::kCodes);
  });

  std::vector<std::string> codes;
  std::unordered_set<std::string> known;
  for (int row = 1; row <= list_.Count(); ++row) {
    std::string_view rest = codesOf[static_cast<std::size_t>(list_.FileRec(row))];
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find(' '), rest.size());
      const std::string_view code = rest.substr(0, end);
      if (!code.empty() && known.insert(lib::Lower(code)).second) codes.emplace_back(code);
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
  }
  return codes;
}

void Catalogue::ReadCurrentItem() {
  if (const int row = list_.Row(); row > 0) database_.ReadItem(list_.FileRec(row));
}

void Catalogue::ShowCurrentRow() {
  if (const int row = list_.Row(); row > 0) ShowRowOf(list_.FileRec(row));
}

void Catalogue::ShowRowOf(std::int32_t recno) {
  if (const int row = list_.RowOf(recno); row > 0) list_.Replace(row, RowOf(recno, database_.Item()), recno);
}

std::optional<std::int32_t> Catalogue::AddItem(std::string_view description, std::string_view fileName) {
  if (database_.RecordCount() >= kMaxItems) {
    user_.Message("The database is full: it holds " + std::to_string(kMaxItems) +
                      " items.\r\nFile/Optimize removes the deleted ones.",
                  lib::Icon::Critical);
    return std::nullopt;
  }
  const std::int32_t recno = database_.AppendRecNo();
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  FileRec& item = database_.Item();
  item.SetText(FileRec::kFileName, lib::NormaliseSelection(fileName));
  item.SetText(FileRec::kDescription, description);
  item.SetText(FileRec::kImportSource, {});
  item.SetNumber(FileRec::kFlags, 0);
  item.SetDate(FileRec::kImportDate, 0);
  item.SetText(FileRec::kCodes, {});
  item.SetNumber(FileRec::kSyncTo, static_cast<std::int32_t>(SyncTo::AllButExcluded));
  item.SetNumber(FileRec::kMemoId,
                 DrawMemoId([&] { return uniform(random_); },
                            [this](std::int32_t memoId) { return database_.FindMemoId(memoId) != 0; }));
  // Sync method, signature and the rest keep what the buffer holds, on purpose: a new item takes the sync method of
  // the item last looked at.
  database_.WriteItem(recno);

  list_.Add(RowOf(recno, item), recno);
  list_.SetRow(list_.RowOf(recno));
  return recno;
}

void Catalogue::ChooseExportState(std::int32_t recno, std::int32_t state) { chosenStates_[recno] = state; }

std::optional<std::int32_t> Catalogue::ChosenExportState(std::int32_t recno) const {
  const auto found = chosenStates_.find(recno);
  if (found == chosenStates_.end()) return std::nullopt;
  return found->second;
}

void Catalogue::DropExportState(std::int32_t recno) { chosenStates_.erase(recno); }

void Catalogue::DropExportStates() { chosenStates_.clear(); }

}  // namespace zelkor::db
