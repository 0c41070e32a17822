#include "lib/windows/notify_icon.h"

#include <gtest/gtest.h>
#include <string>

// It needs the system's own header before it.
#include <shellapi.h>

namespace zelkor::lib::windows {
namespace {

template <std::size_t kHandleBytes>
std::string Filled(std::uint64_t window, std::uint64_t icon) {
  using Record = NotifyRecord<kHandleBytes>;
  Record record;
  record.SetNumber(Record::kWindow, window);
  record.SetNumber(Record::kId, 1);
  record.SetNumber(Record::kFlags, 7);
  record.SetNumber(Record::kMessage, 512);
  record.SetNumber(Record::kIcon, icon);
  record.SetTip("Zelkor");
  return {record.Bytes().data(), record.Bytes().size()};
}

TEST(NotifyRecord, Has88BytesInA32BitProgram) {
  const std::string tip = std::string("Zelkor") + std::string(58, '\0');
  using namespace std::string_literals;
  EXPECT_EQ(Filled<4>(0x04030201, 0x14131211),
            "\x58\0\0\0"
            "\x01\x02\x03\x04"
            "\x01\0\0\0"
            "\x07\0\0\0"
            "\x00\x02\0\0"
            "\x11\x12\x13\x14"s +
                tip);
}

TEST(NotifyRecord, Has104BytesInA64BitProgramWhoseHandlesStandAtTheirWidth) {
  const std::string tip = std::string("Zelkor") + std::string(58, '\0');
  using namespace std::string_literals;
  EXPECT_EQ(Filled<8>(0x0807060504030201, 0x1817161514131211),
            "\x68\0\0\0\0\0\0\0"
            "\x01\x02\x03\x04\x05\x06\x07\x08"
            "\x01\0\0\0"
            "\x07\0\0\0"
            "\x00\x02\0\0\0\0\0\0"
            "\x11\x12\x13\x14\x15\x16\x17\x18"s +
                tip);
}

TEST(NotifyRecord, EndsATipThatIsTooLongWithItsNul) {
  NotifyRecord<4> record;
  record.SetTip(std::string(70, 'x'));
  const std::string bytes(record.Bytes().data(), record.Bytes().size());
  EXPECT_EQ(bytes.substr(24), std::string(63, 'x') + '\0');
}

// A window that is not on the screen.
class NotifyIcon : public testing::Test {
 protected:
  NotifyIcon() {
    window_ = CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    SendMessageW(window_, WM_SETICON, ICON_SMALL,
                 reinterpret_cast<LPARAM>(LoadIconW(nullptr, MAKEINTRESOURCEW(32516))));  // IDI_INFORMATION
  }
  ~NotifyIcon() override { DestroyWindow(window_); }
  NotifyIcon(const NotifyIcon&) = delete;
  NotifyIcon& operator=(const NotifyIcon&) = delete;

  // Whether the shell knows the icon: it has one changed in nothing.
  [[nodiscard]] bool Known() const {
    NOTIFYICONDATAA data{};
    data.cbSize = NOTIFYICONDATAA_V1_SIZE;
    data.hWnd = window_;
    data.uID = 1;
    return Shell_NotifyIconA(NIM_MODIFY, &data) != 0;
  }

  HWND window_ = nullptr;
};

TEST_F(NotifyIcon, IsRecordedWithTheWindowItsPictureAndTheName) {
  const OwnNotifyRecord record = NotifyRecordOf(window_);
  const auto picture = static_cast<std::uint64_t>(SendMessageW(window_, WM_GETICON, ICON_SMALL, 0));
  ASSERT_NE(picture, 0U);
  EXPECT_EQ(std::string(record.Bytes().data(), record.Bytes().size()),
            Filled<sizeof(HWND)>(reinterpret_cast<std::uintptr_t>(window_), picture));
}

TEST_F(NotifyIcon, StaysFromAddingToDeleting) {
  ASSERT_TRUE(HasNotificationArea());
  EXPECT_FALSE(Known());
  AddNotifyIcon(window_);
  EXPECT_TRUE(Known());
  DeleteNotifyIcon(window_);
  EXPECT_FALSE(Known());
}

}  // namespace
}  // namespace zelkor::lib::windows
