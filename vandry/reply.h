// The texts that answer commands.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zelkor::vandry {

// Text of another's making, a server's answer or a file's name, as it may stand in a reply or a push: "OK" and "Error"
// are the marks of success and failure wherever they stand, so they are put into lower case; control characters become
// blanks, and a long text is cut.
[[nodiscard]] std::string QuietText(std::string_view text);

[[nodiscard]] std::string OkReply(std::string_view value);
[[nodiscard]] std::string OkReply(std::int64_t value);
[[nodiscard]] std::string ErrorReply(int number, std::string_view text);

}  // namespace zelkor::vandry
