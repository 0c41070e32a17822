#include "lib/windows/notify_icon.h"

#include <cstring>

// It needs the system's own header before it.
#include <shellapi.h>

namespace zelkor::lib::windows {
namespace {

// The table is the system's record, in a program of either width; the first form has 88 bytes in a 32-bit one.
static_assert(NotifyRecord<4>::kBytes == 88);
static_assert(OwnNotifyRecord::kBytes == NOTIFYICONDATAA_V1_SIZE);
static_assert(OwnNotifyRecord::kSize.offset == offsetof(NOTIFYICONDATAA, cbSize));
static_assert(OwnNotifyRecord::kWindow.offset == offsetof(NOTIFYICONDATAA, hWnd));
static_assert(OwnNotifyRecord::kId.offset == offsetof(NOTIFYICONDATAA, uID));
static_assert(OwnNotifyRecord::kFlags.offset == offsetof(NOTIFYICONDATAA, uFlags));
static_assert(OwnNotifyRecord::kMessage.offset == offsetof(NOTIFYICONDATAA, uCallbackMessage));
static_assert(OwnNotifyRecord::kIcon.offset == offsetof(NOTIFYICONDATAA, hIcon));
static_assert(OwnNotifyRecord::kTip.offset == offsetof(NOTIFYICONDATAA, szTip));

HICON PictureOf(HWND window) {
  for (const WPARAM which : {ICON_SMALL, ICON_BIG}) {
    if (const LRESULT icon = SendMessageW(window, WM_GETICON, which, 0); icon != 0) {
      return reinterpret_cast<HICON>(icon);
    }
  }
  return nullptr;
}

void Tell(DWORD command, HWND window) {
  const OwnNotifyRecord record = NotifyRecordOf(window);
  NOTIFYICONDATAA data{};
  std::memcpy(&data, record.Bytes().data(), record.Bytes().size());
  Shell_NotifyIconA(command, &data);
}

}  // namespace

OwnNotifyRecord NotifyRecordOf(HWND window) {
  OwnNotifyRecord record;
  record.SetNumber(OwnNotifyRecord::kWindow, reinterpret_cast<std::uintptr_t>(window));
  record.SetNumber(OwnNotifyRecord::kId, kNotifyId);
  record.SetNumber(OwnNotifyRecord::kFlags, NIF_MESSAGE | NIF_ICON | NIF_TIP);
  record.SetNumber(OwnNotifyRecord::kMessage, kNotifyMessage);
  record.SetNumber(OwnNotifyRecord::kIcon, reinterpret_cast<std::uintptr_t>(PictureOf(window)));
  record.SetTip("Zelkor");
  return record;
}

void AddNotifyIcon(HWND window) { Tell(NIM_ADD, window); }
void DeleteNotifyIcon(HWND window) { Tell(NIM_DELETE, window); }

// The window to which Shell_NotifyIcon itself turns; other shells than the system's own make one too.
bool HasNotificationArea() { return FindWindowW(L"Shell_TrayWnd", nullptr) != nullptr; }

}  // namespace zelkor::lib::windows
