// The items as the program works with them: filling the list, the two filters on the codes, adding items, and the
// export states chosen in the Edit menu.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "db/database.h"
#include "db/item_list.h"
#include "lib/list_rows.h"
#include "lib/occupation.h"
#include "lib/user.h"

namespace zelkor::db {

// Codes separated by blanks. The standard ones come from the command line; the active ones are in force.
struct Filters {
  std::string activeSelection;
  std::string activeExclusion;
  std::string standardSelection;
  std::string standardExclusion;
};

// Which items a fill shows: those with (flags AND mask) = value.
struct Mask {
  std::int32_t mask = 0;
  std::int32_t value = 0;
};
inline constexpr Mask kLiveItems{1, 0};
inline constexpr Mask kAllItems{0, 0};
inline constexpr Mask kDeletedItems{1, 1};

class Catalogue {
 public:
  Catalogue(Database& database, lib::ListRows& rows, lib::User& user);

  // Rebuilds the list, empties the active codes, reports equal memo IDs, selects row 1 and reads its item. More than
  // kMaxItems records are a run-time error. Drops the export states chosen in the Edit menu; a run fills
  // a list of its own and so keeps them.
  void FillItemList(Mask shown);
  // The one refresh after changes of items: a fill with the mask in force, the active codes applied again, and the
  // same item selected again, or its neighbour when it is not listed any more. Chosen export states stay.
  void Refresh();
  // What the last fill asked for.
  [[nodiscard]] Mask Shown() const { return shown_; }
  // Removes the rows that the active codes do not keep. When none would be left: "Nothing selected!", the full list
  // again (as the last fill made it), and false.
  bool ApplySelectFilter();
  // Every distinct code of the items now listed, in the order found.
  [[nodiscard]] std::vector<std::string> CollectCodes();
  // Reads the selected row's item into the database's buffer; nothing when no row is selected.
  void ReadCurrentItem();

  // Shows the selected row anew, from the item in the database's buffer (which must be that row's).
  void ShowCurrentRow();
  // The same for the row of this record, if it is listed.
  void ShowRowOf(std::int32_t recno);

  // Appends an item with a memo ID of its own; its sync method is that of the item last looked at. Nothing when the
  // database is full (a message has said so). The list gets a row for it, which becomes the selected one.
  std::optional<std::int32_t> AddItem(std::string_view description, std::string_view fileName);

  // The export state of a record: the one chosen in the Edit menu, else the record's sync method.
  void ChooseExportState(std::int32_t recno, std::int32_t state);
  [[nodiscard]] std::optional<std::int32_t> ChosenExportState(std::int32_t recno) const;
  void DropExportState(std::int32_t recno);
  void DropExportStates();

  [[nodiscard]] Filters& ItemFilters() { return filters_; }
  [[nodiscard]] clsList& ItemList() { return list_; }
  [[nodiscard]] Database& Data() { return database_; }
  // In hand during a fill and a filter, and during a run (which says so itself).
  [[nodiscard]] lib::Occupation& Occupied() { return occupied_; }

 private:
  void Fill(Mask shown);
  [[nodiscard]] lib::ListRow RowOf(std::int32_t recno, const FileRec& item) const;
  [[nodiscard]] std::vector<bool> ListedRecords();
  void SelectFirstRow();

  Database& database_;
  clsList list_;
  lib::User& user_;
  lib::Occupation occupied_;
  Filters filters_;
  Mask shown_ = kLiveItems;
  std::unordered_map<std::int32_t, std::int32_t> chosenStates_;
  std::mt19937_64 random_;
};

// A memo ID from `random`, which gives numbers from 0 up to but not including 1; drawn again while it is out of range
// or taken.
[[nodiscard]] std::int32_t DrawMemoId(const std::function<double()>& random,
                                      const std::function<bool(std::int32_t)>& taken);

}  // namespace zelkor::db
