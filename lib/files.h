// The door to the file system. Paths are in the program's form; names resolve without regard to case (native_path.h).
// Errors name the path in the program's form. New files are made with mode 0600 unless said otherwise, and never
// through a link.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lib/date.h"
#include "lib/status.h"

namespace zelkor::lib {

// What the system tells about a file.
struct FileInfo {
  std::int64_t size = 0;  // bytes
  // Local times to the second. Only an open file tells a creation time that SetTimes has kept beside the system's own.
  Date created = 0;
  Date written = 0;
  bool directory = false;
  bool readOnly = false;  // no write bit for its owner
  // Changes whenever content or times change: nanoseconds of the last write and of the last change, mixed.
  std::int64_t changeStamp = 0;
  // Both together name the file.
  std::uint64_t device = 0;
  std::uint64_t index = 0;
};

enum class OpenMode {
  Read,       // an existing file
  ReadWrite,  // an existing file, or a new empty one
  Existing,   // an existing file, for reading and writing
  CreateNew,  // a new empty file; fails with Exists when the name is taken, also by a link
  Truncate,   // an existing file emptied, or a new one
};

// How far a copy came.
struct CopyOutcome {
  std::int64_t copied = 0;   // bytes that stand in the destination
  bool sourceEnded = false;  // the source had fewer bytes than asked for
  bool readFailed = false;   // `status` tells of the source, not of the destination
  Status status;
};

// An open file; closed when the object goes. Positions are absolute, there is no file pointer.
class File {
 public:
  File();
  ~File();
  File(File&&) noexcept;
  File& operator=(File&&) noexcept;
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  [[nodiscard]] static Result<File> Open(std::string_view path, OpenMode mode);

  [[nodiscard]] bool IsOpen() const;
  void Close();
  // The path it was opened with.
  [[nodiscard]] const std::string& Path() const;

  // Reads as much as there is: fewer bytes than asked for only at the end of the file.
  [[nodiscard]] Result<std::size_t> ReadAt(std::int64_t offset, std::span<char> out) const;
  // Writes all, or fails (some bytes may then have been written).
  [[nodiscard]] Status WriteAt(std::int64_t offset, std::span<const char> bytes);
  [[nodiscard]] Status Append(std::span<const char> bytes);
  [[nodiscard]] Result<std::int64_t> Length() const;
  [[nodiscard]] Status SetLength(std::int64_t length);
  // Content and length are on the medium when this returns.
  [[nodiscard]] Status Flush();
  // These bytes begin to go to the medium, where the system can be told so; a Flush to come then has less to wait for,
  // and tells of failures.
  void BeginFlush(std::int64_t offset, std::int64_t count);
  [[nodiscard]] Result<FileInfo> Info() const;
  // Whether size, content and times are what `before` tells of the same file.
  [[nodiscard]] Result<bool> StillIs(const FileInfo& before) const;
  // The device alone, as in FileInfo, for less.
  [[nodiscard]] Result<std::uint64_t> Device() const;
  // Sets creation and last-write time; the access time keeps its value. A zero date, and a creation time that is no
  // date, is left as it is.
  [[nodiscard]] Status SetTimes(Date created, Date written);

 private:
  friend class NewFile;
  friend class UnnamedFile;
  friend class UnnamedFileMaker;
  friend Status MoveToFreeName(File&, std::string_view);
  friend CopyOutcome CopyRange(const File&, std::int64_t, File&, std::int64_t, std::int64_t);
  struct State;
  std::unique_ptr<State> state_;
};

// Copies `count` bytes, by the kernel where it can, in large pieces otherwise.
[[nodiscard]] CopyOutcome CopyRange(const File& from, std::int64_t fromOffset, File& to, std::int64_t toOffset,
                                    std::int64_t count);

// What a file is to hold, made ahead of the decision to take it: a file without a name, which is gone with the object
// unless a NewFile takes it over.
class UnnamedFile {
 public:
  UnnamedFile(UnnamedFile&&) noexcept;
  UnnamedFile& operator=(UnnamedFile&&) noexcept;
  UnnamedFile(const UnnamedFile&) = delete;
  UnnamedFile& operator=(const UnnamedFile&) = delete;
  ~UnnamedFile();

  [[nodiscard]] File& Content();

