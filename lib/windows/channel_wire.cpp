#include "lib/channel_wire.h"

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

#include "lib/channel.h"
#include "lib/secret.h"
#include "lib/windows/dde.h"
#include "lib/windows/handle.h"

namespace zelkor::lib {

using std::chrono::milliseconds;

namespace {

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
      Write();  // the last words
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
      // A server that went without a farewell shows only so. One that refuses the words ends the conversation itself;
      // and Wine takes what the server says meanwhile for a refusal, although it has got the words.
      if (done == nullptr && DdeGetLastError(instance_) != DMLERR_NOTPROCESSED) {
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

class DdeWire : public ChannelWire {
 public:
  using Stage = Conversation::Stage;

  explicit DdeWire(std::shared_ptr<Conversation> conversation) : conversation_(std::move(conversation)) {}
  ~DdeWire() override {
    conversation_->ending = true;
    SetEvent(conversation_->wake.Get());
    // A farewell reaches the server at once, unless it does not answer: then nobody waits for the thread.
    std::unique_lock lock(conversation_->mutex);
    conversation_->ended.wait_for(lock, std::chrono::seconds(1), [&] { return conversation_->over; });
  }
  DdeWire(const DdeWire&) = delete;
  DdeWire& operator=(const DdeWire&) = delete;

  [[nodiscard]] Stage Now() const { return stage_; }
  [[nodiscard]] bool IsOpen() const override { return stage_ == Stage::Open && !reader_.Broken(); }
  void Send(FrameKind kind, std::uint32_t number, std::string_view text) override {
    std::string frame = EncodeFrame(kind, number, text);
    const WipedAtEnd wiped(frame);
    {
      const std::lock_guard lock(conversation_->mutex);
      AppendWiped(conversation_->out, frame);
    }
    SetEvent(conversation_->wake.Get());
  }
  void Turn(milliseconds patience) override {
    Awaited awaited{.handle = conversation_->news.ReadyHandle(), .wantRead = true};
    WaitUntilReady({&awaited, 1}, patience);
    conversation_->news.Clear();
    const std::lock_guard lock(conversation_->mutex);
    reader_.Add(conversation_->in);
    Wipe(conversation_->in);
    stage_ = conversation_->stage;
  }
  [[nodiscard]] std::optional<Frame> Next() override { return reader_.Next(); }

 private:
  std::shared_ptr<Conversation> conversation_;
  FrameReader reader_;
  Stage stage_ = Stage::Connecting;
};

}  // namespace

Result<std::unique_ptr<ChannelWire>> ChannelWire::Connect(std::string_view programDir, Clock::time_point end) {
  auto conversation = std::make_shared<Conversation>();
  conversation->topic = windows::DdeTopicOf(programDir);
  try {
    std::thread(Talk, conversation).detach();
  } catch (const std::system_error&) {
    return NoChannelAnswer();
  }
  auto wire = std::make_unique<DdeWire>(std::move(conversation));
  while (wire->Now() == DdeWire::Stage::Connecting) {
    if (Clock::now() >= end) return NoChannelAnswer();
    wire->Turn(TimeLeft(end));
  }
  if (wire->Now() == DdeWire::Stage::NotFound) return NobodyServesChannel(programDir);
  return {std::move(wire)};
}

}  // namespace zelkor::lib
