// Small conversations with the user, and waiting.
#pragma once

#include <functional>
#include <string>

#include "lib/date.h"

namespace zelkor::lib {

class User;

// Asks for a date until the answer is empty (the zero date) or reads as one; "Invalid date!" in between. At the end of
// an unattended run's input the answer is empty.
[[nodiscard]] Date InputDate(User& user, const std::string& prompt, const std::string& title,
                             const std::string& preset);

// Keeps the user interface alive until `seconds` have passed on `clock` (seconds since midnight). Not corrected for
// midnight, on purpose: an end at or past 86,400 never comes, so a caller that would cross midnight waits in two parts.
void Wait(float seconds, User& user, const std::function<double()>& clock);
void Wait(float seconds, User& user);

}  // namespace zelkor::lib
