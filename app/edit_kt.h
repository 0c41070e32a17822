// The text editor: a small window with one text box that shows a text file and writes it back. What it does with the
// file is in edit_text.h, the steps that can be taken back in edit_history.h.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <wx/frame.h>
#include <wx/textctrl.h>

#include "app/edit_history.h"
#include "app/edit_text.h"
#include "app/find_bar.h"
#include "app/form_position.h"
#include "lib/user.h"

namespace zelkor::app {

class EditKt : public wxFrame {
 public:
  // `saved` is told after each save that succeeded.
  EditKt(wxWindow* parent, lib::User& user, const std::string& fileName,
         std::function<void(const std::string& fileName)> saved);
  // Puts the window where the settings say, and by `design` what they do not say.
  void Form_Load(const FormPosition& design);

  [[nodiscard]] const std::string& FileName() const { return text_.FileName(); }
  // Reads the file again unless the text was changed here.
  void Reload();

 private:
  // The window's caption, and a text that was just read.
  void ShowText(const std::optional<std::string>& utf8);
  void Form_Activate();
  void Form_Unload(wxCloseEvent& event);
  void MakeMenus();
  void Text_Change();
  void File_Save();
  void File_Exit();
  void Edit_Undo() { Take(history_.Undo()); }
  void Edit_Redo() { Take(history_.Redo()); }
  void Edit_Find();
  void Edit_FindNext(bool backwards);
  // Shows a step back or forth in the box.
  void Take(const std::optional<EditStep>& step);
  void OnUpdateUi(wxUpdateUIEvent& event);

  lib::User& user_;
  EditText text_;
  EditHistory history_;
  std::function<void(const std::string& fileName)> saved_;
  wxTextCtrl* Text = nullptr;
  FindBar* find_ = nullptr;
};

}  // namespace zelkor::app
