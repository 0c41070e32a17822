#include "lib/gui/message_box.h"

#include <wx/msgdlg.h>

#include "lib/gui/text.h"

namespace zelkor::lib {
namespace {

long IconStyle(Icon icon) {
  switch (icon) {
    case Icon::Critical:
      return wxICON_ERROR;
    case Icon::Question:
      return wxICON_QUESTION;
    case Icon::Exclamation:
      return wxICON_EXCLAMATION;
    case Icon::Information:
      return wxICON_INFORMATION;
    case Icon::None:
      break;
  }
  return wxICON_NONE;
}

long ButtonStyle(Buttons buttons, Button preselected) {
  switch (buttons) {
    case Buttons::OkCancel:
      return wxOK | wxCANCEL | (preselected == Button::Cancel ? wxCANCEL_DEFAULT : 0);
    case Buttons::YesNo:
      return wxYES_NO | (preselected == Button::No ? wxNO_DEFAULT : 0);
    case Buttons::YesNoCancel:
      return wxYES_NO | wxCANCEL | (preselected == Button::No ? wxNO_DEFAULT : 0) |
             (preselected == Button::Cancel ? wxCANCEL_DEFAULT : 0);
    case Buttons::Ok:
      break;
  }
  return wxOK;
}

}  // namespace

Button ShowMessageBox(wxWindow* owner, const wxString& title, const Box& box) {
  wxMessageDialog dialog(owner, LinesToWx(box.text), title,
                         ButtonStyle(box.buttons, box.preselected) | IconStyle(box.icon) | wxCENTRE);
  // The answers to a question are words of the program, not of the system's language.
  if (box.buttons == Buttons::YesNo) dialog.SetYesNoLabels("&Yes", "&No");
  if (box.buttons == Buttons::YesNoCancel) dialog.SetYesNoCancelLabels("&Yes", "&No", "&Cancel");
  if (box.buttons == Buttons::OkCancel) dialog.SetOKCancelLabels("&OK", "&Cancel");
  if (box.buttons == Buttons::Ok) dialog.SetOKLabel("&OK");
  switch (dialog.ShowModal()) {
    case wxID_YES:
      return Button::Yes;
    case wxID_NO:
      return Button::No;
    case wxID_CANCEL:
      if (box.buttons == Buttons::YesNo) return Button::No;
      return box.buttons == Buttons::Ok ? Button::Ok : Button::Cancel;
    default:
      return Button::Ok;
  }
}

}  // namespace zelkor::lib
