#include "vandry/reply.h"

#include <algorithm>

#include "lib/text.h"

namespace zelkor::vandry {

namespace {

constexpr std::size_t kLongest = 400;

bool IsControl(char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }

}  // namespace

std::string QuietText(std::string_view text) {
  std::string quiet(text.substr(0, kLongest));
  std::replace_if(quiet.begin(), quiet.end(), IsControl, ' ');
  return lib::ReplaceAll(lib::ReplaceAll(quiet, "OK", "ok"), "Error", "error");
}

std::string OkReply(std::string_view value) { return "OK " + QuietText(value); }
std::string OkReply(std::int64_t value) { return "OK " + std::to_string(value); }

std::string ErrorReply(int number, std::string_view text) {
  return "Error " + std::to_string(number) + " " + QuietText(text);
}

}  // namespace zelkor::vandry
