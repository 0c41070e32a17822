#include "vandry/ftp_session.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <curl/curl.h>
#include <optional>
#include <string_view>

#include "lib/readiness.h"
#include "lib/secret.h"

namespace zelkor::vandry {

namespace {

using Kind = FtpAnswer::Kind;

constexpr long kFirstRefusal = 400;  // RFC 959, section 4.2: 4xx for now, 5xx for good
constexpr long kForGood = 500;
constexpr long kNoRoomNow = 452;
constexpr long kNoRoom = 552;
constexpr long kNotThere = 550;
constexpr long kGoingAway = 421;
constexpr long kReady = 220;      // somebody who has just come is greeted
constexpr long kEncrypted = 234;  // RFC 4217, section 4: encryption begins

// A server may throw content away by breaking the connection for it before it says why. Whoever sends the next piece at
// once never hears the words; so the attempt after such a break begins slowly.
constexpr int kPatientPieces = 4;
constexpr std::chrono::milliseconds kTimeToSpeak{250};

// "226 Transfer complete." The number, when the line is the last one of an answer.
std::optional<long> AnswerNumber(std::string_view line) {
  constexpr std::size_t kDigits = 3;
  if (line.size() < kDigits || (line.size() > kDigits && line[kDigits] != ' ' && line[kDigits] != '\r')) {
    return std::nullopt;
  }
  long number = 0;
  for (const char c : line.substr(0, kDigits)) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + (c - '0');
  }
  return number;
}

// The lists of commands that libcurl wants.
class CommandList {
 public:
  explicit CommandList(const std::vector<std::string>& commands) {
    for (const std::string& command : commands) list_ = curl_slist_append(list_, command.c_str());
  }
  ~CommandList() { curl_slist_free_all(list_); }
  CommandList(const CommandList&) = delete;
  CommandList& operator=(const CommandList&) = delete;
  [[nodiscard]] curl_slist* Get() const { return list_; }

 private:
  curl_slist* list_ = nullptr;
};

Kind KindOfRefusal(long number) {
  if (number < kFirstRefusal) return Kind::Lost;  // none: the connection ended before the answer
  if (number == kNoRoom || number == kNoRoomNow) return Kind::ServerFull;
  return number >= kForGood ? Kind::Refused : Kind::TryLater;
}

// libcurl from 7.87 to before 8.0 forgets to encrypt a data connection that the server makes
// (https://github.com/curl/curl/issues/10666).
bool ForgetsToEncryptActive() {
  constexpr unsigned kBroken = 0x075700;
  constexpr unsigned kMended = 0x080000;
  const unsigned version = curl_version_info(CURLVERSION_NOW)->version_num;
  return version >= kBroken && version < kMended;
}

// Whether the server's last number is what the failure is about, and not of something before it.
bool IsRefusal(Kind kind) {
  switch (kind) {
    case Kind::NoFile:
    case Kind::NoDirectory:
    case Kind::LoginRefused:
    case Kind::Refused:
    case Kind::ServerFull:
    case Kind::TryLater:
      return true;
    default:
      return false;
  }
}

}  // namespace

