#include "lib/channel_desk.h"

#include <deque>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "lib/secret.h"
#include "lib/windows/dde.h"
#include "lib/windows/handle.h"

namespace zelkor::lib {

namespace {

// One conversation, as the thread that has it and the server share it.
struct Client {
  HCONV talk = nullptr;
  bool plain = false;                // on the topic of those who know no frames
  bool open = false;                 // it has said its greeting, or wants to hear what the item becomes
  bool openTold = false;             // of a plain one
  bool ended = false;                // nothing more comes from it
  bool closing = false;              // the server has given it up
  std::string in;                    // bytes of frames that came
  std::string out;                   // bytes of frames to send
  std::deque<std::string> commands;  // of a plain one
  std::deque<std::string> texts;     // to a plain one
  FrameReader reader;                // the server's alone
};

// What the thread that owns the conversations and the server share.
struct Desk {
  windows::OwnedHandle wake{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  windows::OwnedHandle begun{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  std::atomic<bool> ending = false;
  std::atomic<bool> works = false;
  WakeUp news;  // for the server: something came
  std::string topic;

  std::mutex mutex;  // guards what follows
  ChannelClientId lastId = 0;
  std::map<ChannelClientId, Client> clients;

  Client* Of(HCONV talk) {
    for (auto& [id, client] : clients) {
      if (client.talk == talk) return &client;
    }
    return nullptr;
  }
};

// The part that only the thread touches.
class Listener {
 public:
  explicit Listener(Desk& desk) : desk_(desk) { Present() = this; }
  ~Listener() { Present() = nullptr; }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  void Run() {
    desk_.works = DdeInitializeA(&instance_, OnEvent, APPCLASS_STANDARD | CBF_FAIL_POKES, 0) == DMLERR_NO_ERROR;
    if (!desk_.works) {
      SetEvent(desk_.begun.Get());
      return;
    }
    {
      const windows::DdeString application(instance_, windows::kDdeApplication);
      const windows::DdeString topic(instance_, desk_.topic);
      const windows::DdeString plainTopic(instance_, windows::kDdeTopic);
      const windows::DdeString item(instance_, windows::kDdeItem);
      application_ = &application;
      topic_ = &topic;
      plainTopic_ = &plainTopic;
      item_ = &item;
      desk_.works = DdeNameService(instance_, application.Get(), nullptr, DNS_REGISTER) != nullptr;
      // Wine forgets the item's name with the first of two messages that are on their way, unless somebody keeps it.
      const ATOM kept = GlobalAddAtomA(windows::kDdeItem);
      SetEvent(desk_.begun.Get());
      windows::PumpMessages(desk_.wake.Get(), desk_.ending, INFINITE, [this] { Work(); });
      Work();  // the last words
      DdeNameService(instance_, application.Get(), nullptr, DNS_UNREGISTER);
      GlobalDeleteAtom(kept);
    }
    DdeUninitialize(instance_);
  }

 private:
  static Listener*& Present() {
    static thread_local Listener* present = nullptr;
    return present;
  }
  // What a callback returns is a number or a handle, in the type of the handle.
  static HDDEDATA Answer(UINT_PTR value) {
    return reinterpret_cast<HDDEDATA>(value);  // NOLINT(performance-no-int-to-ptr)
  }

  static HDDEDATA CALLBACK OnEvent(UINT type, UINT format, HCONV talk, HSZ first, HSZ second, HDDEDATA data,
                                   ULONG_PTR /*data1*/, ULONG_PTR /*data2*/) {
    Listener* const listener = Present();
    if (listener == nullptr || listener->item_ == nullptr) return nullptr;
    switch (type) {
      case XTYP_CONNECT:
        return Answer(listener->Connects(first, second) ? TRUE : FALSE);
      case XTYP_CONNECT_CONFIRM:
        listener->Connected(talk, listener->plainTopic_->Is(first));
        return nullptr;
      case XTYP_ADVSTART:
        return Answer(listener->Advises(talk, second, format) ? TRUE : FALSE);
      case XTYP_ADVREQ:
      case XTYP_REQUEST:
        return listener->item_->Is(second) && format == CF_TEXT ? listener->Value(talk) : nullptr;
      case XTYP_EXECUTE:
        return Answer(listener->Executes(talk, data) ? DDE_FACK : DDE_FNOTPROCESSED);
      case XTYP_DISCONNECT:
        listener->Disconnected(talk);
        return nullptr;
      default:
        return nullptr;
    }
  }

  bool Connects(HSZ topic, HSZ application) {
    if (!application_->Is(application) || (!topic_->Is(topic) && !plainTopic_->Is(topic))) return false;
    const std::lock_guard lock(desk_.mutex);
    return desk_.clients.size() < ChannelDesk::kMostClients;
  }

  void Connected(HCONV talk, bool plain) {
    const std::lock_guard lock(desk_.mutex);
    Client& client = desk_.clients[++desk_.lastId];
    client.talk = talk;
    client.plain = plain;
  }

  bool Advises(HCONV talk, HSZ item, UINT format) {
    if (!item_->Is(item) || format != CF_TEXT) return false;
    {
      const std::lock_guard lock(desk_.mutex);
      Client* const client = desk_.Of(talk);
      if (client == nullptr) return false;
      if (client->plain) client->open = true;
    }
    desk_.news.Signal();
    return true;
  }

  // What the item is for this client: the next text, or the next piece of the stream. Nothing when there is none.
  HDDEDATA Value(HCONV talk) {
    const std::lock_guard lock(desk_.mutex);
    Client* const client = desk_.Of(talk);
    if (client == nullptr) return nullptr;
    if (client->plain) {
      if (client->texts.empty()) return nullptr;
      const std::string text = std::move(client->texts.front());
      client->texts.pop_front();
      return windows::MakeDdeText(instance_, item_->Get(), text);
    }
    if (client->out.empty()) {
      if (!client->closing) return nullptr;
      return windows::MakeDdeText(instance_, item_->Get(), windows::kDdeFarewell);
    }
    std::string bytes = client->out.substr(0, windows::kMostDdeBytes);
    EraseFrontWiped(client->out, bytes.size());
    std::string text = windows::ToPrintable(bytes);
    auto* const data = windows::MakeDdeText(instance_, item_->Get(), text);
    Wipe(text);
    Wipe(bytes);
    return data;
  }

  bool Executes(HCONV talk, HDDEDATA data) {
    std::string text = windows::DdeTextOf(data);
    const WipedAtEnd wiped(text);
    {
      const std::lock_guard lock(desk_.mutex);
      Client* const client = desk_.Of(talk);
      if (client == nullptr || client->closing) return false;
      if (client->plain) {
        client->commands.push_back(text);
      } else {
        std::string bytes = windows::FromPrintable(text);
        AppendWiped(client->in, bytes);
        Wipe(bytes);
      }
    }
    desk_.news.Signal();
    return true;
  }

  void Disconnected(HCONV talk) {
    {
      const std::lock_guard lock(desk_.mutex);
      if (Client* const client = desk_.Of(talk); client != nullptr) {
        client->talk = nullptr;
        client->ended = true;
      }
    }
    desk_.news.Signal();
  }

  // Tells the clients that there is something for them, until there is nothing more, and ends what is to end.
  void Work() {
    // A client that is not advised of anything takes nothing.
    for (std::size_t before = SIZE_MAX;;) {
      std::size_t plain = 0;
      std::size_t framed = 0;
      {
        const std::lock_guard lock(desk_.mutex);
        for (const auto& [id, client] : desk_.clients) {
          if (client.talk != nullptr) (client.plain ? plain : framed) += client.texts.size() + client.out.size();
        }
      }
      if (plain + framed == 0 || plain + framed == before) break;
      before = plain + framed;
      if (plain != 0) DdePostAdvise(instance_, plainTopic_->Get(), item_->Get());
      if (framed != 0) DdePostAdvise(instance_, topic_->Get(), item_->Get());
    }
    std::vector<HCONV> given;
    bool farewells = false;
    {
      const std::lock_guard lock(desk_.mutex);
      for (const auto& [id, client] : desk_.clients) {
        farewells = farewells || (client.closing && client.talk != nullptr && !client.plain);
      }
    }
    if (farewells) DdePostAdvise(instance_, topic_->Get(), item_->Get());
    {
      const std::lock_guard lock(desk_.mutex);
      for (auto& [id, client] : desk_.clients) {
        if (!client.closing || client.talk == nullptr) continue;
        given.push_back(client.talk);
        client.talk = nullptr;
        client.ended = true;
      }
    }
    for (auto* const talk : given) DdeDisconnect(talk);
    if (!given.empty()) desk_.news.Signal();
  }

  Desk& desk_;
  DWORD instance_ = 0;
  const windows::DdeString* application_ = nullptr;
  const windows::DdeString* topic_ = nullptr;
  const windows::DdeString* plainTopic_ = nullptr;
  const windows::DdeString* item_ = nullptr;
};

class DdeDesk : public ChannelDesk {
 public:
  DdeDesk() = default;
  ~DdeDesk() override {
    desk_.ending = true;
    SetEvent(desk_.wake.Get());
    if (thread_.joinable()) thread_.join();
  }
  DdeDesk(const DdeDesk&) = delete;
  DdeDesk& operator=(const DdeDesk&) = delete;

  Status Listen(std::string_view programDir);
  [[nodiscard]] Handle ReadyHandle() const override { return desk_.news.ReadyHandle(); }
  void Turn() override;
  void Send(ChannelClientId id, FrameKind kind, std::uint32_t number, std::string_view text) override;
  void Close(ChannelClientId id) override;
  // The thread tells of them.
  void Sweep() override {}

 private:
  void Serve(ChannelClientId id, Client& client);

  Desk desk_;
  std::thread thread_;
  std::uint32_t lastNumber_ = 0;  // of the commands of those who give none
};

Status DdeDesk::Listen(std::string_view programDir) {
  desk_.topic = windows::DdeTopicOf(programDir);
  try {
    thread_ = std::thread([this] { Listener(desk_).Run(); });
  } catch (const std::system_error&) {
    return {Cause::Failed, "The local link can not be served"};
  }
  WaitForSingleObject(desk_.begun.Get(), INFINITE);
  if (!desk_.works) return {Cause::Failed, "The local link can not be served: there is no DDE"};
  return {};
}

// With the desk locked.
void DdeDesk::Serve(ChannelClientId id, Client& client) {
  if (client.plain) {
    if (client.open && !client.openTold) {
      client.openTold = true;
      Request({.kind = ChannelRequest::Kind::Opened, .client = id});
    }
    for (std::string& command : client.commands) {
      Request({ChannelRequest::Kind::Execute, id, ++lastNumber_, std::move(command)});
    }
    client.commands.clear();
    return;
  }
  client.reader.Add(client.in);
  Wipe(client.in);
  while (std::optional<Frame> frame = client.reader.Next()) {
    const Heard heard = Hear(id, client.open, std::move(*frame));
    if (heard != Heard::Request) {
      client.out += EncodeFrame(FrameKind::Open, kFrameVersion, {});
      SetEvent(desk_.wake.Get());
    }
    if (heard == Heard::Stranger) {
      client.closing = true;
      break;
    }
  }
  if (client.reader.Broken()) client.closing = true;
}

void DdeDesk::Send(ChannelClientId id, FrameKind kind, std::uint32_t number, std::string_view text) {
  const std::lock_guard lock(desk_.mutex);
  const auto found = desk_.clients.find(id);
  if (found == desk_.clients.end() || found->second.ended || found->second.closing) return;
  Client& client = found->second;
  if (client.plain) {
    // The library has acknowledged the command already.
    if (kind != FrameKind::Reply && kind != FrameKind::Push) return;
    client.texts.emplace_back(text);
    if (kind == FrameKind::Push) {
      Request({.kind = ChannelRequest::Kind::Handled, .client = id, .number = number});
      desk_.news.Signal();
    }
  } else {
    std::string frame = EncodeFrame(kind, number, text);
    AppendWiped(client.out, frame);
    Wipe(frame);
    if (client.out.size() > kMostWaitingBytes) client.closing = true;
  }
  SetEvent(desk_.wake.Get());
}

void DdeDesk::Turn() {
  desk_.news.Clear();
  const std::lock_guard lock(desk_.mutex);
  for (auto it = desk_.clients.begin(); it != desk_.clients.end();) {
    auto& [id, client] = *it;
    Serve(id, client);
    if (!client.ended) {
      ++it;
      continue;
    }
    if (client.open) Request({.kind = ChannelRequest::Kind::Closed, .client = id});
    it = desk_.clients.erase(it);
  }
}

void DdeDesk::Close(ChannelClientId id) {
  {
    const std::lock_guard lock(desk_.mutex);
    const auto found = desk_.clients.find(id);
    if (found == desk_.clients.end()) return;
    found->second.closing = true;
  }
  SetEvent(desk_.wake.Get());
}

}  // namespace

Result<std::unique_ptr<ChannelDesk>> ChannelDesk::Open(std::string_view programDir) {
  auto desk = std::make_unique<DdeDesk>();
  if (const Status opened = desk->Listen(programDir); !opened.Ok()) return opened;
  return {std::move(desk)};
}

}  // namespace zelkor::lib
