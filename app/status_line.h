// The status line of the main window: four panels, the last of which is the label of the quick search.
#pragma once

#include <array>
#include <string>
#include <wx/stattext.h>
#include <wx/statusbr.h>

#include "app/quick_search.h"

namespace zelkor::app {

enum class Panel { LastUpdate, Selection, ItemNumber, QuickSearch };
// What the panels are for, shown as their tooltips.
inline constexpr std::array<const char*, 4> kPanelDescriptions{
    "Last update", "Selection indicator", "Item / number of items", "Quicksearch. Type string to search"};

class StatusLine : public wxStatusBar, public SearchLabel {
 public:
  explicit StatusLine(wxWindow* parent);

  // Of the first three panels.
  void Show(Panel panel, const std::string& text);
  [[nodiscard]] std::string Shown(Panel panel) const;

  // SearchLabel
  [[nodiscard]] std::string Caption() const override { return caption_; }
  void SetCaption(const std::string& caption) override;
  void SetFound(bool found) override;

 private:
  void PlaceLabel();
  void ShowGround();
  void OnMotion(wxMouseEvent& event);

  std::string caption_;
  wxStaticText* label_ = nullptr;
};

}  // namespace zelkor::app
