#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include "lib/channel.h"
#include "lib/channel_frame.h"
#include "lib/secret.h"
#include "lib/windows/dde.h"
#include "lib/windows/handle.h"

namespace zelkor::lib {

using std::chrono::milliseconds;

namespace {

using Clock = std::chrono::steady_clock;

// What the thread of a conversation and its owner share. The thread may outlive the owner for a while, in a call that
// waits for a server which does not answer.
struct Conversation {
  enum class Stage { Connecting, NotFound, Open, Closed };

  windows::OwnedHandle wake{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  std::atomic<bool> ending = false;
  WakeUp news;  // for the owner: something came, or the stage has changed
  std::string topic;

  std::mutex mutex;  // guards what follows
  std::condition_variable ended;
  bool over = false;
  Stage stage = Stage::Connecting;
  std::string out;  // bytes to send
  std::string in;   // bytes that came

  void SetStage(Stage next) {
    {
      const std::lock_guard lock(mutex);
      stage = next;
    }
    news.Signal();
  }
};

// The part of the conversation that only its thread touches.
class Talker {
 public:
  explicit Talker(std::shared_ptr<Conversation> conversation) : conversation_(std::move(conversation)) {
    Present() = this;
  }
  ~Talker() { Present() = nullptr; }
  Talker(const Talker&) = delete;
  Talker& operator=(const Talker&) = delete;

  void Run() {
    if (DdeInitializeA(&instance_, OnEvent, APPCMD_CLIENTONLY, 0) != DMLERR_NO_ERROR) {
      conversation_->SetStage(Conversation::Stage::NotFound);
      return;
    }
    {
      const windows::DdeString application(instance_, windows::kDdeApplication);
      const windows::DdeString topic(instance_, conversation_->topic);
      const windows::DdeString item(instance_, windows::kDdeItem);
      conversation_->SetStage(Open(application, topic, item) ? Conversation::Stage::Open
                                                             : Conversation::Stage::NotFound);
      windows::PumpMessages(conversation_->wake.Get(), conversation_->ending, kLookMs, [this] {
        Look();
        Write();
      });
      if (talk_ != nullptr) DdeDisconnect(talk_);
    }
    DdeUninitialize(instance_);
  }

 private:
  // One for each thread: the library's callback has nothing else to tell by.
  static Talker*& Present() {
    static thread_local Talker* present = nullptr;
    return present;
  }

  static HDDEDATA CALLBACK OnEvent(UINT type, UINT /*format*/, HCONV /*talk*/, HSZ /*topic*/, HSZ /*item*/,
                                   HDDEDATA data, ULONG_PTR /*data1*/, ULONG_PTR /*data2*/) {
    Talker* const talker = Present();
    if (talker == nullptr) return nullptr;
    if (type == XTYP_ADVDATA && data != nullptr) {
      talker->Came(data);
      return reinterpret_cast<HDDEDATA>(static_cast<UINT_PTR>(DDE_FACK));
    }
    if (type == XTYP_DISCONNECT) talker->Closed();
    return nullptr;
  }

  bool Open(const windows::DdeString& application, const windows::DdeString& topic, const windows::DdeString& item) {
    talk_ = DdeConnect(instance_, application.Get(), topic.Get(), nullptr);
    if (talk_ == nullptr) return false;
    DWORD result = 0;
    return DdeClientTransaction(nullptr, 0, talk_, item.Get(), CF_TEXT, XTYP_ADVSTART, kPatienceMs, &result) != nullptr;
  }

  // Not every system tells that a server is gone, above all one that was ended: its window tells.
  void Look() {
    CONVINFO info{};
    info.cb = sizeof info;
    if (talk_ == nullptr || DdeQueryConvInfo(talk_, QID_SYNC, &info) == 0) return;
    const bool there = info.hwndPartner == nullptr || IsWindow(info.hwndPartner) != 0;
    if (there && !farewell_) return;
    DdeDisconnect(talk_);
    Closed();
  }

