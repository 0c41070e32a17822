// A run under way: a bar, what is being done with bytes, rate and time left, and Cancel.
#pragma once

#include <functional>
#include <wx/panel.h>

#include "net/run_progress.h"

class wxButton;
class wxGauge;
class wxStaticText;

namespace zelkor::net {

class ProgressPanel : public wxPanel {
 public:
  ProgressPanel(wxWindow* parent, std::function<void()> cancel);

  // A run is under way; nothing is known of it yet.
  void Begin();
  void Draw(const RunProgress::Shown& shown);
  // A stretch with progress is over, the run is not.
  void Rest();
  // The user has asked for the end of the run; it comes with the file in hand.
  void ShowCancelled();
  void End();

  [[nodiscard]] wxGauge& Bar() { return *bar_; }
  [[nodiscard]] wxStaticText& Text() { return *text_; }
  [[nodiscard]] wxButton& CancelButton() { return *cancel_; }

 private:
  wxGauge* bar_ = nullptr;
  wxStaticText* text_ = nullptr;
  wxButton* cancel_ = nullptr;
};

}  // namespace zelkor::net
