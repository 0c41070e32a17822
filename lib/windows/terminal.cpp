#include "lib/terminal.h"

#include <array>
#include <atomic>
#include <memory>

#include "lib/windows/handle.h"
#include "lib/windows/interrupt.h"
#include "lib/windows/wide.h"

namespace zelkor::lib {
namespace {

// What the handler of interrupts, which runs in a thread of the system's, and the rest of the program share.
struct Interrupts {
  std::atomic<int> count = 0;
  std::unique_ptr<WakeUp> wakeUp;  // for waits for sockets
  windows::OwnedHandle event;      // for waits for input
};

Interrupts& Shared() {
  static Interrupts interrupts;
  return interrupts;
}

BOOL WINAPI OnInterrupt(DWORD /*kind*/) {
  Interrupts& interrupts = Shared();
  // The second one is left to the system, which ends the process.
  if (interrupts.count++ != 0) return FALSE;
  interrupts.wakeUp->Signal();
  SetEvent(interrupts.event.Get());
  return TRUE;
}

// A standard handle. A program with windows gets none when it is started by hand from a console: it shares that
// console then.
HANDLE Standard(DWORD which) {
  static const bool attached = [] {
    auto* const output = GetStdHandle(STD_OUTPUT_HANDLE);
    if (output != nullptr && output != INVALID_HANDLE_VALUE) return false;
    return AttachConsole(ATTACH_PARENT_PROCESS) != 0;
  }();
  HANDLE handle = GetStdHandle(which);
  if (handle == INVALID_HANDLE_VALUE) handle = nullptr;
  if (handle == nullptr && attached) {
    handle = CreateFileW(which == STD_INPUT_HANDLE ? L"CONIN$" : L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) handle = nullptr;
    if (handle != nullptr) SetStdHandle(which, handle);
  }
  return handle;
}

bool IsConsole(HANDLE handle) {
  DWORD mode = 0;
  return handle != nullptr && GetConsoleMode(handle, &mode) != 0;
}

void WriteAll(HANDLE handle, std::string_view text) {
  if (handle == nullptr) return;
  if (IsConsole(handle)) {
    const std::wstring wide = windows::ToWide(text);
    DWORD written = 0;
    WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
    return;
  }
  while (!text.empty()) {
    DWORD written = 0;
    if (WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0 || written == 0) return;
    text.remove_prefix(written);
  }
}

// A line that somebody types, in UTF-8.
std::optional<std::string> ReadConsoleLine(HANDLE console) {
  std::wstring line;
  for (;;) {
    std::array<wchar_t, 256> piece{};
    DWORD got = 0;
    if (ReadConsoleW(console, piece.data(), static_cast<DWORD>(piece.size()), &got, nullptr) == 0 || got == 0 ||
        Interrupted()) {
      return std::nullopt;
    }
    line.append(piece.data(), got);
    // Ctrl-Z at its beginning ends the input.
    if (line.front() == 0x1A) return std::nullopt;
    if (line.back() != L'\n') continue;
    while (!line.empty() && (line.back() == L'\n' || line.back() == L'\r')) line.pop_back();
    return windows::FromWide(line);
  }
}

}  // namespace

Handle windows::InterruptHandle() {
  const Interrupts& interrupts = Shared();
  return interrupts.wakeUp ? interrupts.wakeUp->ReadyHandle() : kNoHandle;
}

void WatchForInterrupt() {
  Interrupts& interrupts = Shared();
  if (interrupts.wakeUp) return;
  interrupts.event = windows::OwnedHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  interrupts.wakeUp = std::make_unique<WakeUp>();
  SetConsoleCtrlHandler(OnInterrupt, TRUE);
}

bool Interrupted() { return Shared().count != 0; }

void LeaveInterruptsToFirstThread() {}

bool StandardErrorIsTerminal() { return IsConsole(Standard(STD_ERROR_HANDLE)); }
bool StandardOutputIsTerminal() { return IsConsole(Standard(STD_OUTPUT_HANDLE)); }

int TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  auto* const error = Standard(STD_ERROR_HANDLE);
  if (error == nullptr || GetConsoleScreenBufferInfo(error, &info) == 0) return 80;
  return info.srWindow.Right - info.srWindow.Left + 1;
}

std::optional<std::string> ReadInputLine() {
  auto* const input = Standard(STD_INPUT_HANDLE);
  if (input == nullptr || Interrupted()) return std::nullopt;
  if (IsConsole(input)) return ReadConsoleLine(input);
  // Byte by byte, so that nothing behind the line is taken from whoever reads the input next.
  std::string line;
  for (;;) {
    char c = 0;
    DWORD got = 0;
    if (ReadFile(input, &c, 1, &got, nullptr) == 0 || got == 0 || Interrupted()) {
      if (!Interrupted() && !line.empty()) return line;
      return std::nullopt;
    }
    if (c == '\n') {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      return line;
    }
    // No answer is this long; the rest of such a line is passed over.
    if (line.size() < 4096) line.push_back(c);
  }
}

void WriteToStandardOutput(std::string_view text) { WriteAll(Standard(STD_OUTPUT_HANDLE), text); }
void WriteToStandardError(std::string_view text) { WriteAll(Standard(STD_ERROR_HANDLE), text); }

}  // namespace zelkor::lib
