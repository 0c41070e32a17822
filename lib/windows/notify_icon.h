// The icon of a window in the notification area.
#pragma once

#include "lib/windows/notify_record.h"
#include "lib/windows/system.h"

namespace zelkor::lib::windows {

// The message by which the notifications come: as if the mouse moved over the window, with the notification's code as
// the X coordinate.
inline constexpr UINT kNotifyMessage = WM_MOUSEMOVE;
// Of a window's one icon.
inline constexpr UINT kNotifyId = 1;

using OwnNotifyRecord = NotifyRecord<sizeof(HWND)>;

// The record of the window's icon: the window's own picture and the program's name.
[[nodiscard]] OwnNotifyRecord NotifyRecordOf(HWND window);

// Whether it worked is not told: without a notification area there is nothing to be done.
void AddNotifyIcon(HWND window);
void DeleteNotifyIcon(HWND window);

// Whether there is a notification area.
[[nodiscard]] bool HasNotificationArea();

}  // namespace zelkor::lib::windows
