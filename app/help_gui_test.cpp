// The help as the windows open it, and whether it knows them.

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <wx/menu.h>
#include <wx/toolbar.h>

#include "app/help_file.h"
#include "lib/native_path.h"
#include "lib/paths.h"
#include "tests/support/program_with_windows.h"

namespace zelkor::app {
namespace {

class Help : public tests::ProgramWithWindows {
 protected:
  // The text of the help without what marks it up.
  std::string HelpText() {
    const lib::Result<std::string> executable = lib::ExecutablePath();
    EXPECT_TRUE(PlaceHelpFile(ProgramDir(), lib::DirectoryPart(*executable)).Ok());
    const std::string page = ReadNative(ProgramFolder() / "zelkor.hlp");
    std::string text;
    bool inTag = false;
    for (const char c : page.substr(page.find("<main>"))) {
      if (c == '<') inTag = true;
      if (!inTag) text += c == '\n' ? ' ' : c;
      if (c == '>') inTag = false;
    }
    return text;
  }
  // Every entry of a menu and of those below it that the help does not name.
  static std::string Unexplained(const wxMenu& menu, const std::string& text) {
    std::string missing;
    for (const wxMenuItem* entry : menu.GetMenuItems()) {
      if (entry->IsSeparator()) continue;
      if (entry->IsSubMenu()) missing += Unexplained(*entry->GetSubMenu(), text);
      std::string caption = lib::FromWx(entry->GetItemLabelText());
      if (caption.ends_with("...")) caption.resize(caption.size() - 3);
      if (const std::size_t wide = caption.find("  "); wide != std::string::npos) caption.erase(wide, 1);
      // The help writes menu entries in lower case where they stand in a sentence.
      if (Lower(text).find(Lower(caption)) == std::string::npos) missing += "[" + caption + "]";
    }
    return missing;
  }
  static std::string Unexplained(const wxMenuBar& bar, const std::string& text) {
    std::string missing;
    for (std::size_t i = 0; i < bar.GetMenuCount(); ++i) missing += Unexplained(*bar.GetMenu(i), text);
    return missing;
  }

 private:
  static std::string Lower(const std::string& text) { return wxString(text).Lower().ToStdString(); }
};

TEST_F(Help, OpensInTheViewerByItsMenuAndByF1) {
  CatchOpenedDocuments();
  Start({{"one"}});
  const std::filesystem::path page = (Root() / "cache/zelkor/zelkor.html").make_preferred();
  Menu('H', "h");
  EXPECT_EQ(OpenedDocument(), page);
  EXPECT_EQ(ReadNative(page), ReadNative(ProgramFolder() / "zelkor.hlp"));
  EXPECT_NE(ReadNative(page).find("Zelkor help"), std::string::npos);
  std::filesystem::remove(Root() / "opened");
  ShowActive(Main());  // what opened the page may have the keyboard
  Press(WXK_F1);
  EXPECT_EQ(OpenedDocument(), page);
}

TEST_F(Help, ThatIsMissingIsSaid) {
  Start({{"one"}});
  std::filesystem::create_directory(ProgramFolder() / "zelkor.hlp");  // nothing can be put in its place
  Expect([](tests::ShownModal& box) {
    EXPECT_EQ(box.Icon(), "error");
    EXPECT_NE(box.Text().find("zelkor.hlp"), std::string::npos) << box.Text();
    box.Click("OK");
  });
  Press(WXK_F1);
  EXPECT_TRUE(Until([] { return StillExpected() == 0; }));
}

TEST_F(Help, ExplainsEveryEntryOfTheMenus) {
  Start({{"one"}});
  const std::string text = HelpText();
  EXPECT_EQ(Unexplained(*Main().GetMenuBar(), text), "");
  EXPECT_EQ(Unexplained(*windows_->Synchronisation().GetMenuBar(), text), "");
}

}  // namespace
}  // namespace zelkor::app
