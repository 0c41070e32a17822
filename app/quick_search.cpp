#include "app/quick_search.h"

#include <limits>

#include "lib/clamp.h"
#include "lib/text.h"

namespace zelkor::app {

namespace {

constexpr char kBackspace = 8;
constexpr char kEnter = 13;
constexpr char kEscape = 27;
constexpr unsigned char kFirstPrintable = 32;

}  // namespace

void QuickSearch(QuickSearchState& state, SearchLabel& label, db::clsList& list) {
  state.searchText = label.Caption();
  const auto length = static_cast<std::int32_t>(state.searchText.size());
  const std::int32_t current = list.Row();
  const bool grown = length > 1 && length > state.previousLength;
  state.startIndex = grown && current > 0 ? current : 1;
  const std::int32_t count = list.Count();
  for (state.currentIndex = state.startIndex; state.currentIndex <= count; ++state.currentIndex) {
    if (!lib::ContainsNoCase(list.Text(state.currentIndex), state.searchText)) continue;
    list.SetRow(state.currentIndex);
    break;
  }
  label.SetFound(state.currentIndex <= count);
  state.previousLength = static_cast<std::int16_t>(lib::ClampInt(length, 0, std::numeric_limits<std::int16_t>::max()));
}

Typed Form_KeyPress(char character, QuickSearchState& state, SearchLabel& label, db::clsList& list) {
  std::string caption = label.Caption();
  if (character == kEnter) return Typed::Enter;
  if (character == kBackspace) {
    if (!caption.empty()) caption.pop_back();
  } else if (character == kEscape) {
    caption.clear();
  } else if (static_cast<unsigned char>(character) >= kFirstPrintable) {
    caption.push_back(character);
  } else {
    return Typed::Passed;
  }
  label.SetCaption(caption);
  QuickSearch(state, label, list);
  return Typed::Searched;
}

}  // namespace zelkor::app
