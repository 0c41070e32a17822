#include "lib/viewing.h"

#include <fstream>
#include <iterator>
#include <random>
#include <string_view>

#include "lib/text.h"

namespace zelkor::lib {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kWebPage = "<!DOCTYPE html";

}  // namespace

std::string NameForViewer(const std::string& native, const fs::path& folder) {
  const fs::path file = native;
  if (!EqualNoCase(file.extension().string(), ".hlp")) return native;
  std::ifstream in(file, std::ios::binary);
  std::string text(kWebPage.size(), '\0');
  if (!in.read(text.data(), static_cast<std::streamsize>(text.size())) || text != kWebPage) return native;
  text.append(std::istreambuf_iterator<char>(in), {});

  std::error_code error;
  fs::create_directories(folder, error);
  if (error) return native;
  const fs::path page = folder / file.stem().concat(".html");
  // A viewer that has the page open must not see a half one.
  const fs::path part = page.string() + "." + std::to_string(std::random_device()());
  std::ofstream out(part, std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (out) fs::rename(part, page, error);
  if (out && !error) return page.string();
  fs::remove(part, error);
  return native;
}

}  // namespace zelkor::lib
