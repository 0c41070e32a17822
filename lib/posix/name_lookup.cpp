#include "lib/posix/name_lookup.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "lib/code_page.h"
#include "lib/posix/descriptor.h"

namespace zelkor::lib::posix {
namespace {

// Listings are for runs of files in one directory, so a few are enough; names beyond the second number only stay in the
// listing used last.
constexpr std::size_t kMaxListings = 16;
constexpr std::size_t kMaxNames = 50000;

// A directory that changed this short a time ago may change again without its times showing it: kernels stamp changes
// with the time of their last tick, up to 10 ms old.
constexpr std::int64_t kTickNs = 20'000'000;

// Reading a directory again, to find what others made beside our own changes, may take this part of the time.
constexpr std::int64_t kRereadShare = 64;

template <class Clock>
std::int64_t NanosecondsOn() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

// The name in lower case, as the code page has it; nothing when the name is not in the code page.
std::optional<std::string> Folded(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) {
    if (static_cast<unsigned char>(c) >= 0x80) {
      const std::optional<std::string> text = FromUtf8(name);
      return text ? std::optional(Lower(*text)) : std::nullopt;
    }
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
  }
  return folded;
}

std::int64_t Nanoseconds(const timespec& time) { return time.tv_sec * 1'000'000'000 + time.tv_nsec; }

std::string Joined(const std::string& directory, std::string_view name) {
  std::string path = directory == "/" ? std::string() : directory;
  path += '/';
  path += name;
  return path;
}

bool IsDirectory(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

std::string DirectoryOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return std::string(slash == 0 || slash == std::string_view::npos ? "/" : path.substr(0, slash));
}

std::string_view NameOf(std::string_view path) { return path.substr(path.rfind('/') + 1); }

NameLookup& NameLookup::Shared() {
  static NameLookup lookup;
  return lookup;
}

NameLookup::Stamp NameLookup::StampOf(const struct stat& info) {
  return {.modified = Nanoseconds(info.st_mtim),
          .changed = Nanoseconds(info.st_ctim),
          .device = info.st_dev,
          .index = info.st_ino};
}

NameLookup::Found NameLookup::Find(const WrittenPath& written) {
  if (written.native.size() <= std::max<std::size_t>(written.root, 1)) {  // the drive's directory itself
    const bool exists = IsDirectory(written.native);
    return {.path = written.native, .exists = exists, .directoryExists = exists};
  }
  const std::string_view name = NameOf(written.native);
  const std::string_view native = written.native;
  const Directory directory = FindDirectory(native.substr(0, native.size() - name.size() - 1), written.root);
  if (!directory.exists) return {.path = Joined(directory.path, name)};
  const std::string spelling = Spelling(directory, name, false);
  return {.path = Joined(directory.path, spelling.empty() ? name : spelling),
          .exists = !spelling.empty(),
          .directoryExists = true};
}

NameLookup::Directory NameLookup::FindDirectory(std::string_view written, std::size_t root) {
  Directory result;
  result.path = written.empty() ? "/" : std::string(written);
  struct stat info {};
  const auto look = [&] {
    result.exists = stat(result.path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    if (result.exists) result.stamp = StampOf(info);
    return result.exists;
  };
  if (look() || written.size() <= root) return result;
  const std::string_view name = NameOf(written);
  const Directory parent = FindDirectory(written.substr(0, written.size() - name.size() - 1), root);
  const std::string spelling = parent.exists ? Spelling(parent, name, true) : std::string();
  result.path = Joined(parent.path, spelling.empty() ? name : spelling);
  if (!spelling.empty()) look();
  return result;
}

std::string NameLookup::Pick(const Listing& listing, std::string_view name, bool directoriesOnly) const {
  const std::optional<std::string> folded = Folded(name);
  if (!folded) return {};
  const auto [begin, end] = listing.names.equal_range(*folded);
  std::vector<std::string_view> candidates;
  for (auto i = begin; i != end; ++i) candidates.emplace_back(i->second);
  std::sort(candidates.begin(), candidates.end(), [&](std::string_view a, std::string_view b) {
    if ((a == name) != (b == name)) return a == name;
    return a < b;  // string_view compares bytes as unsigned
  });
  for (const std::string_view candidate : candidates) {
    if (!directoriesOnly || IsDirectory(Joined(listing.directory, candidate))) return std::string(candidate);
  }
  return {};
}

std::string NameLookup::Spelling(const Directory& directory, std::string_view name, bool directoriesOnly) {
  Listing* listing = ValidListing(directory);
  if (listing == nullptr) return {};
  std::string spelling = Pick(*listing, name, directoriesOnly);
  if (!spelling.empty() || listing->sure) return spelling;
  // Perhaps somebody made the name without a trace in the directory's times. In a row of our own changes that is looked
  // after now and then, otherwise at once.
  const std::int64_t age = NanosecondsOn<std::chrono::steady_clock>() - listing->readAt;
  if (listing->ownChanges && age < kRereadShare * listing->readTook) return {};
  if (!Read(*listing)) return {};
  return Pick(*listing, name, directoriesOnly);
}

std::list<NameLookup::Listing>::iterator NameLookup::ListingOf(std::string_view directory) {
  return std::find_if(listings_.begin(), listings_.end(),
                      [&](const Listing& listing) { return listing.directory == directory; });
}

bool NameLookup::HasListing(std::string_view directory) const {
  return std::any_of(listings_.begin(), listings_.end(),
                     [&](const Listing& listing) { return listing.directory == directory; });
}

NameLookup::Listing* NameLookup::ValidListing(const Directory& directory) {
  auto place = ListingOf(directory.path);
  const bool known = place != listings_.end();
  if (!known) {
    listings_.emplace_front();
    listings_.front().directory = directory.path;
    place = listings_.begin();
  } else {
    listings_.splice(listings_.begin(), listings_, place);
  }
  if (known && place->stamp == directory.stamp) return &*place;
  if (!Read(*place)) {
    listings_.erase(place);
    return nullptr;
  }
  KeepFew();
  return &listings_.front();
}

bool NameLookup::Read(Listing& listing) {
  ++listingsRead_;
  listing.readAt = NanosecondsOn<std::chrono::steady_clock>();
  const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(listing.directory.c_str()), &closedir);
  struct stat info {};
  // The times come first: a change during the reading makes the listing invalid, not wrong.
  if (!open || fstat(dirfd(open.get()), &info) != 0) return false;
  listing.stamp = StampOf(info);
  // A change would show the present time: it can only hide behind a time that is the present one.
  const std::int64_t now = NanosecondsOn<std::chrono::system_clock>();
  listing.sure = std::abs(now - listing.stamp.modified) > kTickNs && std::abs(now - listing.stamp.changed) > kTickNs;
  listing.ownChanges = false;
  listing.names.clear();
  while (const dirent* entry = readdir(open.get())) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    if (std::optional<std::string> folded = Folded(name)) listing.names.emplace(*std::move(folded), name);
  }
  listing.readTook = NanosecondsOn<std::chrono::steady_clock>() - listing.readAt;
  return true;
}

void NameLookup::KeepFew() {
  std::size_t names = 0;
  std::size_t kept = 0;
  for (auto place = listings_.begin(); place != listings_.end(); ++kept) {
    names += place->names.size();
    const bool tooMuch = kept > 0 && (kept >= kMaxListings || names > kMaxNames);
    place = tooMuch ? listings_.erase(place) : std::next(place);
  }
}

template <class Change>
void NameLookup::Follow(std::string_view path, Change change) {
  const auto place = ListingOf(DirectoryOf(path));
  if (place == listings_.end()) return;
  struct stat info {};
  if (stat(place->directory.c_str(), &info) != 0) {
    listings_.erase(place);
    return;
  }
  if (const std::optional<std::string> folded = Folded(NameOf(path))) {
    const auto [begin, end] = place->names.equal_range(*folded);
    const auto name = std::find_if(begin, end, [&](const auto& entry) { return entry.second == NameOf(path); });
    change(place->names, *folded, name == end ? place->names.end() : name);
  }
  place->stamp = StampOf(info);
  place->sure = false;
  place->ownChanges = true;
}

void NameLookup::Added(std::string_view path) {
  Follow(path, [&](auto& names, const std::string& folded, auto name) {
    if (name == names.end()) names.emplace(folded, NameOf(path));
  });
}

void NameLookup::Removed(std::string_view path) {
  Follow(path, [](auto& names, const std::string& /*folded*/, auto name) {
    if (name != names.end()) names.erase(name);
  });
}

void NameLookup::ForgetDirectory(std::string_view directory) {
  const auto place = ListingOf(directory);
  if (place != listings_.end()) listings_.erase(place);
}

void NameLookup::Forget() { listings_.clear(); }

}  // namespace zelkor::lib::posix