struct FtpSession::State {
  State(const FtpSettings& ftpSettings, const FtpPlace& ftpPlace, const std::function<bool()>& isStopped)
      : settings(ftpSettings), place(ftpPlace), stopped(isStopped), multi(curl_multi_init()), easy(curl_easy_init()) {}
  ~State() {
    // Otherwise libcurl would say good-bye and wait for an answer, for as long as two minutes.
    if (connection != CURL_SOCKET_BAD) lib::HangUp(static_cast<lib::Handle>(connection));
    curl_easy_cleanup(easy);
    curl_multi_cleanup(multi);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  template <class Value>
  void Set(CURLoption option, Value value) const {
    curl_easy_setopt(easy, option, value);
  }
  void Prepare(const std::string& name);
  void SetTls() const;
  [[nodiscard]] bool MustConnectFirst() const {
    return settings.active && settings.tls != FtpSettings::Tls::Never && connection == CURL_SOCKET_BAD &&
           ForgetsToEncryptActive();
  }
  // Whether there is something to read from the connection for commands.
  [[nodiscard]] bool ServerSpeaks();
  CURLcode Perform();
  FtpAnswer Run();
  [[nodiscard]] Kind KindOf(CURLcode code, long number) const;
  void TakeWords(FtpAnswer& answer, CURLcode code) const;

  static std::size_t OnHeader(char* bytes, std::size_t size, std::size_t count, void* self);
  static std::size_t OnWrite(char* bytes, std::size_t size, std::size_t count, void* self);
  static std::size_t OnRead(char* bytes, std::size_t size, std::size_t count, void* self);
  static int OnSeek(void* self, curl_off_t offset, int origin);
  static int OnProgress(void* self, curl_off_t toGet, curl_off_t got, curl_off_t toSend, curl_off_t sent);

  const FtpSettings& settings;
  const FtpPlace& place;
  const std::function<bool()>& stopped;
  CURLM* multi;
  CURL* easy;
  curl_socket_t connection = CURL_SOCKET_BAD;  // kept for the next request
  bool encrypted = false;
  bool makeDirectories = false;
  Progress progress;

  // Pieces of an upload to come before each of which the server gets time to speak.
  int patientPieces = 0;

  // Of the request in hand.
  const Reader* reader = nullptr;
  const Writer* writer = nullptr;
  std::int64_t position = 0;  // of the next byte to send
  std::int64_t begun = 0;     // where the transfer began
  std::int64_t total = 0;     // of the file to send
  std::string lastLine;       // of the server's last answer
  long lastNumber = 0;
  std::array<char, CURL_ERROR_SIZE> error{};
};

std::size_t FtpSession::State::OnHeader(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& state = *static_cast<State*>(self);
  const std::string_view line(bytes, size * count);
  if (const std::optional<long> number = AnswerNumber(line)) {
    state.lastNumber = *number;
    if (*number == kReady) {
      state.encrypted = false;
      state.connection = CURL_SOCKET_BAD;  // it is another one
    }
    if (*number == kEncrypted) state.encrypted = true;
    state.lastLine = line;
  }
  return line.size();
}

std::size_t FtpSession::State::OnWrite(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& state = *static_cast<State*>(self);
  const std::span<const char> piece(bytes, size * count);
  if (state.writer == nullptr) return piece.size();
  return (*state.writer)(piece) ? piece.size() : 0;
}

std::size_t FtpSession::State::OnRead(char* bytes, std::size_t size, std::size_t count, void* self) {
  auto& state = *static_cast<State*>(self);
  // A server that speaks before everything is sent takes no more. What it says is heard at the end of the content, and
  // not any more when the connection breaks because content goes on coming.
  if (state.ServerSpeaks()) return 0;
  const std::int64_t length = (*state.reader)(state.position, std::span(bytes, size * count));
  if (length < 0) return CURL_READFUNC_ABORT;
  state.position += length;
  return static_cast<std::size_t>(length);
}

bool FtpSession::State::ServerSpeaks() {
  if (connection == CURL_SOCKET_BAD) return false;
  lib::Awaited commands{.handle = static_cast<lib::Handle>(connection), .wantRead = true};
  const bool patient = patientPieces > 0;
  if (patient) --patientPieces;
  lib::WaitUntilReady({&commands, 1}, patient ? kTimeToSpeak : std::chrono::milliseconds{0});
  return commands.canRead;
}

int FtpSession::State::OnSeek(void* self, curl_off_t offset, int origin) {
  if (origin != SEEK_SET) return CURL_SEEKFUNC_CANTSEEK;
  static_cast<State*>(self)->position = offset;
  return CURL_SEEKFUNC_OK;
}

int FtpSession::State::OnProgress(void* self, curl_off_t toGet, curl_off_t got, curl_off_t /*toSend*/,
                                  curl_off_t sent) {
  auto& state = *static_cast<State*>(self);
  if (state.stopped()) return 1;
  if (state.progress && (got > 0 || sent > 0)) {
    const std::int64_t total = state.total > 0 ? state.total : (toGet > 0 ? state.begun + toGet : 0);
    state.progress(state.begun + got + sent, total);
  }
  return 0;
}

void FtpSession::State::SetTls() const {
  switch (settings.tls) {
    case FtpSettings::Tls::Never:
      Set(CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_NONE));
      return;
    case FtpSettings::Tls::WhenOffered:
      // Against an attacker on the way, who could as well hide the offer, a certificate would prove nothing here.
      Set(CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_TRY));
      Set(CURLOPT_SSL_VERIFYPEER, 0L);
      Set(CURLOPT_SSL_VERIFYHOST, 0L);
      break;
    case FtpSettings::Tls::Required:
      Set(CURLOPT_USE_SSL, static_cast<long>(CURLUSESSL_ALL));
      if (!settings.certificates.empty()) {
        Set(CURLOPT_CAINFO, settings.certificates.c_str());
      } else {
        // Where the system keeps the certificates that it trusts in a place of its own and not in a file; elsewhere
        // this changes nothing.
        Set(CURLOPT_SSL_OPTIONS, static_cast<long>(CURLSSLOPT_NATIVE_CA));
      }
      break;
  }
  Set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
}

