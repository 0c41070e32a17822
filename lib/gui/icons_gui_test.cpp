#include <gtest/gtest.h>
#include <string>
#include <wx/image.h>

#include "lib/gui/icons.h"
#include "tests/support/gui_testing.h"

namespace zelkor::lib {
namespace {

class Icons : public tests::GuiTest {
 protected:
  // How many pixels of the picture are not transparent.
  static int Drawn(const wxBitmap& bitmap) {
    const wxImage image = bitmap.ConvertToImage();
    int drawn = 0;
    for (int y = 0; y < image.GetHeight(); ++y) {
      for (int x = 0; x < image.GetWidth(); ++x) drawn += !image.HasAlpha() || image.GetAlpha(x, y) > 0 ? 1 : 0;
    }
    return drawn;
  }
};

TEST_F(Icons, AreThereUnderTheKeysOfTheButtonsAndRows) {
  for (const char* key : {"Sync", "MemoNew", "MemoProperties", "MemoDelete", "Select", "SelectAll", "SyncImport",
                          "SyncExport", "SyncView", "TargetNew", "TargetDelete", "ItemAuto", "ItemOn", "ItemOff"}) {
    EXPECT_TRUE(Picture(key).IsOk()) << key;
  }
  EXPECT_TRUE(Picture(kProgramIcon).IsOk());
  EXPECT_FALSE(Picture("no such key").IsOk());
}

TEST_F(Icons, ShowSomethingInEverySize) {
  for (const char* key : {"Sync", "MemoNew", "Select", "TargetDelete", "ItemOff", "Zelkor"}) {
    for (const int size : {16, 24, 32, 64}) {
      const wxBitmap bitmap = Picture(key, size).GetBitmap(wxDefaultSize);
      EXPECT_EQ(bitmap.GetSize(), wxSize(size, size)) << key;
      EXPECT_GT(Drawn(bitmap), size * size / 10) << key << " " << size;
      EXPECT_LT(Drawn(bitmap), size * size) << key << " " << size;
    }
  }
}

}  // namespace
}  // namespace zelkor::lib
