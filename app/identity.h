// The computer ID: the short name by which this computer is known to every computer that it synchronises with.
#pragma once

#include <optional>
#include <string>

#include "lib/user.h"

namespace zelkor::app {

// The stored ID in lower case, its first 6 characters; when there is none the user is asked until the answer has 2 to
// 6 characters, and it is stored and used as typed. Nothing when nobody answers (the input of an unattended run has
// ended).
[[nodiscard]] std::optional<std::string> GetComputerID(lib::User& user);

// The command that changes the ID, after a warning. `computerId` keeps its value when the user says No or nobody
// answers.
void File_UserID(lib::User& user, std::string& computerId);

}  // namespace zelkor::app
