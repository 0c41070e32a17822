#include "sync/sources.h"

#include <algorithm>

#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/text.h"
#include "net/commands.h"

namespace zelkor::sync {

namespace {

// A word that can only be a file's or a folder's name, not an address.
bool LooksLikeAPath(const std::string& word) {
  return word.find_first_of("/\\") != std::string::npos ||
         lib::EqualNoCase(lib::FileExtension(lib::FileNamePart(word)), kSyncFileExtension);
}

}  // namespace

ImportResult Sources::Find() {
  if (request_.received) {
    // It was delivered; asking for it again would go on for ever.
    if (request_.file.empty()) return Report("No file to import!", ImportResult::NoFile);
  }
  if (!request_.file.empty()) {
    if (!lib::FileExists(request_.file)) {
      return Report("Import file [" + request_.file + "] does not exist!", ImportResult::NotThere);
    }
    files_.push_back({.path = request_.file, .named = !request_.received, .onMedium = !request_.received});
    return ImportResult::Success;
  }
  const auto type = static_cast<net::ConnectionType>(target_.Number(net::TargetRec::kConnectionType));
  const bool network = type == net::ConnectionType::Ip || type == net::ConnectionType::Ftp;
  const std::string& word = request_.place.word;
  if (!word.empty()) {
    const lib::Result<std::string> named = lib::FromCommandLine(word, request_.place.startDirectory);
    if (!network || LooksLikeAPath(word) || (named.Ok() && lib::FileExists(*named))) {
      return named.Ok() ? FindPlace(*named) : Report(named.Failure().Message(), ImportResult::NotThere);
    }
  }
  if (!network) return FindOnMedium(target_.Text(net::TargetRec::kMediaPath));
  const std::string address = AddressOf(target_, request_.place);
  return type == net::ConnectionType::Ip ? RequestFrom(address) : FindOnServer(address);
}

ImportResult Sources::FindPlace(const std::string& place) {
  if (lib::FileExists(place)) {
    files_.push_back({.path = place, .named = true, .onMedium = true});
    return ImportResult::Success;
  }
  if (lib::DirectoryExists(place)) return FindInFolder(place);
  return Report("Import file [" + place + "] does not exist!", ImportResult::NotThere);
}

ImportResult Sources::FindOnMedium(const std::string& medium) {
  if (!lib::IsRemovable(medium) || !context_.user.CanChooseFile()) return FindInFolder(medium);
  const std::string picked = context_.user.ChooseFile("Select sync-file from media", "*.cas", medium);
  if (picked.empty()) return Report("No file to import!", ImportResult::NoFile);
  if (!lib::FileExists(picked)) {
    return Report("Import file [" + picked + "] does not exist!", ImportResult::NotThere);
  }
  files_.push_back({.path = picked, .named = true, .onMedium = true});
  return ImportResult::Success;
}

ImportResult Sources::FindInFolder(const std::string& folder) {
  std::vector<std::string> foreign;
  std::vector<std::string> unreadable;
  const std::string receiver = NameOfTarget(context_.computerId, context_.computerId);
  const lib::Result<std::vector<WaitingFile>> waiting =
      FindWaitingFiles(folder, receiver, sender_, context_.targets.TargetIds(), foreign, unreadable);
  if (!waiting.Ok()) context_.log.LogLine(waiting.Failure().Message());
  for (const std::string& why : unreadable) context_.log.LogLine(why);
  anyUnreadable_ = !unreadable.empty();
  for (const std::string& path : foreign) context_.log.LogLine("[" + path + "] is not a sync file and is left alone");
  if (!waiting.Ok() || waiting->empty()) return Report("No file to import!", ImportResult::NoFile);
  for (const WaitingFile& file : *waiting) files_.push_back({.path = file.path, .onMedium = true});
  return ImportResult::Success;
}

ImportResult Sources::RequestFrom(const std::string& address) {
  if (request_.mode == ImportMode::View) {
    return Report("A sync file can be viewed on a medium only.", ImportResult::TransferFailed);
  }
  const lib::Result<std::string> command = net::NetTransOfComputer(address, "SyncMe", context_.computerId);
  if (!command.Ok()) return Report(command.Failure().Message(), ImportResult::TransferFailed);
  if (context_.link == nullptr || context_.link->SendCommand(*command, {}, true) != 0 || !context_.link->Taken()) {
    if (context_.link != nullptr && !context_.link->Text().empty()) context_.log.LogLine(context_.link->Text());
    return Report("Sync import failed", ImportResult::TransferFailed);
  }
  context_.log.LogLine("Sync request sent to [" + target_.Id() + "]");
  return ImportResult::Requested;
}

ImportResult Sources::FindOnServer(const std::string& server) {
  server_.emplace(context_, PlaceOfTarget(target_, server));
  context_.log.LogLine("Downloading file from target [" + target_.Id() + "] from server " + server);
  const std::optional<std::vector<lib::RemoteEntry>> entries = server_->List();
  if (!entries) return Report("Sync import failed", ImportResult::TransferFailed);
  const std::string receiver = NameOfTarget(context_.computerId, context_.computerId);
  const std::vector<std::string> knownIds = context_.targets.TargetIds();
  std::vector<Source> found;
  std::vector<WaitingFile> waiting;
  for (const lib::RemoteEntry& entry : *entries) {
    if (entry.directory || entry.size == 0 || !IsSyncFileNameFor(entry.name, receiver, knownIds)) continue;
    if (!Download(entry.name, found, waiting)) return Report("Sync import failed", ImportResult::TransferFailed);
  }
  if (waiting.empty()) return Report("No file to import!", ImportResult::NoFile);
  SortOldestFirst(waiting);
  for (const WaitingFile& file : waiting) {
    files_.push_back(*std::find_if(found.begin(), found.end(),
                                   [&](const Source& source) { return source.remoteName == file.path; }));
  }
  return ImportResult::Success;
}

bool Sources::Download(const std::string& name, std::vector<Source>& found, std::vector<WaitingFile>& waiting) {
  auto copy = std::make_shared<TemporarySyncFile>();
  if (!copy->Failure().Ok()) {
    context_.log.LogLine(copy->Failure().Message());
    return false;
  }
  // Whoever downloads puts a whole file in its place.
  copy->Content().Close();
  if (!server_->Download(name, copy->Path())) return false;
  WaitingFile file{.path = name, .header = {}};
  const lib::Result<lib::File> opened = lib::File::Open(copy->Path(), lib::OpenMode::Read);
  const lib::Result<std::size_t> got =
      opened.Ok() ? opened->ReadAt(0, file.header.Bytes()) : lib::Result<std::size_t>(opened.Failure());
  if (!got.Ok()) {
    context_.log.LogLine(got.Failure().Message());
    return false;
  }
  if (*got < SyncFileHeader::kBytes || !file.header.IsSyncFile()) {
    context_.log.LogLine("[" + name + "] is not a sync file and is left alone");
    return true;
  }
  if (file.header.Sender() != sender_) return true;
  found.push_back({.path = copy->Path(), .remoteName = name, .copy = copy});
  waiting.push_back(std::move(file));
  return true;
}

void Sources::RemoveCollected() {
  for (const Source& source : files_) {
    if (!source.collected || source.named || source.spanned) continue;
    if (source.remoteName.empty()) {
      lib::KillFile(source.path);
    } else if (!server_->MarkCollected(source.remoteName)) {
      context_.log.LogLine("[" + source.remoteName + "] stays on the FTP-server and will be read again");
    }
  }
}

ImportResult Sources::Report(const std::string& text, ImportResult result) {
  context_.log.Report(text);
  return result;
}

}  // namespace zelkor::sync
