#include <windows.h>
// The order matters: the next one needs what the first declares.
#include <algorithm>
#include <array>
#include <commctrl.h>
#include <cwchar>
#include <cwctype>
#include <list>
#include <shellapi.h>
#include <wx/app.h>
#include <wx/defs.h>
#include <wx/evtloop.h>
#include <wx/toolbar.h>
#include <wx/uiaction.h>
// Needs what the others declare.
#include <wx/msw/private.h>

#include "tests/support/native_windows.h"

namespace zelkor::tests::native {

namespace {

constexpr const wchar_t* kWatchedKey = L"zelkor-watched";
// The class of boxes and dialogs that the system makes.
constexpr std::wstring_view kDialogClass = L"#32770";

HWND Handle(void* window) { return static_cast<HWND>(window); }

std::string Utf8(const std::wstring& text) {
  if (text.empty()) return {};
  const int units = static_cast<int>(text.size());
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, utf8.data(), bytes, nullptr, nullptr);
  return utf8;
}

std::wstring TextOf(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return text;
}

std::wstring ClassOf(HWND window) {
  std::array<wchar_t, 256> name{};
  const int length = GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return {name.data(), static_cast<std::size_t>(length)};
}

bool IsClass(HWND window, std::wstring_view name) {
  const std::wstring shown = ClassOf(window);
  return CompareStringOrdinal(shown.data(), static_cast<int>(shown.size()), name.data(), static_cast<int>(name.size()),
                              TRUE) == CSTR_EQUAL;
}

std::string WithoutAccessKey(std::wstring caption) {
  caption.erase(std::remove(caption.begin(), caption.end(), L'&'), caption.end());
  return Utf8(caption);
}

wxPoint CentreOf(const RECT& place) { return {(place.left + place.right) / 2, (place.top + place.bottom) / 2}; }

// The windows that a function of the system enumerates by calling back.
BOOL CALLBACK Collect(HWND window, LPARAM out) {
  reinterpret_cast<std::vector<HWND>*>(out)->push_back(window);
  return TRUE;
}
std::vector<HWND> Descendants(HWND window) {
  std::vector<HWND> all;
  EnumChildWindows(window, Collect, reinterpret_cast<LPARAM>(&all));
  return all;
}
std::vector<HWND> WindowsOfThread() {
  std::vector<HWND> all;
  EnumThreadWindows(GetCurrentThreadId(), Collect, reinterpret_cast<LPARAM>(&all));
  return all;
}

bool IsPushButton(HWND window) {
  if (!IsClass(window, L"Button") || IsWindowVisible(window) == 0) return false;
  const LONG kind = GetWindowLongW(window, GWL_STYLE) & BS_TYPEMASK;
  return kind == BS_PUSHBUTTON || kind == BS_DEFPUSHBUTTON;
}

std::vector<HWND> ButtonWindows(HWND window) {
  std::vector<HWND> buttons;
  for (HWND child : Descendants(window)) {
    if (IsPushButton(child)) buttons.push_back(child);
  }
  const auto left = [](HWND button) {
    RECT place{};
    GetWindowRect(button, &place);
    return place.left;
  };
  std::sort(buttons.begin(), buttons.end(), [&](HWND a, HWND b) { return left(a) < left(b); });
  return buttons;
}

// A box of the system: the toolkit's own dialogs are of other classes or have other controls.
bool IsMessage(HWND window) {
  if (!IsClass(window, kDialogClass)) return false;
  const std::vector<HWND> children = Descendants(window);
  return !children.empty() && std::all_of(children.begin(), children.end(), [](HWND child) {
    return IsClass(child, L"Static") || IsClass(child, L"Button");
  });
}

bool HoldsIcon(HWND window) {
  return IsClass(window, L"Static") && (GetWindowLongW(window, GWL_STYLE) & SS_TYPEMASK) == SS_ICON;
}

// What the toolkit has a toolbar's button be called; the bar itself shows that as a hint only.
std::wstring ToolCaption(HWND bar, int command) {
  const auto* tools = wxDynamicCast(wxFindWinFromHandle(bar), wxToolBar);
  const wxToolBarToolBase* tool = tools == nullptr ? nullptr : tools->FindById(command);
  return tool == nullptr ? std::wstring() : tool->GetLabel().ToStdWstring();
}

// Of the main window's only icon.
constexpr UINT kTrayIconNumber = 1;

// Whether the shell knows an icon of the window: it has one changed in nothing.
bool HasTrayIcon(HWND window) {
  NOTIFYICONDATAW icon{};
  icon.cbSize = sizeof icon;
  icon.hWnd = window;
  icon.uID = kTrayIconNumber;
  return Shell_NotifyIconW(NIM_MODIFY, &icon) != 0;
}

// The window in which Wine shows an icon, and which passes on what the mouse does there; null on Windows. It is ours:
// each run has a system of its own.
HWND WineTrayIcon() {
  for (HWND window : Descendants(GetDesktopWindow())) {
    if (IsClass(window, L"__winex11_tray_icon") && IsWindowVisible(window) != 0) return window;
  }
  return nullptr;
}

}  // namespace

