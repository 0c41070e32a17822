// What tests need of the system beside what lib/ has of it: the environment of one computer in a folder of its own.
#pragma once

#include <filesystem>
#include <string>

namespace zelkor::tests {

// An environment variable of this process.
void SetVariable(const char* name, const std::string& value);
void ClearVariable(const char* name);

// From here on the process is in the zone of that name. False where only the whole system can be moved; tests for which
// that matters are run there in UTC.
bool MoveToZone(const char* zone);

// Whether files have modes: rights of their owner, their group and everybody.
[[nodiscard]] bool HasModes();

// Whether the system's own paths are of the program's form already.
[[nodiscard]] bool NativePathsAreTheForm();

// A new empty folder in the system's temporary one.
[[nodiscard]] std::filesystem::path MakeTemporaryFolder();

// From here on this process is on a computer whose folders home, config, program, run, tmp and cache are in `root`:
// drive c is its home folder, drive z what `root` is on.
void MoveToComputerIn(const std::filesystem::path& root);
// As it was before.
void LeaveComputer();

// From here on a document that is opened, and an address, are written to the file `opened` instead, once and whole.
// `programs` is a folder for what does so.
void CatchOpenedDocuments(const std::filesystem::path& programs, const std::filesystem::path& opened);

}  // namespace zelkor::tests
