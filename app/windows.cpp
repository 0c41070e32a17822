#include "app/windows.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <exception>
#include <utility>
#include <wx/app.h>
#include <wx/init.h>

#include "app/form_placement.h"
#include "app/run_with_windows.h"
#include "app/startup.h"
#include "lib/gui/later.h"
#include "lib/terminal.h"
#include "net/diagnostics.h"
#include "sync/damaged.h"
#include "sync/outside_file.h"
#include "sync/synchronize.h"

namespace zelkor::app {

namespace {

// How often what Vandry says is looked for, in milliseconds.
constexpr int kMessagesEvery = 200;

}  // namespace

Windows::Windows(ProgramState& state, WindowUser& user, MwRows& rows, std::function<void()> end)
    : state_(state),
      user_(user),
      desktop_(user),
      editing_(state.catalogue, user, desktop_),
      commands_(state, editing_, desktop_),
      main_(new mw(state, rows, editing_, commands_, HooksOfMain(std::move(end)))),
      item_(new db::frmItem(main_, editing_)) {
  desktop_.SetParent(main_);
  desktop_.OnSaved([this](const std::string& fileName) { Saved(fileName); });
  editing_.Attach(item_, main_);
  editing_.ImportsWith([this](const std::string& path) {
    const sync::ImportResult result = sync::ImportOutsideFile(state_.synchronisation, path);
    if (result != sync::ImportResult::NotThere && result != sync::ImportResult::Declined) commands_.ItemsChanged();
  });
  user_.ShowRunsIn([this]() -> lib::RunView& { return Synchronisation(); });
  state_.catalogue.Occupied().OnChange([this] { OccupationChanged(); });
  state_.messages.SetHooks({.beforeMessage = [this] { editing_.ApplyUnapplied(); },
                            .targetsChanged =
                                [this] {
                                  if (synchronisation_ != nullptr) synchronisation_->FillTargetList();
                                },
                            .itemsChanged = [this] { commands_.ItemsChanged(); }});
  messages_.Bind(wxEVT_TIMER, [this](wxTimerEvent&) { state_.link.TakeMessages(); });
  messages_.Start(kMessagesEvery);
}

Windows::~Windows() {
  messages_.Stop();
  state_.messages.SetHooks({});
  state_.catalogue.Occupied().OnChange({});
  user_.ShowRunsIn({});
  editing_.Attach(nullptr, nullptr);
  delete main_;  // and with it the windows that belong to it
}

MwHooks Windows::HooksOfMain(std::function<void()> end) {
  return {.synchronize = [this] { ShowSynchronisation(); },
          .placeSideWindows = [this] { PlaceSideWindows(); },
          .cancelRun =
              [this] {
                if (synchronisation_ != nullptr) synchronisation_->CancelRun();
              },
          .dialogShown = [this] { return dialogs_.AnyShown(); },
          .readyToEnd = [this] { return ReadyToEnd(); },
          .endProgram = std::move(end)};
}

net::Sync& Windows::Synchronisation() {
  if (synchronisation_ == nullptr) {
    synchronisation_ =
        new net::Sync(main_, state_.synchronisation, desktop_,
                      {.startLink = [this] { state_.link.StartLink(); },
                       .testConnection = [this] { net::TestConnection(state_.synchronisation); },
                       .showFtpDirectory = [this] { net::ShowFtpDirectory(state_.synchronisation, desktop_); },
                       .beforeRun = [this] { editing_.ApplyUnapplied(); },
                       .itemsChanged = [this] { commands_.ItemsChanged(); }});
  }
  return *synchronisation_;
}

void Windows::ShowSynchronisation() {
  Synchronisation().FillTargetList();
  Synchronisation().ShowWindow();
}

void Windows::PlaceSideWindows() {
  const FormPosition& place = main_->Placed();
  desktop_.PlaceBeside(place, main_->Screen().height - kFreeBelow);
  PlaceForm(*item_, BesideMain(PositionOf(*item_), place));
}

bool Windows::ReadyToEnd() {
  if (synchronisation_ != nullptr) {
    if (!synchronisation_->SaveTarget()) return false;
    // Closing remembers the selected target.
    if (synchronisation_->IsShown() && !synchronisation_->Close()) return false;
  }
  return desktop_.CloseEditors();
}

void Windows::OccupationChanged() {
  main_->OccupationChanged();
  editing_.OccupationChanged();
  if (synchronisation_ != nullptr) synchronisation_->OccupationChanged();
  if (state_.catalogue.Occupied().InHand() || saved_.empty()) return;
  lib::Later(*main_, [this] {
    for (const std::string& fileName : std::exchange(saved_, {})) Saved(fileName);
  });
}

void Windows::Saved(const std::string& fileName) {
  // A run goes by the remapping table that it began with.
  if (state_.catalogue.Occupied().InHand()) {
    saved_.push_back(fileName);
  } else {
    commands_.Saved(fileName);
  }
}

namespace {

// The toolkit's application: nothing of the program is in it.
class ZelkorApp : public wxApp {
 public:
  ZelkorApp() {
    SetAppName("zelkor");
    SetAppDisplayName("Zelkor");
    SetClassName("zelkor");
  }
  // The command line is not the toolkit's.
  bool OnInit() override { return true; }
};

int RunMain(const std::vector<Word>& words, const std::string& startDirectory) {
  WindowUser user;
  try {
    MwRows rows;
    return Main(words, startDirectory, user, rows, [&](ProgramState& state, const std::string& files) {
      Windows windows(state, user, rows, [] { wxTheApp->ExitMainLoop(); });
      // In the loop, so that the windows are drawn while files are imported.
      lib::Later(windows.Main(), [&] { ShowMainWindow(state, windows.Main(), windows.Editing(), files); });
      wxTheApp->MainLoop();
      return sync::kStatusDone;
    });
  } catch (const sync::DamagedSyncFile& damaged) {
    user.Message(damaged.what(), lib::Icon::Critical);
    return sync::kStatusDamaged;
  } catch (const std::exception& error) {
    user.Message(error.what(), lib::Icon::Critical);
    return sync::kStatusFailed;
  }
}

}  // namespace

int RunWithWindows(const WindowsRun& run) {
#ifdef NDEBUG
  wxDisableAsserts();  // they speak to developers
#endif
  wxApp::SetInstance(new ZelkorApp);
  std::string name = "zelkor";
  std::array<char*, 2> arguments{name.data(), nullptr};
  int count = 1;
  const wxInitializer toolkit(count, arguments.data());
  if (!toolkit.IsOk() || !wxTheApp->CallOnInit()) {
    lib::WriteToStandardError("Zelkor: there is no display to show windows on; zelkor --help says what goes without\n");
    return sync::kStatusNothingDone;
  }
  // Numbers in files and messages are the program's own; the toolkit has taken them from the environment.
  std::setlocale(LC_NUMERIC, "C");
  wxTheApp->SetExitOnFrameDelete(false);
  const int status = RunMain(run.words, run.startDirectory);
  wxTheApp->OnExit();
  return status;
}

}  // namespace zelkor::app
