#include "db/code_filter.h"

#include <algorithm>

#include "lib/code_page.h"
#include "lib/text.h"

namespace zelkor::db {
namespace {

std::vector<std::string> Patterns(std::string_view codes, std::string_view before) {
  std::vector<std::string> patterns;
  while (!codes.empty()) {
    const std::size_t end = std::min(codes.find(' '), codes.size());
    if (end > 0) patterns.push_back(std::string(before) + lib::Lower(codes.substr(0, end)) + " *");
    codes.remove_prefix(std::min(end + 1, codes.size()));
  }
  return patterns;
}

}  // namespace

// No blank before an exclusion code, on purpose: excluding bc removes an item coded abc too.
CodeFilter::CodeFilter(std::string_view selection, std::string_view exclusion)
    : selection_(Patterns(selection, "* ")), exclusion_(Patterns(exclusion, "*")) {}

bool CodeFilter::Keeps(std::string_view codes) const {
  std::string text(" ");
  text += codes;
  const auto matches = [&text](const std::string& pattern) { return lib::MatchesCode(text, pattern); };
  return std::all_of(selection_.begin(), selection_.end(), matches) &&
         std::none_of(exclusion_.begin(), exclusion_.end(), matches);
}

}  // namespace zelkor::db
