#include "vandry/command.h"

#include <algorithm>
#include <array>

#include "lib/code_page.h"
#include "lib/paths.h"
#include "lib/secret.h"
#include "lib/text.h"

namespace zelkor::vandry {

namespace {

using Word = Command::Word;

constexpr std::size_t kLongestId = 6;
constexpr std::string_view kPing = "NetPing";

struct Form {
  std::string_view name;
  Word word;
  std::size_t arguments;
  bool quoted;
};

constexpr std::array<Form, 8> kForms = {{
    {"Hello", Word::Hello, 0, false},
    {"Exit", Word::Exit, 0, false},
    {"NetTrans", Word::NetTrans, 2, false},
    {"NetFileSend", Word::NetFileSend, 4, false},
    {"NetFileRec", Word::NetFileRec, 1, false},
    {"FTPSend", Word::FtpSend, 6, true},
    {"FTPGet", Word::FtpGet, 6, true},
    {"FTPDir", Word::FtpDir, 5, true},
}};

bool IsControl(char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }

// Exactly `count` words, the last of which is the rest of the line. False when there are fewer or one is empty.
bool TakeWords(std::string_view rest, std::size_t count, std::vector<std::string>& words) {
  while (words.size() < count) {
    const bool last = words.size() + 1 == count;
    const std::string_view word = last ? rest : rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(word.size() + 1, rest.size()));
    if (word.empty() || (last && lib::Trim(word).empty())) return false;
    words.emplace_back(word);
  }
  return rest.empty();
}

// Exactly `count` arguments in double quotes, a single blank between them.
bool TakeQuoted(std::string_view rest, std::size_t count, std::vector<std::string>& words) {
  while (words.size() < count) {
    if (rest.empty() || rest.front() != '"') return false;
    const std::size_t end = rest.find('"', 1);
    if (end == std::string_view::npos) return false;
    words.emplace_back(rest.substr(1, end - 1));
    rest.remove_prefix(end + 1);
    if (words.size() < count && (rest.empty() || rest.front() != ' ')) return false;
    if (words.size() < count) rest.remove_prefix(1);
  }
  return rest.empty();
}

bool IsId(std::string_view text) {
  return !text.empty() && text.size() <= kLongestId && text.find_first_of(" \"\\/:*?") == std::string_view::npos;
}

// Which of the arguments are paths of ours, counted from the end: none, or one.
bool PathIsWrong(const Command& command) {
  const std::vector<std::string>& arguments = command.arguments;
  switch (command.word) {
    case Word::NetFileSend:
    case Word::NetFileRec:
    case Word::FtpGet:
    case Word::FtpDir:
      return !lib::IsDrivePath(arguments.back());
    case Word::FtpSend:
      return !lib::IsDrivePath(arguments[arguments.size() - 2]);
    default:
      return false;
  }
}

}  // namespace

Command::~Command() {
  for (std::string& argument : arguments) lib::Wipe(argument);
}

Command ParseCommand(std::string_view text) {
  Command command;
  if (std::any_of(text.begin(), text.end(), IsControl)) {
    command.problem = "the command holds a control character";
    return command;
  }
  const std::string_view name = text.substr(0, text.find(' '));
  const auto* const form = std::find_if(kForms.begin(), kForms.end(), [&](const Form& f) { return f.name == name; });
  if (form == kForms.end()) {
    // Only the word: what follows it may be a password.
    command.problem = "unknown command [" + std::string(name.substr(0, 20)) + "]";
    return command;
  }
  // As many as there can be, so that no argument is moved, and left behind, while the others come.
  command.arguments.reserve(form->arguments);
  const std::string_view rest = text.substr(std::min(name.size() + 1, text.size()));
  const bool whole = form->quoted ? TakeQuoted(rest, form->arguments, command.arguments)
                                  : TakeWords(rest, form->arguments, command.arguments);
  if (!whole || (form->arguments == 0 && text != name)) {
    command.problem = "the arguments of " + std::string(name) + " can not be understood";
    return command;
  }
  command.word = form->word;
  if (command.word == Word::NetTrans && command.arguments[1] == kPing) {
    command.word = Word::NetPing;
    command.arguments.pop_back();
  }
  if (command.word == Word::NetFileSend) {
    for (const std::size_t id : {std::size_t{1}, std::size_t{2}}) {
      command.arguments[id] = lib::Lower(command.arguments[id]);
      if (!IsId(command.arguments[id])) command.problem = "[" + command.arguments[id] + "] is no computer ID";
    }
  }
  if (PathIsWrong(command)) command.problem = "the path of " + std::string(name) + " does not begin with a drive";
  if (!command.problem.empty()) command.word = Word::None;
  return command;
}

}  // namespace zelkor::vandry
