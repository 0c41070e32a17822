#include <array>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <wx/display.h>
#include <wx/dnd.h>
#include <wx/panel.h>
#include <wx/settings.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

#include "tests/support/program_with_windows.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace zelkor::app {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::ShownModal;

class MwTest : public tests::ProgramWithWindows {
 protected:
  // The captions of a menu, "-" for a separator.
  static std::vector<std::string> Captions(const wxMenu& menu) {
    std::vector<std::string> captions;
    for (const wxMenuItem* item : menu.GetMenuItems()) {
      captions.push_back(item->IsSeparator() ? "-" : item->GetItemLabel().utf8_string());
    }
    return captions;
  }
  [[nodiscard]] wxColour SearchColour() { return SearchLabel().GetForegroundColour(); }
  [[nodiscard]] db::frmItem& ItemDialog() { return windows_->Item(); }
};

const wxColour kRed(255, 0, 0);
const wxColour kBlue(0, 0, 255);

TEST_F(MwTest, HasTheMenusInTheirOrderWithTheirCaptions) {
  Start({{"one"}});
  wxMenuBar& bar = *Main().GetMenuBar();
  ASSERT_EQ(bar.GetMenuCount(), 5U);
  const std::vector<std::string> titles{"&File", "&Edit", "&View", "F&ilter", "&Help"};
  for (std::size_t i = 0; i < titles.size(); ++i) EXPECT_EQ(bar.GetMenuLabel(i).utf8_string(), titles[i]);
  EXPECT_THAT(Captions(*bar.GetMenu(0)), ElementsAre("S&ynchronize...", "&Settings", "&Computer &name...",
                                                     "&ReMapping...", "&System tray", "-", "&Compact...", "E&xit"));
  EXPECT_THAT(Captions(*bar.GetMenu(0)->FindItemByPosition(1)->GetSubMenu()),
              ElementsAre("File &View types...", "File &Run types..."));
  EXPECT_THAT(Captions(*bar.GetMenu(1)),
              ElementsAre("&Properties...", "&Add...", "&Delete...", "List &files...", "-", "Auto", "On", "Off"));
  EXPECT_THAT(Captions(*bar.GetMenu(2)), ElementsAre("&Icons", "&Small icons", "&List", "&Detailed list"));
  EXPECT_THAT(Captions(*bar.GetMenu(3)),
              ElementsAre("Default filter", "Select &all", "Select &deleted", "&Select...", "&Exclude..."));
  EXPECT_THAT(Captions(*bar.GetMenu(4)),
              ElementsAre("&Help  topics...", "-", "&Zelkor WWW forum...", "-", "&About Zelkor!..."));
}

TEST_F(MwTest, ShowsTheItemsInColumns) {
  WriteNative(Home() / "a.txt", "x");
  Start({{"one", "a b", 0, "c:\\a.txt", 1}, {"two", "", 0, "c:\\missing.txt"}});
  EXPECT_EQ(Main().GetTitle(), "Zelkor! - office");
  EXPECT_EQ(Main().Details().GetColumnCount(), 6);
  EXPECT_THAT(Listed(0), ElementsAre("one", "two"));
  EXPECT_THAT(Listed(2), ElementsAre("a b", ""));
  EXPECT_THAT(Listed(3), ElementsAre("On", "Auto"));
  EXPECT_NE(Listed(1)[0], "");
  EXPECT_EQ(Listed(1)[1], "");
  EXPECT_EQ(Panel(Panel::LastUpdate), Listed(1)[0]);
  EXPECT_EQ(Panel(Panel::Selection), "Zelkor! Ver 2.23, Database:2 rec");
  EXPECT_EQ(Panel(Panel::ItemNumber), "1 / 2");
  Screenshot("main-details");
}

