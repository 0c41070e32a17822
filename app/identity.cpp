#include "app/identity.h"

#include "lib/code_page.h"
#include "lib/settings.h"

namespace zelkor::app {

namespace {
constexpr std::size_t kShortest = 2;
constexpr std::size_t kLongest = 6;
}  // namespace

std::optional<std::string> GetComputerID(lib::User& user) {
  const std::string stored = lib::Lower(lib::GetIniString("orlim", "User", ""));
  if (!stored.empty()) return stored.substr(0, kLongest);
  std::string answer;
  // The prompt says 1 to 6 characters, but one is refused; it has always been so.
  while (answer.size() < kShortest || answer.size() > kLongest) {
    answer = user.Input("Enter computer ID. 1 to 6 characters.\r\nThis ID should be unique.", "", "");
    if (answer.empty() && user.InputEnded()) return std::nullopt;
  }
  lib::PutIniValue("Orlim", "user", answer);
  return answer;
}

void File_UserID(lib::User& user, std::string& computerId) {
  const lib::Button answer = user.Ask({.text = "Each computer must have a unique name.\r\n"
                                               "You should not change this name as this could corrupt the "
                                               "sync-process.\r\n"
                                               "Your current computer name is [" +
                                               computerId +
                                               "]\r\n"
                                               "Do you want to continue and change the name?",
                                       .icon = lib::Icon::Question,
                                       .buttons = lib::Buttons::YesNo,
                                       .preselected = lib::Button::No,
                                       .title = {}});
  if (answer != lib::Button::Yes) return;
  const std::string before = lib::GetIniString("Orlim", "user", "");
  lib::PutIniValue("Orlim", "user", "");
  if (const std::optional<std::string> chosen = GetComputerID(user)) {
    computerId = *chosen;
  } else {
    lib::PutIniValue("Orlim", "user", before);
  }
}

}  // namespace zelkor::app