Watched& WatchedState(void* window) {
  // Kept for good: a window's property goes with it, but an answer may still be at work.
  static std::list<Watched> all;
  auto* known = static_cast<Watched*>(GetPropW(Handle(window), kWatchedKey));
  if (known != nullptr) return *known;
  Watched& made = all.emplace_back();
  SetPropW(Handle(window), kWatchedKey, &made);
  return made;
}

// A handle is only a number: there is no memory to keep.
KeepAlive::KeepAlive(void* window) : window_(window) {}
KeepAlive::~KeepAlive() { window_ = nullptr; }

std::vector<void*> ModalWindows() {
  std::vector<void*> modal;
  for (HWND window : WindowsOfThread()) {
    if (IsWindowVisible(window) == 0 || IsWindowEnabled(window) == 0) continue;
    if ((GetWindowLongW(window, GWL_STYLE) & WS_CHILD) != 0) continue;
    // A modal window is one that keeps its owner from being used. A box may have no owner.
    HWND owner = GetWindow(window, GW_OWNER);
    const bool keepsOwner = owner != nullptr && IsWindowVisible(owner) != 0 && IsWindowEnabled(owner) == 0;
    if (keepsOwner || IsMessage(window)) modal.push_back(window);
  }
  return modal;
}

bool IsActive(void* window) { return GetForegroundWindow() == Handle(window); }

bool NewWindowsGetTheKeyboard() {
  // Windows does not. Under Wine it is the display's window manager that decides.
  HMODULE system = GetModuleHandleW(L"ntdll.dll");
  return system != nullptr && GetProcAddress(system, "wine_get_version") != nullptr;
}

bool IsOnScreen(void* window) { return IsWindowVisible(Handle(window)) != 0; }

void Close(void* window) { PostMessageW(Handle(window), WM_CLOSE, 0, 0); }

std::string Title(void* window) { return Utf8(TextOf(Handle(window))); }

std::string MessageText(void* window) {
  if (!IsMessage(Handle(window))) return {};
  std::string text;
  for (HWND child : Descendants(Handle(window))) {
    if (!IsClass(child, L"Static") || HoldsIcon(child)) continue;
    const std::string part = Utf8(TextOf(child));
    if (!part.empty()) text += (text.empty() ? "" : "\n") + part;
  }
  return text;
}

std::string MessageIcon(void* window) {
  if (!IsMessage(Handle(window))) return {};
  constexpr std::array<WORD, 4> kNumbers{32513, 32514, 32515, 32516};  // IDI_HAND, _QUESTION, _EXCLAMATION, _ASTERISK
  constexpr std::array<const char*, 4> kNames{"error", "question", "warning", "info"};
  for (HWND child : Descendants(Handle(window))) {
    if (!HoldsIcon(child)) continue;
    const auto shown = reinterpret_cast<HICON>(SendMessageW(child, STM_GETICON, 0, 0));
    for (std::size_t i = 0; i < kNumbers.size(); ++i) {
      if (shown != nullptr && shown == LoadIconW(nullptr, MAKEINTRESOURCEW(kNumbers[i]))) return kNames[i];
    }
  }
  return {};
}

std::vector<Button> Buttons(void* window) {
  std::vector<Button> buttons;
  for (HWND button : ButtonWindows(Handle(window))) {
    RECT place{};
    GetWindowRect(button, &place);
    buttons.push_back({.caption = WithoutAccessKey(TextOf(button)), .centre = CentreOf(place)});
  }
  return buttons;
}

std::string DefaultButton(void* window) {
  for (HWND button : ButtonWindows(Handle(window))) {
    if ((GetWindowLongW(button, GWL_STYLE) & BS_TYPEMASK) == BS_DEFPUSHBUTTON) return WithoutAccessKey(TextOf(button));
  }
  return {};
}