TEST_F(MwTest, ShowsEveryColumnWholeInItsFirstSize) {
  Start({{"one"}});
  DetailsView& list = Main().Details();
  int width = 0;
  for (int column = 0; column < list.GetColumnCount(); ++column) {
    width += list.GetColumnWidth(column);
    EXPECT_GT(list.GetColumnWidth(column), list.GetTextExtent(kMwColumns[static_cast<std::size_t>(column)].data()).x);
  }
  EXPECT_GT(list.GetColumnWidth(5), list.GetTextExtent("office 11/21/2026 12:34:56 PM").x);
  EXPECT_LE(width, list.GetClientSize().x);
}

TEST_F(MwTest, SaysWhatToDoWithAnEmptyListInEveryView) {
  Start({});
  for (const int view : {3, 0, 1, 2}) {
    Main().View_View_Click(view);
    wxWindow& shown = view == 3 ? Main().Details().Window() : Main().Tiles().Window();
    wxWindow* hint = Child(shown, "Hint");
    EXPECT_TRUE(Until([&] { return hint->IsShownOnScreen(); })) << view;
    EXPECT_THAT(hint->GetLabel().utf8_string(), HasSubstr("Drop files here, or choose Add... in the menu Edit."));
    EXPECT_TRUE(shown.GetScreenRect().Contains(hint->GetScreenRect())) << view;
    Screenshot("hint-" + std::to_string(view));
  }
  Main().View_View_Click(3);
  Click(*Child(Main().Details(), "Hint"));  // keys go to the list as ever
  Menu('E', "a");
  EXPECT_TRUE(Until([&] { return Main().Details().FindWindow("Hint") == nullptr && rows_->Count() == 1; }));
}

TEST_F(MwTest, SaysWhyAFilteredListIsEmpty) {
  Start({{"one"}});
  const auto hint = [&] { return Main().Details().FindWindow("Hint"); };
  Settle();
  EXPECT_EQ(hint(), nullptr);
  Menu('I', "d");  // there are no deleted items
  ASSERT_TRUE(Until([&] { return hint() != nullptr && hint()->IsShownOnScreen(); }));
  EXPECT_THAT(hint()->GetLabel().utf8_string(), HasSubstr("No item is marked as deleted."));
  Screenshot("hint-deleted");
  Menu('I', "a");
  EXPECT_TRUE(Until([&] { return hint() == nullptr; }));
}

TEST_F(MwTest, SearchesOnALightGroundOnADarkDesktopOnly) {
  Start({{"banana"}});
  const bool dark = wxSystemSettings::GetColour(wxSYS_COLOUR_BTNFACE).GetLuminance() < 0.5;
  const wxColour empty = SearchLabel().GetBackgroundColour();
  Type("bax");
  Screenshot("search");
  EXPECT_GT(SearchLabel().GetBackgroundColour().GetLuminance(), 0.9);
  EXPECT_EQ(SearchLabel().GetBackgroundColour() != empty, dark);
  EXPECT_EQ(SearchColour(), kBlue);
  Press(WXK_ESCAPE);
  EXPECT_EQ(SearchLabel().GetBackgroundColour(), empty);
}

TEST_F(MwTest, GivesTheDescriptionsTheRoomThatIsLeft) {
  Start({{"one"}});
  Main().SetSize(0, 0, 1200, 500);
  DetailsView& list = Main().Details();
  const auto total = [&list] {
    int width = 0;
    for (int column = 0; column < list.GetColumnCount(); ++column) width += list.GetColumnWidth(column);
    return width;
  };
  EXPECT_TRUE(Until([&] { return list.GetClientSize().x > 1100 && total() <= list.GetClientSize().x; }));
  EXPECT_GT(total(), list.GetClientSize().x - 40);
  const int wide = list.GetColumnWidth(0);
  Main().SetSize(0, 0, 700, 500);
  EXPECT_TRUE(Until([&] { return list.GetColumnWidth(0) < wide; }));
  list.SetColumnWidth(0, 77);  // as a user may set it
  Main().SetSize(0, 0, 1200, 500);
  EXPECT_TRUE(Until([&] { return list.GetClientSize().x > 1100; }));
  EXPECT_EQ(list.GetColumnWidth(0), 77);
}

