#include "app/tiles_view.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <wx/control.h>
#include <wx/dcbuffer.h>
#include <wx/renderer.h>
#include <wx/settings.h>

#include "lib/gui/icons.h"
#include "lib/gui/text.h"

namespace zelkor::app {

namespace {

constexpr int kLargePixels = 32;
constexpr int kSmallPixels = 16;
constexpr int kMargin = 4;
// The width of a tile in characters of the font, without its icon.
constexpr int kIconCharacters = 18;
constexpr int kSmallIconCharacters = 24;
constexpr int kListCharacters = 32;

std::optional<TileStep> StepOf(int key) {
  switch (key) {
    case WXK_LEFT:
    case WXK_NUMPAD_LEFT:
      return TileStep::Left;
    case WXK_RIGHT:
    case WXK_NUMPAD_RIGHT:
      return TileStep::Right;
    case WXK_UP:
    case WXK_NUMPAD_UP:
      return TileStep::Up;
    case WXK_DOWN:
    case WXK_NUMPAD_DOWN:
      return TileStep::Down;
    case WXK_PAGEUP:
    case WXK_NUMPAD_PAGEUP:
      return TileStep::PageUp;
    case WXK_PAGEDOWN:
    case WXK_NUMPAD_PAGEDOWN:
      return TileStep::PageDown;
    case WXK_HOME:
    case WXK_NUMPAD_HOME:
      return TileStep::First;
    case WXK_END:
    case WXK_NUMPAD_END:
      return TileStep::Last;
    default:
      return std::nullopt;
  }
}

wxRect ToWx(const TileRect& rect) { return {rect.x, rect.y, rect.width, rect.height}; }

}  // namespace

TilesView::TilesView(wxWindow* parent, const MwRows& rows, ItemViewEvents events)
    : wxScrolledCanvas(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                       wxWANTS_CHARS | wxHSCROLL | wxVSCROLL | wxFULL_REPAINT_ON_RESIZE),
      rows_(rows),
      hint_(*this),
      events_(std::move(events)) {
  SetName("Items as tiles");
  SetBackgroundStyle(wxBG_STYLE_PAINT);
  SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOX));
  Bind(wxEVT_LEFT_DOWN, &TilesView::OnMouse, this);
  Bind(wxEVT_LEFT_DCLICK, &TilesView::OnMouse, this);
  Bind(wxEVT_MOTION, &TilesView::OnMouse, this);
  Bind(wxEVT_CHAR, &TilesView::OnKey, this);
  Bind(wxEVT_CONTEXT_MENU, &TilesView::OnMenu, this);
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    if (event.GetSize() != layoutSize_) MakeLayout();
    event.Skip();
  });
  for (const auto& focus : {wxEVT_SET_FOCUS, wxEVT_KILL_FOCUS}) {
    Bind(focus, [this](wxFocusEvent& event) {
      Refresh();
      event.Skip();
    });
  }
  Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    SetBackgroundColour(wxSystemSettings::GetColour(wxSYS_COLOUR_LISTBOX));
    Refresh();
    event.Skip();
  });
  Bind(wxEVT_DPI_CHANGED, [this](wxDPIChangedEvent& event) {
    SetMode(mode_);
    event.Skip();
  });
  LoadPictures();
  MakeLayout();
}

void TilesView::SetMode(Mode mode) {
  mode_ = mode;
  LoadPictures();
  shownSelected_ = 0;
  ShowRows();
}

void TilesView::LoadPictures() {
  const int pixels = mode_ == Mode::Icons ? kLargePixels : kSmallPixels;
  for (std::size_t i = 0; i < kRowPictures.size(); ++i) {
    images_[i] = lib::Picture(kRowPictures[i], pixels).GetBitmapFor(this);
  }
}

void TilesView::MakeLayout() {
  layoutSize_ = GetSize();
  const wxSize text = GetTextExtent("n");
  const int margin = FromDIP(kMargin);
  const bool large = mode_ == Mode::Icons;
  const int icon = FromDIP(large ? kLargePixels : kSmallPixels);
  const int characters = large ? kIconCharacters : mode_ == Mode::List ? kListCharacters : kSmallIconCharacters;
  const int width = characters * text.x + 2 * margin + (large ? 0 : icon + margin);
  const int height = large ? icon + text.y + 3 * margin : std::max(icon, text.y) + margin;
  // What a scroll bar takes of the view is left out from the start, or the tiles would move when it comes.
  const int bar = std::max(0, wxSystemSettings::GetMetric(wxSYS_VSCROLL_X, this));
  const bool byColumns = mode_ == Mode::List;
  layout_ = TileLayout(rows_.Count(), width, height, layoutSize_.x - (byColumns ? 0 : bar),
                       layoutSize_.y - (byColumns ? bar : 0), byColumns);
  SetScrollRate(byColumns ? width : 0, byColumns ? 0 : height);
  SetVirtualSize(layout_.Width(), layout_.Height());
  Refresh();
}

void TilesView::ShowRows() {
  MakeLayout();
  const int selected = rows_.Selected();
  if (selected != shownSelected_ && selected > 0) ScrollTo(selected);
  shownSelected_ = selected;
}