  void Came(HDDEDATA data) {
    std::string text = windows::DdeTextOf(data);
    if (text == windows::kDdeFarewell) {
      farewell_ = true;  // not from within the library
      SetEvent(conversation_->wake.Get());
      return;
    }
    std::string bytes = windows::FromPrintable(text);
    {
      const std::lock_guard lock(conversation_->mutex);
      AppendWiped(conversation_->in, bytes);
    }
    Wipe(text);
    Wipe(bytes);
    conversation_->news.Signal();
  }

  void Closed() {
    talk_ = nullptr;
    conversation_->SetStage(Conversation::Stage::Closed);
  }

  void Write() {
    while (talk_ != nullptr) {
      std::string bytes;
      {
        const std::lock_guard lock(conversation_->mutex);
        bytes = conversation_->out.substr(0, windows::kMostDdeBytes);
        EraseFrontWiped(conversation_->out, bytes.size());
      }
      if (bytes.empty()) return;
      std::string text = windows::ToPrintable(bytes);
      DWORD result = 0;
      const HDDEDATA done =
          DdeClientTransaction(reinterpret_cast<BYTE*>(text.data()), static_cast<DWORD>(text.size() + 1), talk_,
                               nullptr, 0, XTYP_EXECUTE, kPatienceMs, &result);
      Wipe(text);
      Wipe(bytes);
      // A server that went without a farewell shows only so.
      if (done == nullptr) {
        if (talk_ != nullptr) DdeDisconnect(talk_);
        Closed();
      }
    }
  }

  static constexpr DWORD kLookMs = 250;
  static constexpr DWORD kPatienceMs = static_cast<DWORD>(kChannelPatience.count());

  std::shared_ptr<Conversation> conversation_;
  DWORD instance_ = 0;
  HCONV talk_ = nullptr;
  bool farewell_ = false;
};

void Talk(const std::shared_ptr<Conversation>& conversation) {
  Talker(conversation).Run();
  const std::lock_guard lock(conversation->mutex);
  Wipe(conversation->out);
  conversation->over = true;
  conversation->ended.notify_all();
}

Status NobodyServes(std::string_view programDir) {
  return {Cause::NotFound, "Nobody serves the local link of [" + std::string(programDir) + "]"};
}

Status NoAnswer() { return {Cause::Failed, "The networking program does not answer"}; }

milliseconds Left(Clock::time_point end) {
  return std::max(milliseconds(0), std::chrono::ceil<milliseconds>(end - Clock::now()));
}

std::optional<ChannelEvent::Kind> EventKind(FrameKind kind) {
  switch (kind) {
    case FrameKind::Taken:
      return ChannelEvent::Kind::Taken;
    case FrameKind::Working:
      return ChannelEvent::Kind::Working;
    case FrameKind::Reply:
      return ChannelEvent::Kind::Reply;
    case FrameKind::Push:
      return ChannelEvent::Kind::Push;
    case FrameKind::Progress:
      return ChannelEvent::Kind::Progress;
    case FrameKind::Open:
    case FrameKind::Execute:
    case FrameKind::Handled:
      break;
  }
  return std::nullopt;
}

}  // namespace

struct ChannelClient::State {
  ~State() {
    if (!conversation) return;
    conversation->ending = true;
    SetEvent(conversation->wake.Get());
    // A farewell reaches the server at once, unless it does not answer: then nobody waits for the thread.
    std::unique_lock lock(conversation->mutex);
    conversation->ended.wait_for(lock, std::chrono::seconds(1), [&] { return conversation->over; });
  }

