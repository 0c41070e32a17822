// The FTP commands against real servers.

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

#include "tests/ftp/real_server.h"
#include "vandry/ftp_fixture.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using tests::RealFtpOptions;
using tests::RealFtpServer;
using Kind = RealFtpOptions::Kind;
using Tls = RealFtpOptions::Tls;

class RealServer : public FtpFixture {
 protected:
  // False where there is no such server.
  bool Begin(const RealFtpOptions& options) {
    real = std::make_unique<RealFtpServer>(options, Root() / "server");
    server = real->Address();
    user = real->User();
    password = real->Password();
    WriteNative(Home() / "sync.tmp", content);
    return true;
  }
  [[nodiscard]] std::string OnServer(const std::string& name) const { return ReadNative(real->Files() / name); }
  [[nodiscard]] std::vector<std::string> NamesOnServer() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(real->Files())) {
      if (entry.is_regular_file()) names.push_back(fs::relative(entry.path(), real->Files()).string());
    }
    return names;
  }

  const std::string content = Content(3'000'000);
  std::unique_ptr<RealFtpServer> real;
};

class AnyServer : public RealServer, public testing::WithParamInterface<RealFtpOptions> {
 protected:
  void SetUp() override {
    const std::string why = RealFtpServer::WhyNot(GetParam().kind);
    if (!why.empty()) GTEST_SKIP() << why;
    Begin(GetParam());
  }
};

std::string NameOf(const testing::TestParamInfo<RealFtpOptions>& info) {
  std::string name = info.param.kind == Kind::Vsftpd ? "Vsftpd" : "PureFtpd";
  if (info.param.tls == Tls::Offered) name += "OfferingTls";
  if (info.param.tls == Tls::Demanded) name += "DemandingTls";
  return name;
}

constexpr std::array kServers = {
    RealFtpOptions{.kind = Kind::Vsftpd},
    RealFtpOptions{.kind = Kind::Vsftpd, .tls = Tls::Demanded},
    RealFtpOptions{.kind = Kind::PureFtpd},
    RealFtpOptions{.kind = Kind::PureFtpd, .tls = Tls::Offered},
    RealFtpOptions{.kind = Kind::PureFtpd, .tls = Tls::Demanded},
};
INSTANTIATE_TEST_SUITE_P(, AnyServer, testing::ValuesIn(kServers), NameOf);

TEST_P(AnyServer, CarriesAFileThereAndBack) {
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 3000000");
  EXPECT_THAT(NamesOnServer(), testing::ElementsAre("lap.cas"));
  EXPECT_TRUE(OnServer("lap.cas") == content);
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 3000000");
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == content);
}

TEST_P(AnyServer, TakesANameAgainWhenTheTargetHasEmptiedIt) {
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 3000000");
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas"), StartsWith("Error 553"));
  WriteNative(Home() / "empty.tmp", "");
  EXPECT_EQ(Send("c:\\empty.tmp", "lap.cas"), "OK 0");
  EXPECT_EQ(fs::file_size(real->Files() / "lap.cas"), 0U);
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 3000000");
  EXPECT_TRUE(OnServer("lap.cas") == content);
}

TEST_P(AnyServer, MakesDirectoriesWithBlanks) {
  EXPECT_EQ(Send("c:\\sync.tmp", "two words.txt", "a folder/one more"), "OK 3000000");
  EXPECT_TRUE(OnServer("a folder/one more/two words.txt") == content);
  EXPECT_EQ(Get("two words.txt", "c:\\in.tmp", "a folder/one more"), "OK 3000000");
  EXPECT_EQ(Send("c:\\sync.tmp", "x.txt", real->Root() + "from the root"), "OK 3000000");
  EXPECT_TRUE(OnServer("from the root/x.txt") == content);
}

TEST_P(AnyServer, ListsADirectory) {
  real->PutFile("lists/lap.cas", "12345");
  real->PutFile("lists/two words \xc3\xa4.cas", "");
  real->PutFile("lists/a folder/x", "");
  EXPECT_EQ(List("c:\\list.tmp", "lists"), "OK 3");
  const std::string list = ReadNative(Home() / "list.tmp");
  const std::string date = "20[0-9][0-9]-[0-9][0-9]-[0-9][0-9] [0-9:]+ +";
  EXPECT_THAT(list, testing::ContainsRegex(date + "5 lap.cas\r\n"));
  EXPECT_THAT(list, testing::ContainsRegex(date + "0 two words \xe4.cas\r\n"));
  EXPECT_THAT(list, testing::ContainsRegex(date + "<DIR> a folder\r\n"));
}

TEST_P(AnyServer, LetsItselfBeConnectedTo) {
  Settings("FtpActive=1");
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 3000000");
  EXPECT_TRUE(OnServer("lap.cas") == content);
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 3000000");
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == content);
  EXPECT_EQ(List("c:\\list.tmp"), "OK 1");
}

TEST_P(AnyServer, RefusesAWrongPassword) {
  password = "other word";
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas"), StartsWith("Error 530 the server refuses the user name or password"));
  EXPECT_THAT(LogText(), Not(HasSubstr("other word")));
}