void TilesView::ScrollTo(int row) {
  const wxRect cell = ToWx(layout_.Cell(row));
  const wxPoint start = CalcUnscrolledPosition(wxPoint());
  const wxSize view = GetClientSize();
  if (mode_ == Mode::List) {
    const int columns = std::max(1, view.x / cell.width);
    const int column = cell.x / cell.width;
    const int first = start.x / cell.width;
    if (column < first) Scroll(column, 0);
    if (column >= first + columns) Scroll(column - columns + 1, 0);
  } else {
    const int lines = std::max(1, view.y / cell.height);
    const int line = cell.y / cell.height;
    const int first = start.y / cell.height;
    if (line < first) Scroll(0, line);
    if (line >= first + lines) Scroll(0, line - lines + 1);
  }
}

wxRect TilesView::ScreenCell(int row) const {
  wxRect cell = ToWx(layout_.Cell(row));
  cell.SetPosition(ClientToScreen(CalcScrolledPosition(cell.GetPosition())));
  return cell;
}

int TilesView::RowAt(const wxPoint& client) const {
  const wxPoint place = CalcUnscrolledPosition(client);
  return layout_.RowAt(place.x, place.y);
}

void TilesView::OnDraw(wxDC& dc) {
  const wxRect area(CalcUnscrolledPosition(wxPoint()), GetClientSize());
  dc.SetBackground(wxBrush(GetBackgroundColour()));
  dc.SetPen(*wxTRANSPARENT_PEN);
  dc.SetBrush(wxBrush(GetBackgroundColour()));
  dc.DrawRectangle(area);
  dc.SetFont(GetFont());
  const TileLayout::Range range = layout_.RowsIn({area.x, area.y, area.width, area.height});
  // Rows may have gone before the view has heard of it.
  for (int row = range.first; row <= std::min(range.last, rows_.Count()); ++row) DrawTile(dc, row, layout_.Cell(row));
}

void TilesView::DrawTile(wxDC& dc, int row, const TileRect& cell) {
  const int margin = FromDIP(kMargin);
  const bool selected = row == rows_.Selected();
  const bool focused = HasFocus();
  if (selected) {
    wxRendererNative::Get().DrawItemSelectionRect(
        this, dc, ToWx(cell), wxCONTROL_SELECTED | (focused ? wxCONTROL_FOCUSED | wxCONTROL_CURRENT : 0));
  }
  dc.SetTextForeground(
      wxSystemSettings::GetColour(selected && focused ? wxSYS_COLOUR_LISTBOXHIGHLIGHTTEXT : wxSYS_COLOUR_LISTBOXTEXT));
  const wxBitmap& image = images_.at(static_cast<std::size_t>(rows_.Picture(row)));
  const wxSize icon =
      image.IsOk() ? wxSize(wxRound(image.GetLogicalWidth()), wxRound(image.GetLogicalHeight())) : wxSize();
  const wxString text = lib::ToWx(rows_.Text(row));
  if (mode_ == Mode::Icons) {
    if (image.IsOk()) dc.DrawBitmap(image, cell.x + (cell.width - icon.x) / 2, cell.y + margin, true);
    const wxString fitting = wxControl::Ellipsize(text, dc, wxELLIPSIZE_END, cell.width - 2 * margin);
    const int width = dc.GetTextExtent(fitting).x;
    dc.DrawText(fitting, cell.x + (cell.width - width) / 2, cell.y + icon.y + 2 * margin);
    return;
  }
  if (image.IsOk()) dc.DrawBitmap(image, cell.x + margin, cell.y + (cell.height - icon.y) / 2, true);
  const int textX = cell.x + icon.x + 2 * margin;
  const wxString fitting = wxControl::Ellipsize(text, dc, wxELLIPSIZE_END, cell.x + cell.width - margin - textX);
  dc.DrawText(fitting, textX, cell.y + (cell.height - dc.GetCharHeight()) / 2);
}

void TilesView::OnMouse(wxMouseEvent& event) {
  event.Skip();
  const int row = RowAt(event.GetPosition());
  if (event.Moving()) {
    if (row == hovered_) return;
    hovered_ = row;
    // A text that does not fit its tile can be read so.
    if (row > 0) SetToolTip(lib::ToWx(rows_.Text(row)));
    if (row == 0) UnsetToolTip();
    return;
  }
  if (event.Dragging()) return;
  SetFocus();
  if (row == 0) return;
  shownSelected_ = row;
  events_.click(row);
  if (event.LeftDClick()) events_.dblClick();
}

void TilesView::OnKey(wxKeyEvent& event) {
  if (events_.key(event)) return;
  if (event.GetKeyCode() == WXK_RETURN || event.GetKeyCode() == WXK_NUMPAD_ENTER) {
    events_.dblClick();
    return;
  }
  if (event.GetKeyCode() == WXK_TAB) {
    HandleAsNavigationKey(event);
    return;
  }
  const std::optional<TileStep> step = event.HasModifiers() ? std::nullopt : StepOf(event.GetKeyCode());
  if (!step) {
    event.Skip();
    return;
  }
  const int row = layout_.Step(rows_.Selected(), *step);
  if (row > 0) events_.click(row);
}

void TilesView::OnMenu(wxContextMenuEvent& event) {
  wxPoint place = event.GetPosition();
  if (place == wxDefaultPosition) {  // the menu key
    place = rows_.Selected() > 0 ? ScreenCell(rows_.Selected()).GetBottomLeft() : ClientToScreen(wxPoint());
  } else if (const int row = RowAt(ScreenToClient(place)); row > 0) {
    events_.click(row);
  }
  events_.menu(place);
}

}  // namespace zelkor::app