  void Send(FrameKind kind, std::uint32_t number, std::string_view text) const {
    std::string frame = EncodeFrame(kind, number, text);
    const WipedAtEnd wiped(frame);
    {
      const std::lock_guard lock(conversation->mutex);
      AppendWiped(conversation->out, frame);
    }
    SetEvent(conversation->wake.Get());
  }
  // Takes what came; returns the stage.
  Conversation::Stage Read() {
    conversation->news.Clear();
    const std::lock_guard lock(conversation->mutex);
    reader.Add(conversation->in);
    Wipe(conversation->in);
    return conversation->stage;
  }
  void Await(milliseconds patience) const {
    Awaited awaited{.handle = conversation->news.ReadyHandle(), .wantRead = true};
    WaitUntilReady({&awaited, 1}, patience);
  }
  Status Greet(Clock::time_point end);

  std::shared_ptr<Conversation> conversation;
  FrameReader reader;
  std::deque<ChannelEvent> events;
  bool open = false;
  bool closedTold = false;
};

// The greeting that shows that somebody is awake at the other end.
Status ChannelClient::State::Greet(Clock::time_point end) {
  Send(FrameKind::Open, kFrameVersion, {});
  for (;;) {
    const Conversation::Stage stage = Read();
    if (const std::optional<Frame> frame = reader.Next()) {
      if (frame->kind != FrameKind::Open || frame->number != kFrameVersion) {
        return {Cause::Failed, "The networking program is of another version"};
      }
      open = true;
      return {};
    }
    if (stage == Conversation::Stage::Closed) {
      return {Cause::Failed, "The networking program closed the local link"};
    }
    if (Clock::now() >= end) return NoAnswer();
    Await(Left(end));
  }
}

ChannelClient::ChannelClient() : state_(std::make_unique<State>()) {}
ChannelClient::~ChannelClient() = default;

Result<std::unique_ptr<ChannelClient>> ChannelClient::Connect(std::string_view programDir, milliseconds patience) {
  const Clock::time_point end = Clock::now() + patience;
  auto client = std::make_unique<ChannelClient>();
  State& state = *client->state_;
  state.conversation = std::make_shared<Conversation>();
  state.conversation->topic = windows::DdeTopicOf(programDir);
  try {
    std::thread(Talk, state.conversation).detach();
  } catch (const std::system_error&) {
    state.conversation.reset();
    return NoAnswer();
  }
  for (;;) {
    const Conversation::Stage stage = state.Read();
    if (stage == Conversation::Stage::NotFound) return NobodyServes(programDir);
    if (stage != Conversation::Stage::Connecting) break;
    if (Clock::now() >= end) return NoAnswer();
    state.Await(Left(end));
  }
  if (const Status greeted = state.Greet(end); !greeted.Ok()) return greeted;
  return client;
}

bool ChannelClient::IsOpen() const { return state_->open; }

Status ChannelClient::Execute(std::uint32_t number, std::string_view command) {
  if (command.size() > kMostChannelText) return {Cause::Damaged, "The command is too long"};
  if (!IsOpen()) return {Cause::Failed, "The local link is closed"};
  state_->Send(FrameKind::Execute, number, command);
  return {};
}

void ChannelClient::Handled(std::uint32_t number) {
  if (IsOpen()) state_->Send(FrameKind::Handled, number, {});
}

void ChannelClient::Turn(milliseconds patience) {
  State& state = *state_;
  if (state.open) {
    state.Await(patience);
    const Conversation::Stage stage = state.Read();
    while (std::optional<Frame> frame = state.reader.Next()) {
      const std::optional<ChannelEvent::Kind> kind = EventKind(frame->kind);
      if (kind) state.events.push_back({*kind, frame->number, std::move(frame->text)});
    }
    if (stage == Conversation::Stage::Closed || state.reader.Broken()) state.open = false;
  }
  if (!state.open && !state.closedTold) {
    state.closedTold = true;
    state.events.push_back({});
  }
}

std::optional<ChannelEvent> ChannelClient::Next() {
  if (state_->events.empty()) return std::nullopt;
  ChannelEvent event = std::move(state_->events.front());
  state_->events.pop_front();
  return event;
}

}  // namespace zelkor::lib
