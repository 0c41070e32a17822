#include "app/console_user.h"
#include "app/run_with_windows.h"
#include "lib/sibling.h"
#include "sync/synchronize.h"

namespace zelkor::app {

int RunWithWindows(const WindowsRun& run) {
  const lib::Status failed = lib::GoOnAs("zelkor-windows", run.arguments);
  ConsoleUser().Message("The part of Zelkor that shows windows can not be started: " + failed.Message(),
                        lib::Icon::Critical);
  return sync::kStatusNothingDone;
}

}  // namespace zelkor::app
