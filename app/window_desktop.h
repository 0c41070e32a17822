// The list dialog and the editor windows, as the procedures reach them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>
#include <wx/weakref.h>
#include <wx/window.h>

#include "app/edit_kt.h"
#include "app/form_position.h"
#include "app/window_user.h"
#include "lib/desktop.h"

namespace zelkor::app {

class WindowDesktop : public lib::Desktop {
 public:
  explicit WindowDesktop(WindowUser& user) : user_(user) {}

  // The main window, once it is there.
  void SetParent(wxWindow* parent) { parent_ = parent; }
  // Puts the list dialog and new editors beside the main window, which stands there; in twips.
  void PlaceBeside(const FormPosition& main, std::int32_t editorHeight);
  // Told after each save in an editor that succeeded, with the file's path.
  void OnSaved(std::function<void(const std::string& fileName)> saved) { saved_ = std::move(saved); }

  void ShowList(lib::ListDialog& dialog) override;
  // One window for a file: if it is already open it comes to the front, read again unless it was modified there.
  void EditFile(const std::string& path) override;
  // Closes every editor, each asking about changes; false as soon as one stays open.
  bool CloseEditors();

 private:
  WindowUser& user_;
  wxWindow* parent_ = nullptr;
  std::optional<FormPosition> main_;
  std::int32_t editorHeight_ = 0;
  std::function<void(const std::string&)> saved_;
  std::vector<wxWeakRef<EditKt>> editors_;
};

}  // namespace zelkor::app
