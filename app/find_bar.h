// The bar at the foot of the editor for what is looked for.
#pragma once

#include <functional>
#include <wx/panel.h>

class wxCheckBox;
class wxStaticText;
class wxTextCtrl;

namespace zelkor::app {

class FindBar : public wxPanel {
 public:
  // `find` is called for each step, `closed` once the bar has been closed.
  FindBar(wxWindow* parent, std::function<void(bool backwards)> find, std::function<void()> closed);

  // Shows the bar and gives it the keyboard; `wanted`, unless empty, takes the place of what was looked for.
  void Open(const wxString& wanted);
  [[nodiscard]] wxString Wanted() const;
  [[nodiscard]] bool MatchCase() const;
  // What became of the last step.
  void Say(const wxString& result);

 private:
  void CloseBar();
  void OnKey(wxKeyEvent& event);

  std::function<void(bool backwards)> find_;
  std::function<void()> closed_;
  wxTextCtrl* wanted_;
  wxCheckBox* matchCase_;
  wxStaticText* result_;
};

}  // namespace zelkor::app
