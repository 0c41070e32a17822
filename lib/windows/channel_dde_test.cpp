// A client that knows only the old way of speaking over DDE.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "lib/channel_fixture.h"
#include "lib/windows/dde.h"

namespace zelkor::lib {
namespace {

using testing::ElementsAre;
using RequestKind = ChannelRequest::Kind;

// A client of the system's DDE library alone: application VANDRY, topic mw, item dde.
class PlainClient {
 public:
  PlainClient() {
    Present() = this;
    DdeInitializeA(&instance_, OnEvent, APPCMD_CLIENTONLY, 0);
    const windows::DdeString application(instance_, "VANDRY");
    const windows::DdeString topic(instance_, "mw");
    const windows::DdeString item(instance_, "dde");
    talk_ = DdeConnect(instance_, application.Get(), topic.Get(), nullptr);
    DWORD result = 0;
    advised_ = talk_ != nullptr &&
               DdeClientTransaction(nullptr, 0, talk_, item.Get(), CF_TEXT, XTYP_ADVSTART, 5000, &result) != nullptr;
  }
  ~PlainClient() {
    if (talk_ != nullptr) DdeDisconnect(talk_);
    DdeUninitialize(instance_);
    Present() = nullptr;
  }
  PlainClient(const PlainClient&) = delete;
  PlainClient& operator=(const PlainClient&) = delete;

  [[nodiscard]] bool Advised() const { return advised_; }
  bool Execute(std::string command) {
    DWORD result = 0;
    return DdeClientTransaction(reinterpret_cast<BYTE*>(command.data()), static_cast<DWORD>(command.size() + 1), talk_,
                                nullptr, 0, XTYP_EXECUTE, 5000, &result) != nullptr;
  }
  // What the item became, up to so many texts.
  std::vector<std::string> Texts(std::size_t count) {
    for (int i = 0; i < 500 && texts_.size() < count; ++i) {
      MSG message{};
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) DispatchMessageW(&message);
      MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
    }
    return texts_;
  }

 private:
  static PlainClient*& Present() {
    static PlainClient* present = nullptr;
    return present;
  }
  static HDDEDATA CALLBACK OnEvent(UINT type, UINT, HCONV, HSZ, HSZ, HDDEDATA data, ULONG_PTR, ULONG_PTR) {
    if (type != XTYP_ADVDATA || data == nullptr) return nullptr;
    Present()->texts_.push_back(windows::DdeTextOf(data));
    return reinterpret_cast<HDDEDATA>(static_cast<UINT_PTR>(DDE_FACK));  // NOLINT(performance-no-int-to-ptr)
  }

  DWORD instance_ = 0;
  HCONV talk_ = nullptr;
  bool advised_ = false;
  std::vector<std::string> texts_;
};

TEST_F(Channel, SpeaksPlainlyWithAClientOfTheSystemsLibrary) {
  Listen();
  PlainClient plain;
  ASSERT_TRUE(plain.Advised());
  const ChannelRequest opened = Request();
  ASSERT_EQ(opened.kind, RequestKind::Opened);
  ASSERT_TRUE(plain.Execute("Hello"));
  const ChannelRequest hello = Request();
  EXPECT_EQ(hello.kind, RequestKind::Execute);
  EXPECT_EQ(hello.text, "Hello");
  server_->Taken(opened.client, hello.number);
  server_->Reply(opened.client, hello.number, "OK 2.23");
  server_->Push(opened.client, 5, "SyncMe lap 10.0.0.2");
  server_->Push(opened.client, 6, "SyncMe lap 10.0.0.2");
  EXPECT_THAT(plain.Texts(3), ElementsAre("OK 2.23", "SyncMe lap 10.0.0.2", "SyncMe lap 10.0.0.2"));
  EXPECT_EQ(Request().kind, RequestKind::Handled) << "there is nobody to say so later";
}

}  // namespace
}  // namespace zelkor::lib
