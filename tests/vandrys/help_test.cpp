// What Vandry says of itself: its help, and its manual page, which must know the same words.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>

#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// The switches that a text names, those of a manual page without its own marks.
std::set<std::string> SwitchesIn(std::string text) {
  for (std::size_t at = 0; (at = text.find("\\-", at)) != std::string::npos;) text.erase(at, 1);
  std::set<std::string> found;
  for (std::size_t at = 0; (at = text.find("--", at)) != std::string::npos;) {
    const std::size_t end = text.find_first_not_of("-abcdefghijklmnopqrstuvwxyz", at);
    found.insert(text.substr(at, end - at));
    at = end == std::string::npos ? text.size() : end;
  }
  return found;
}

class Help : public Sandbox {
 protected:
  VandryAt vandry{Root(), "office"};
};

TEST_F(Help, NamesEveryWayOfPairing) {
  const Outcome help = vandry.Run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.err, "");
  EXPECT_THAT(help.out, StartsWith("Usage: vandry [SWITCH]\n"));
  for (const char* way : {"  --pair  ", "  --pair ADDRESS CODE ", "  --pair ID FINGERPRINT ", "  --fingerprint ",
                          "  --paired ", "  --unpair ID "}) {
    EXPECT_THAT(help.out, HasSubstr(way));
  }
  std::istringstream lines(help.out);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 100U) << line;
}

TEST_F(Help, NamesNoSwitchThatIsNotUnderstood) {
  for (const std::string& word : SwitchesIn(vandry.Run({"--help"}).out)) {
    // Alone it would show a code and wait.
    const Outcome outcome = word == "--pair" ? vandry.Run({word, "x", "y"}) : vandry.Run({word});
    EXPECT_EQ(outcome.err.find("unknown word"), std::string::npos) << outcome;
  }
}

TEST_F(Help, AgreesWithTheManualPage) {
  const std::set<std::string> known = SwitchesIn(vandry.Run({"--help"}).out);
  EXPECT_EQ(SwitchesIn(ReadBytes(ZELKOR_MANUAL)), known);
  EXPECT_EQ(known, (std::set<std::string>{"--pair", "--paired", "--unpair", "--fingerprint", "--help", "--version"}));
}

TEST_F(Help, ComesInsteadOfAPairingThatCanNotBeUnderstood) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"--pair", "lap"}, {"--unpair"}, {"--paired", "lap"}, {"--fingerprint", "lap"}}) {
    const Outcome outcome = vandry.Run(words);
    EXPECT_EQ(outcome.status, 2) << outcome;
    EXPECT_THAT(outcome.err, StartsWith("Vandry: These words can not be understood. There are:\n  --pair  "));
  }
}

}  // namespace
}  // namespace zelkor::tests
