// How a path is spelled on the medium. A name that does not exist as written is looked for without regard to case,
// level by level. The listings of a few directories are kept while the directories do not change, and follow the
// program's own changes, so that N files in one directory cost N steps.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_map>

#include "lib/posix/drives.h"

namespace zelkor::lib::posix {

class NameLookup {
 public:
  // The program's own: the file system is one, so is what is known of it.
  static NameLookup& Shared();

  struct Found {
    std::string path;              // levels that exist as they are spelled, the others as written
    bool exists = false;           // so far as a listing tells; the system has the last word
    bool directoryExists = false;  // the directory that the last name is in
  };
  // The exact spelling wins over one that differs in case, and among those the first in byte order; above the last
  // level only directories count.
  [[nodiscard]] Found Find(const WrittenPath& written);
  // Whether a listing of the directory is at hand, so that Find is cheap.
  [[nodiscard]] bool HasListing(std::string_view directory) const;

  // The program made a name (or put another file under it), or took one away.
  void Added(std::string_view path);
  void Removed(std::string_view path);
  // A listing turned out to be wrong.
  void ForgetDirectory(std::string_view directory);
  void Forget();

  // How many directories were read so far.
  [[nodiscard]] std::int64_t ListingsRead() const { return listingsRead_; }
  // How many listings are kept.
  [[nodiscard]] std::size_t ListingsKept() const { return listings_.size(); }

 private:
  // What changes when a directory does; times in nanoseconds.
  struct Stamp {
    std::int64_t modified = 0;
    std::int64_t changed = 0;
    std::uint64_t device = 0;
    std::uint64_t index = 0;
    bool operator==(const Stamp&) const = default;
  };
  struct Listing {
    std::string directory;
    Stamp stamp;
    // Names by their lower case, in native spelling. Names that the code page lacks are left out: nothing finds them.
    std::unordered_multimap<std::string, std::string> names;
    // False when a change may have escaped: the directory had changed just before, or the program itself changed it.
    bool sure = false;
    bool ownChanges = false;
    std::int64_t readAt = 0;    // nanoseconds of the monotonic clock
    std::int64_t readTook = 0;  // nanoseconds
  };
  struct Directory {
    std::string path;
    bool exists = false;
    Stamp stamp;
  };

  static Stamp StampOf(const struct stat& info);
  [[nodiscard]] Directory FindDirectory(std::string_view written, std::size_t root);
  // How `name` is spelled in the directory; empty when nothing there has that name.
  [[nodiscard]] std::string Spelling(const Directory& directory, std::string_view name, bool directoriesOnly);
  [[nodiscard]] std::string Pick(const Listing& listing, std::string_view name, bool directoriesOnly) const;
  // Null when the directory can not be read.
  Listing* ValidListing(const Directory& directory);
  bool Read(Listing& listing);
  void KeepFew();
  std::list<Listing>::iterator ListingOf(std::string_view directory);
  template <class Change>
  void Follow(std::string_view path, Change change);

  std::list<Listing> listings_;  // the one used last comes first
  std::int64_t listingsRead_ = 0;
};

// The directory of a native path, and its last name.
[[nodiscard]] std::string DirectoryOf(std::string_view path);
[[nodiscard]] std::string_view NameOf(std::string_view path);

// What became of an attempt on a path: 0 or an errno (ENOTDIR when a directory on the way is missing), and the path as
// it is spelled.
struct Attempted {
  int error = 0;
  std::string path;
};

// Makes `attempt` (a path to 0 or an errno) on the path as written, which is one system call when that exists, then as
// it is spelled.
template <class Attempt>
Attempted OnExisting(const WrittenPath& written, Attempt attempt) {
  const auto missing = [](int error) { return error == ENOENT || error == ENOTDIR; };
  if (const int error = attempt(written.native); !missing(error)) return {error, written.native};
  NameLookup& lookup = NameLookup::Shared();
  NameLookup::Found found = lookup.Find(written);
  for (int tries = 2; found.exists && found.path != written.native && tries > 0; --tries) {
    const int error = attempt(found.path);
    if (!missing(error)) return {error, found.path};
    lookup.ForgetDirectory(DirectoryOf(found.path));  // somebody took the name away meanwhile
    found = lookup.Find(written);
  }
  return {found.directoryExists ? ENOENT : ENOTDIR, found.path};
}

}  // namespace zelkor::lib::posix
