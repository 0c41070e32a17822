// Reading what FTP servers say of a directory's contents.
#pragma once

#include <string_view>
#include <vector>

#include "lib/date.h"
#include "lib/remote_listing.h"

namespace zelkor::vandry {

// The answer to MLSD (RFC 3659, section 7): facts, a blank, the name; dates are in UTC.
[[nodiscard]] std::vector<lib::RemoteEntry> ParseMachineListing(std::string_view text);

// The answer to LIST, which no standard describes: lines as "ls -l" writes them, with the owner's group or without, or
// as Windows servers do. Dates are taken as they stand; `now` gives the year to those that have none. Lines of another
// form are passed over.
[[nodiscard]] std::vector<lib::RemoteEntry> ParseListing(std::string_view text, lib::Date now);

}  // namespace zelkor::vandry
