#include "vandry/ftp.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

#include "tests/ftp/scripted_server.h"
#include "tests/support/full_disk.h"
#include "tests/support/matches.h"
#include "vandry/ftp_fixture.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using tests::FtpScript;

// Against a server that misbehaves as told.
class FtpTest : public FtpFixture {
 protected:
  FtpTest() {
    server = scripted.Address();
    WriteNative(Home() / "sync.tmp", content);
  }
  void Misbehave(const std::function<void(FtpScript&)>& change) { scripted.Change(change); }
  [[nodiscard]] std::string PartialName() {
    for (const std::string& name : scripted.Files()) {
      if (name.size() > 5 && name.compare(name.size() - 5, 5, ".part") == 0) return name;
    }
    return {};
  }
  [[nodiscard]] long CountOf(const std::string& word) {
    long count = 0;
    for (const std::string& command : scripted.Commands())
      count += command.substr(0, command.find(' ')) == word ? 1 : 0;
    return count;
  }

  [[nodiscard]] fs::path PartHere() const {
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(ProgramFolder() / "vandry.dat", none)) {
      if (entry.path().extension() == ".part") return entry.path();
    }
    return {};
  }
  // A part of "lap.cas" is here, and the Vandry that was getting it is gone.
  void BeginDownload() {
    scripted.PutFile("/home/lap.cas", content);
    Misbehave([](FtpScript& script) { script.stallAfter = 100'000; });
    ftp->Get(Place(), "lap.cas", "c:\\in.tmp", Done());
    const auto some = [this] {
      std::error_code none;
      const fs::path part = PartHere();
      return !part.empty() && fs::file_size(part, none) >= 50'000;
    };
    ASSERT_TRUE(loop.RunUntil(some, std::chrono::seconds{30}));
    StartAgain();
    EXPECT_FALSE(fs::exists(Home() / "in.tmp"));
    Misbehave([](FtpScript& script) { script.stallAfter = -1; });
  }

  const std::string content = Content(300'000);
  tests::ScriptedFtpServer scripted;
};

TEST_F(FtpTest, SendsUnderATemporaryNameAndRenames) {
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 300000");
  EXPECT_TRUE(scripted.File("/home/lap.cas") == content);
  EXPECT_THAT(scripted.Files(), ElementsAre("/home/lap.cas"));
  EXPECT_THAT(scripted.Commands(), Contains(tests::Matches("STOR lap.cas.[0-9a-f]{8}.part")));
  EXPECT_THAT(scripted.Commands(), Contains("RNTO lap.cas"));
  EXPECT_THAT(scripted.Commands(), Not(Contains("STOR lap.cas")));
}

TEST_F(FtpTest, MakesTheDirectoriesThatAreMissing) {
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas", "a/b c"), "OK 300000");
  EXPECT_TRUE(scripted.File("/home/a/b c/lap.cas") == content);
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas", "/x/y"), "OK 300000");
  EXPECT_TRUE(scripted.File("/x/y/lap.cas") == content);
}

TEST_F(FtpTest, ReplacesAnEmptySyncFileAndNoOther) {
  scripted.PutFile("/home/lap.cas", "");
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 300000");
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas"), tests::Matches("Error 553 .*not collected.*"));
  EXPECT_TRUE(scripted.File("/home/lap.cas") == content);
  // What is no sync file is replaced.
  scripted.PutFile("/home/lap.txt", "old");
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.txt"), "OK 300000");
  EXPECT_TRUE(scripted.File("/home/lap.txt") == content);
}

TEST_F(FtpTest, EmptiesASyncFile) {
  scripted.PutFile("/home/lap.cas", "collected");
  WriteNative(Home() / "empty.tmp", "");
  EXPECT_EQ(Send("c:\\empty.tmp", "lap.cas"), "OK 0");
  EXPECT_TRUE(scripted.HasFile("/home/lap.cas"));
  EXPECT_EQ(scripted.File("/home/lap.cas"), "");
}

TEST_F(FtpTest, DeletesFirstWhereAServerDoesNotRenameToATakenName) {
  scripted.PutFile("/home/lap.txt", "old");
  Misbehave([](FtpScript& script) { script.answers["RNTO"] = "553 it exists"; });
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.txt"), StartsWith("Error 553 "));
  EXPECT_THAT(scripted.Commands(), Contains("DELE lap.txt"));
}

TEST_F(FtpTest, GoesOnWithABrokenUpload) {
  Misbehave([](FtpScript& script) {
    script.cutAfter = 100'000;
    script.times = 2;
  });
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 300000");
  EXPECT_TRUE(scripted.File("/home/lap.cas") == content);
  EXPECT_EQ(CountOf("STOR"), 1);
  EXPECT_GE(CountOf("APPE"), 1);
}

TEST_F(FtpTest, GoesOnWithAnUploadThatAnEarlierVandryBegan) {
  Misbehave([](FtpScript& script) { script.stallAfter = 100'000; });
  ftp->Send(Place(), "c:\\sync.tmp", "lap.cas", Done());
  ASSERT_TRUE(scripted.WaitForBytes(".part", 100'000));
  StartAgain();
  Misbehave([](FtpScript& script) { script.stallAfter = -1; });
  // What the server has is not sent again: a change in it stays.
  std::string partial = scripted.File(PartialName());
  partial[0] = static_cast<char>(~partial[0]);
  scripted.PutFile(PartialName(), partial);
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 300000");
  std::string expected = content;
  expected[0] = partial[0];
  EXPECT_TRUE(scripted.File("/home/lap.cas") == expected);
}

TEST_F(FtpTest, DoesNotGoOnWithAnUploadOfAnotherFile) {
  Misbehave([](FtpScript& script) { script.stallAfter = 100'000; });
  ftp->Send(Place(), "c:\\sync.tmp", "lap.cas", Done());
  ASSERT_TRUE(scripted.WaitForBytes(".part", 100'000));
  StartAgain();
  Misbehave([](FtpScript& script) { script.stallAfter = -1; });
  std::string other = content;
  other[0] = static_cast<char>(~other[0]);
  fs::remove(Home() / "sync.tmp");
  WriteNative(Home() / "sync.tmp", other);
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 300000");
  EXPECT_TRUE(scripted.File("/home/lap.cas") == other);
}

TEST_F(FtpTest, StartsAnewWhereAServerDoesNotLetItGoOn) {
  Misbehave([](FtpScript& script) {
    script.cutAfter = 100'000;
    script.times = 1;
    script.answers["APPE"] = "550 not allowed";
  });
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 300000");
  EXPECT_TRUE(scripted.File("/home/lap.cas") == content);
}

TEST_F(FtpTest, GivesUpAnUploadThatBreaksAtTheSamePlaceEachTime) {
  Misbehave([](FtpScript& script) { script.closesAt = "STOR"; });
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas"), StartsWith("Error 5 the connection with the server broke"));
  EXPECT_EQ(CountOf("STOR"), 4);
  EXPECT_THAT(scripted.Files(), IsEmpty());
}

TEST_F(FtpTest, FindsThatTheFileTookItsNameBeforeTheConnectionBroke) {
  Misbehave([](FtpScript& script) {
    script.closesAt = "RNTO";
    script.times = 1;
  });
  // The server renames, but does not come to say so.
  ftp->Send(Place(), "c:\\sync.tmp", "lap.cas", Done());
  ASSERT_TRUE(scripted.WaitForCommand("RNTO"));
  scripted.PutFile("/home/lap.cas", content);
  EXPECT_EQ(WaitForReply(), "OK 300000");
  EXPECT_EQ(CountOf("STOR"), 1);
}

TEST_F(FtpTest, SaysThatTheServerHasNoRoom) {
  Misbehave([](FtpScript& script) { script.endOfUpload = "552 quota exceeded"; });
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "Error 552 the server has no room (quota exceeded)");
  // Nothing of it stays in the way of others.
  EXPECT_THAT(scripted.Files(), IsEmpty());
  Misbehave([](FtpScript& script) { script.answers["STOR"] = "452 disk full"; });
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "Error 452 the server has no room (disk full)");
}

// Going on would only break the connection, and with it the answer that says why.
TEST_F(FtpTest, StopsSendingAtOnceWhenTheServerSaysThatItHasNoRoom) {
  constexpr std::size_t kLong = 50'000'000;
  WriteNative(Home() / "long.tmp", Content(kLong));
  Misbehave([](FtpScript& script) { script.fullAfter = 100'000; });
  EXPECT_EQ(Send("c:\\long.tmp", "lap.cas"), "Error 552 the server has no room (disk full)");
  EXPECT_LT(scripted.Uploaded(), std::int64_t{kLong} / 2);
  EXPECT_THAT(scripted.Files(), IsEmpty());
}

TEST_F(FtpTest, HearsThatThereIsNoRoomThoughTheConnectionForTheContentBreaksFirst) {
  WriteNative(Home() / "long.tmp", Content(20'000'000));
  Misbehave([](FtpScript& script) {
    script.fullAfter = 1;
    script.breaksWhenFull = true;
  });
  EXPECT_EQ(Send("c:\\long.tmp", "lap.cas"), "Error 552 the server has no room (disk full)");
}

TEST_F(FtpTest, TriesAgainWhenTheServerIsBusy) {
  Misbehave([](FtpScript& script) { script.answers["GREETING"] = "421 too many users"; });
  EXPECT_EQ(List("c:\\list.tmp"), "Error 421 the server can not do it now (too many users)");
  EXPECT_EQ(scripted.Connections(), 4);
}

TEST_F(FtpTest, SaysThatTheLoginIsRefused) {
  password = "wrong word";
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"),
            "Error 530 the server refuses the user name or password (Login incorrect.)");
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "Error 530 the server refuses the user name or password (Login incorrect.)");
  EXPECT_EQ(List("c:\\list.tmp"), "Error 530 the server refuses the user name or password (Login incorrect.)");
  // Once each: a server may shut out who tries again and again.
  EXPECT_EQ(CountOf("PASS"), 3);
}

TEST_F(FtpTest, KeepsThePasswordOutOfTheReplyAndTheLog) {
  Misbehave([](FtpScript& script) { script.answers["PASS"] = "530 PASS secret word is wrong"; });
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"),
            "Error 530 the server refuses the user name or password (PASS *** is wrong)");
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp").find("secret"), std::string::npos);
  EXPECT_EQ(List("c:\\list.tmp").find("secret"), std::string::npos);
  EXPECT_THAT(LogText(), HasSubstr("PASS *** is wrong"));
  EXPECT_THAT(LogText(), Not(HasSubstr("secret")));
  for (const auto& entry : fs::recursive_directory_iterator(ProgramFolder())) {
    if (!entry.is_regular_file()) continue;
    EXPECT_THAT(ReadNative(entry.path()), Not(HasSubstr("secret"))) << entry.path();
  }
}

TEST_F(FtpTest, SpellsNoMarkOfSuccessInAFailure) {
  Misbehave([](FtpScript& script) { script.answers["PASS"] = "530 NOT OK, Error"; });
  EXPECT_EQ(List("c:\\list.tmp"), "Error 530 the server refuses the user name or password (NOT ok, error)");
}

TEST_F(FtpTest, SaysThatADirectoryIsMissing) {
  EXPECT_THAT(Get("lap.cas", "c:\\in.tmp", "missing"), StartsWith("Error 550 no such directory on the server"));
  Misbehave([](FtpScript& script) { script.answers["MKD"] = "550 not allowed"; });
  EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas", "missing"), StartsWith("Error 550 no such directory on the server"));
  EXPECT_THAT(List("c:\\list.tmp", "missing"), StartsWith("Error 550 no such directory on the server"));
  EXPECT_FALSE(fs::exists(Home() / "in.tmp"));
  EXPECT_FALSE(fs::exists(Home() / "list.tmp"));
}

TEST_F(FtpTest, SaysThatThereIsNoSuchServer) {
  server = "127.0.0.1:1";
  EXPECT_THAT(List("c:\\list.tmp"), StartsWith("Error 3 the server can not be reached"));
  server = "no-such-host.invalid";
  EXPECT_THAT(List("c:\\list.tmp"), StartsWith("Error 2 no such server"));
}

// Where a server may fall silent during each of the three commands.
class SilentServer : public FtpTest, public testing::WithParamInterface<const char*> {};

TEST_P(SilentServer, IsGivenUpWithoutATraceOfTheFile) {
  Settings("FtpTimeout=1");
  scripted.PutFile("/home/there.cas", content);
  Misbehave([](FtpScript& script) { script.silentAt = GetParam(); });
  const std::string word = GetParam();
  if (word != "RETR" && word != "MLSD") {
    EXPECT_THAT(Send("c:\\sync.tmp", "lap.cas"), StartsWith("Error 4 the server does not answer"));
    EXPECT_FALSE(scripted.HasFile("/home/lap.cas"));
  }
  if (word == "GREETING" || word == "PASS" || word == "RETR") {
    EXPECT_THAT(Get("there.cas", "c:\\in.tmp"), StartsWith("Error 4 the server does not answer"));
    EXPECT_FALSE(fs::exists(Home() / "in.tmp"));
  }
  if (word == "GREETING" || word == "PASS" || word == "MLSD") {
    EXPECT_THAT(List("c:\\list.tmp"), StartsWith("Error 4 the server does not answer"));
    EXPECT_FALSE(fs::exists(Home() / "list.tmp"));
  }
}

INSTANTIATE_TEST_SUITE_P(, SilentServer, testing::Values("GREETING", "PASS", "STOR", "SIZE", "RNTO", "RETR", "MLSD"));

TEST_F(FtpTest, AsksAgainWhenTheServerDoesNotSayThatAFileArrived) {
  Settings("FtpTimeout=1");
  Misbehave([](FtpScript& script) { script.silentAt = "226"; });
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 300000");
  EXPECT_TRUE(scripted.File("/home/lap.cas") == content);
  EXPECT_EQ(CountOf("STOR"), 1);
}

TEST_F(FtpTest, GivesUpAServerThatFallsSilentInATransfer) {
  Settings("FtpTimeout=1");
  scripted.PutFile("/home/there.cas", content);
  Misbehave([](FtpScript& script) { script.stallAfter = 0; });
  EXPECT_THAT(Get("there.cas", "c:\\in.tmp"), StartsWith("Error 4 the server does not answer"));
  EXPECT_FALSE(fs::exists(Home() / "in.tmp"));
}

TEST_F(FtpTest, GetsAFileThatAppearsWhenItIsWhole) {
  scripted.PutFile("/home/lap.cas", content);
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 300000");
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == content);
  scripted.PutFile("/home/empty.cas", "");
  EXPECT_EQ(Get("empty.cas", "c:\\in.tmp"), "OK 0");
  EXPECT_EQ(ReadNative(Home() / "in.tmp"), "");
}

TEST_F(FtpTest, SaysThatAFileIsNotThere) {
  EXPECT_THAT(Get("lap.cas", "c:\\in.tmp"), StartsWith("Error 550 no such file on the server"));
  EXPECT_FALSE(fs::exists(Home() / "in.tmp"));
}

TEST_F(FtpTest, GoesOnWithABrokenDownload) {
  scripted.PutFile("/home/lap.cas", content);
  Misbehave([](FtpScript& script) {
    script.cutAfter = 100'000;
    script.times = 2;
  });
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 300000");
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == content);
  EXPECT_THAT(scripted.Commands(), Contains(tests::Matches("REST [1-9][0-9]+")));
}

TEST_F(FtpTest, GoesOnWithADownloadThatAnEarlierVandryBegan) {
  BeginDownload();
  // What is here is not got again: a change in it stays.
  const fs::path part = PartHere();
  std::string begun = ReadNative(part);
  ASSERT_GT(begun.size(), 50'000U);
  begun[0] = static_cast<char>(~begun[0]);
  WriteNative(part, begun);
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 300000");
  std::string expected = content;
  expected[0] = begun[0];
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == expected);
}

TEST_F(FtpTest, DoesNotGoOnWithAFileThatChangedOnTheServer) {
  BeginDownload();
  const std::string other = "x" + Content(299'000).substr(1);
  scripted.PutFile("/home/lap.cas", other);
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 299000");
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == other);
}

TEST_F(FtpTest, GetsAFileFromAServerThatTellsNoDates) {
  scripted.PutFile("/home/lap.cas", content);
  Misbehave([](FtpScript& script) { script.answers["MDTM"] = "502 not known"; });
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 300000");
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == content);
}

TEST_F(FtpTest, SweepsADownloadThatNobodyWentOnWithForThirtyDays) {
  const fs::path old = ProgramFolder() / "vandry.dat/get-0123456789abcdef.part";
  const fs::path newer = ProgramFolder() / "vandry.dat/get-0123456789abcde0.part";
  for (const fs::path& path : {old, newer}) WriteNative(path, "x");
  fs::last_write_time(old, fs::file_time_type::clock::now() - std::chrono::hours{24 * 31});
  fs::last_write_time(newer, fs::file_time_type::clock::now() - std::chrono::hours{24 * 29});
  StartAgain();
  EXPECT_FALSE(fs::exists(old));
  EXPECT_TRUE(fs::exists(newer));
}

TEST_F(FtpTest, SaysThatOurOwnFileCanNotBeUsed) {
  EXPECT_THAT(Send("c:\\missing.tmp", "lap.cas"), tests::Matches("Error 10 .*missing.tmp.*"));
  scripted.PutFile("/home/lap.cas", content);
  EXPECT_THAT(Get("lap.cas", "c:\\no such folder\\in.tmp"), tests::Matches("Error 10 .*in.tmp.*"));
  EXPECT_THAT(Send("c:\\sync.tmp", "../lap.cas"), tests::Matches("Error 10 .*can not be the name.*"));
  EXPECT_THAT(scripted.Commands(), Not(Contains(StartsWith("STOR"))));
}

TEST_F(FtpTest, SaysThatOurOwnDiskIsFullAndGoesOnWhenThereIsRoom) {
  if (!tests::FullDisk::Possible()) GTEST_SKIP() << "no limit on the size of files here";
  scripted.PutFile("/home/lap.cas", content);
  {
    const tests::FullDisk full(100'000);
    EXPECT_THAT(Get("lap.cas", "c:\\in.tmp"), StartsWith("Error 9 "));
    EXPECT_FALSE(fs::exists(Home() / "in.tmp"));
  }
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 300000");
  EXPECT_TRUE(ReadNative(Home() / "in.tmp") == content);
}

TEST_F(FtpTest, ListsADirectoryInColumns) {
  scripted.PutFile("/home/lap.cas", "12345");
  scripted.PutFile("/home/two words.cas", "");
  EXPECT_EQ(List("c:\\list.tmp"), "OK 2");
  EXPECT_EQ(ReadNative(Home() / "list.tmp"),
            "2026-11-21 14:15:37              5 lap.cas\r\n"
            "2026-11-21 14:15:37              0 two words.cas\r\n");
}

TEST_F(FtpTest, ListsADirectoryOfAServerThatKnowsOnlyTheOldCommand) {
  scripted.PutFile("/home/lap.cas", "12345");
  Misbehave([](FtpScript& script) {
    script.machineListings = false;
    script.listing =
        "total 2\r\n-rw-r--r-- 1 u g 5 Nov 21  2024 lap.cas\r\ndrwxr-xr-x 2 u g 4096 Nov 21  2024 more\r\n";
  });
  EXPECT_EQ(List("c:\\list.tmp"), "OK 2");
  EXPECT_EQ(ReadNative(Home() / "list.tmp"),
            "2024-11-21 00:00:00              5 lap.cas\r\n"
            "2024-11-21 00:00:00          <DIR> more\r\n");
}

TEST_F(FtpTest, ListsADirectoryThatIsYetToBeMadeAsEmpty) {
  EXPECT_EQ(List("c:\\list.tmp", "new"), "OK 0");
  EXPECT_EQ(ReadNative(Home() / "list.tmp"), "");
}

TEST_F(FtpTest, EndsAListingWithoutEnd) {
  Misbehave([](FtpScript& script) { script.endlessListing = true; });
  EXPECT_THAT(List("c:\\list.tmp"), tests::Matches("Error 10 .*has no end.*"));
  EXPECT_FALSE(fs::exists(Home() / "list.tmp"));
}

TEST_F(FtpTest, EndsTheTransferInHandForANewOne) {
  Misbehave([](FtpScript& script) { script.stallAfter = 100'000; });
  bool answered = false;
  ftp->Send(Place(), "c:\\sync.tmp", "lap.cas", [&](const std::string&) { answered = true; });
  ASSERT_TRUE(scripted.WaitForCommand("STOR"));
  Misbehave([](FtpScript& script) { script.stallAfter = -1; });
  EXPECT_EQ(List("c:\\list.tmp"), "OK 1");
  EXPECT_FALSE(answered);
  EXPECT_FALSE(ftp->Busy());
}

TEST_F(FtpTest, ShowsHowFarItIs) {
  const std::string large = Content(30'000'000);
  WriteNative(Home() / "large.tmp", large);
  EXPECT_EQ(Send("c:\\large.tmp", "lap.cas"), "OK 30000000");
  EXPECT_THAT(shown, Contains(tests::Matches("Sending lap.cas: [0-9 ]+ of 30 000 000 bytes")));
  EXPECT_EQ(Get("lap.cas", "c:\\in.tmp"), "OK 30000000");
  EXPECT_THAT(shown, Contains(tests::Matches("Getting lap.cas: [0-9 ]+ of 30 000 000 bytes")));
}

TEST_F(FtpTest, WritesInTheLogWhatBecameOfIt) {
  EXPECT_EQ(Send("c:\\sync.tmp", "lap.cas"), "OK 300000");
  EXPECT_THAT(Get("missing.cas", "c:\\in.tmp"), StartsWith("Error 550"));
  EXPECT_THAT(LogText(), HasSubstr("FTPSend lap.cas to " + server + ": OK 300000\r\n"));
  EXPECT_THAT(LogText(), HasSubstr("FTPGet missing.cas from " + server + ": Error 550 no such file on the server"));
}

}  // namespace
}  // namespace zelkor::vandry
