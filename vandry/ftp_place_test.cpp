#include "vandry/ftp_place.h"

#include <gtest/gtest.h>

#include "tests/support/sandbox.h"

namespace zelkor::vandry {
namespace {

std::string UrlOf(std::string_view server, std::string_view directory, std::string_view name = "lap.cas") {
  const lib::Result<FtpPlace> place = FtpPlace::From(server, "lap", "pw", directory);
  return place.Ok() ? place->Url(name) : place.Failure().Message();
}

TEST(FtpPlace, NamesAFileInADirectoryOfTheLogin) {
  EXPECT_EQ(UrlOf("ftp.host", ""), "ftp://ftp.host/lap.cas");
  EXPECT_EQ(UrlOf("ftp.host", "a/b"), "ftp://ftp.host/a/b/lap.cas");
  EXPECT_EQ(UrlOf("ftp.host", "a//b/./"), "ftp://ftp.host/a/b/lap.cas");
  EXPECT_EQ(UrlOf("ftp.host", "a/b", ""), "ftp://ftp.host/a/b/");
}

TEST(FtpPlace, NamesAFileInADirectoryOfTheRoot) {
  EXPECT_EQ(UrlOf("ftp.host", "/a/b"), "ftp://ftp.host/%2Fa/b/lap.cas");
  EXPECT_EQ(UrlOf("ftp.host", "/"), "ftp://ftp.host/%2F/lap.cas");
}

TEST(FtpPlace, EncodesEverythingThatAnAddressReads) {
  EXPECT_EQ(UrlOf("h", "a dir;type=a", "50% #1?.cas"), "ftp://h/a%20dir%3Btype%3Da/50%25%20%231%3F.cas");
  // In the code page; servers get UTF-8.
  EXPECT_EQ(UrlOf("h", "\xe4"), "ftp://h/%C3%A4/lap.cas");
}

TEST(FtpPlace, TakesHostsPortsAndAddresses) {
  EXPECT_EQ(UrlOf("ftp://ftp.host/", ""), "ftp://ftp.host/lap.cas");
  EXPECT_EQ(UrlOf("ftp.host:2121", ""), "ftp://ftp.host:2121/lap.cas");
  EXPECT_EQ(UrlOf("10.0.0.2", ""), "ftp://10.0.0.2/lap.cas");
  EXPECT_EQ(UrlOf("::1", ""), "ftp://[::1]/lap.cas");
  EXPECT_EQ(UrlOf("[::1]:2121", ""), "ftp://[::1]:2121/lap.cas");
}

TEST(FtpPlace, RefusesWhatIsNoServer) {
  for (const char* server : {"", " ", "a b", "user:pw@host", "user@host", "host/path", "host:0", "host:70000", "host:x",
                             "host:", "-host", "[::1", "http://host", "ftp://", "host?x", "a\rb"}) {
    EXPECT_FALSE(FtpPlace::From(server, "u", "p", "").Ok()) << server;
  }
}

TEST(FtpPlace, RefusesControlCharactersThatWouldMakeACommandOfTheirOwn) {
  EXPECT_FALSE(FtpPlace::From("h", "u\r\nDELE x", "p", "").Ok());
  EXPECT_FALSE(FtpPlace::From("h", "u", "p\nx", "").Ok());
  EXPECT_FALSE(FtpPlace::From("h", "u", "p", "d\r\nDELE x").Ok());
  EXPECT_FALSE(RemoteName("x\r\nDELE y").Ok());
}

TEST(FtpPlace, SaysNothingOfThePasswordWhenItRefuses) {
  const lib::Result<FtpPlace> place = FtpPlace::From("a b", "u", "hidden", "");
  EXPECT_EQ(place.Failure().Message().find("hidden"), std::string::npos);
}

TEST(FtpPlace, RefusesNamesThatLeaveTheDirectory) {
  for (const char* name : {"", ".", "..", "a/b", "../a", "a\\b"}) EXPECT_FALSE(RemoteName(name).Ok()) << name;
  EXPECT_EQ(RemoteName("lap 01.cas").Value(), "lap 01.cas");
}

TEST(FtpPlace, LogsInAnonymouslyWithoutAUser) { EXPECT_EQ(FtpPlace::From("h", "", "", "")->User(), "anonymous"); }

using FtpSettingsTest = tests::Sandbox;

TEST_F(FtpSettingsTest, HaveDefaults) {
  const FtpSettings settings = ReadFtpSettings();
  EXPECT_EQ(settings.tls, FtpSettings::Tls::WhenOffered);
  EXPECT_FALSE(settings.active);
  EXPECT_EQ(settings.patience, std::chrono::seconds{30});
  EXPECT_EQ(settings.certificates, "");
}

TEST_F(FtpSettingsTest, ComeFromTheSettingsFile) {
  WriteNative(SettingsFile(), "[Vandry]\r\nFtpTls=2\r\nFtpActive=1\r\nFtpTimeout=5\r\nFtpCertificates=/x/y.pem\r\n");
  const FtpSettings settings = ReadFtpSettings();
  EXPECT_EQ(settings.tls, FtpSettings::Tls::Required);
  EXPECT_TRUE(settings.active);
  EXPECT_EQ(settings.patience, std::chrono::seconds{5});
  EXPECT_EQ(settings.certificates, "/x/y.pem");
  WriteNative(SettingsFile(), "[Vandry]\r\nFtpTls=0\r\nFtpTimeout=0\r\n");
  EXPECT_EQ(ReadFtpSettings().tls, FtpSettings::Tls::Never);
  EXPECT_EQ(ReadFtpSettings().patience, std::chrono::seconds{1});
  // An unknown number is not less than asked for.
  WriteNative(SettingsFile(), "[Vandry]\r\nFtpTls=3\r\n");
  EXPECT_EQ(ReadFtpSettings().tls, FtpSettings::Tls::Required);
}

}  // namespace
}  // namespace zelkor::vandry
