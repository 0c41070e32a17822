#include "lib/gui/placement.h"

#include <algorithm>
#include <memory>
#include <wx/display.h>
#include <wx/stopwatch.h>
#include <wx/utils.h>

#include "lib/gui/later.h"

namespace zelkor::lib {

namespace {

int Area(const wxRect& rect) { return rect.width * rect.height; }

// The usable part of the screen that shows most of `rect`.
wxRect ScreenOf(const wxRect& rect) {
  wxRect best;
  int most = 0;
  for (unsigned i = 0; i < wxDisplay::GetCount(); ++i) {
    const wxRect screen = wxDisplay(i).GetClientArea();
    const int shown = Area(screen.Intersect(rect));
    if (shown > most || best.IsEmpty()) best = screen;
    most = std::max(most, shown);
  }
  return best;
}

// The start of a stretch of this length, moved into the one from `low` on.
int Within(int start, int length, int low, int room) { return std::max(low, std::min(start, low + room - length)); }

}  // namespace

wxRect OntoAScreen(const wxRect& wanted) {
  const wxRect screen = ScreenOf(wanted);
  const wxSize size(std::min(wanted.width, screen.width), std::min(wanted.height, screen.height));
  return {Within(wanted.x, size.x, screen.x, screen.width), Within(wanted.y, size.y, screen.y, screen.height), size.x,
          size.y};
}

void MoveOntoAScreen(wxWindow& window) {
  const wxRect wanted = window.GetRect();
  const wxRect place = OntoAScreen(wanted);
  if (place != wanted) window.SetSize(place);
}

wxRect Beside(const wxRect& screen, wxRect window, const wxRect& other) {
  const wxPoint right(other.x + other.width, other.y);
  const wxPoint below(other.x, other.y + other.height);
  const wxPoint left(other.x - window.width, other.y);
  for (const wxPoint& place : {right, below, left}) {
    window.SetPosition(place);
    if (screen.Contains(window)) return window;
  }
  window.SetPosition(wxPoint(screen.x + screen.width - window.width, screen.y + screen.height - window.height));
  return window;
}

void PlaceBeside(wxWindow& window, const wxTopLevelWindow& other) {
  if (!other.IsShown() || other.IsIconized()) return;
  window.SetSize(OntoAScreen(Beside(ScreenOf(other.GetRect()), window.GetRect(), other.GetRect())));
}

void KeepSizeWhenFramed(wxTopLevelWindow& window) {
  // What comes later or differs by more is the user's choice, not the frame; so is what comes while a button of the
  // mouse is down. A busy desktop may take its time.
  constexpr long kFramedWithinMs = 10'000;
  constexpr int kThickestFrame = 64;  // both sides together, in logical pixels
  // A window manager may tell of its frame more than once, first by a guess.
  constexpr int kMostTimes = 5;
  struct Wanted {
    wxSize size;
    wxStopWatch sinceShown;
    int timesLeft = kMostTimes;
  };
  const auto wanted = std::make_shared<Wanted>(Wanted{.size = window.GetSize(), .sinceShown = {}});
  window.Bind(wxEVT_SIZE, [&window, wanted](wxSizeEvent& event) {
    event.Skip();
    if (wanted->timesLeft == 0 || wanted->sinceShown.Time() > kFramedWithinMs) return;
    if (!window.IsShown() || window.IsMaximized() || window.IsIconized()) return;
    if (wxGetMouseState().LeftIsDown()) {
      wanted->timesLeft = 0;
      return;
    }
    const wxSize grown = window.GetSize() - wanted->size;
    const int most = window.FromDIP(kThickestFrame);
    if (grown == wxSize() || grown.x < 0 || grown.y < 0 || grown.x > most || grown.y > most) return;
    --wanted->timesLeft;
    Later(window, [&window, wanted] { window.SetSize(wanted->size); });
  });
}

}  // namespace zelkor::lib
