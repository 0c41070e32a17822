// Runs tests of windows inside an event loop of the toolkit.

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/init.h>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();  // needs no display
  wxApp::SetInstance(new wxApp());                         // the toolkit deletes it
  const wxInitializer toolkit(argc, argv);
  if (!toolkit.IsOk() || !wxTheApp->CallOnInit()) return 1;
  wxTheApp->SetExitOnFrameDelete(false);
  wxEventLoop loop;
  const wxEventLoopActivator active(&loop);
  const int status = RUN_ALL_TESTS();
  wxTheApp->OnExit();
  return status;
}