// Everything that requests have in common.
void FtpSession::State::Prepare(const std::string& name) {
  reader = nullptr;
  writer = nullptr;
  position = begun = total = 0;
  lastLine.clear();
  lastNumber = 0;
  error.fill('\0');
  curl_easy_reset(easy);
  Set(CURLOPT_URL, place.Url(name).c_str());
  Set(CURLOPT_PATH_AS_IS, 1L);
  Set(CURLOPT_PROTOCOLS_STR, "ftp");
  Set(CURLOPT_PROXY, "");  // of the environment
  Set(CURLOPT_USERNAME, place.User().c_str());
  Set(CURLOPT_PASSWORD, place.Password().c_str());
  Set(CURLOPT_NOSIGNAL, 1L);
  Set(CURLOPT_ERRORBUFFER, error.data());
  const auto patience = static_cast<long>(settings.patience.count());
  Set(CURLOPT_CONNECTTIMEOUT, patience);
  Set(CURLOPT_SERVER_RESPONSE_TIMEOUT, patience);
  Set(CURLOPT_ACCEPTTIMEOUT_MS, patience * 1000);
  Set(CURLOPT_LOW_SPEED_LIMIT, 1L);  // bytes a second
  Set(CURLOPT_LOW_SPEED_TIME, patience);
  Set(CURLOPT_BUFFERSIZE, 256L * 1024);
  Set(CURLOPT_UPLOAD_BUFFERSIZE, 256L * 1024);
  if (settings.active && !(encrypted && ForgetsToEncryptActive())) Set(CURLOPT_FTPPORT, "-");
  if (makeDirectories) Set(CURLOPT_FTP_CREATE_MISSING_DIRS, static_cast<long>(CURLFTP_CREATE_DIR_RETRY));
  SetTls();
  Set(CURLOPT_HEADERFUNCTION, &OnHeader);
  Set(CURLOPT_HEADERDATA, this);
  Set(CURLOPT_WRITEFUNCTION, &OnWrite);
  Set(CURLOPT_WRITEDATA, this);
  Set(CURLOPT_NOPROGRESS, 0L);
  Set(CURLOPT_XFERINFOFUNCTION, &OnProgress);
  Set(CURLOPT_XFERINFODATA, this);
}

Kind FtpSession::State::KindOf(CURLcode code, long number) const {
  switch (code) {
    case CURLE_OK:
      return Kind::Done;
    case CURLE_ABORTED_BY_CALLBACK:
      return stopped() ? Kind::Stopped : Kind::LocalFailed;
    case CURLE_READ_ERROR:
    case CURLE_WRITE_ERROR:
      return Kind::LocalFailed;
    case CURLE_COULDNT_RESOLVE_HOST:
      return Kind::NoHost;
    case CURLE_COULDNT_CONNECT:
      return Kind::NotReached;
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_FTP_ACCEPT_TIMEOUT:
      // libcurl also calls it a time-out when a server turns somebody away who has just come.
      return number == kGoingAway ? Kind::TryLater : Kind::TimedOut;
    case CURLE_USE_SSL_FAILED:
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_ISSUER_ERROR:
      return Kind::TlsFailed;
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
      return number == kGoingAway ? Kind::TryLater : Kind::Lost;
    case CURLE_LOGIN_DENIED:
      return number == kGoingAway ? Kind::TryLater : Kind::LoginRefused;
    case CURLE_REMOTE_FILE_NOT_FOUND:
      return Kind::NoFile;
    case CURLE_REMOTE_ACCESS_DENIED:
      return number == kNotThere ? Kind::NoDirectory : KindOfRefusal(number);
    case CURLE_REMOTE_DISK_FULL:
      return Kind::ServerFull;
    case CURLE_FTP_COULDNT_RETR_FILE:
      return number == kNotThere ? Kind::NoFile : KindOfRefusal(number);
    default:
      return KindOfRefusal(number);
  }
}

void FtpSession::State::TakeWords(FtpAnswer& answer, CURLcode code) const {
  if (answer.number != 0) {
    constexpr std::size_t kBehindNumber = 4;
    answer.words = lastLine.size() > kBehindNumber ? lastLine.substr(kBehindNumber) : std::string();
  } else {
    answer.words = error[0] != '\0' ? error.data() : curl_easy_strerror(code);
  }
  while (!answer.words.empty() && (answer.words.back() == '\n' || answer.words.back() == '\r')) answer.words.pop_back();
  // A server that does not understand a command may repeat it.
  const std::string& password = place.Password();
  for (std::size_t at = 0; !password.empty() && (at = answer.words.find(password, at)) != std::string::npos; at += 3) {
    answer.words.replace(at, password.size(), "***");
  }
}

