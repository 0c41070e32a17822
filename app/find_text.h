// Looking for a text inside the editor's.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace zelkor::app {

struct FindOptions {
  bool matchCase = false;  // otherwise case folds in the code page
  bool backwards = false;
};

struct Found {
  std::size_t at = 0;
  bool wrapped = false;  // beyond the text's end, or its beginning
};

// The next place where `wanted` stands after the selection from `begin` up to `end`, or the one before it; once round.
// Nothing when there is none, or nothing is wanted.
[[nodiscard]] std::optional<Found> FindText(std::wstring_view text, std::wstring_view wanted, std::size_t begin,
                                            std::size_t end, FindOptions options);

}  // namespace zelkor::app
