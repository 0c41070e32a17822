#include "lib/posix/viewing.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <strings.h>
#include <unistd.h>

#include "lib/posix/drives.h"

namespace zelkor::lib::posix {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kWebPage = "<!DOCTYPE html";

fs::path CacheFolder() {
  const std::string given = Environment("XDG_CACHE_HOME");
  const fs::path caches = !given.empty() && given.front() == '/' ? given : HomeDirectory() + "/.cache";
  return caches / "zelkor";
}

}  // namespace

std::string NameForViewer(const std::string& native) {
  const fs::path file = native;
  if (strcasecmp(file.extension().c_str(), ".hlp") != 0) return native;
  std::ifstream in(file, std::ios::binary);
  std::string text(kWebPage.size(), '\0');
  if (!in.read(text.data(), static_cast<std::streamsize>(text.size())) || text != kWebPage) return native;
  text.append(std::istreambuf_iterator<char>(in), {});

  std::error_code error;
  fs::create_directories(CacheFolder(), error);
  if (error) return native;
  const fs::path page = CacheFolder() / file.stem().concat(".html");
  // A viewer that has the page open must not see a half one.
  const fs::path part = page.string() + "." + std::to_string(getpid());
  std::ofstream out(part, std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (out) fs::rename(part, page, error);
  if (out && !error) return page;
  fs::remove(part, error);
  return native;
}

}  // namespace zelkor::lib::posix
