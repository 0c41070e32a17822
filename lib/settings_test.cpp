#include "lib/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "lib/run_time_error.h"
#include "tests/support/sandbox.h"

namespace zelkor::lib {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Settings : public tests::Sandbox {
 protected:
  void Write(const std::string& text) const { WriteNative(SettingsFile(), text); }
  [[nodiscard]] std::string Read() const { return ReadNative(SettingsFile()); }
};

TEST_F(Settings, YieldTheDefaultWhereSomethingIsMissing) {
  EXPECT_EQ(GetIniString("Orlim", "User", "nobody"), "nobody");
  EXPECT_EQ(GetIniNumber("Zelkor", "SysTray", 7), 7);
  EXPECT_EQ(GetIniPath("Drives", "c"), "");
  EXPECT_THAT(IniKeys("Drives"), IsEmpty());
  Write("[Orlim]\r\n");
  EXPECT_EQ(GetIniString("Orlim", "User", "nobody"), "nobody");
  EXPECT_EQ(GetIniString("Zelkor", "LastTarget", ""), "");
}

TEST_F(Settings, AreOneFileForSectionsInEitherCase) {
  PutIniValue("Orlim", "user", "pc01");
  EXPECT_EQ(GetIniString("orlim", "User", ""), "pc01");
  EXPECT_EQ(Read(), "[Orlim]\r\nuser=pc01\r\n");
}

TEST_F(Settings, ReturnAnEmptyValueAndNotTheDefault) {
  Write("[Orlim]\r\nUser=\r\n");
  EXPECT_EQ(GetIniString("Orlim", "User", "nobody"), "");
}

TEST_F(Settings, ReturnAValueOf63CharactersWhole) {
  const std::string value(63, 'x');
  Write("[a]\nk=" + value + "\n");
  EXPECT_EQ(GetIniString("a", "k", ""), value);
}

TEST_F(Settings, CutALongerValueAt63Characters) {
  const std::string value = std::string(62, 'x') + "yz";
  Write("[a]\nk=" + value + "\n");
  EXPECT_EQ(GetIniString("a", "k", ""), std::string(62, 'x') + "y");
  EXPECT_EQ(GetIniString("a", "missing", value), std::string(62, 'x') + "y") << "a default passes the same buffer";
}

TEST_F(Settings, CutAValueAtItsFirstNul) {
  Write(std::string("[a]\nk=x\0y\n", 10));
  EXPECT_EQ(GetIniString("a", "k", ""), "x");
  EXPECT_EQ(GetIniPath("a", "k"), "x");
}

TEST_F(Settings, ReadPathsWholeAsTheirBytesStandThere) {
  const std::string path = "/media/" + std::string(200, 'x') + "/Gr\xC3\xBC\xC3\x9F";
  Write("[Drives]\nM=" + path + "\n");
  EXPECT_EQ(GetIniPath("drives", "m"), path);
  EXPECT_THAT(IniKeys("Drives"), ElementsAre("m"));
}

TEST_F(Settings, ReadNumbersByTheirBeginning) {
  Write("[Zelkor]\nSysTray=yes\na= 1\nb=12px\nc=-3.7\nd=\ne=2.5\nf=3.5\ng=-2.5\nh=0.5\ni=2.5000001\n");
  EXPECT_EQ(GetIniNumber("Zelkor", "SysTray", 1), 0);
  EXPECT_EQ(GetIniNumber("Zelkor", "a", 0), 1);
  EXPECT_EQ(GetIniNumber("Zelkor", "b", 0), 12);
  EXPECT_EQ(GetIniNumber("Zelkor", "c", 0), -4);
  EXPECT_EQ(GetIniNumber("Zelkor", "d", 5), 0);
  EXPECT_EQ(GetIniNumber("Zelkor", "e", 0), 2) << "halves to the even neighbour";
  EXPECT_EQ(GetIniNumber("Zelkor", "f", 0), 4);
  EXPECT_EQ(GetIniNumber("Zelkor", "g", 0), -2);
  EXPECT_EQ(GetIniNumber("Zelkor", "h", 1), 0);
  EXPECT_EQ(GetIniNumber("Zelkor", "i", 0), 3);
}

TEST_F(Settings, TakeDefaultsOfAnyNumber) {
  EXPECT_EQ(GetIniNumber("Zelkor", "x", 2.5), 2);
  EXPECT_EQ(GetIniNumber("Zelkor", "x", -1234567.75), -1234568);
  EXPECT_EQ(GetIniNumber("Zelkor", "x", 1e-300), 0);
  EXPECT_THROW((void)GetIniNumber("Zelkor", "x", 1e300), RunTimeError);
}

TEST_F(Settings, RaiseAnOverflowForANumberThatDoesNotFit) {
  Write("[a]\nmost=2147483647\nleast=-2147483648\nmore=2147483648\nless=-2147483649\nhalf=2147483647.5\nhuge=" +
        std::string(50, '9') + "\n");
  EXPECT_EQ(GetIniNumber("a", "most", 0), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(GetIniNumber("a", "least", 0), std::numeric_limits<std::int32_t>::min());
  for (const char* key : {"more", "less", "half", "huge"}) {
    EXPECT_THROW((void)GetIniNumber("a", key, 0), RunTimeError) << key;
  }
  try {
    (void)GetIniNumber("a", "more", 0);
  } catch (const RunTimeError& error) {
    EXPECT_STREQ(error.what(), "Run-time error 6: Overflow ([a] more=2147483648)");
  }
}

TEST_F(Settings, WriteNumbersWithoutSeparators) {
  PutIniValue("ZELKOR", "FormLeft", -1234567);
  EXPECT_EQ(Read(), "[ZELKOR]\r\nFormLeft=-1234567\r\n");
  EXPECT_EQ(FormatIniNumber(1234567.5), "1234567.5");
  EXPECT_EQ(FormatIniNumber(0), "0");
  EXPECT_EQ(FormatIniNumber(-0.0), "0");
  EXPECT_EQ(FormatIniNumber(0.1), "0.1");
  EXPECT_EQ(FormatIniNumber(1e15), "1000000000000000");
}

TEST_F(Settings, AreSeenAsOtherProgramsWriteThem) {
  Write("[a]\nk=1\n");
  EXPECT_EQ(GetIniString("a", "k", ""), "1");
  Write("[a]\nk=2\n");
  EXPECT_EQ(GetIniString("a", "k", ""), "2");
}

}  // namespace
}  // namespace zelkor::lib
