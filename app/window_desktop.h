// The list dialog and the editor windows, as the procedures reach them.
#pragma once

#include <functional>
#include <string>
#include <vector>
#include <wx/gdicmn.h>
#include <wx/weakref.h>
#include <wx/window.h>

#include "app/edit_kt.h"
#include "app/form_position.h"
#include "lib/desktop.h"
#include "lib/user.h"

namespace zelkor::app {

class WindowDesktop : public lib::Desktop {
 public:
  explicit WindowDesktop(lib::User& user) : user_(user) {}

  // The main window, once it is there.
  void SetParent(wxWindow* parent) { parent_ = parent; }
  // Where the list dialog and a new editor stand (the start places them beside the main window). Unset: as the window
  // system likes.
  void PlaceList(const FormPosition& place) { listPlace_ = place; }
  void PlaceEditor(const FormPosition& place) { editorPlace_ = place; }
  // Told after each save in an editor that succeeded, with the file's path.
  void OnSaved(std::function<void(const std::string& fileName)> saved) { saved_ = std::move(saved); }

  void ShowList(lib::ListDialog& dialog) override;
  // One window for a file: if it is already open it comes to the front, read again unless it was modified there.
  void EditFile(const std::string& path) override;
  // Closes every editor, each asking about changes; false as soon as one stays open.
  bool CloseEditors();

 private:
  lib::User& user_;
  wxWindow* parent_ = nullptr;
  FormPosition listPlace_;
  FormPosition editorPlace_;
  std::function<void(const std::string&)> saved_;
  std::vector<wxWeakRef<EditKt>> editors_;
};

}  // namespace zelkor::app
