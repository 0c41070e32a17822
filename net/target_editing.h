// The targets as the synchronisation window lists, shows and edits them, without the window.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "lib/occupation.h"
#include "lib/user.h"
#include "net/targets.h"

namespace zelkor::net {

// The connection types as the window offers them: an entry's index is the stored ConnectionType.
inline constexpr std::array<std::string_view, 3> kConnections{"File", "IP connection", "FTP"};
inline constexpr int kConnectionRows = 4;

// A row of the connection: a caption and a text box.
struct ConnectionRow {
  std::string caption;
  std::string value;
  bool masked = false;        // shown as "*"
  std::size_t maxLength = 0;  // characters that the record holds
};

// What the procedures show in the window, and read from it. Nothing here raises an event of the window.
class TargetView {
 public:
  TargetView() = default;
  TargetView(const TargetView&) = delete;
  TargetView& operator=(const TargetView&) = delete;
  virtual ~TargetView() = default;

  // The target list; `selected` counts from 0, -1 for none. Without a selected entry there is no connection to show.
  virtual void ShowTargets(const std::vector<std::string>& entries, int selected) = 0;
  // The selected connection type, an index of kConnections.
  [[nodiscard]] virtual int Connection() const = 0;
  virtual void SelectConnection(int index) = 0;
  // The rows count from 1.
  virtual void HideRows() = 0;
  virtual void ShowRow(int index, const ConnectionRow& row) = 0;
  [[nodiscard]] virtual std::string RowText(int index) const = 0;
  virtual void SetRowText(int index, const std::string& text) = 0;
  [[nodiscard]] virtual bool DefaultExclude() const = 0;
  virtual void SetDefaultExclude(bool excluded) = 0;
  // The commands that depend on the connection.
  virtual void EnableView(bool enabled) = 0;
  virtual void ShowFtpDirCommand(bool shown) = 0;
  virtual void EnableSave(bool enabled) = 0;
};

class TargetEditing {
 public:
  TargetEditing(Targets& targets, lib::User& user, const lib::Occupation& occupied, TargetView& view)
      : targets_(targets), user_(user), occupied_(occupied), view_(view) {}

  // Lists the targets with their dates and selects the entry selected before, at first the one that the setting
  // "LastTarget" names, else the first. Unsaved edits of a target that stays selected stay in the window.
  void FillTargetList();
  // Shows the current record's connection; `setType` also selects its type.
  void ShowConnection(bool setType);
  void ShowConnectionParam(std::string_view value, std::string_view caption, int index, bool masked,
                           std::size_t maxLength);
  // Writes unsaved edits. False, after a message, when the folder of a File target can not be stored; the edits then
  // stay unsaved in the window.
  bool SaveTarget();

  // The user's doings. Selecting is ignored while a run is in hand. Edits of the target that is left are saved first;
  // when that fails it stays selected.
  void List_Click(int index);
  void Connection_Click();
  void ConPar_Change();
  // The box of a row was left: a native path becomes one in the program's form.
  void ConPar_LostFocus(int index);
  void DefaultExclude_Click();
  // A folder that was picked (native bytes) for the File connection.
  void TakeMediaFolder(std::string_view nativePath);

  // Selects the entry of this slot.
  void SelectSlot(int slot);
  // After the selected target was deleted: takes its entry from the list; no target is then selected.
  void RemoveSelected();

  // The selected target's slot, 0 for none; and its ID, without what else its entry says.
  [[nodiscard]] int SelectedSlot() const;
  [[nodiscard]] std::string SelectedId() const;
  [[nodiscard]] bool Unsaved() const { return unsaved_; }
  // Reads the selected target into the current record; false when none is selected.
  bool ReadSelected();

 private:
  struct Entry {
    std::string text;
    int slot = 0;
  };

  // Puts the entries on the screen, this one selected.
  void ShowEntries(int selected);
  // Shows the selected entry's connection.
  void Select(int index);
  void ShowNothing();
  void SetUnsaved(bool unsaved);
  [[nodiscard]] std::vector<Entry> ReadEntries();
  [[nodiscard]] int EntryToSelect(const std::vector<Entry>& entries) const;

  Targets& targets_;
  lib::User& user_;
  const lib::Occupation& occupied_;
  TargetView& view_;
  std::vector<Entry> entries_;
  int selected_ = -1;  // index in entries_
  bool unsaved_ = false;
};

}  // namespace zelkor::net
