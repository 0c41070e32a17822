// What tests need of the system beside what lib/ has of it: the environment of one computer in a folder of its own.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace zelkor::tests {

// An environment variable of this process.
void SetVariable(const char* name, const std::string& value);
void ClearVariable(const char* name);

// From here on the process is in the zone of that name. False where only the whole system can be moved; tests for which
// that matters are run there in UTC.
bool MoveToZone(const char* zone);
// It is in the system's own again.
void LeaveZone();

// Whether files have modes: rights of their owner, their group and everybody.
[[nodiscard]] bool HasModes();

// The mode of a file: 0600 and the like. Only where files have modes.
[[nodiscard]] unsigned ModeOf(const std::filesystem::path& path);

// What the processors have worked for this process so far.
[[nodiscard]] std::chrono::duration<double, std::milli> ProcessorTime();

// Bytes of memory that this process holds.
[[nodiscard]] std::size_t MemoryInUse();

// A new empty folder on another file system than the temporary folder; empty when there is none that may be used.
[[nodiscard]] std::filesystem::path MakeFolderElsewhere();

// Whether the system's own paths are of the program's form already.
[[nodiscard]] bool NativePathsAreTheForm();

// What is more than the other end of the local link takes to answer when it lives.
[[nodiscard]] std::chrono::milliseconds LinkPatience();

// A new empty folder in the system's temporary one.
[[nodiscard]] std::filesystem::path MakeTemporaryFolder();

// From here on this process is on a computer whose folders home, config, program, run, tmp and cache are in `root`:
// drive c is its home folder, drive z what `root` is on.
void MoveToComputerIn(const std::filesystem::path& root);
// As it was before.
void LeaveComputer();

// From here on a document that is opened, a folder, and an address, are written to the file `opened` instead, once and
// whole. `programs` is a folder for what does so. Documents are those called .html and .doc.
void CatchOpenedDocuments(const std::filesystem::path& programs, const std::filesystem::path& opened);

// Puts a program there which, each time it is started, writes a line to the file of its path and ".told": the
// ZELKOR_DIR of its environment.
void PutTellingProgram(const std::filesystem::path& program);
// What it has told, as soon as that is a whole line; empty when nothing is told for half a minute.
[[nodiscard]] std::string ToldBy(const std::filesystem::path& program);

// Keeps the port for this process, until its end, among all that ask here; false when another has it, or this one.
[[nodiscard]] bool ReservePort(std::uint16_t port);

// The content of the file as soon as it is there; empty when it does not come for half a minute.
[[nodiscard]] std::string WaitForFile(const std::filesystem::path& file);

// A file that stands there and refuses to be opened, or to be read, as long as the object lives.
class RefusingFile {
 public:
  enum class Refuses { Opening, Reading };
  RefusingFile(const std::filesystem::path& path, Refuses what);
  ~RefusingFile();
  RefusingFile(const RefusingFile&) = delete;
  RefusingFile& operator=(const RefusingFile&) = delete;

 private:
  std::filesystem::path path_;
  void* handle_ = nullptr;
};

}  // namespace zelkor::tests