TEST_P(AnyServer, SaysWhatIsNotThere) {
  EXPECT_THAT(Get("lap.cas", "c:\\in.tmp"), StartsWith("Error 550 no such file"));
  EXPECT_THAT(Get("lap.cas", "c:\\in.tmp", "missing"), StartsWith("Error 550 no such directory"));
  EXPECT_FALSE(fs::exists(Home() / "in.tmp"));
}

// A server that is killed in the middle, slow enough for that.
class KilledServer : public AnyServer {
 protected:
  void SetUp() override {
    const std::string why = RealFtpServer::WhyNot(GetParam().kind);
    if (!why.empty()) GTEST_SKIP() << why;
    RealFtpOptions options = GetParam();
    options.bytesPerSecond = 1'500'000;
    Begin(options);
  }
  void WaitUntil(const std::function<bool()>& done) { ASSERT_TRUE(loop.RunUntil(done, std::chrono::seconds{60})); }
  static std::uintmax_t SizeOf(const fs::path& path) {
    std::error_code none;
    const std::uintmax_t size = fs::file_size(path, none);
    return none ? 0 : size;
  }
  // The only file with that extension in a folder.
  static fs::path With(const std::string& extension, const fs::path& folder) {
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder, none)) {
      if (entry.path().extension() == extension) return entry.path();
    }
    return {};
  }
};
INSTANTIATE_TEST_SUITE_P(, KilledServer,
                         testing::Values(RealFtpOptions{.kind = Kind::Vsftpd}, RealFtpOptions{.kind = Kind::PureFtpd},
                                         RealFtpOptions{.kind = Kind::PureFtpd, .tls = Tls::Demanded}),
                         NameOf);

TEST_P(KilledServer, GetsTheRestOfAnUploadAfterwards) {
  ftp->Send(Place(), "c:\\sync.tmp", "lap.cas", Done());
  WaitUntil([&] { return SizeOf(With(".part", real->Files())) > 500'000; });
  EXPECT_FALSE(fs::exists(real->Files() / "lap.cas"));
  real->KillConnections();
  // What was there is not sent again: a change in it stays.
  const fs::path part = With(".part", real->Files());
  std::fstream(part, std::ios::in | std::ios::out | std::ios::binary).put(static_cast<char>(~content[0]));
  EXPECT_EQ(WaitForReply(), "OK 3000000");
  EXPECT_EQ(real->Connections(), 2);
  EXPECT_TRUE(OnServer("lap.cas") == static_cast<char>(~content[0]) + content.substr(1));
}

TEST_P(KilledServer, GivesTheRestOfADownloadAfterwards) {
  real->PutFile("lap.cas", content);
  ftp->Get(Place(), "lap.cas", "c:\\in.tmp", Done());
  WaitUntil([&] { return SizeOf(With(".part", ProgramFolder() / "vandry.dat")) > 500'000; });
  EXPECT_FALSE(fs::exists(Home() / "in.tmp"));
  real->KillConnections();
  EXPECT_EQ(WaitForReply(), "OK 3000000");
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == content);
  EXPECT_EQ(real->Connections(), 2);
}

class FullServer : public RealServer {};

TEST_F(FullServer, SaysThatItHasNoRoomAndKeepsNothing) {
  const std::string why = RealFtpServer::WhyNot(Kind::PureFtpd);
  if (!why.empty()) GTEST_SKIP() << why;
  Begin({.kind = Kind::PureFtpd, .megabytes = 1});
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas"), StartsWith("Error 552 the server has no room"));
  EXPECT_THAT(NamesOnServer(), Not(Contains("lap.cas")));
  WriteNative(Home() / "small.tmp", "small enough");
  EXPECT_EQ(Send("c:\\small.tmp", "lap.cas"), "OK 12");
}

class Encryption : public RealServer, public testing::WithParamInterface<Kind> {
 protected:
  void SetUp() override {
    const std::string why = RealFtpServer::WhyNot(GetParam());
    if (!why.empty()) GTEST_SKIP() << why;
  }
};
INSTANTIATE_TEST_SUITE_P(, Encryption, testing::Values(Kind::Vsftpd, Kind::PureFtpd),
                         [](const auto& info) { return info.param == Kind::Vsftpd ? "Vsftpd" : "PureFtpd"; });

TEST_P(Encryption, IsUsedWhenItIsOfferedByDefault) {
  Begin({.kind = GetParam(), .tls = Tls::Demanded});
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 3000000");
  Settings("FtpTls=0");
  EXPECT_THAT(Get("lap.cas", "c:\\in.tmp"), StartsWith("Error "));
}

TEST_P(Encryption, IsDemandedWithACertificateThatIsTrusted) {
  Begin({.kind = GetParam(), .tls = Tls::Offered});
  Settings("FtpTls=2");
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas"), StartsWith("Error 6 no trusted encrypted connection with the server"));
  EXPECT_THAT(NamesOnServer(), testing::IsEmpty());
  Settings("FtpTls=2\r\nFtpCertificates=" + real->Certificate().string());
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 3000000");
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 3000000");
  EXPECT_EQ(List("c:\\list.tmp"), "OK 1");
}

TEST_P(Encryption, IsDemandedFromAServerThatHasNone) {
  Begin({.kind = GetParam()});
  Settings("FtpTls=2");
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas"), StartsWith("Error 6 no trusted encrypted connection with the server"));
  EXPECT_THAT(NamesOnServer(), testing::IsEmpty());
}

}  // namespace
}  // namespace zelkor::vandry
