// The commands of the main window's menus and toolbar, without the window.
#pragma once

#include <string>
#include <string_view>

#include "app/program_state.h"
#include "db/item_editing.h"
#include "lib/desktop.h"

namespace zelkor::app {

// The product's web page.
inline constexpr std::string_view kWebPage = "http://zelkor.example/forum";

// The main window's caption.
[[nodiscard]] std::string MainCaption(std::string_view computerId);
// What the panel "Selection indicator" shows: the codes in force, that deleted items are listed, or, when nothing
// narrows the list, the program's version and the number of records.
[[nodiscard]] std::string SelectionText(db::Catalogue& catalogue);
// Why the list has no rows, and what to do; empty when it has some.
[[nodiscard]] std::string EmptyListText(db::Catalogue& catalogue);

// None is called while something is in hand (db::Catalogue::Occupied). Each ends with the status and the item dialog
// up to date.
class MwCommands {
 public:
  MwCommands(ProgramState& state, db::ItemEditing& editing, lib::Desktop& desktop)
      : state_(state), editing_(editing), desktop_(desktop) {}

  // Lets the user edit a list of file types: 1 those opened in the editor, 2 those opened by the system's programs.
  void File_Extensions(int index);
  void File_UserID();
  // Opens the remapping file in the editor; Saved() loads the table again.
  void File_ReMap();
  void File_Optimize();

  void Edit_Add();
  // Deletes the current item or takes its deletion back.
  void Edit_Delete();
  // Chooses the current item's export state, 0 Auto, 1 On, 2 Off, without writing it to the record.
  void Edit_MemoST(int state);

  void Filter_Standard();
  void Filter_SelectAll();
  void Filter_SelectDeleted();
  void Filter_Select();
  void Filter_Exclude();

  void Help_Help();
  void Help_WWW();

  // A file was saved in the editor.
  void Saved(std::string_view fileName);
  // Items were changed by an import: shows them as they are now.
  void ItemsChanged();

 private:
  void Fill(db::Mask shown, const std::string& selection, const std::string& exclusion);
  // Shows the codes of the items listed and returns the one taken; nothing on Cancel.
  [[nodiscard]] std::optional<std::string> PickCodes(const std::string& title);
  void Undelete(std::int32_t recno);
  void DeleteFiles(const db::FileRec& item);

  ProgramState& state_;
  db::ItemEditing& editing_;
  lib::Desktop& desktop_;
};

}  // namespace zelkor::app
