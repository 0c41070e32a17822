// The current item's record, edited in the item dialog, and what the commands do with the current item: listing its
// files, opening its file by type, taking files from outside in as items.
//
// The dialog (`frmItem`) and the main window (`mw`) implement the two views below; nothing here knows the toolkit.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/catalogue.h"
#include "lib/desktop.h"
#include "lib/status.h"
#include "lib/user.h"

namespace zelkor::db {

// The positions of the dialog's two lists, which are the values of the record's fields.
inline const std::vector<std::string> kSyncMethodChoices{"Auto", "On", "Off"};
inline const std::vector<std::string> kSyncToChoices{"All", "All but excluded", "Only included"};

// What the dialog shows of an item.
struct ItemShown {
  std::string caption{};
  std::string description{};
  std::string codes{};
  std::string fileName{};  // lines ended by CR LF
  std::int32_t syncMethod = 0;
  std::int32_t syncTo = 0;
  std::string fileDate{};
  std::string importUserId{};
  std::string importDate{};
};

// What the user has made of it.
struct ItemEdited {
  std::string description{};
  std::string codes{};
  // The lines as typed, any line ends, in UTF-8: a native path among them is spelled as the system spells it.
  std::string fileNameUtf8{};
  std::int32_t syncMethod = 0;
  std::int32_t syncTo = 0;
};

// The item dialog.
class ItemForm {
 public:
  ItemForm() = default;
  ItemForm(const ItemForm&) = delete;
  ItemForm& operator=(const ItemForm&) = delete;
  virtual ~ItemForm() = default;

  [[nodiscard]] virtual bool FormShown() const = 0;
  // On the screen, in front, ready for the keyboard.
  virtual void ShowForm() = 0;
  virtual void HideForm() = 0;
  virtual void SetItem(const ItemShown& item) = 0;
  [[nodiscard]] virtual ItemEdited Edited() const = 0;
  // The lines of the file selection, as they come from Edited().
  virtual void SetFileName(const std::string& utf8) = 0;
  // The state of `Apply` is the only record of unapplied changes.
  [[nodiscard]] virtual bool ApplyEnabled() const = 0;
  virtual void EnableApply(bool enable) = 0;
  // Whether there is an item to edit, and nothing in hand that forbids it.
  virtual void EnableFields(bool enable) = 0;
};

// What the main window shows of the current item.
struct CurrentItem {
  int row = 0;  // from 1; 0: no row is current
  int count = 0;
  // When the first file of the selection was last written, "File not found", or empty without a current item.
  std::string lastUpdate{};
  bool fileFound = false;
  bool deleted = false;
  std::string deleteCaption{};  // of the Edit menu's delete entry: "&Delete..." or "&Undelete..."
};

class CurrentItemView {
 public:
  CurrentItemView() = default;
  CurrentItemView(const CurrentItemView&) = delete;
  CurrentItemView& operator=(const CurrentItemView&) = delete;
  virtual ~CurrentItemView() = default;

  virtual void ShowCurrentItem(const CurrentItem& item) = 0;
};

class ItemEditing {
 public:
  ItemEditing(Catalogue& catalogue, lib::User& user, lib::Desktop& desktop);
  // The windows, which are made later than this; without them nothing is shown, and nothing else changes.
  void Attach(ItemForm* form, CurrentItemView* view);
  // What imports a sync file that comes from outside (a path in the program's form).
  void ImportsWith(std::function<void(const std::string& path)> importFile);

  // Refreshes status, menu and dialog after the current item or the selection changed, whatever changed it; reads the
  // current item into the database's buffer. Unapplied edits of the item shown before are applied first.
  void UpdateCurrentItem();

  // Loads the current item into the dialog.
  void ShowItem();
  // Shows the dialog with the current item; nothing when no row is current.
  void ShowProperties();
  // Writes the dialog back into the record that it shows, which need not be the current one any more.
  void ApplyItem();
  // ApplyItem when there is something to apply. To be called before anything that renumbers, rewrites or reads the
  // items as a whole: a fill, compaction, a run, the reaction to a message, the end of the program.
  void ApplyUnapplied();
  // The dialog's other commands.
  void Edit();           // a field was changed
  void LeaveFileName();  // native paths become paths in the program's form; a name that can not be one is reported
  void Browse();
  void ShowMemoId();
  void Close();
  // To be called when Catalogue::Occupied() changes: while something is in hand nothing can be edited.
  void OccupationChanged();

  // The single files that the current item's selection stands for, with their count and total size.
  void ListItemFiles();
  // Opens the current item's file by its type. False when its type is in neither list: nothing is opened then.
  bool OpenItem();
  // A double click on the list, or Enter: opens the file by its type, else the item's properties.
  void OpenItemOrProperties();
  // Takes a list of paths in the program's form, separated by CR LF: each becomes an item, a folder one with all that
  // is below it; a sync file is imported.
  void OpenItemFiles(std::string_view list);

 private:
  // The date of the first file of the selection.
  struct FirstFile {
    std::string path{};  // empty: the selection gives none
    bool found = false;
    std::string written{};  // as text; empty when it is not found
  };
  [[nodiscard]] static FirstFile LookAtFirstFile(const FileRec& item);
  // The item of the current row, through the database's buffer; nothing without one.
  [[nodiscard]] std::optional<FileRec> CurrentRecord();
  void ShowInForm(std::int32_t recno, const FileRec& item, const FirstFile& file);
  void ShowNothing();
  bool AddFromOutside(const std::string& path);
  void TellRefused(const std::vector<lib::Status>& refused);

  Catalogue& catalogue_;
  lib::User& user_;
  lib::Desktop& desktop_;
  ItemForm* form_ = nullptr;
  CurrentItemView* view_ = nullptr;
  std::function<void(const std::string&)> importFile_;
  std::int32_t shownRecno_ = 0;  // the record that the dialog shows; 0: none
};

}  // namespace zelkor::db
