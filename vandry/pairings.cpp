#include "vandry/pairings.h"

#include <algorithm>

#include "lib/code_page.h"
#include "lib/files.h"
#include "lib/paths.h"
#include "lib/text.h"
#include "vandry/private_files.h"

namespace zelkor::vandry {

namespace {

constexpr std::size_t kLongestId = 6;
constexpr std::int64_t kMostFileBytes = 256 * 1024;

}  // namespace

bool IsComputerId(std::string_view text) {
  return text.size() <= kLongestId && lib::CheckName(text).Ok() && text.find_first_of(" /") == std::string_view::npos &&
         text != "." && text != ".." && lib::Lower(text) == text;
}

lib::Result<std::string> Pairings::Path() const {
  const lib::Result<std::string> folder = PrivateFolder(programDir_);
  if (!folder.Ok()) return folder.Failure();
  return *folder + "paired.txt";
}

lib::Result<std::vector<Pairing>> Pairings::All() const {
  const lib::Result<std::string> path = Path();
  if (!path.Ok()) return path.Failure();
  const lib::Result<std::string> text = lib::ReadSmallFile(*path, kMostFileBytes);
  if (!text.Ok() && text.Why() == lib::Cause::NotFound) return std::vector<Pairing>();
  if (!text.Ok()) return text.Failure();
  std::vector<Pairing> pairings;
  for (const std::string& line : lib::SplitLines(*text)) {
    if (lib::Trim(line).empty()) continue;
    const std::vector<std::string> words = lib::SplitWords(line, ' ', "\"");
    const std::optional<Fingerprint> fingerprint = words.size() == 2 ? DigestFromHex(words[1]) : std::nullopt;
    if (!fingerprint || !IsComputerId(words[0])) {
      return lib::Status(lib::Cause::Damaged, "A line of " + *path + " is no pairing: " + line);
    }
    pairings.push_back({.computerId = words[0], .fingerprint = *fingerprint});
  }
  return pairings;
}

std::optional<std::string> Pairings::IdOf(const Fingerprint& fingerprint) const {
  const lib::Result<std::vector<Pairing>> all = All();
  if (!all.Ok()) return std::nullopt;
  for (const Pairing& pairing : *all) {
    if (pairing.fingerprint == fingerprint) return pairing.computerId;
  }
  return std::nullopt;
}

lib::Status Pairings::Add(const Pairing& pairing) const {
  lib::Result<std::vector<Pairing>> all = All();
  if (!all.Ok()) return all.Failure();
  std::erase_if(*all, [&](const Pairing& each) {
    return each.computerId == pairing.computerId || each.fingerprint == pairing.fingerprint;
  });
  all->push_back(pairing);
  return Write(*all);
}

lib::Status Pairings::Remove(const std::string& computerId) const {
  lib::Result<std::vector<Pairing>> all = All();
  if (!all.Ok()) return all.Failure();
  if (std::erase_if(*all, [&](const Pairing& each) { return each.computerId == computerId; }) == 0) {
    return {lib::Cause::NotFound, "The computer \"" + computerId + "\" is not paired"};
  }
  return Write(*all);
}

lib::Status Pairings::Write(const std::vector<Pairing>& pairings) const {
  const lib::Result<std::string> path = Path();
  if (!path.Ok()) return path.Failure();
  std::string text;
  for (const Pairing& pairing : pairings) text += pairing.computerId + " " + ToHex(pairing.fingerprint) + "\r\n";
  return WritePrivateFile(*path, text);
}

}  // namespace zelkor::vandry
