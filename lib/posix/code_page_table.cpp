#include "lib/code_page_table.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iconv.h>

namespace zelkor::lib {
namespace {

// An open conversion; closed when the object goes.
class Conversion {
 public:
  Conversion(const std::string& from, const std::string& to) : handle_(iconv_open(to.c_str(), from.c_str())) {}
  ~Conversion() {
    if (IsOpen()) iconv_close(handle_);
  }
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;

  // iconv_open reports failure as the pointer -1.
  [[nodiscard]] bool IsOpen() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  // Converts `input` from the initial state and appends the result to `output`. 0, or the errno of the failure.
  [[nodiscard]] int Convert(std::string input, std::string& output) {
    iconv(handle_, nullptr, nullptr, nullptr, nullptr);
    char* in = input.data();
    std::size_t inLeft = input.size();
    std::array<char, 256> buffer{};
    // The last round, without input, fetches what the conversion still holds back.
    for (bool flushing = false;;) {
      char* out = buffer.data();
      std::size_t outLeft = buffer.size();
      const std::size_t result =
          flushing ? iconv(handle_, nullptr, nullptr, &out, &outLeft) : iconv(handle_, &in, &inLeft, &out, &outLeft);
      output.append(buffer.data(), buffer.size() - outLeft);
      if (result == static_cast<std::size_t>(-1)) {
        if (errno != E2BIG) return errno;
      } else if (flushing) {
        return 0;
      } else {
        flushing = true;
      }
    }
  }

 private:
  iconv_t handle_;
};

// A name is handed to iconv as it stands; one with a "/" would be a name with options, an empty one the locale's.
bool IsPlainName(const std::string& name) {
  return !name.empty() && name.find_first_of(std::string("/,\0", 3)) == std::string::npos;
}

}  // namespace

std::optional<CodePageTable> ReadCodePage(const std::string& name) {
  if (!IsPlainName(name)) return std::nullopt;
  Conversion conversion(name, "UTF-32LE");
  if (!conversion.IsOpen()) return std::nullopt;
  CodePageTable table{};
  for (std::size_t byte = 0; byte < table.size(); ++byte) {
    std::string units;
    const int error = conversion.Convert(std::string(1, static_cast<char>(byte)), units);
    if (error == EILSEQ) continue;  // undefined
    // EINVAL: the byte only begins a character.
    if (error != 0 || units.size() != 4) return std::nullopt;
    char32_t character = 0;
    for (std::size_t i = units.size(); i-- > 0;) character = character << 8 | static_cast<unsigned char>(units[i]);
    table[byte] = character;
  }
  return table;
}

std::optional<std::string> ConvertText(const std::string& text, const std::string& from, const std::string& to) {
  if (!IsPlainName(from) || !IsPlainName(to)) return std::nullopt;
  Conversion conversion(from, to);
  if (!conversion.IsOpen()) return std::nullopt;
  std::string result;
  if (conversion.Convert(text, result) != 0) return std::nullopt;
  return result;
}

}  // namespace zelkor::lib