TEST_F(MwTest, SearchesAsTheUserTypes) {
  Start({{"Xylophone"}, {"banana"}, {"Apple"}, {"cab"}});
  Type("a");
  EXPECT_EQ(Row(), 2);
  EXPECT_EQ(SearchLabel().GetLabelText(), "a");
  EXPECT_EQ(SearchColour(), kRed);
  Type("b");
  EXPECT_EQ(Row(), 4);
  EXPECT_EQ(Panel(Panel::ItemNumber), "4 / 4");
  Type("x");
  EXPECT_EQ(SearchColour(), kBlue);
  EXPECT_EQ(Row(), 4);
  Press(WXK_BACK);
  EXPECT_EQ(SearchLabel().GetLabelText(), "ab");
  Press(WXK_BACK);
  EXPECT_EQ(Row(), 2);
  EXPECT_EQ(SearchColour(), kRed);
  Press(WXK_ESCAPE);
  EXPECT_EQ(SearchLabel().GetLabelText(), "");
  EXPECT_EQ(Row(), 1);
  EXPECT_EQ(SearchColour(), kRed);
}

TEST_F(MwTest, ShowsAnAmpersandThatIsSearchedFor) {
  Start({{"one"}, {"Smith & Sons"}});
  Press('7', wxMOD_SHIFT);  // "&" on the keyboard of the display
  EXPECT_EQ(SearchLabel().GetLabelText(), "&");
  EXPECT_EQ(Row(), 2);
}

TEST_F(MwTest, TakesABlankForTheSearchAndDoesNotToggleARow) {
  Start({{"one"}, {"o ne"}});
  Type("o ");
  EXPECT_EQ(Row(), 2);
  EXPECT_EQ(Main().Details().GetSelectedItemCount(), 1);
}

TEST_F(MwTest, ScrollsARowIntoViewThatTheSearchHasFound) {
  std::vector<Given> items(300, Given{.description = "item"});
  items[250].description = "needle";
  Start(items);
  Type("needle");
  EXPECT_EQ(Row(), 251);
  EXPECT_LE(Main().Details().GetTopItem(), 250);
  EXPECT_GT(Main().Details().GetTopItem() + Main().Details().GetCountPerPage(), 250);
}

TEST_F(MwTest, SearchesInEveryView) {
  Start({{"one"}, {"two"}, {"three"}});
  int expected = 3;
  for (const char key : {'i', 's', 'l', 'd'}) {
    Menu('V', std::string(1, key));
    Type(expected == 3 ? "thr" : "tw");
    EXPECT_EQ(Row(), expected) << key;
    Press(WXK_ESCAPE);
    EXPECT_EQ(Row(), 1) << key;
    expected = expected == 3 ? 2 : 3;
  }
}

