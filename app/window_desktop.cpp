#include "app/window_desktop.h"

#include <algorithm>

#include "app/form_placement.h"
#include "app/frm_list_kt.h"
#include "lib/text.h"

namespace zelkor::app {

void WindowDesktop::PlaceBeside(const FormPosition& main, std::int32_t editorHeight) {
  main_ = main;
  editorHeight_ = editorHeight;
}

void WindowDesktop::ShowList(lib::ListDialog& dialog) { ShowListDialog(user_.Owner(), dialog, user_, main_); }

void WindowDesktop::EditFile(const std::string& path) {
  editors_.erase(std::remove_if(editors_.begin(), editors_.end(), [](const auto& editor) { return editor == nullptr; }),
                 editors_.end());
  const auto open = std::find_if(editors_.begin(), editors_.end(),
                                 [&path](const auto& editor) { return lib::EqualNoCase(editor->FileName(), path); });
  if (open != editors_.end()) {
    if ((*open)->IsIconized()) (*open)->Iconize(false);
    (*open)->Raise();
    (*open)->Reload();
    return;
  }
  auto* editor = new EditKt(parent_, user_, path, saved_);
  FormPosition design = PositionOf(*editor);
  if (main_) {
    design = BesideMain(design, *main_);
    design.height = editorHeight_;
  }
  editor->Form_Load(design);
  editors_.emplace_back(editor);
  editor->Show();
  editor->Raise();
  editor->Reload();
}

bool WindowDesktop::CloseEditors() {
  const std::vector<wxWeakRef<EditKt>> open = editors_;
  return std::all_of(open.begin(), open.end(), [](const auto& editor) { return editor == nullptr || editor->Close(); });
}

}  // namespace zelkor::app
