// By MessageBox itself: the toolkit's box knows no picture for questions and makes rows of large buttons.

#include "lib/gui/message_box.h"

#include <wx/utils.h>

#include "lib/gui/text.h"
#include "lib/windows/system.h"

namespace zelkor::lib {
namespace {

UINT IconStyle(Icon icon) {
  switch (icon) {
    case Icon::Critical:
      return MB_ICONHAND;
    case Icon::Question:
      return MB_ICONQUESTION;
    case Icon::Exclamation:
      return MB_ICONEXCLAMATION;
    case Icon::Information:
      return MB_ICONASTERISK;
    case Icon::None:
      break;
  }
  return 0;
}

UINT ButtonStyle(Buttons buttons, Button preselected) {
  switch (buttons) {
    case Buttons::OkCancel:
      return MB_OKCANCEL | (preselected == Button::Cancel ? MB_DEFBUTTON2 : 0);
    case Buttons::YesNo:
      return MB_YESNO | (preselected == Button::No ? MB_DEFBUTTON2 : 0);
    case Buttons::YesNoCancel:
      return MB_YESNOCANCEL | (preselected == Button::No ? MB_DEFBUTTON2 : 0) |
             (preselected == Button::Cancel ? MB_DEFBUTTON3 : 0);
    case Buttons::Ok:
      break;
  }
  return MB_OK;
}

}  // namespace

Button ShowMessageBox(wxWindow* owner, const wxString& title, const Box& box) {
  // The box takes its owner out of use, and gives it the keyboard back.
  const wxWindowDisabler others(owner);
  HWND window = owner != nullptr ? static_cast<HWND>(owner->GetHandle()) : nullptr;
  const UINT style = ButtonStyle(box.buttons, box.preselected) | IconStyle(box.icon);
  switch (MessageBoxW(window, LinesToWx(box.text).wc_str(), title.wc_str(), style)) {
    case IDYES:
      return Button::Yes;
    case IDNO:
      return Button::No;
    case IDCANCEL:
      return box.buttons == Buttons::Ok ? Button::Ok : Button::Cancel;
    default:
      return Button::Ok;
  }
}

}  // namespace zelkor::lib