TEST_F(MwTest, SortsByAClickOnAColumnsHead) {
  Start({{"b"}, {"c"}, {"a"}});
  Click(Main().Details().ClientToScreen(wxPoint(30, 10)));
  EXPECT_THAT(Listed(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(Row(), 2);
  EXPECT_EQ(Panel(Panel::ItemNumber), "2 / 3");
  Click(Main().Details().ClientToScreen(wxPoint(60, 10)));  // apart from the first one: no double click
  EXPECT_THAT(Listed(), ElementsAre("c", "b", "a"));
}

TEST_F(MwTest, OpensThePropertiesByADoubleClick) {
  Start({{"one"}, {"two"}});
  DoubleClick(RowPlace(2));
  EXPECT_TRUE(Until([&] { return ItemDialog().IsShown(); }));
  EXPECT_EQ(ItemDialog().GetTitle(), "Item - [two]");
  EXPECT_EQ(Row(), 2);
}

TEST_F(MwTest, OpensByTypeOnceForEnter) {
  // The editor types of the configuration are txt and ini.
  WriteNative(Home() / "a.txt", "text");
  Start({{"one", "", 0, "c:\\a.txt"}});
  Press(WXK_RETURN);
  EXPECT_FALSE(ItemDialog().IsShown());
  int editors = 0;
  for (const wxWindow* window : wxTopLevelWindows) editors += window->GetLabel() == "Edit - c:\\a.txt" ? 1 : 0;
  EXPECT_EQ(editors, 1);
}

TEST_F(MwTest, DoesNothingForEnterAndDoubleClickInAnEmptyList) {
  Start({});
  EXPECT_THAT(Listed(), IsEmpty());
  EXPECT_EQ(Panel(Panel::ItemNumber), "0 / 0");
  Press(WXK_RETURN);
  Press(WXK_DOWN);
  Press(WXK_UP);
  const wxRect list = Main().Details().GetScreenRect();
  DoubleClick(wxPoint(list.x + 40, list.y + 60));
  EXPECT_FALSE(ItemDialog().IsShown());
}

TEST_F(MwTest, AppliesUnappliedEditsWhenAnotherRowIsClicked) {
  Start({{"one"}, {"two"}});
  DoubleClick(RowPlace(1));
  ASSERT_TRUE(Until([&] { return ItemDialog().IsShown() && ItemDialog().IsActive(); }));
  auto& description = dynamic_cast<wxTextCtrl&>(*Child(ItemDialog(), "Desc"));
  description.SetFocus();
  description.SelectAll();
  Type("changed");
  // At the row's end, which the dialog leaves free.
  Click(wxPoint(Main().GetScreenRect().GetRight() - 60, RowPlace(2).y));
  EXPECT_EQ(ItemFile().substr(512, 8), "changed ");
  EXPECT_EQ(ItemDialog().GetTitle(), "Item - [two]");
  EXPECT_THAT(Listed(), ElementsAre("changed", "two"));
}

TEST_F(MwTest, KeepsTheCurrentRowWhenTheEmptyPartOfTheListIsClicked) {
  Start({{"one"}, {"two"}});
  Click(RowPlace(2));
  const wxRect list = Main().Details().GetScreenRect();
  Click(wxPoint(list.x + 40, list.GetBottom() - 40));
  EXPECT_EQ(Row(), 2);
  EXPECT_EQ(Main().Details().GetSelectedItemCount(), 1);
}

TEST_F(MwTest, PopsUpTheEditMenuByTheRightButton) {
  Start({{"one"}, {"two"}});
  bool opened = false;
  Main().Bind(wxEVT_MENU_OPEN, [&](wxMenuEvent& event) {
    opened = true;
    wxMenu* menu = event.GetMenu();
    Main().CallAfter([menu] {
      EXPECT_TRUE(menu->IsChecked(Edit_MemoST));
      EXPECT_FALSE(menu->IsChecked(Edit_MemoST + 2));
      wxUIActionSimulator keys;
      Settle();
      Screenshot("main-popup");
      keys.Char('p');
    });
  });
  Click(RowPlace(2), wxMOUSE_BTN_RIGHT);
  EXPECT_TRUE(Until([&] { return ItemDialog().IsShown(); }));
  EXPECT_TRUE(opened);
  EXPECT_EQ(ItemDialog().GetTitle(), "Item - [two]");
}

TEST_F(MwTest, ShowsNoMenuForTheRightButtonInAnEmptyList) {
  Start({});
  bool opened = false;
  Main().Bind(wxEVT_MENU_OPEN, [&](wxMenuEvent&) { opened = true; });
  const wxRect list = Main().Details().GetScreenRect();
  Click(wxPoint(list.x + 40, list.y + 60), wxMOUSE_BTN_RIGHT);
  EXPECT_FALSE(opened);
}

TEST_F(MwTest, MakesItemsOfDroppedFiles) {
  WriteNative(Home() / "one.txt", "x");
  WriteNative(Home() / "two.txt", "x");
  Start({});
  wxArrayString files;
  files.Add((Home() / "one.txt").string());
  files.Add((Home() / "two.txt").string());
  Main().List_OLEDragDrop(files);
  EXPECT_THAT(Listed(), ElementsAre("one", "two"));
  EXPECT_EQ(ItemFile().substr(0, 12), "c:\\one.txt  ");
  EXPECT_EQ(Row(), 2);
}

// Moves the mouse in steps and lets go of its button, while the drag that it has begun waits in a loop of its own.
class DragTo : public wxTimer {
 public:
  explicit DragTo(const wxPoint& place) : place_(place) { Start(20); }
  void Notify() override {
    wxUIActionSimulator mouse;
    const wxPoint at = wxGetMousePosition();
    if (at == place_) {
      mouse.MouseUp();
      Stop();
      return;
    }
    const auto nearer = [](int from, int to) { return std::abs(to - from) < 20 ? to : from + (to - from) / 2; };
    mouse.MouseMove(nearer(at.x, place_.x), nearer(at.y, place_.y));
  }

 private:
  wxPoint place_;
};

TEST_F(MwTest, TakesFilesThatAreDraggedOntoItsListInEveryView) {
  Start({});
  auto* source = new wxFrame(nullptr, wxID_ANY, "source", wxPoint(40, 200), wxSize(200, 150));
  auto* handle = new wxPanel(source);
  std::string name;
  handle->Bind(wxEVT_LEFT_DOWN, [&](wxMouseEvent&) {
    wxFileDataObject files;
    files.AddFile((Home() / name).string());
    wxDropSource drag(files, handle);
    const wxRect list =
        (Main().Details().IsShown() ? static_cast<wxWindow&>(Main().Details()) : Main().Tiles()).GetScreenRect();
    const DragTo mouse(wxPoint(list.x + list.width / 2, list.y + list.height / 2));
#ifdef __SANITIZE_ADDRESS__
    const __lsan::ScopedDisabler leaks;  // the toolkit's source of drags keeps some names
#endif
    drag.DoDragDrop(wxDrag_CopyOnly);
  });
  ShowActive(*source);
  for (const int view : {3, 0}) {
    Main().View_View_Click(view);
    name = "dropped" + std::to_string(view) + ".dat";
    WriteNative(Home() / name, "x");
    wxUIActionSimulator mouse;
    const wxRect from = handle->GetScreenRect();
    mouse.MouseMove(from.x + 50 + 20 * view, from.y + 50);  // apart from one another: no double click
    Settle();
    mouse.MouseDown();
    EXPECT_TRUE(Until([&] { return rows_->Count() == (view == 3 ? 1 : 2); })) << view;
    EXPECT_THAT(ItemFile(), HasSubstr("c:\\" + name)) << view;
  }
}

TEST_F(MwTest, PopsUpTheEditMenuByTheMenuKey) {
  for (const int view : {3, 0}) {
    Start({{"one"}, {"two"}});
    Main().View_View_Click(view);
    Press(WXK_RIGHT);
    bool opened = false;
    Main().Bind(wxEVT_MENU_OPEN, [&](wxMenuEvent&) {
      opened = true;
      Main().CallAfter([] { wxUIActionSimulator().Char(WXK_ESCAPE); });
    });
    wxUIActionSimulator().Char(WXK_F10, wxMOD_SHIFT);
    EXPECT_TRUE(Until([&] { return opened; })) << view;
    End();
  }
}

TEST_F(MwTest, NamesADroppedFileThatItCanNotTake) {
  Start({});
  wxArrayString files;
  files.Add((Home() / "bad:name").string());
  files.Add((Home() / "good").string());
  Expect([](ShownModal& box) {
    EXPECT_THAT(box.Text(), HasSubstr("bad:name"));
    box.Click("OK");
  });
  Main().List_OLEDragDrop(files);
  EXPECT_THAT(Listed(), ElementsAre("good"));
}

TEST_F(MwTest, SwitchesTheViewsByTheirEntries) {
  Start({{"one"}, {"two"}});
  const wxMenuBar& bar = *Main().GetMenuBar();
  const std::string keys = "isl";
  for (int index = 0; index < 3; ++index) {
    Menu('V', std::string(1, keys[static_cast<std::size_t>(index)]));
    EXPECT_TRUE(Main().Tiles().IsShown());
    EXPECT_FALSE(Main().Details().IsShown());
    EXPECT_EQ(static_cast<int>(Main().Tiles().ShownMode()), index);
    for (int entry = 0; entry < 4; ++entry) EXPECT_EQ(bar.IsChecked(View_View + entry), entry == index);
    Screenshot("main-view-" + std::to_string(index));
  }
  Menu('V', "d");
  EXPECT_TRUE(Main().Details().IsShown());
  EXPECT_TRUE(bar.IsChecked(View_View + 3));
}

TEST_F(MwTest, ShowsLongTextsAndAFullListInEveryView) {
  constexpr int kItems = 400;
  std::vector<Given> items;
  items.reserve(kItems);
  for (int i = 0; i < kItems; ++i) {
    items.push_back({.description = "Minutes of the meeting on " + std::to_string(i) + " and what came of it all",
                     .codes = "work minutes +lap -home c" + std::to_string(i),
                     .syncMethod = i % 3});
  }
  items[3].description =
      "\xC4rger & \xDC"
      "ber";  // letters of the upper half of the code page, and an access key's sign
  Start(items);
  for (int view = 0; view < 4; ++view) {
    Main().View_View_Click(view);
    Press(WXK_END);
    EXPECT_EQ(Row(), 400);
    Press(WXK_HOME);
    EXPECT_EQ(Row(), 1);
    Type("ber");
    EXPECT_EQ(Row(), 4);
    Screenshot("main-full-" + std::to_string(view));
    Press(WXK_ESCAPE);
  }
  EXPECT_EQ(Main().Details().GetItemText(3), wxString::FromUTF8("\u00C4rger & \u00DCber"));
}

TEST_F(MwTest, SelectsAndOpensTilesByMouseAndKeyboard) {
  Start({{"one"}, {"two"}, {"three"}});
  for (const auto& [key, mode] : {std::pair('i', TilesView::Mode::Icons), std::pair('s', TilesView::Mode::SmallIcons),
                                  std::pair('l', TilesView::Mode::List)}) {
    Menu('V', std::string(1, key));
    // An open menu would take the click.
    ASSERT_TRUE(Until([&, wanted = mode] {
      return Main().Tiles().IsShown() && Main().Tiles().ShownMode() == wanted && !tests::native::MenuIsOpen();
    }));
    Settle();
    const wxRect cell = Main().Tiles().ScreenCell(3);
    Click(wxPoint(cell.x + cell.width / 2, cell.y + cell.height / 2));
    EXPECT_TRUE(Until([&] { return Row() == 3; }));
    Press(WXK_HOME);
    EXPECT_TRUE(Until([&] { return Row() == 1; }));
    Press(key == 'l' ? WXK_DOWN : WXK_RIGHT);
    EXPECT_TRUE(Until([&] { return Row() == 2; }));
    EXPECT_EQ(Panel(Panel::ItemNumber), "2 / 3");
  }
  const wxRect cell = Main().Tiles().ScreenCell(1);
  DoubleClick(wxPoint(cell.x + cell.width / 2, cell.y + cell.height / 2));
  EXPECT_TRUE(Until([&] { return ItemDialog().IsShown(); }));
  EXPECT_EQ(ItemDialog().GetTitle(), "Item - [one]");
}

TEST_F(MwTest, TellsWhatThePanelsAreForInTheirTooltips) {
  Start({{"one"}});
  for (int panel = 0; panel < 3; ++panel) {
    const char* description = kPanelDescriptions[static_cast<std::size_t>(panel)];
    // The pointer goes on moving, for the tooltip of the panel before may be in its way.
    int step = 0;
    EXPECT_TRUE(Until(
        [&] {
          wxRect place;
          if (!Status().GetFieldRect(panel, place)) return false;
          step = (step + 1) % 10;
          const wxPoint inside(10 + step, place.height / 2);
          wxUIActionSimulator().MouseMove(Status().ClientToScreen(place.GetPosition() + inside));
          Settle();
          return Status().GetToolTipText().StartsWith(description);
        },
        description));
  }
  EXPECT_EQ(SearchLabel().GetToolTipText(), "Quicksearch. Type string to search");
}

}  // namespace
}  // namespace zelkor::app
