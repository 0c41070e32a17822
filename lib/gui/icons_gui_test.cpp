#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <wx/image.h>

#include "icon_sources.h"
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

  // The luminance of a theme's dark background, and how many pixels differ from a ground by the contrast that W3C's
  // guidelines (WCAG 2.1, 1.4.11) ask of graphics, 3 to 1.
  static constexpr double kDarkGround = 0.027;  // of the colour #2d2d2d
  static int Outstanding(const wxImage& image, double ground) {
    constexpr double kContrast = 3.0;
    int outstanding = 0;
    for (int y = 0; y < image.GetHeight(); ++y) {
      for (int x = 0; x < image.GetWidth(); ++x) {
        if (image.GetAlpha(x, y) < 128) continue;
        const double light = 0.2126 * Linear(image.GetRed(x, y)) + 0.7152 * Linear(image.GetGreen(x, y)) +
                             0.0722 * Linear(image.GetBlue(x, y));
        const double contrast = (std::max(light, ground) + 0.05) / (std::min(light, ground) + 0.05);
        outstanding += contrast >= kContrast ? 1 : 0;
      }
    }
    return outstanding;
  }

 private:
  // The light of one channel, as the guidelines define relative luminance.
  static double Linear(int channel) {
    const double value = channel / 255.0;
    return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  }
};

TEST_F(Icons, AreThereUnderTheKeysOfTheButtonsAndRows) {
  for (const char* key :
       {"Sync", "MemoNew", "MemoProperties", "MemoDelete", "Select", "SelectAll", "SyncImport", "SyncExport",
        "SyncView", "TargetNew", "TargetDelete", "ItemAuto", "ItemOn", "ItemOff", "ItemDeleted"}) {
    EXPECT_TRUE(Picture(key).IsOk()) << key;
  }
  EXPECT_TRUE(Picture(kProgramIcon).IsOk());
  EXPECT_TRUE(Picture(kTrayIcon).IsOk());
  EXPECT_FALSE(Picture("no such key").IsOk());
}

TEST_F(Icons, ShowSomethingInEverySize) {
  for (const IconSource& source : kIconSources) {
    for (const int size : {16, 24, 32, 48, 128}) {
      const wxBitmap bitmap = Picture(source.key, size).GetBitmap(wxDefaultSize);
      EXPECT_EQ(bitmap.GetSize(), wxSize(size, size)) << source.key;
      EXPECT_GT(Drawn(bitmap), size * size / 10) << source.key << " " << size;
      EXPECT_LT(Drawn(bitmap), size * size) << source.key << " " << size;
    }
  }
}

// A picture whose every pixel is close to the ground disappears in one of the two kinds of theme.
TEST_F(Icons, StandOutOnWhiteAndOnDarkGround) {
  for (const IconSource& source : kIconSources) {
    for (const int size : {16, 24}) {
      const wxImage image = Picture(source.key).GetBitmap(wxSize(size, size)).ConvertToImage();
      for (const double ground : {1.0, kDarkGround}) {
        EXPECT_GT(Outstanding(image, ground), size * size / 11) << source.key << " " << size << " on " << ground;
      }
    }
  }
}

TEST_F(Icons, GiveTheProgramsPictureInTheUsualSizes) {
  const wxIconBundle icons = ProgramIcons();
  for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
    const wxIcon icon = icons.GetIcon(wxSize(size, size), wxIconBundle::FALLBACK_NONE);
    EXPECT_TRUE(icon.IsOk()) << size;
    EXPECT_EQ(icon.GetWidth(), size);
  }
}

}  // namespace
}  // namespace zelkor::lib
