#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>
#include <wx/display.h>
#include <wx/frame.h>

#include "app/form_placement.h"
#include "app/frm_list_kt.h"
#include "app/window_desktop.h"
#include "app/window_user.h"
#include "lib/clock.h"
#include "lib/gui/text.h"
#include "tests/support/gui_testing.h"

namespace zelkor::app {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::ShownModal;

class FrmListKtTest : public tests::GuiTest {
 protected:
  FrmListKtTest() : frame_(new wxFrame(nullptr, wxID_ANY, "main", wxPoint(700, 100), wxSize(300, 300))) {
    ShowActive(*frame_);
    desktop_.SetParent(frame_);
  }
  ~FrmListKtTest() override {
    frame_->Destroy();
    Settle();
  }

  // Shows the dialog and lets `use` deal with it.
  void Show(lib::ListDialog& dialog, const std::function<void(wxTopLevelWindow& window)>& use) {
    Expect([&use](ShownModal& modal) {
      ASSERT_NE(modal.Window(), nullptr);
      use(*modal.Window());
    });
    desktop_.ShowList(dialog);
    EXPECT_EQ(StillExpected(), 0U);
  }
  static wxListBox& List(const wxWindow& window) { return *dynamic_cast<wxListBox*>(Child(window, "List")); }
  static std::vector<std::string> Shown(const wxWindow& window) {
    std::vector<std::string> texts;
    for (const wxString& text : List(window).GetStrings()) texts.push_back(lib::FromWx(text));
    return texts;
  }
  // A click on an entry.
  static wxPoint PlaceOf(const wxListBox& list, int entry) {
    const wxPoint corner = list.GetScreenPosition();
    // The first entry's line begins below the frame; each is about as high as the characters and their padding.
    for (int y = 2; y < list.GetSize().y; y += 2) {
      if (list.HitTest(wxPoint(20, y)) == entry) return corner + wxPoint(20, y + 4);
    }
    ADD_FAILURE() << "entry " << entry << " is not to be seen";
    return corner;
  }
  // Answers the input box that Add shows.
  static void AnswerAdd(const char* answer) {
    Expect([answer](ShownModal& box) {
      EXPECT_EQ(box.Title(), "View file-types");
      Type(answer);
      Press(WXK_RETURN);
    });
  }

  static lib::ListDialog FileTypes(std::vector<std::string> entries) {
    return {.title = "View file-types",
            .label = "Extensions of files that open in the text editor:",
            .options = lib::kListFileTypes,
            .entries = std::move(entries)};
  }

