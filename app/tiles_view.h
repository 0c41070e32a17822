// The rows in the icon, small icon and list views, drawn as they come into view: the toolkit's own control wants all
// rows at once there, and takes seconds for thousands.
#pragma once

#include <array>
#include <wx/bitmap.h>
#include <wx/scrolwin.h>

#include "app/item_view.h"
#include "app/list_hint.h"
#include "app/tile_layout.h"

namespace zelkor::app {

class TilesView : public wxScrolledCanvas, public ItemView {
 public:
  // The views in the list control's numbering.
  enum class Mode { Icons = 0, SmallIcons = 1, List = 2 };

  TilesView(wxWindow* parent, const MwRows& rows, ItemViewEvents events);

  void SetMode(Mode mode);
  [[nodiscard]] Mode ShownMode() const { return mode_; }
  // Where a row shows, on the screen.
  [[nodiscard]] wxRect ScreenCell(int row) const;

  [[nodiscard]] wxWindow& Window() override { return *this; }
  void ShowRows() override;
  void ShowHint(const std::string& text) override { hint_.Show(text); }

 private:
  void OnDraw(wxDC& dc) override;
  void DrawTile(wxDC& dc, int row, const TileRect& cell);
  void OnMouse(wxMouseEvent& event);
  void OnKey(wxKeyEvent& event);
  void OnMenu(wxContextMenuEvent& event);
  void LoadPictures();
  void MakeLayout();
  void ScrollTo(int row);
  [[nodiscard]] int RowAt(const wxPoint& client) const;

  const MwRows& rows_;
  ListHint hint_;
  ItemViewEvents events_;
  Mode mode_ = Mode::Icons;
  TileLayout layout_{0, 1, 1, 1, 1, false};
  std::array<wxBitmap, kRowPictures.size()> images_;
  wxSize layoutSize_;
  int shownSelected_ = 0;
  int hovered_ = 0;
};

}  // namespace zelkor::app