std::vector<Button> ToolButtons(void* window) {
  std::vector<Button> buttons;
  for (HWND bar : Descendants(Handle(window))) {
    if (!IsClass(bar, TOOLBARCLASSNAMEW)) continue;
    const auto count = static_cast<int>(SendMessageW(bar, TB_BUTTONCOUNT, 0, 0));
    for (int index = 0; index < count; ++index) {
      TBBUTTON button{};
      SendMessageW(bar, TB_GETBUTTON, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&button));
      if ((button.fsStyle & BTNS_SEP) != 0) continue;
      RECT place{};
      SendMessageW(bar, TB_GETITEMRECT, static_cast<WPARAM>(index), reinterpret_cast<LPARAM>(&place));
      MapWindowPoints(bar, nullptr, reinterpret_cast<POINT*>(&place), 2);
      buttons.push_back({.caption = WithoutAccessKey(ToolCaption(bar, button.idCommand)), .centre = CentreOf(place)});
    }
  }
  return buttons;
}

std::vector<std::string> AllTitles() {
  std::vector<HWND> all;
  EnumWindows(Collect, reinterpret_cast<LPARAM>(&all));
  std::vector<std::string> titles;
  for (HWND window : all) {
    if (IsWindowVisible(window) != 0) titles.push_back(Utf8(TextOf(window)));
  }
  return titles;
}

std::string ActiveTitle() { return Utf8(TextOf(GetForegroundWindow())); }

bool MenuIsOpen() {
  GUITHREADINFO info{};
  info.cbSize = sizeof info;
  return GetGUIThreadInfo(GetCurrentThreadId(), &info) != 0 && (info.flags & GUI_INMENUMODE) != 0;
}

bool OpensMenuOfItsOwn(int key, int modifiers) {
  HMENU bar = modifiers == wxMOD_ALT ? GetMenu(GetForegroundWindow()) : nullptr;
  const int entries = bar == nullptr ? 0 : GetMenuItemCount(bar);
  for (int entry = 0; entry < entries; ++entry) {
    std::array<wchar_t, 256> caption{};
    GetMenuStringW(bar, static_cast<UINT>(entry), caption.data(), static_cast<int>(caption.size()), MF_BYPOSITION);
    const wchar_t* accessKey = std::wcschr(caption.data(), L'&');
    if (accessKey != nullptr && std::towupper(static_cast<wint_t>(accessKey[1])) == static_cast<wint_t>(key))
      return true;
  }
  return false;
}

std::chrono::milliseconds DoubleClickTime() { return std::chrono::milliseconds(GetDoubleClickTime()); }

void FinishKey(int key, int modifiers) {
  // Wine's text boxes of one line do not know the key that selects all.
  HWND focus = GetFocus();
  if (key == 'A' && modifiers == wxMOD_CONTROL && focus != nullptr && IsClass(focus, L"Edit")) {
    SendMessageW(focus, EM_SETSEL, 0, -1);
  }
}

std::optional<wxPoint> TrayIcon() {
  for (HWND window : WindowsOfThread()) {
    if (!HasTrayIcon(window)) continue;
    if (HWND icon = WineTrayIcon(); icon != nullptr) {
      // The system embeds it in the window of the display's own tray, which knows the place.
      RECT place{};
      GetWindowRect(GetAncestor(icon, GA_PARENT), &place);
      return CentreOf(place);
    }
    NOTIFYICONIDENTIFIER icon{};
    icon.cbSize = sizeof icon;
    icon.hWnd = window;
    icon.uID = kTrayIconNumber;
    RECT place{};
    if (SUCCEEDED(Shell_NotifyIconGetRect(&icon, &place))) return CentreOf(place);
  }
  return std::nullopt;
}

void ClickTrayIcon(wxMouseButton button) {
  const bool left = button == wxMOUSE_BTN_LEFT;
  if (HWND icon = WineTrayIcon(); icon != nullptr) {
    // Wine takes clicks there from the display only, not from its own programs.
    PostMessageW(icon, left ? WM_LBUTTONDOWN : WM_RBUTTONDOWN, 0, 0);
    PostMessageW(icon, left ? WM_LBUTTONUP : WM_RBUTTONUP, 0, 0);
    return;
  }
  wxUIActionSimulator mouse;
  mouse.MouseMove(TrayIcon().value());
  mouse.MouseClick(button);
}

// The notification area is a part of the desktop here: no display is without it.
void TakeTrayAway() {}

void ForgetScreen() {}

void ServeIdle() {
  if (!wxEventLoopBase::GetActive()->Pending()) wxTheApp->ProcessIdle();
}

void ServerRoundTrip() { GdiFlush(); }

}  // namespace zelkor::tests::native