  wxFrame* frame_;
  WindowUser user_;
  WindowDesktop desktop_{user_};
};

TEST_F(FrmListKtTest, ShowsTitleLabelAndEntriesWithoutASelection) {
  lib::ListDialog dialog = FileTypes({"txt", "ini", "R&D"});
  Show(dialog, [](wxTopLevelWindow& window) {
    EXPECT_EQ(window.GetTitle(), "View file-types");
    EXPECT_NE(Child(window, "Extensions of files that open in the text editor:"), nullptr);
    EXPECT_THAT(Shown(window), ElementsAre("txt", "ini", "R&D"));
    EXPECT_EQ(List(window).GetSelection(), wxNOT_FOUND);
    EXPECT_FALSE(window.GetIcons().IsEmpty());
    Screenshot("list");
    Click(*Child(window, "OK"));
  });
  EXPECT_EQ(dialog.selected, -1);  // OK without a selected entry is Cancel
}

TEST_F(FrmListKtTest, AddsAnEntryAndSelectsIt) {
  lib::ListDialog dialog = FileTypes({"txt"});
  Show(dialog, [](wxTopLevelWindow& window) {
    AnswerAdd(".INI");
    Click(*Child(window, "Add..."));
    Until([&window] { return Shown(window).size() == 2; });
    EXPECT_EQ(List(window).GetSelection(), 1);
    Click(*Child(window, "OK"));
  });
  EXPECT_THAT(dialog.entries, ElementsAre("txt", ".INI"));
  EXPECT_EQ(dialog.selected, 1);
}

TEST_F(FrmListKtTest, AddsNothingOnCancel) {
  lib::ListDialog dialog = FileTypes({"txt"});
  Show(dialog, [](wxTopLevelWindow& window) {
    Expect([](ShownModal&) { Press(WXK_ESCAPE); });
    Press(WXK_INSERT);
    Until([] { return StillExpected() == 0; });
    EXPECT_THAT(Shown(window), ElementsAre("txt"));
    Click(*Child(window, "OK"));
  });
  EXPECT_THAT(dialog.entries, ElementsAre("txt"));
}

TEST_F(FrmListKtTest, DeletesTheSelectedEntryAndSelectsAnother) {
  lib::ListDialog dialog = FileTypes({"a", "b", "c"});
  Show(dialog, [](wxTopLevelWindow& window) {
    EXPECT_FALSE(Child(window, "Delete")->IsEnabled());
    Click(PlaceOf(List(window), 1));
    Until([&window] { return List(window).GetSelection() == 1; });
    Click(*Child(window, "Delete"));
    Until([&window] { return Shown(window) == std::vector<std::string>{"a", "c"}; });
    EXPECT_EQ(List(window).GetSelection(), 1);
    Press(WXK_DELETE);
    Until([&window] { return Shown(window) == std::vector<std::string>{"a"}; });
    EXPECT_EQ(List(window).GetSelection(), 0);
    Press(WXK_RETURN);
  });
  EXPECT_THAT(dialog.entries, ElementsAre("a"));
  EXPECT_EQ(dialog.selected, 0);
}

TEST_F(FrmListKtTest, DeletingEveryEntryLeavesNoneSelected) {
  lib::ListDialog dialog = FileTypes({"a"});
  Show(dialog, [](wxTopLevelWindow& window) {
    Click(PlaceOf(List(window), 0));
    Until([&window] { return List(window).GetSelection() == 0; });
    Press('D', wxMOD_ALT);
    Until([&window] { return Shown(window).empty(); });
    EXPECT_FALSE(Child(window, "Delete")->IsEnabled());
    Click(*Child(window, "OK"));
  });
  EXPECT_THAT(dialog.entries, IsEmpty());
  EXPECT_EQ(dialog.selected, -1);
}

TEST_F(FrmListKtTest, ADoubleClickOnAnEntryAcceptsIt) {
  lib::ListDialog dialog = FileTypes({"a", "b"});
  Show(dialog, [](wxTopLevelWindow& window) { DoubleClick(PlaceOf(List(window), 1)); });
  EXPECT_EQ(dialog.selected, 1);
}

TEST_F(FrmListKtTest, CancelClearsTheSelection) {
  for (const bool byKey : {false, true}) {
    lib::ListDialog dialog = FileTypes({"a", "b"});
    Show(dialog, [byKey](wxTopLevelWindow& window) {
      Click(PlaceOf(List(window), 1));
      Until([&window] { return List(window).GetSelection() == 1; });
      if (byKey) {
        Press(WXK_ESCAPE);
      } else {
        Click(*Child(window, "Cancel"));
      }
    });
    EXPECT_EQ(dialog.selected, -1);
  }
}

TEST_F(FrmListKtTest, ClosingByTheFrameIsCancel) {
  lib::ListDialog dialog = FileTypes({"a"});
  dialog.selected = 0;
  Show(dialog, [](wxTopLevelWindow& window) {
    EXPECT_EQ(List(window).GetSelection(), 0);
    window.Close();
  });
  EXPECT_EQ(dialog.selected, -1);
}

TEST_F(FrmListKtTest, TakesAnEntryChosenByKeys) {
  lib::ListDialog dialog = FileTypes({"a", "b"});
  Show(dialog, [](wxTopLevelWindow& window) {
    Press(WXK_HOME);  // with nothing selected the first key may only take the entry that has the keyboard
    Press(WXK_END);
    Until([&window] { return List(window).GetSelection() == 1; });
    Press(WXK_RETURN);
  });
  EXPECT_EQ(dialog.selected, 1);
}

TEST_F(FrmListKtTest, OnlyShowsAListThatIsNotToBeEdited) {
  lib::ListDialog dialog{.title = "Plan - 2 files, 3 kb", .label = {}, .entries = {"c:\\a", "c:\\b"}};
  Show(dialog, [](wxTopLevelWindow& window) {
    EXPECT_EQ(window.GetTitle(), "Plan - 2 files, 3 kb");
    EXPECT_EQ(window.FindWindow(wxID_ADD), nullptr);
    EXPECT_EQ(window.FindWindow(wxID_DELETE), nullptr);
    EXPECT_EQ(window.FindWindow(wxID_OK), nullptr);
    Screenshot("list_files");
    Click(*Child(window, "Close"));
  });
  EXPECT_EQ(dialog.selected, -1);
}

TEST_F(FrmListKtTest, ShowsManyEntriesAtOnce) {
  lib::ListDialog dialog = FileTypes({});
  for (int i = 0; i < 20'000; ++i) dialog.entries.push_back("c:\\folder\\file" + std::to_string(i) + ".txt");
  const double before = lib::Stopwatch();
  Show(dialog, [before](wxTopLevelWindow& window) {
    EXPECT_LT(lib::Stopwatch() - before, 5.0);
    EXPECT_EQ(List(window).GetCount(), 20'000U);
    Press(WXK_ESCAPE);
  });
}

TEST_F(FrmListKtTest, StandsAtTheMainWindowsTopFlushAgainstItsLeftEdge) {
  desktop_.PlaceBeside(PositionOf(*frame_), 9000);
  lib::ListDialog dialog = FileTypes({"a"});
  Show(dialog, [this](wxTopLevelWindow& window) {
    const wxRect main = frame_->GetRect();
    Until([&] { return window.GetPosition().y == main.y; }, "the same top");
    EXPECT_NEAR(window.GetRect().GetRight() + 1, main.x, 1);
    Press(WXK_ESCAPE);
  });
}

TEST_F(FrmListKtTest, IsMovedInWhereTheScreenHasNoRoomBesideTheMainWindow) {
  FormPosition main = PositionOf(*frame_);
  main.left = 0;
  desktop_.PlaceBeside(main, 9000);
  lib::ListDialog dialog = FileTypes({"a"});
  Show(dialog, [](wxTopLevelWindow& window) {
    Until([&] { return wxDisplay(0U).GetGeometry().Contains(window.GetRect()); }, "inside the screen");
    Press(WXK_ESCAPE);
  });
}

}  // namespace
}  // namespace zelkor::app