 private:
  friend class NewFile;
  friend class UnnamedFileMaker;
  struct State;
  explicit UnnamedFile(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

// Makes files without a name, on any one thread: only the directory as it is spelled is looked at, and what was found
// out about it serves all files in a row that may go there.
class UnnamedFileMaker {
 public:
  UnnamedFileMaker();
  UnnamedFileMaker(const UnnamedFileMaker&) = delete;
  UnnamedFileMaker& operator=(const UnnamedFileMaker&) = delete;
  ~UnnamedFileMaker();

  // Whether this system has such files at all; a file system may still have none.
  [[nodiscard]] static bool Works();
  // `path` is the name that the file may get; only its directory counts, which may still be missing: it will be made
  // below the nearest one that is there. Fails where files can not be without a name.
  [[nodiscard]] Result<UnnamedFile> Make(std::string_view path);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// A file that takes its name only when it is whole. Until Commit it exists without a name, or where the file system
// cannot do that under a temporary name in the same directory; when the object goes without Commit it is gone too.
class NewFile {
 public:
  enum class Access { Usual, OwnerOnly };

  // `path` is the name to take. PathNotFound when its directory does not exist; ReadOnly when a file of that name
  // exists and its owner may not write it; Exists when the name is a directory's. With OwnerOnly nobody else can ever
  // read the file, whatever the mode of one that it replaces.
  [[nodiscard]] static Result<NewFile> Create(std::string_view path, Access access = Access::Usual);
  // The same, with what was made ahead as its content, which is taken over on success; fails too when that was not made
  // for this directory.
  [[nodiscard]] static Result<NewFile> Create(std::string_view path, UnnamedFile& content);
  NewFile(NewFile&&) noexcept;
  NewFile& operator=(NewFile&&) noexcept;
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile();

  [[nodiscard]] File& Content();
  // Takes the name, replacing a file that has it (the new file takes over its mode; a new name gets the mode that the
  // user's umask gives to new files).
  [[nodiscard]] Status Replace();
  // Takes the name unless it is taken: Exists then.
  [[nodiscard]] Status TakeFreeName();

 private:
  struct State;
  explicit NewFile(std::unique_ptr<State> state);
  // Finds what stands under the name; everything but a content.
  [[nodiscard]] static Result<std::unique_ptr<State>> Prepare(std::string_view path, Access access);
  std::unique_ptr<State> state_;
};

// Moves a finished file to a free name on its own file system; its content is on the medium before. Everything is then
// as if it had been copied there as a NewFile: the name is taken at once or not at all, and its mode is a new file's.
// Nothing has happened when this fails, as it does between file systems and where the directory gives its new files a
// group or rights of its own; a copy may succeed then.
[[nodiscard]] Status MoveToFreeName(File& file, std::string_view path);

[[nodiscard]] Result<FileInfo> GetFileInfo(std::string_view path);
// The same for the one spelling given; may be called on any thread.
[[nodiscard]] Result<FileInfo> GetInfoAsSpelled(std::string_view path);
// The name, trimmed of blanks, is not empty, does not end in "\" and names an existing file (no directory), hidden
// ones included; any error while looking yields false.
[[nodiscard]] bool FileExists(std::string_view path);
[[nodiscard]] bool DirectoryExists(std::string_view path);

// Renames within one directory or file system, replacing a file that has the new name, unless that is read-only.
[[nodiscard]] Status RenameFile(std::string_view from, std::string_view to);
// A read-only file is not deleted; of a link the link itself is.
[[nodiscard]] Status DeleteFile(std::string_view path);
// Deletes a file; every error is ignored. Wildcards are no wildcards here.
void KillFile(std::string_view path);

// Creates every missing directory of a path X:\…, a trailing "\" being ignored. False when the path is not of that
// form or a level could not be made.
bool MakePath(std::string_view path);

// The names in a directory, in byte order. `directory` marks directories and links to them, `link` every link, `other`
// what is neither a file nor a directory (a pipe, a device, a link to such a thing or to nothing).
// A name that the program's form cannot carry is listed with `refused` saying why, its text as far as it can be shown.
struct DirectoryEntry {
  std::string name;
  bool directory = false;
  bool link = false;
  bool other = false;
  Status refused;
};
[[nodiscard]] Result<std::vector<DirectoryEntry>> ListDirectory(std::string_view directory);

// A file system, held through one of its directories.
class Volume {
 public:
  // The one that `path` is on, or would be on: a file's directory has to exist, the file need not.
  [[nodiscard]] static Result<Volume> Of(std::string_view path);
  Volume(Volume&&) noexcept;
  Volume& operator=(Volume&&) noexcept;
  Volume(const Volume&) = delete;
  Volume& operator=(const Volume&) = delete;
  ~Volume();

  // The changes made so far to its files are on the medium when this returns. May be called on any thread.
  [[nodiscard]] Status Flush() const;

 private:
  struct State;
  explicit Volume(std::unique_ptr<State> state);
  std::unique_ptr<State> state_;
};

// The renames and new names of a directory are on the medium when this returns.
[[nodiscard]] Status FlushDirectory(std::string_view directory);

// Opens a file without an error: `mode` by its first letter in either case, "b" binary and "r" random access (read and
// write, created when missing), "i" input (existing), "o" output (emptied or created). Options: 1 shows
// "Can not open " and the name on failure, 2 deletes the file first. The result is the error number, 0 for success.
inline constexpr int kShowError = 1;
inline constexpr int kDeleteFirst = 2;
class User;
[[nodiscard]] int OpenFileSafe(std::string_view path, char mode, File& file, int options, User& user);

// Appends the whole content of `source` to `destination`.
[[nodiscard]] Status CopyFileData(const File& source, File& destination);

// The path of a file that does not exist yet: directory (with "\" appended when missing), prefix ("~" when empty), a
// counter from 00 on, ".", extension ("tmp" when empty). The file is not created.
[[nodiscard]] std::string TempFileName(std::string_view directory, std::string_view prefix, std::string_view extension);

// Reads a whole small file of at most `limit` bytes; Damaged when it is longer.
[[nodiscard]] Result<std::string> ReadSmallFile(std::string_view path, std::int64_t limit);

}  // namespace zelkor::lib
