// The socket of the local link: where it stands, who may reach it, and clients that speak no frames.
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "lib/channel_fixture.h"
#include "lib/channel_frame.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;

class ChannelSocket : public Channel {
 protected:
  [[nodiscard]] fs::path Run() const { return Root() / "run"; }
  // The one socket of the run-time directory.
  [[nodiscard]] fs::path SocketPath() const { return fs::directory_iterator(Run() / "zelkor")->path(); }
};

TEST_F(ChannelSocket, SaysThatNobodyServesWhereAKilledServerLeftItsSocket) {
  const pid_t child = fork();
  if (child == 0) {
    const Result<std::unique_ptr<ChannelServer>> server = ChannelServer::Listen(ProgramDir());
    raise(SIGKILL);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  ASSERT_TRUE(fs::exists(SocketPath()));
  EXPECT_EQ(ChannelClient::Connect(ProgramDir(), seconds(5)).Why(), Cause::NotFound);
  Listen();
  Connect();
  EXPECT_TRUE(client_->IsOpen());
}

TEST_F(ChannelSocket, IsTheSameUnderAnotherSpellingOfTheProgramDirectory) {
  Listen();
  fs::create_directory_symlink(ProgramFolder(), Root() / "link");
  EXPECT_EQ(ChannelServer::Listen(OnDriveZ(Root() / "link")).Why(), Cause::Exists);
}

TEST_F(ChannelSocket, StandsWhereOnlyItsUserCanReachIt) {
  Listen();
  struct stat info {};
  ASSERT_EQ(stat((Run() / "zelkor").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700U);
  ASSERT_EQ(stat(SocketPath().c_str(), &info), 0);
  EXPECT_TRUE(S_ISSOCK(info.st_mode));
  EXPECT_EQ(info.st_mode & 0777, 0600U);
  const fs::path socket = SocketPath();
  server_.reset();
  EXPECT_FALSE(fs::exists(socket));
}

TEST_F(ChannelSocket, DoesNotUseAFolderThatOthersMayEnter) {
  fs::create_directory(Run() / "zelkor");
  fs::permissions(Run() / "zelkor", fs::perms::owner_all | fs::perms::others_exec);
  Listen();
  EXPECT_TRUE(fs::is_empty(Run() / "zelkor"));
  Connect();
  EXPECT_TRUE(client_->IsOpen());
}

TEST_F(ChannelSocket, DoesNotFollowALinkInPlaceOfItsFolder) {
  fs::create_directory(Root() / "elsewhere");
  fs::permissions(Root() / "elsewhere", fs::perms::owner_all);
  fs::create_directory_symlink(Root() / "elsewhere", Run() / "zelkor");
  Listen();
  EXPECT_TRUE(fs::is_empty(Root() / "elsewhere"));
}

TEST_F(ChannelSocket, StandsInTheTemporaryFolderWithoutARunTimeDirectory) {
  fs::remove(Run());
  Listen();
  Connect();
  EXPECT_TRUE(client_->IsOpen());
  const std::string name = "zelkor-" + std::to_string(geteuid());
  EXPECT_FALSE(fs::is_empty(Root() / "tmp" / name));
}

TEST_F(ChannelSocket, WorksBelowAFolderOfAnyLength) {
  const fs::path run = Root() / std::string(200, 'r');
  fs::create_directory(run);
  setenv("XDG_RUNTIME_DIR", run.c_str(), 1);
  Listen();
  Connect();
  EXPECT_TRUE(client_->IsOpen());
  EXPECT_FALSE(fs::is_empty(run / "zelkor"));
}

// A client that speaks no frames of ours.
class RawClient : public ChannelSocket {
 protected:
  void Say(const std::string& bytes) {
    socket_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    SocketPath().string().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
  }
  // True when the server hangs up.
  bool HungUp() {
    for (int i = 0; i < 1000; ++i) {
      TurnServer(milliseconds(5));
      char c = 0;
      const ssize_t got = recv(socket_, &c, 1, MSG_DONTWAIT);
      if (got == 0 || (got < 0 && errno == ECONNRESET)) return true;
    }
    return false;
  }
  ~RawClient() override { close(socket_); }
  int socket_ = -1;
};

TEST_F(RawClient, IsLeftWhenItDoesNotGreet) {
  Listen();
  Say(EncodeFrame(FrameKind::Execute, 1, "Hello"));
  EXPECT_TRUE(HungUp());
  EXPECT_FALSE(server_->Next().has_value());
}

TEST_F(RawClient, IsLeftWhenItAnnouncesMoreThanATextMayHold) {
  Listen();
  // 65,537 bytes of text are announced; the limit is 65,536.
  Say(EncodeFrame(FrameKind::Open, kFrameVersion, {}) + std::string("\x01\x00\x01\x00\x02\x01\x00\x00\x00", 9));
  EXPECT_TRUE(HungUp());
}

TEST_F(RawClient, IsLeftWhenItIsOfAnotherVersion) {
  Listen();
  Say(EncodeFrame(FrameKind::Open, kFrameVersion + 1, {}));
  EXPECT_TRUE(HungUp());
}

}  // namespace
}  // namespace zelkor::lib
