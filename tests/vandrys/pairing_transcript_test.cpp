// The sessions that docs/network.md shows, typed at the built Vandry: what stands there is what comes.

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/vandrys/vandry_at.h"

namespace zelkor::tests {
namespace {

// One command of a session, and what is shown until the next prompt.
struct Typed {
  std::string computer;
  std::vector<std::string> words;  // behind "vandry"
  std::string shown;
};

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
}

// Of a line that begins with a prompt: whose it is, and what was typed behind it.
std::optional<std::pair<std::string, std::string>> AtAPrompt(const std::string& line) {
  const std::string computer = line.substr(0, line.find('$'));
  if (computer != "office" && computer != "lap") return std::nullopt;
  return std::pair(computer, line.substr(std::min(line.size(), computer.size() + 2)));
}

std::vector<Typed> SessionsOf(const std::string& page) {
  std::vector<Typed> sessions;
  Typed first;               // text before any prompt
  Typed* current = nullptr;  // outside of a session: none
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```")) {
      // One that begins without a prompt goes on with what the very first command shows.
      current = line != "```console" ? nullptr : sessions.empty() ? &first : &sessions.front();
    } else if (current == nullptr) {
      continue;
    } else if (const auto prompt = AtAPrompt(line)) {
      Typed typed{.computer = prompt->first, .words = {}, .shown = {}};
      std::istringstream words(prompt->second);
      for (std::string word; words >> word;) typed.words.push_back(word);
      if (typed.words.empty()) continue;
      sessions.push_back(typed);
      current = &sessions.back();
    } else {
      current->shown += line + "\n";
    }
  }
  return sessions;
}

class PairingTranscript : public Sandbox {
 protected:
  VandryAt& At(const std::string& id) { return id == "office" ? office : lap; }

  // As it would be with the ports, names and codes of the page.
  [[nodiscard]] std::string AsOnThePage(std::string text) const {
    ReplaceAll(text, office.Address(), "office.lan:4223");
    // Of who pairs it is not known where he listens.
    ReplaceAll(text, "127.0.0.1:4223", "10.0.0.7:4223");
    ReplaceAll(text, "ADDRESS-OF-THIS-COMPUTER:" + std::to_string(office.Port()), "ADDRESS-OF-THIS-COMPUTER");
    for (const auto& [page, real] : realOf) ReplaceAll(text, real, page);
    return text;
  }
  [[nodiscard]] std::vector<std::string> RealWords(const Typed& typed) const {
    std::vector<std::string> words(typed.words.begin() + 1, typed.words.end());
    for (std::string& word : words) {
      ReplaceAll(word, "office.lan", office.Address());
      for (const auto& [page, real] : realOf) ReplaceAll(word, page, real);
    }
    return words;
  }

  VandryAt office{Root(), "office"};
  VandryAt lap{Root(), "lap"};
  std::map<std::string, std::string> realOf;  // by what the page has
};

TEST_F(PairingTranscript, IsWhatComes) {
  const std::vector<Typed> sessions = SessionsOf(ReadBytes(std::string(ZELKOR_DOCS) + "/network.md"));
  ASSERT_EQ(sessions.size(), 10U);
  for (const Typed& typed : sessions) {
    if (typed.words.back() != "--fingerprint") continue;
    realOf[typed.shown.substr(0, typed.shown.find('\n'))] = At(typed.computer).Fingerprint();
  }
  std::unique_ptr<RunningProcess> showing;
  for (const Typed& typed : sessions) {
    ASSERT_EQ(typed.words.at(0), "vandry");
    const std::vector<std::string> words = RealWords(typed);
    if (words == std::vector<std::string>{"--pair"}) {
      showing = At(typed.computer).StartCommand(words);
      ASSERT_TRUE(showing->WaitForOutput("by fingerprints"));
      const std::string real = ReadBytes(At(typed.computer).File("vandry.dat/pairing.txt")).substr(0, 10);
      const std::string page = typed.shown.substr(typed.shown.find(": ") + 2, 11);
      realOf[page] = real.substr(0, 5) + "-" + real.substr(5);
      // One letter of it wrong.
      realOf[page.substr(0, 10) + "p"] = realOf[page].substr(0, 10) + (real.back() == '0' ? "1" : "0");
      continue;
    }
    const Outcome outcome = At(typed.computer).Run(words);
    EXPECT_EQ(AsOnThePage(outcome.out + outcome.err), typed.shown) << typed.words.back();
    if (showing && outcome.status == 0) {
      EXPECT_EQ(AsOnThePage(showing->Wait().out), sessions.front().shown);
      showing.reset();
    }
  }
  EXPECT_EQ(showing, nullptr) << "the code was never typed";
}

}  // namespace
}  // namespace zelkor::tests
