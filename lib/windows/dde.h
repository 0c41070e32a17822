// What both ends of the local link share when it goes over the system's DDE.
//
// Vandry is the application VANDRY. Its topic "mw" speaks as it always did: commands are executed as they are, and the
// item "dde" is each reply and each message in turn. Zelkor uses a topic of its own ProgramDir, so that the right one
// of several Vandrys hears it; there the texts on both ways are pieces of a stream of frames (channel_frame.h), written
// in printable characters, since the library converts texts between code pages.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <string_view>

#include "lib/windows/system.h"

// It needs the one above.
#include <ddeml.h>

namespace zelkor::lib::windows {

inline constexpr const char* kDdeApplication = "VANDRY";
inline constexpr const char* kDdeTopic = "mw";
inline constexpr const char* kDdeItem = "dde";
// No piece of the stream has more bytes.
inline constexpr std::size_t kMostDdeBytes = 65536;

// The last text of a server that ends a conversation; no bytes are written so. Not every system tells the client.
inline constexpr const char* kDdeFarewell = "%";

// The topic of a ProgramDir.
[[nodiscard]] std::string DdeTopicOf(std::string_view programDir);

// Bytes as printable ASCII: what is not, and "%", becomes "%" and two hexadecimal digits. What reads otherwise is left
// out.
[[nodiscard]] std::string ToPrintable(std::string_view bytes);
[[nodiscard]] std::string FromPrintable(std::string_view text);

// A string handle, freed when the object goes.
class DdeString {
 public:
  DdeString(DWORD instance, const std::string& text)
      : instance_(instance), handle_(DdeCreateStringHandleA(instance, text.c_str(), CP_WINANSI)) {}
  ~DdeString() {
    if (handle_ != nullptr) DdeFreeStringHandle(instance_, handle_);
  }
  DdeString(const DdeString&) = delete;
  DdeString& operator=(const DdeString&) = delete;
  [[nodiscard]] HSZ Get() const { return handle_; }
  [[nodiscard]] bool Is(HSZ other) const { return DdeCmpStringHandles(handle_, other) == 0; }

 private:
  DWORD instance_;
  HSZ handle_;
};

// A text for DDE, its closing NUL included; null when there is no memory.
[[nodiscard]] HDDEDATA MakeDdeText(DWORD instance, HSZ item, const std::string& text);
// A text that came: up to its NUL, and narrow also when the library has made it wide.
[[nodiscard]] std::string DdeTextOf(HDDEDATA data);

// Handles the messages of the calling thread, and calls `work` each time `wake` is set or `everyMs` are over, until
// `ending` is true.
void PumpMessages(HANDLE wake, const std::atomic<bool>& ending, DWORD everyMs, const std::function<void()>& work);

}  // namespace zelkor::lib::windows
