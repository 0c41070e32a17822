#include "app/command_line.h"

#include "lib/code_page.h"
#include "lib/native_path.h"
#include "lib/run_time_error.h"
#include "lib/text.h"

namespace zelkor::app {

namespace {
constexpr std::size_t kMostWords = 99;
}  // namespace

std::vector<Word> ParseCommandLine(const std::vector<std::string>& arguments, std::string_view startDirectory) {
  if (arguments.size() > kMostWords) lib::SubscriptOutOfRange("more than 99 words on the command line");
  std::vector<Word> words;
  for (const std::string& argument : arguments) {
    Word word{.text = argument, .argument = {}};
    if (argument.empty()) continue;
    if (argument.front() != '/' || lib::NamesNativeFile(argument, startDirectory)) {
      word.kind = WordKind::File;
    } else {
      const std::string_view name = lib::GetToken(argument, ":", 1);
      word.argument = lib::FromUtf8Lossy(lib::GetToken(argument, ":", 2));
      if (lib::EqualNoCase(name, "/syncimp") || lib::EqualNoCase(name, "/syncexp")) word.kind = WordKind::Synchronize;
      if (lib::EqualNoCase(name, "/select")) word.kind = WordKind::Select;
      if (lib::EqualNoCase(name, "/exclude")) word.kind = WordKind::Exclude;
    }
    words.push_back(std::move(word));
  }
  return words;
}

std::string CodesOf(std::string_view argument) { return lib::ReplaceAll(argument, ",", " "); }

}  // namespace zelkor::app
