#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

class PairingCommandTest : public Sandbox {
 protected:
  VandryAt office{Root(), "office"};
  VandryAt lap{Root(), "lap"};

  // Shows a code on office; what is shown.
  static std::string CodeOf(RunningProcess& shown) {
    EXPECT_TRUE(shown.WaitForOutput("Within 10 minutes"));
    return {};
  }
  static std::string CodeIn(const std::string& out) {
    const std::string before = "Pairing code: ";
    const std::size_t at = out.find(before);
    return at == std::string::npos ? "none" : out.substr(at + before.size(), 11);
  }
  // The code that office's file holds: the process's output is only known at its end.
  [[nodiscard]] std::string CodeOnDisk() const {
    const std::string text = ReadBytes(office.File("vandry.dat/pairing.txt"));
    return text.substr(0, text.find(' '));
  }
};

TEST_F(PairingCommandTest, ShowsTheSameFingerprintEachTime) {
  const std::string fingerprint = office.Fingerprint();
  EXPECT_EQ(fingerprint.size(), 79U) << fingerprint;
  EXPECT_EQ(office.Fingerprint(), fingerprint);
  EXPECT_NE(lap.Fingerprint(), fingerprint);
  struct stat info {};
  ASSERT_EQ(stat(office.File("vandry.dat/key.pem").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600U);
}

TEST_F(PairingCommandTest, PairsByFingerprintListsAndForgets) {
  const Outcome paired = office.Run({"--pair", "LAP", lap.Fingerprint()});
  EXPECT_EQ(paired.status, 0) << paired;
  EXPECT_EQ(paired.out, "Paired with [lap]. On that computer: vandry --pair office " + office.Fingerprint() + "\n");
  EXPECT_EQ(office.Run({"--paired"}).out, "lap " + lap.Fingerprint() + "\n");
  EXPECT_EQ(office.Run({"--unpair", "lap"}).status, 0);
  EXPECT_EQ(office.Run({"--paired"}).out, "");
  const Outcome again = office.Run({"--unpair", "lap"});
  EXPECT_EQ(again.status, 1);
  EXPECT_EQ(again.err, "Vandry: The computer \"lap\" is not paired\n");
}

TEST_F(PairingCommandTest, RefusesWhatCanNotBePaired) {
  const std::string own = office.Fingerprint();
  EXPECT_EQ(office.Run({"--pair", "lap", own}).err, "Vandry: That is the fingerprint of this computer itself\n");
  EXPECT_EQ(office.Run({"--pair", "office", lap.Fingerprint()}).err, "Vandry: [office] is this computer itself\n");
  EXPECT_EQ(office.Run({"--pair", "toolong", lap.Fingerprint()}).status, 2);
  EXPECT_EQ(office.Run({"--pair", "lap", "12-34"}).err, "Vandry: \"12-34\" is no pairing code\n");
  EXPECT_EQ(office.Run({"--pair", "lap"}).status, 2);
  EXPECT_EQ(office.Run({"--unpair"}).status, 2);
  EXPECT_EQ(office.Run({"--paired"}).out, "");
}

TEST_F(PairingCommandTest, PairsByACodeWithoutARunningVandry) {
  const std::unique_ptr<RunningProcess> shown = office.StartCommand({"--pair"});
  CodeOf(*shown);
  const std::string code = CodeOnDisk();
  const Outcome typed = lap.Run({"--pair", office.Address(), code.substr(0, 5) + "-" + code.substr(5)});
  EXPECT_EQ(typed.out, "Paired with [office]\n") << typed;
  const Outcome showed = shown->Wait();
  EXPECT_EQ(showed.status, 0) << showed;
  const std::string displayed = CodeIn(showed.out);
  EXPECT_EQ(displayed.substr(0, 5) + displayed.substr(6), code);
  EXPECT_NE(showed.out.find("\nPaired with [lap]\n"), std::string::npos) << showed.out;
  EXPECT_EQ(office.Run({"--paired"}).out, "lap " + lap.Fingerprint() + "\n");
  EXPECT_EQ(lap.Run({"--paired"}).out, "office " + office.Fingerprint() + "\n");
  EXPECT_FALSE(std::filesystem::exists(office.File("vandry.dat/pairing.txt")));
}

TEST_F(PairingCommandTest, PairsByACodeWithVandrysThatRun) {
  office.AcceptConnections();
  office.Start();
  lap.Start();
  EXPECT_TRUE(lap.Ask("NetTrans " + office.Address() + " NetPing").starts_with("Error "));
  const std::unique_ptr<RunningProcess> shown = office.StartCommand({"--pair"});
  CodeOf(*shown);
  const Outcome typed = lap.Run({"--pair", office.Address(), CodeOnDisk()});
  EXPECT_EQ(typed.out, "Paired with [office]\n") << typed;
  EXPECT_EQ(shown->Wait().status, 0);
  // Neither has to be started again.
  EXPECT_EQ(lap.Ask("NetTrans " + office.Address() + " NetPing"), "OK office");
}

TEST_F(PairingCommandTest, EndsWhenAWrongCodeCameFiveTimes) {
  const std::unique_ptr<RunningProcess> shown = office.StartCommand({"--pair"});
  CodeOf(*shown);
  const std::string code = CodeOnDisk();
  const std::string wrong = (code[0] == '0' ? "1" : "0") + code.substr(1);
  for (int i = 0; i < 5; ++i) {
    const Outcome typed = lap.Run({"--pair", office.Address(), wrong});
    EXPECT_EQ(typed.status, 1);
    EXPECT_EQ(typed.err, "Vandry: Not paired with " + office.Address() + ": The pairing code is wrong\n");
  }
  const Outcome showed = shown->Wait();
  EXPECT_EQ(showed.status, 1);
  EXPECT_EQ(showed.err, "Vandry: Not paired: a wrong code came too often\n");
  EXPECT_EQ(office.Run({"--paired"}).out, "");
}

TEST_F(PairingCommandTest, EndsAtAnInterruptAndLeavesNoCode) {
  const std::unique_ptr<RunningProcess> shown = office.StartCommand({"--pair"});
  CodeOf(*shown);
  shown->Signal(SIGINT);
  EXPECT_EQ(shown->Wait().status, 1);
  EXPECT_FALSE(std::filesystem::exists(office.File("vandry.dat/pairing.txt")));
}

}  // namespace
}  // namespace zelkor::tests
