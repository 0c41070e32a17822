#include "app/form_placement.h"

#include "lib/gui/twips.h"

namespace zelkor::app {

FormPosition PositionOf(const wxTopLevelWindow& window) {
  const wxRect rectangle = window.GetRect();
  return {.state = window.IsIconized()    ? WindowState::Minimised
                   : window.IsMaximized() ? WindowState::Maximised
                                          : WindowState::Normal,
          .left = lib::ToTwips(rectangle.x, window),
          .top = lib::ToTwips(rectangle.y, window),
          .width = lib::ToTwips(rectangle.width, window),
          .height = lib::ToTwips(rectangle.height, window)};
}

void PlaceForm(wxTopLevelWindow& window, const FormPosition& place) {
  window.SetSize(lib::FromTwips(place.left, window), lib::FromTwips(place.top, window),
                 lib::FromTwips(place.width, window), lib::FromTwips(place.height, window), wxSIZE_ALLOW_MINUS_ONE);
}

}  // namespace zelkor::app
