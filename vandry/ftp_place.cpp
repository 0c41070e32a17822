#include "vandry/ftp_place.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "lib/code_page.h"
#include "lib/secret.h"
#include "lib/settings.h"

namespace zelkor::vandry {

namespace {

constexpr std::string_view kSection = "Vandry";

bool IsControl(char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }

bool HoldsControl(std::string_view text) { return std::any_of(text.begin(), text.end(), IsControl); }

bool IsLetterOrDigit(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }

bool IsPort(std::string_view text) {
  int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() && port > 0 && port < 65536;
}

// "host", "host:port", "[v6]", "[v6]:port" or a bare IPv6 address, which gets its brackets; perhaps with "ftp://".
std::optional<std::string> ServerOf(std::string_view text) {
  constexpr std::string_view kScheme = "ftp://";
  if (text.substr(0, kScheme.size()) == kScheme) text.remove_prefix(kScheme.size());
  if (!text.empty() && text.back() == '/') text.remove_suffix(1);
  std::string_view host = text;
  std::string_view port;
  bool v6 = false;
  if (!text.empty() && text.front() == '[') {
    const std::size_t end = text.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    host = text.substr(1, end - 1);
    port = text.substr(end + 1);
    v6 = true;
  } else if (std::count(text.begin(), text.end(), ':') > 1) {
    v6 = true;
  } else {
    host = text.substr(0, text.find(':'));
    port = text.substr(host.size());
  }
  if (host.empty() || (!port.empty() && (port.front() != ':' || !IsPort(port.substr(1))))) return std::nullopt;
  const std::string_view others = v6 ? ":.%" : "-._";
  const bool usable = std::all_of(
      host.begin(), host.end(), [&](char c) { return IsLetterOrDigit(c) || others.find(c) != std::string_view::npos; });
  if (!usable || host.front() == '-') return std::nullopt;
  return (v6 ? "[" + std::string(host) + "]" : std::string(host)) + std::string(port);
}

// RFC 3986, section 2.1: everything but letters, digits and "-._~".
void AppendEncoded(std::string& url, std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  constexpr std::string_view kPlain = "-._~";
  for (const char c : text) {
    if (IsLetterOrDigit(c) || kPlain.find(c) != std::string_view::npos) {
      url += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    url += '%';
    url += kDigits[byte >> 4U];
    url += kDigits[byte & 15U];
  }
}

}  // namespace

FtpSettings ReadFtpSettings() {
  FtpSettings settings;
  switch (lib::GetIniNumber(kSection, "FtpTls", 1)) {
    case 0:
      settings.tls = FtpSettings::Tls::Never;
      break;
    case 1:
      settings.tls = FtpSettings::Tls::WhenOffered;
      break;
    default:
      settings.tls = FtpSettings::Tls::Required;
  }
  settings.active = lib::GetIniNumber(kSection, "FtpActive", 0) != 0;
  constexpr int kDefaultPatience = 30;
  constexpr int kMostPatience = 600;
  settings.patience =
      std::chrono::seconds(std::clamp(lib::GetIniNumber(kSection, "FtpTimeout", kDefaultPatience), 1, kMostPatience));
  settings.certificates = lib::GetIniPath(kSection, "FtpCertificates");
  return settings;
}

FtpPlace::~FtpPlace() {
  lib::Wipe(user_);
  lib::Wipe(password_);
}

lib::Result<FtpPlace> FtpPlace::From(std::string_view server, std::string_view user, std::string_view password,
                                     std::string_view directory) {
  const std::optional<std::string> host = ServerOf(server);
  if (!host) {
    return lib::Status(lib::Cause::Refused, "[" + std::string(server) + "] can not be the name of an FTP server");
  }
  if (HoldsControl(user) || HoldsControl(password) || HoldsControl(directory)) {
    return lib::Status(lib::Cause::Refused,
                       "The user name, password or directory for [" + *host + "] holds a control character");
  }
  FtpPlace place;
  place.server_ = *host;
  place.user_ = user.empty() ? "anonymous" : lib::ToUtf8(user);
  place.password_ = lib::ToUtf8(password);
  place.directory_ = lib::ToUtf8(directory);
  return place;
}

std::string FtpPlace::Url(std::string_view fileName) const {
  std::string url = "ftp://" + server_ + "/";
  std::string_view rest = directory_;
  if (!rest.empty() && rest.front() == '/') url += "%2F";  // RFC 1738, section 3.2.2: from the root, not from the login
  while (!rest.empty()) {
    const std::string_view name = rest.substr(0, rest.find('/'));
    rest.remove_prefix(std::min(name.size() + 1, rest.size()));
    if (name.empty() || name == ".") continue;
    AppendEncoded(url, name);
    url += '/';
  }
  // An absolute directory that is the root alone.
  if (url.size() > 3 && url.compare(url.size() - 3, 3, "%2F") == 0) url += '/';
  AppendEncoded(url, fileName);
  return url;
}

lib::Result<std::string> RemoteName(std::string_view name) {
  const bool usable = !name.empty() && name != "." && name != ".." &&
                      name.find_first_of("/\\") == std::string_view::npos && !HoldsControl(name);
  if (!usable) {
    return lib::Status(lib::Cause::Refused, "[" + std::string(name) + "] can not be the name of a file on a server");
  }
  return lib::ToUtf8(name);
}

}  // namespace zelkor::vandry
