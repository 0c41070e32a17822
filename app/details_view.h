// The rows in the detailed view: the toolkit's list control, which asks for the rows that are in view.
#pragma once

#include <wx/listctrl.h>

#include "app/item_view.h"
#include "app/list_hint.h"

namespace zelkor::app {

class DetailsView : public wxListCtrl, public ItemView {
 public:
  DetailsView(wxWindow* parent, const MwRows& rows, ItemViewEvents events);

  [[nodiscard]] wxWindow& Window() override { return *this; }
  void ShowRows() override;
  void ShowHint(const std::string& text) override { hint_.Show(text); }
  // What shows every column whole, beside the bar for scrolling down.
  [[nodiscard]] int WholeWidth() const;

 private:
  [[nodiscard]] wxString OnGetItemText(long item, long column) const override;
  [[nodiscard]] int OnGetItemImage(long item) const override;
  void MakeColumns();
  void FitDescriptions();
  void OnDeselected();

  const MwRows& rows_;
  ListHint hint_;
  ItemViewEvents events_;
  int leastWidth_ = 0;   // of the descriptions' column, in pixels
  int fittedWidth_ = 0;  // as last set here
  int shownSelected_ = 0;
  bool showing_ = false;  // what the control tells now is our own doing
};

}  // namespace zelkor::app