// As curl_easy_perform, which may sleep for a second when a server on the same computer answers at once.
CURLcode FtpSession::State::Perform() {
  constexpr int kLookStep = 20;  // milliseconds
  curl_multi_add_handle(multi, easy);
  CURLcode code = CURLE_OK;
  for (int running = 1; running != 0 && code == CURLE_OK;) {
    if (stopped() || curl_multi_perform(multi, &running) != CURLM_OK) code = CURLE_ABORTED_BY_CALLBACK;
    if (running != 0 && code == CURLE_OK) curl_multi_poll(multi, nullptr, 0, kLookStep, nullptr);
  }
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi, &left)) {
    if (message->msg == CURLMSG_DONE && code == CURLE_OK) code = message->data.result;
  }
  connection = CURL_SOCKET_BAD;
  curl_easy_getinfo(easy, CURLINFO_ACTIVESOCKET, &connection);
  curl_multi_remove_handle(multi, easy);
  return code;
}

FtpAnswer FtpSession::State::Run() {
  FtpAnswer answer;
  if (stopped()) {
    answer.kind = Kind::Stopped;
    return answer;
  }
  const CURLcode code = Perform();
  if (code == CURLE_SEND_ERROR) patientPieces = kPatientPieces;
  answer.kind = KindOf(code, lastNumber);
  if (!answer.Ok()) {
    if (lastNumber >= kFirstRefusal && IsRefusal(answer.kind)) answer.number = static_cast<int>(lastNumber);
    TakeWords(answer, code);
    return answer;
  }
  curl_off_t size = -1;
  curl_off_t written = -1;
  if (curl_easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &size) == CURLE_OK) answer.size = size;
  if (curl_easy_getinfo(easy, CURLINFO_FILETIME_T, &written) == CURLE_OK) answer.written = written;
  return answer;
}

FtpSession::FtpSession(const FtpSettings& settings, const FtpPlace& place, const std::function<bool()>& stopped)
    : state_(std::make_unique<State>(settings, place, stopped)) {}
FtpSession::~FtpSession() = default;

void FtpSession::MakeDirectories() { state_->makeDirectories = true; }
void FtpSession::OnProgress(Progress progress) { state_->progress = std::move(progress); }

FtpAnswer FtpSession::Look(const std::string& name) {
  state_->Prepare(name);
  state_->Set(CURLOPT_NOBODY, 1L);
  state_->Set(CURLOPT_FILETIME, 1L);
  return state_->Run();
}

// Where it matters for a transfer whether the connection is encrypted, it is made before.
FtpAnswer FtpSession::Connect() { return state_->MustConnectFirst() ? Give({}) : FtpAnswer(); }

FtpAnswer FtpSession::List(const std::string& command, const Writer& writer) {
  if (FtpAnswer connected = Connect(); !connected.Ok()) return connected;
  state_->Prepare("");
  state_->Set(CURLOPT_CUSTOMREQUEST, command.c_str());
  state_->writer = &writer;
  return state_->Run();
}

FtpAnswer FtpSession::Send(const std::string& name, std::int64_t offset, std::int64_t size, const Reader& reader) {
  if (FtpAnswer connected = Connect(); !connected.Ok()) return connected;
  state_->Prepare(name);
  state_->Set(CURLOPT_UPLOAD, 1L);
  state_->Set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(size));
  state_->Set(CURLOPT_RESUME_FROM_LARGE, static_cast<curl_off_t>(offset));
  state_->Set(CURLOPT_READFUNCTION, &State::OnRead);
  state_->Set(CURLOPT_READDATA, state_.get());
  state_->Set(CURLOPT_SEEKFUNCTION, &State::OnSeek);
  state_->Set(CURLOPT_SEEKDATA, state_.get());
  state_->reader = &reader;
  state_->begun = offset;
  state_->total = size;
  return state_->Run();
}

FtpAnswer FtpSession::Get(const std::string& name, std::int64_t offset, const Writer& writer) {
  if (FtpAnswer connected = Connect(); !connected.Ok()) return connected;
  state_->Prepare(name);
  state_->Set(CURLOPT_RESUME_FROM_LARGE, static_cast<curl_off_t>(offset));
  state_->writer = &writer;
  state_->begun = offset;
  return state_->Run();
}

FtpAnswer FtpSession::Give(const std::vector<std::string>& commands) {
  const CommandList list(commands);
  state_->Prepare("");
  state_->Set(CURLOPT_NOBODY, 1L);
  state_->Set(CURLOPT_POSTQUOTE, list.Get());
  return state_->Run();
}

void PrepareFtp() {
  curl_global_init_mem(
      CURL_GLOBAL_DEFAULT, &std::malloc, &lib::FreeWiped, &lib::ReallocateWiped,
      [](const char* text) { return strdup(text); }, &std::calloc);
}

}  // namespace zelkor::vandry
