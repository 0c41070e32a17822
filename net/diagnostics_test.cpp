#include "net/diagnostics.h"

#include "lib/remote_listing.h"
#include "tests/support/networked.h"
#include "tests/support/scripted_desktop.h"

namespace zelkor::net {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using tests::FakeVandry;

class Diagnostics : public tests::Networked {
 protected:
  void SelectFtp() {
    ChangeTarget("lap", [](TargetRec& rec) {
      rec.SetNumber(TargetRec::kConnectionType, static_cast<std::int32_t>(ConnectionType::Ftp));
      rec.SetText(TargetRec::kAddress, "ftp.example.org");
      rec.SetText(TargetRec::kUserName, "me");
      rec.SetText(TargetRec::kPassword, "secret");
      rec.SetText(TargetRec::kDirectory, "in box");
    });
  }
  // The box of a test's outcome.
  void ExpectOutcome(const std::string& text, lib::Icon icon) {
    ASSERT_EQ(user_.boxes.size(), 1U);
    EXPECT_EQ(user_.boxes[0].text, text);
    EXPECT_EQ(user_.boxes[0].icon, icon);
    EXPECT_EQ(user_.boxes[0].title, "Test Connection");
  }
  // Temporary files that are left in the program's folder.
  [[nodiscard]] std::vector<std::string> Leftovers() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(ProgramFolder())) {
      if (entry.path().filename().string().starts_with("~")) names.push_back(entry.path().filename().string());
    }
    return names;
  }
  tests::ScriptedDesktop desktop_;
};

