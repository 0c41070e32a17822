#include "net/link.h"

#include <algorithm>
#include <utility>

#include "lib/clock.h"
#include "lib/files.h"
#include "lib/interaction.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "lib/settings.h"
#include "lib/shell.h"
#include "lib/text.h"

namespace zelkor::net {

using lib::ChannelEvent;
using std::chrono::milliseconds;

namespace {

constexpr std::string_view kSuccess = "OK";
constexpr std::string_view kFailure = "Error";
// A wait for something of Vandry's lasts at most this long before others get their turn.
constexpr milliseconds kTurn{20};
// A conversation that broke off is tried again so often, each time for so short that windows do not seem to hang.
constexpr std::chrono::seconds kBetweenTries{2};
constexpr milliseconds kShortPatience{200};

bool Contains(const std::string& text, std::string_view part) { return text.find(part) != std::string::npos; }
bool IsReply(const std::string& text) { return Contains(text, kSuccess) || Contains(text, kFailure); }

// Counts what is going on as long as it lives.
class Busy {
 public:
  explicit Busy(int& depth) : depth_(depth) { ++depth_; }
  ~Busy() { --depth_; }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;

 private:
  int& depth_;
};

// Vandry's own file, as a native path.
std::string VandryPath(const std::string& programDir) {
  if (std::string given = lib::GetIniPath("Vandry", "Exe"); !given.empty()) return given;
  std::string path = lib::SlashPath(programDir) + "Vandry.exe";
  // Where programs and their data stand apart, it stands beside this program.
  const lib::Result<std::string> program = lib::ExecutablePath();
  if (!lib::FileExists(path) && program.Ok()) path = lib::DirectoryPart(*program) + "vandry";
  const lib::Result<std::string> native = lib::ToNative(path);
  return native.Ok() ? *native : std::string();
}

}  // namespace

LinkMeans RealLinkMeans(const std::string& programDir, lib::User& user) {
  return {.connect = [programDir](milliseconds patience) { return lib::ChannelClient::Connect(programDir, patience); },
          .launch =
              [programDir] {
                // It serves this ProgramDir, whatever it would find by itself.
                std::vector<std::string> settings;
                if (const lib::Result<std::string> native = lib::ToNative(programDir); native.Ok()) {
                  settings.push_back("ZELKOR_DIR=" + *native);
                }
                // The shell that starts it tells nothing of what comes of it; the conversation will show.
                static_cast<void>(lib::StartProgram(VandryPath(programDir), {}, settings).Ok());
                return 0;
              },
          .waitASecond =
              [&user] {
                // A wait whose end is past midnight would have none.
                const double left = static_cast<double>(lib::kSecondsPerDay) - lib::SecondsSinceMidnight();
                if (left > 1.5) return lib::Wait(1, user);
                lib::Wait(static_cast<float>(std::max(0.0, left - 0.1)), user);
                while (lib::SecondsSinceMidnight() > 1) user.PendingEvents();
                lib::Wait(1, user);
              }};
}

lib::Status Link::Connect() {
  lib::Result<std::unique_ptr<lib::ChannelClient>> channel = means_.connect(broken_ ? kShortPatience : means_.patience);
  if (!channel.Ok()) return channel.Failure();
  channel_ = std::move(*channel);
  broken_ = false;
  lastHeard_ = Clock::now();
  return {};
}

std::int16_t Link::StartLink() {
  Listen(milliseconds(0));
  if (IsOpen()) return 0;
  broken_ = false;
  lib::Status connected = Connect();
  if (connected.Ok()) return 0;
  if (connected.Why() == lib::Cause::NotFound) {
    vandryStarted_ = true;
    if (means_.launch() != 0) {
      user_.Message("Cannot find vandry.exe!", lib::Icon::Critical);
      return 1;
    }
    means_.waitASecond();
    // At its very first start it has more to do than fits into the second.
    const Clock::time_point end = Clock::now() + means_.patience;
    connected = Connect();
    while (connected.Why() == lib::Cause::NotFound && Clock::now() < end && !RunCancelled()) {
      lib::Wait(0.05F, user_);
      connected = Connect();
    }
    if (connected.Ok()) {
      SendCommand("Hello", "Starting Vandry!", false);
      const std::vector<std::string> words = lib::SplitWords(text_, ' ', "\"");
      user_.SetStatus("Vandry! ver " + (words.size() > 1 ? words[1] : std::string()), false);
      return 0;
    }
  }
  // One that is there but does not answer is not started once more.
  user_.Message("DDE Init error!", lib::Icon::Critical);
  return 1;
}

std::int16_t Link::SendCommand(const std::string& command, const std::string& caption, const bool& noWait) {
  const Busy busy(busy_);
  Listen(milliseconds(0));
  taken_ = false;
  showsProgress_ = false;
  awaited_ = 0;
  text_.clear();
  if (!IsOpen() && StartLink() != 0) {
    text_ = "Error: there is no link to Vandry";
    return 1;
  }
  text_.clear();
  const bool taken = Execute(command);
  if (noWait) return 0;
  if (!taken) return 1;
  if (text_.empty()) WaitForReply(caption);
  awaited_ = 0;
  // How far it got says nothing any more.
  if (std::exchange(showsProgress_, false) && !occupied_.InHand()) user_.SetStatus({}, false);
  return Contains(text_, kSuccess) ? 0 : 1;
}

bool Link::Execute(const std::string& command) {
  const std::uint32_t number = ++lastNumber_;
  awaited_ = number;
  taken_ = false;
  if (const lib::Status sent = channel_->Execute(number, command); !sent.Ok()) {
    text_ = "Error: " + sent.Message();
    return false;
  }
  lastHeard_ = Clock::now();
  Listen(milliseconds(0));
  while (IsOpen() && !taken_) {
    if (Clock::now() - lastHeard_ > means_.patience) {
      Drop("Error: Vandry does not answer");
      return false;
    }
    // Outside a run nothing is disabled that could start inside this.
    if (occupied_.InHand()) user_.PendingEvents();
    if (RunCancelled()) return false;
    Listen(kTurn);
  }
  return taken_;
}

void Link::WaitForReply(const std::string& caption) {
  lastHeard_ = Clock::now();
  user_.WaitFor(caption.empty() ? "Communicating..." : caption, [this] {
    if (text_.empty() && !MessageIsDue() && IsOpen() && !StandsStill()) Listen(kTurn);
    return !text_.empty() || MessageIsDue() || !IsOpen() || StandsStill();
  });
  if (!text_.empty()) return;
  awaited_ = 0;
  if (MessageIsDue()) {
    // A message ends the wait for the reply, which then is a failure; on purpose.
    const std::string judged = messages_.front().text;
    user_.PendingEvents();
    HandleNext();
    text_ = judged;
  } else if (IsOpen() && StandsStill()) {
    text_ = "Error: nothing has moved for " + std::to_string(limit_.count()) + " seconds";
  }
}

void Link::Exit() {
  Listen(milliseconds(0));
  // One that has gone need not be started to be told to go.
  if (vandryStarted_ && IsOpen()) SendCommand("Exit", {}, true);
}

void Link::TakeMessages() {
  if (busy_ > 0 || occupied_.InHand()) return;
  if (!IsOpen()) {
    if (!broken_ || Clock::now() - lastTry_ < kBetweenTries) return;
    lastTry_ = Clock::now();
    if (!Connect().Ok()) return;
  }
  Listen(milliseconds(0));
  while (MessageIsDue()) HandleNext();
}

bool Link::HandleMessagesUntil(const std::function<bool()>& over, const std::string& caption) {
  lastHeard_ = Clock::now();
  text_.clear();
  while (!over()) {
    if (MessageIsDue()) {
      HandleNext();
      lastHeard_ = Clock::now();
      continue;
    }
    const bool moved = user_.WaitFor(caption, [this] {
      if (!MessageIsDue() && IsOpen() && !StandsStill()) Listen(kTurn);
      return MessageIsDue() || !IsOpen() || StandsStill();
    });
    if (MessageIsDue()) continue;
    text_.clear();
    if (moved)
      text_ = IsOpen() ? "nothing has moved for " + std::to_string(limit_.count()) + " seconds" : "Vandry has gone";
    return false;
  }
  return true;
}

void Link::Listen(milliseconds patience) {
  if (!channel_) return;
  channel_->Turn(patience);
  while (channel_) {
    std::optional<ChannelEvent> event = channel_->Next();
    if (!event) return;
    Hear(std::move(*event));
  }
}

void Link::Hear(ChannelEvent event) {
  lastHeard_ = Clock::now();
  switch (event.kind) {
    case ChannelEvent::Kind::Taken:
      if (event.number == lastNumber_) taken_ = true;
      return;
    case ChannelEvent::Kind::Working:
      return;
    case ChannelEvent::Kind::Reply:
      // A reply tells as well that the command was taken.
      if (event.number == lastNumber_) taken_ = true;
      if (event.number != awaited_ || awaited_ == 0) return;
      if (IsReply(event.text)) {
        text_ = std::move(event.text);
      } else if (!event.text.empty()) {
        messages_.push_back({.number = 0, .text = std::move(event.text)});
      }
      return;
    case ChannelEvent::Kind::Push:
      // What reads as a reply is none of the messages there are.
      if (event.text.empty() || IsReply(event.text)) {
        channel_->Handled(event.number);
      } else {
        messages_.push_back({.number = event.number, .text = std::move(event.text)});
      }
      return;
    case ChannelEvent::Kind::Progress:
      user_.SetStatus(event.text, occupied_.InHand());
      showsProgress_ = awaited_ != 0;
      return;
    case ChannelEvent::Kind::Closed:
      Drop("Error: Vandry has gone");
      return;
  }
}

void Link::Drop(const std::string& why) {
  channel_.reset();
  // What was not handled comes again in the next conversation.
  messages_.clear();
  broken_ = true;
  if (awaited_ != 0 && text_.empty()) text_ = why;
}

void Link::HandleNext() {
  const Message message = std::move(messages_.front());
  messages_.pop_front();
  const Busy busy(busy_);
  std::weak_ptr<lib::ChannelClient> channel = channel_;
  bool told = message.number == 0;
  const auto handled = [&] {
    if (std::exchange(told, true)) return;
    if (const std::shared_ptr<lib::ChannelClient> open = channel.lock()) open->Handled(message.number);
  };
  // Also when the handler throws: a damaged file that ends the program must not do so again at each start.
  struct AtEnd {
    const decltype(handled)& call;
    ~AtEnd() { call(); }
  };
  const AtEnd atEnd{handled};
  if (handler_) handler_(message.text, handled);
}

bool Link::StandsStill() const { return limit_.count() > 0 && Clock::now() - lastHeard_ > limit_; }

}  // namespace zelkor::net
