#include "lib/posix/channel_socket.h"

#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <span>
#include <sys/socket.h>
#include <sys/stat.h>

#include "lib/native_path.h"
#include "lib/posix/drives.h"
#include "lib/posix/system_error.h"
#include "lib/secret.h"

namespace zelkor::lib::posix {

namespace {

bool IsOwnDirectory(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid();
}

}  // namespace

std::vector<std::string> ChannelFolders() {
  std::vector<std::string> folders;
  const std::string user = std::to_string(geteuid());
  // A program that was started by a timer knows less of its session than one started by hand; both must meet.
  std::string runtime = Environment("XDG_RUNTIME_DIR");
  if (runtime.empty() || runtime.front() != '/') runtime = "/run/user/" + user;
  if (IsOwnDirectory(runtime)) folders.push_back(runtime + "/zelkor");
  const std::string temporary = Environment("TMPDIR");
  folders.push_back((temporary.empty() ? "/tmp" : temporary) + "/zelkor-" + user);
  return folders;
}

Result<Descriptor> OpenChannelFolder(const std::string& folder, bool make) {
  if (make && mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return SystemFailure(errno, folder);
  Descriptor opened(
      Uninterrupted([&] { return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
  if (!opened.IsOpen()) return SystemFailure(errno, folder);
  struct stat info {};
  if (fstat(opened.Get(), &info) != 0) return SystemFailure(errno, folder);
  if (info.st_uid != geteuid() || (info.st_mode & 077) != 0) {
    return Failure(Cause::Refused, folder, "the folder is not this user's alone");
  }
  return opened;
}

Result<std::string> ChannelSocketName(std::string_view programDir) {
  const Result<std::string> native = ToNative(programDir);
  if (!native.Ok()) return native.Failure();
  std::array<char, PATH_MAX> resolved{};
  if (realpath(native->c_str(), resolved.data()) == nullptr) return SystemFailure(errno, programDir);
  // FNV-1a, 64 bits (http://www.isthe.com/chongo/tech/comp/fnv): the path itself would be too long for a name.
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char* c = resolved.data(); *c != '\0'; ++c) {
    hash = (hash ^ static_cast<std::uint8_t>(*c)) * 0x100000001b3;
  }
  std::array<char, 40> name{};
  std::snprintf(name.data(), name.size(), "vandry-%016llx", static_cast<unsigned long long>(hash));
  return std::string(name.data());
}

std::string PathInFolder(const Descriptor& folder, std::string_view name) {
  return "/proc/self/fd/" + std::to_string(folder.Get()) + "/" + std::string(name);
}

Descriptor NewChannelSocket() { return Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)); }

bool PeerIsThisUser(const Descriptor& socket) {
  ucred peer{};
  socklen_t length = sizeof peer;
  return getsockopt(socket.Get(), SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.uid == geteuid();
}

void ChannelConnection::Send(FrameKind kind, std::uint32_t number, std::string_view text) {
  if (!IsOpen()) return;
  // A password may be among what passes here.
  std::string frame = EncodeFrame(kind, number, text);
  const WipedAtEnd wiped(frame);
  AppendWiped(out_, frame);
  Write();
}

void ChannelConnection::Write() {
  while (IsOpen() && !out_.empty()) {
    const ssize_t sent = Uninterrupted([&] { return send(socket_.Get(), out_.data(), out_.size(), MSG_NOSIGNAL); });
    if (sent > 0) {
      EraseFrontWiped(out_, static_cast<std::size_t>(sent));
      continue;
    }
    // What the other end said before it went is still to be read; reading will find the end.
    if (errno != EAGAIN) Wipe(out_);
    return;
  }
}

void ChannelConnection::Read() {
  // One piece at a time, so that an endless talker does not keep the caller here.
  std::array<char, 65536> piece;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by the system
  if (!IsOpen()) return;
  const ssize_t got = Uninterrupted([&] { return recv(socket_.Get(), piece.data(), piece.size(), 0); });
  if (got < 0 && errno == EAGAIN) return;
  if (got > 0) {
    reader_.Add({piece.data(), static_cast<std::size_t>(got)});
    Wipe(std::span(piece).first(static_cast<std::size_t>(got)));
    return;
  }
  Close();
}

std::optional<Frame> ChannelConnection::Next() {
  std::optional<Frame> frame = reader_.Next();
  if (reader_.Broken()) Close();
  return frame;
}

}  // namespace zelkor::lib::posix