TEST_F(Diagnostics, ShowWhoAnsweredAtAnAddress) {
  StartVandry([](FakeVandry&, const std::string&) { return "OK laptop"; });
  targets_.FindTarget("lap", false);
  TestConnection(context_);
  ExpectOutcome("Reply received from [laptop]", lib::Icon::Information);
  EXPECT_THAT(vandry_->Commands(), ElementsAre("NetTrans 10.0.0.2 NetPing"));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(Diagnostics, ShowTheCaptionOfAPing) {
  StartVandry([](FakeVandry&, const std::string&) { return std::string(); });
  targets_.FindTarget("lap", false);
  user_.onWaiting = [&](const std::string&) { vandry_->ReplyTo(0, "OK lap"); };
  TestConnection(context_);
  EXPECT_THAT(user_.waits, ElementsAre("Connecting to [lap] at 10.0.0.2..."));
}

TEST_F(Diagnostics, ShowThatNobodyAnsweredAtAnAddress) {
  StartVandry([](FakeVandry&, const std::string&) { return "Error 3 nobody listens there"; });
  targets_.FindTarget("lap", false);
  TestConnection(context_);
  ExpectOutcome("No reply from target!\r\nIs the target set to accept net connections?", lib::Icon::Critical);
}

TEST_F(Diagnostics, UploadATestFileToAServer) {
  SelectFtp();
  std::string sent;
  StartVandry([&](FakeVandry&, const std::string& command) {
    const std::string path = command.substr(command.find("\"z:") + 1);
    sent = ReadNative(NativePath(path.substr(0, path.find('"'))));
    return "OK 1";
  });
  targets_.FindTarget("lap", false);
  TestConnection(context_);
  ExpectOutcome("A test-file has been transfered to the FTP-server succesfully.", lib::Icon::Information);
  ASSERT_EQ(vandry_->Commands().size(), 1U);
  EXPECT_THAT(vandry_->Commands()[0],
              StartsWith("FTPSend \"ftp.example.org\" \"me\" \"secret\" \"in box\" \"" + ProgramDir() + "~sync"));
  EXPECT_THAT(vandry_->Commands()[0], testing::EndsWith(" \"lap.txt\""));
  EXPECT_THAT(sent, StartsWith("Test file created "));
  EXPECT_THAT(sent, testing::EndsWith(" by office\r\n"));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(Diagnostics, LeaveNoProgressInTheStatus) {
  SelectFtp();
  StartVandry([](FakeVandry& vandry, const std::string&) {
    vandry.Progress("Sending lap.txt: 52 of 52 bytes");
    return "OK 52";
  });
  targets_.FindTarget("lap", false);
  TestConnection(context_);
  EXPECT_THAT(user_.statuses, ElementsAre("Sending lap.txt: 52 of 52 bytes", ""));
}

// The program's own Vandry is killed while it waits for the other computer.
TEST_F(Diagnostics, SayThatVandryHasGoneAndWorkWithTheNextOne) {
  StartVandry([](FakeVandry&, const std::string&) { return std::string(); });
  targets_.FindTarget("lap", false);
  user_.onWaiting = [&](const std::string&) { vandry_.reset(); };
  TestConnection(context_);
  ExpectOutcome("No reply from target!\r\nIs the target set to accept net connections?\r\n\r\nVandry has gone",
                lib::Icon::Critical);
  user_.boxes.clear();
  user_.onWaiting = {};
  StartVandry([](FakeVandry&, const std::string&) { return "OK lap"; });
  TestConnection(context_);
  ExpectOutcome("Reply received from [lap]", lib::Icon::Information);
}

TEST_F(Diagnostics, ShowAFailureByTheReplyAloneEvenIfTheFileArrived) {
  SelectFtp();
  StartVandry([](FakeVandry&, const std::string&) { return "Error: transfered, but not renamed"; });
  targets_.FindTarget("lap", false);
  TestConnection(context_);
  ExpectOutcome("Cannot transfer test file to FTP-server!\r\nIs the server-name,Username and password correct?",
                lib::Icon::Critical);
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(Diagnostics, SayWhatCanNotBeSent) {
  SelectFtp();
  ChangeTarget("lap", [](TargetRec& rec) { rec.SetText(TargetRec::kPassword, "a\"b"); });
  StartVandry();
  targets_.FindTarget("lap", false);
  TestConnection(context_);
  ExpectOutcome("The password holds a double quote", lib::Icon::Critical);
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
}

TEST_F(Diagnostics, EndWhenTheTestFileCanNotBeWritten) {
  StartVandry();
  targets_.FindTarget("lap", false);
  std::error_code inUse;
  fs::remove_all(ProgramFolder(), inUse);
  if (fs::exists(ProgramFolder())) GTEST_SKIP() << "a folder whose files are open stays here";
  TestConnection(context_);
  EXPECT_THAT(user_.Messages(), ElementsAre(StartsWith("Can not open ")));
  EXPECT_THAT(vandry_->Commands(), IsEmpty());
}

TEST_F(Diagnostics, OpenAMediumInTheFileManagerWithoutAMessage) {
  tests::CatchOpenedDocuments(Root() / "bin", Root() / "opened");
  fs::create_directory(Home() / "stick");
  ChangeTarget("home", [](TargetRec& rec) { rec.SetText(TargetRec::kMediaPath, "c:\\stick"); });
  targets_.FindTarget("home", false);
  TestConnection(context_);
  EXPECT_EQ(tests::WaitForFile(Root() / "opened"), (Home() / "stick").string());
  EXPECT_THAT(user_.boxes, IsEmpty());
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(Diagnostics, ShowTheDirectoryOfAServer) {
  SelectFtp();
  StartVandry([&](FakeVandry&, const std::string& command) {
    const std::string path = command.substr(command.find("\"z:") + 1);
    WriteNative(NativePath(path.substr(0, path.find('"'))), "one line\r\nanother, with blanks\r\n");
    return "OK 2";
  });
  targets_.FindTarget("lap", false);
  ShowFtpDirectory(context_, desktop_);
  ASSERT_EQ(desktop_.lists.size(), 1U);
  EXPECT_EQ(desktop_.lists[0].title, "FTP-Dir at server");
  EXPECT_EQ(desktop_.lists[0].options, 0U);
  EXPECT_THAT(desktop_.lists[0].entries, ElementsAre("one line", "another, with blanks"));
  EXPECT_THAT(user_.statuses, ElementsAre("Reading directory...", ""));
  EXPECT_THAT(vandry_->Commands(),
              ElementsAre(StartsWith("FTPDir \"ftp.example.org\" \"me\" \"secret\" \"in box\" \"" + ProgramDir())));
  EXPECT_THAT(Leftovers(), IsEmpty());
}

TEST_F(Diagnostics, SayThatTheDirectoryCanNotBeRead) {
  SelectFtp();
  StartVandry([](FakeVandry&, const std::string&) { return "Error 530 login refused"; });
  targets_.FindTarget("lap", false);
  ShowFtpDirectory(context_, desktop_);
  EXPECT_THAT(user_.Messages(), ElementsAre("DIR-command failed!"));
  EXPECT_EQ(user_.boxes[0].icon, lib::Icon::Critical);
  EXPECT_THAT(desktop_.lists, IsEmpty());
  EXPECT_THAT(user_.statuses, ElementsAre("Reading directory...", ""));
}

}  // namespace
}  // namespace zelkor::net
