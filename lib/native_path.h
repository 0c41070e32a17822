// The way between the program's paths and native ones. Native names are UTF-8 bytes.
//
// Which native directory a drive letter stands for is the business of the system: on Linux section "Drives" of
// "orlim.ini" says it (key = drive letter, value = native directory); without an entry c is the user's home directory
// and z is "/".
#pragma once

#include <string>
#include <string_view>

#include "lib/status.h"

namespace zelkor::lib {

// The native path of a path in the program's form. Each component is looked for as written, then without regard to
// case; components that do not exist are taken as written. Refused: a path without a drive, a drive without a
// directory (the message names the key to set).
[[nodiscard]] Result<std::string> ToNative(std::string_view path);

// The program's form of an absolute native path; the longest native directory of a drive that contains it gives the
// drive. Refused, naming the component and why, when the form cannot carry it.
[[nodiscard]] Result<std::string> FromNative(std::string_view nativePath);

// A word of the command line (native bytes) as an absolute path in the program's form: a path X:\… is taken as it
// stands (its text turned into the code page); any other word is a native path, absolute or relative to
// `startDirectory`, whether it exists or not.
[[nodiscard]] Result<std::string> FromCommandLine(std::string_view word, std::string_view startDirectory);

// True when the word, absolute or relative to `startDirectory`, names an existing native file or directory.
[[nodiscard]] bool NamesNativeFile(std::string_view word, std::string_view startDirectory);

// The process's working directory as the native path, for the two procedures above.
[[nodiscard]] std::string StartDirectory();

// The directory of temporary files, with a final backslash.
[[nodiscard]] Result<std::string> TemporaryDirectory();
// The directory of Zelkor's own files, with a final backslash; made when missing.
[[nodiscard]] Result<std::string> FindProgramDir();

// The running program's own file, in the program's form.
[[nodiscard]] Result<std::string> ExecutablePath();
// Makes a directory the current one of the process.
[[nodiscard]] Status EnterDirectory(std::string_view directory);

// Whether the system has names of the form \\server\share\….
[[nodiscard]] bool HasShares();

// True when the path is on a medium that can be taken out: drive a or b, or a device that the system says is removable.
[[nodiscard]] bool IsRemovable(std::string_view path);

// Forgets the drives and directory listings read so far; for tests, and after the settings were changed.
void ForgetDrives();

}  // namespace zelkor::lib
