#include "app/details_view.h"

#include <algorithm>
#include <utility>
#include <wx/settings.h>

#include "db/item_editing.h"
#include "lib/format.h"
#include "lib/gui/icons.h"
#include "lib/gui/text.h"

namespace zelkor::app {

namespace {

constexpr int kRowIconPixels = 16;

// A text that a column is to have room for.
std::string Sample(MwColumn column) {
  constexpr lib::Date kWideDate = 46020.999;  // two digits for each part
  switch (column) {
    case MwColumn::Description:
      return "nnnnnnnnnnnnnnnnnnnnnn";
    case MwColumn::Date:
      return lib::GeneralDate(kWideDate);
    case MwColumn::Codes:
      return "nnnnnnnnnnnn";
    case MwColumn::SyncMethod:
      return db::kSyncMethodChoices.front();
    case MwColumn::SyncTo:
      return db::kSyncToChoices[1];
    case MwColumn::LastImport:
      return "nnnnnn " + lib::GeneralDate(kWideDate);
  }
  return {};
}

}  // namespace

DetailsView::DetailsView(wxWindow* parent, const MwRows& rows, ItemViewEvents events)
    : wxListCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxLC_REPORT | wxLC_VIRTUAL | wxLC_SINGLE_SEL),
      rows_(rows),
      hint_(*this),
      events_(std::move(events)) {
  SetName("Items");
  MakeColumns();
  wxVector<wxBitmapBundle> images;
  for (const std::string_view key : kRowPictures) images.push_back(lib::Picture(key, kRowIconPixels));
  SetSmallImages(images);

  Bind(wxEVT_LIST_ITEM_SELECTED, [this](wxListEvent& event) {
    if (showing_) return;
    shownSelected_ = static_cast<int>(event.GetIndex()) + 1;
    events_.click(shownSelected_);
  });
  Bind(wxEVT_LIST_ITEM_DESELECTED, [this](wxListEvent&) {
    // A click beside the rows; some row is always current.
    if (!showing_) CallAfter(&DetailsView::OnDeselected);
  });
  Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) { events_.dblClick(); });
  Bind(wxEVT_LIST_COL_CLICK, [this](wxListEvent& event) {
    if (event.GetColumn() >= 0) events_.columnClick(event.GetColumn() + 1);
  });
  Bind(wxEVT_CONTEXT_MENU, [this](wxContextMenuEvent& event) {
    wxPoint place = event.GetPosition();
    if (place == wxDefaultPosition) {  // the menu key
      wxRect selected;
      const long item = rows_.Selected() - 1;
      place = item >= 0 && GetItemRect(item, selected) ? ClientToScreen(selected.GetBottomLeft())
                                                       : ClientToScreen(wxPoint());
    } else {
      int flags = 0;
      const long item = HitTest(ScreenToClient(place), flags);
      if (item >= 0 && item < rows_.Count()) events_.click(static_cast<int>(item) + 1);
    }
    events_.menu(place);
  });
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    FitDescriptions();
  });
  Bind(wxEVT_CHAR, [this](wxKeyEvent& event) { event.Skip(!events_.key(event)); });
}

void DetailsView::MakeColumns() {
  const int margins = 2 * GetTextExtent("n").x;
  for (std::size_t i = 0; i < kMwColumns.size(); ++i) {
    const wxString caption = lib::ToWx(kMwColumns[i]);
    const int text = GetTextExtent(lib::ToWx(Sample(static_cast<MwColumn>(i)))).x;
    AppendColumn(caption, wxLIST_FORMAT_LEFT, std::max(text, GetTextExtent(caption).x) + margins);
  }
  leastWidth_ = fittedWidth_ = GetColumnWidth(0);
}

int DetailsView::WholeWidth() const {
  int width = std::max(0, wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this));
  for (int column = 0; column < GetColumnCount(); ++column) width += GetColumnWidth(column);
  return width;
}

// The descriptions get the room that the other columns leave, until the user sets the column's width.
void DetailsView::FitDescriptions() {
  const int now = GetColumnWidth(0);
  if (now != fittedWidth_) return;
  int others = 0;
  for (int column = 1; column < GetColumnCount(); ++column) others += GetColumnWidth(column);
  const int bar = std::max(0, wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this));
  fittedWidth_ = std::max(leastWidth_, GetClientSize().x - others - bar);
  if (fittedWidth_ != now) SetColumnWidth(0, fittedWidth_);
}

void DetailsView::OnDeselected() {
  if (GetSelectedItemCount() > 0 || rows_.Selected() == 0) return;
  shownSelected_ = 0;
  ShowRows();
}

void DetailsView::ShowRows() {
  showing_ = true;
  const int count = rows_.Count();
  const int selected = rows_.Selected();
  if (count == 0) {
    DeleteAllItems();
  } else {
    // Before the list becomes shorter: the row that is left must still be there.
    if (count < GetItemCount() && selected > 0) {
      SetItemState(selected - 1, wxLIST_STATE_SELECTED | wxLIST_STATE_FOCUSED,
                   wxLIST_STATE_SELECTED | wxLIST_STATE_FOCUSED);
    }
    if (count != GetItemCount()) SetItemCount(count);
    if (selected > 0) {
      SetItemState(selected - 1, wxLIST_STATE_SELECTED | wxLIST_STATE_FOCUSED,
                   wxLIST_STATE_SELECTED | wxLIST_STATE_FOCUSED);
      if (selected != shownSelected_) EnsureVisible(selected - 1);
    }
    Refresh();
  }
  shownSelected_ = selected;
  if (rows_.SortedBy()) ShowSortIndicator(static_cast<int>(*rows_.SortedBy()), rows_.Ascending());
  showing_ = false;
}

wxString DetailsView::OnGetItemText(long item, long column) const {
  // The control may ask for more rows than there still are, before it has heard of the change.
  if (item < 0 || item >= rows_.Count()) return {};
  return lib::ToWx(rows_.Cell(static_cast<int>(item) + 1, static_cast<MwColumn>(column)));
}

int DetailsView::OnGetItemImage(long item) const {
  if (item < 0 || item >= rows_.Count()) return -1;
  return rows_.Picture(static_cast<int>(item) + 1);
}

}  // namespace zelkor::app
