// Documents and web pages opened by the programs that the system associates with them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lib/status.h"

namespace zelkor::lib {

enum class ShowMode { Normal = 1, Minimised = 2 };

// Asks the system to open a document (a path in the program's form) or an address; the result is not examined.
void ShellOpen(std::string_view document, ShowMode mode = ShowMode::Normal);
// Opens a web address in the default browser; "http://" is put in front unless the address begins with exactly that.
void OpenWebPage(std::string_view address);
// The address that OpenWebPage opens.
[[nodiscard]] std::string WebAddress(std::string_view address);

// Starts another program of the suite, named by its native path, which goes on when this one ends. It gets the
// environment, with `settings` (NAME=value) over it, no input and no place for its output. Fails when there is no such
// program or it can not be started.
[[nodiscard]] Status StartProgram(const std::string& nativePath, const std::vector<std::string>& arguments = {},
                                  const std::vector<std::string>& settings = {});

}  // namespace zelkor::lib
