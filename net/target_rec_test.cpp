#include "net/target_rec.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/golden_database.h"

namespace zelkor::net {
namespace {

TargetRec Golden() {
  TargetRec rec;
  std::memcpy(rec.Bytes().data(), tests::GoldenConfig().data() + 4096, TargetRec::kBytes);
  return rec;
}

TEST(TargetRec, FindsEveryFieldAtItsPlace) {
  const TargetRec rec = Golden();
  EXPECT_EQ(rec.Text(TargetRec::kComputerId), "office");
  EXPECT_EQ(rec.Date(TargetRec::kLastImport), 46000.5);
  EXPECT_EQ(rec.Date(TargetRec::kLastExport), 45999.25);
  EXPECT_EQ(rec.Text(TargetRec::kMediaPath), "a:\\");
  EXPECT_EQ(rec.Number(TargetRec::kConnectionType), 2);
  EXPECT_EQ(rec.Text(TargetRec::kAddress), "ftp.example.com");
  EXPECT_EQ(rec.Text(TargetRec::kUserName), "anna");
  EXPECT_EQ(rec.Text(TargetRec::kPassword), "secret");
  EXPECT_EQ(rec.Text(TargetRec::kDirectory), "/sync");
  EXPECT_EQ(rec.Number(TargetRec::kDefaultExclude), 1);
  EXPECT_EQ(rec.Text(TargetRec::kReserved), "12345");
}

TEST(TargetRec, IsMadeOfTheSameBytesFieldByField) {
  TargetRec rec;
  rec.SetText(TargetRec::kComputerId, "office");
  rec.SetDate(TargetRec::kLastImport, 46000.5);
  rec.SetDate(TargetRec::kLastExport, 45999.25);
  rec.SetText(TargetRec::kMediaPath, "a:\\");
  rec.SetNumber(TargetRec::kConnectionType, 2);
  rec.SetText(TargetRec::kAddress, "ftp.example.com");
  rec.SetText(TargetRec::kUserName, "anna");
  rec.SetText(TargetRec::kPassword, "secret");
  rec.SetText(TargetRec::kDirectory, "/sync");
  rec.SetNumber(TargetRec::kDefaultExclude, 1);
  rec.SetText(TargetRec::kReserved, "12345");
  EXPECT_EQ(std::string(rec.Bytes().begin(), rec.Bytes().end()), tests::GoldenConfig().substr(4096, 256));
}

TEST(TargetRec, GivesItsIdCutAtANulTrimmedAndInLowerCase) {
  TargetRec rec;
  rec.SetText(TargetRec::kComputerId, tests::Raw(" PC1\0x"));
  EXPECT_EQ(rec.Id(), "pc1");
}

}  // namespace
}  // namespace zelkor::net
