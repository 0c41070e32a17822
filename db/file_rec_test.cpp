#include "db/file_rec.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/golden_database.h"

namespace zelkor::db {
namespace {

FileRec FromBytes(const std::string& bytes) {
  FileRec rec;
  std::memcpy(rec.Bytes().data(), bytes.data(), FileRec::kBytes);
  return rec;
}

TEST(FileRec, FindsEveryFieldAtItsPlace) {
  ASSERT_EQ(tests::GoldenItems().size(), 2048U);
  const FileRec rec = FromBytes(tests::GoldenItems());
  EXPECT_EQ(rec.Text(FileRec::kFileName), "c:\\job\\finance\\plan.xls\r\nc:\\job\\finance\\notes.txt");
  EXPECT_EQ(rec.Text(FileRec::kDescription), "Plan");
  EXPECT_EQ(rec.Text(FileRec::kImportSource), "office");
  EXPECT_EQ(rec.Number(FileRec::kFlags), 0);
  EXPECT_EQ(rec.Number(FileRec::kFileDataLength), 12345);
  EXPECT_EQ(rec.Number(FileRec::kFileCount), 2);
  EXPECT_EQ(rec.Date(FileRec::kImportDate), 46000.5);
  EXPECT_TRUE(rec.HasSignature());
  EXPECT_EQ(rec.Number(FileRec::kSyncMethod), 1);
  EXPECT_EQ(rec.Text(FileRec::kCodes), "+pc1 Work");
  EXPECT_EQ(rec.Number(FileRec::kMemoId), 0x12345678);
  EXPECT_EQ(rec.Number(FileRec::kSyncTo), 2);
  EXPECT_EQ(rec.Text(FileRec::kReserved), std::string(270, 'r'));
  EXPECT_FALSE(rec.Deleted());
}

TEST(FileRec, IsMadeOfTheSameBytesFieldByField) {
  FileRec rec;
  rec.SetText(FileRec::kFileName, "c:\\job\\finance\\plan.xls\r\nc:\\job\\finance\\notes.txt");
  rec.SetText(FileRec::kDescription, "Plan");
  rec.SetText(FileRec::kImportSource, "office");
  rec.SetNumber(FileRec::kFileDataLength, 12345);
  rec.SetNumber(FileRec::kFileCount, 2);
  rec.SetDate(FileRec::kImportDate, 46000.5);
  rec.SetText(FileRec::kSignature, "memosign");
  rec.SetNumber(FileRec::kSyncMethod, 1);
  rec.SetText(FileRec::kCodes, "+pc1 Work");
  rec.SetNumber(FileRec::kMemoId, 0x12345678);
  rec.SetNumber(FileRec::kSyncTo, 2);
  rec.SetText(FileRec::kReserved, std::string(270, 'r'));
  EXPECT_EQ(std::string(rec.Bytes().begin(), rec.Bytes().end()), tests::GoldenItems().substr(0, 1024));
}

TEST(FileRec, IsDeletedByBit0WhateverTheOtherBits) {
  const FileRec rec = FromBytes(tests::GoldenItems().substr(1024));
  EXPECT_TRUE(rec.Deleted());
  EXPECT_EQ(rec.Number(FileRec::kFlags), 0x7f81);
}

TEST(FileRec, CutsATextThatIsLongerThanItsField) {
  FileRec rec;
  rec.SetText(FileRec::kFileName, std::string(600, 'n'));
  EXPECT_EQ(rec.Text(FileRec::kFileName), std::string(512, 'n'));
  EXPECT_EQ(rec.Text(FileRec::kDescription), "");
}

TEST(FileRec, CutsATextAtItsFirstNulAndTrimsIt) {
  FileRec rec;
  rec.SetText(FileRec::kDescription, tests::Raw("  Plan \0rest"));
  EXPECT_EQ(rec.Text(FileRec::kDescription), "Plan");
}

bool Goes(SyncTo syncTo, const std::string& codes, const std::string& target, bool excludedByDefault) {
  FileRec rec;
  rec.SetNumber(FileRec::kSyncTo, static_cast<std::int32_t>(syncTo));
  rec.SetText(FileRec::kCodes, codes);
  return ItemGoesToTarget(rec, target, excludedByDefault);
}

TEST(ItemGoesToTarget, SendsAnItemForAllToEveryTarget) {
  EXPECT_TRUE(Goes(SyncTo::All, "", "pc1", false));
  EXPECT_TRUE(Goes(SyncTo::All, "-pc1", "pc1", false));
}

TEST(ItemGoesToTarget, KeepsAnExcludedItemFromItsTarget) {
  EXPECT_FALSE(Goes(SyncTo::AllButExcluded, "work -pc1 home", "pc1", false));
  EXPECT_FALSE(Goes(SyncTo::AllButExcluded, "work -PC1", "Pc1", false));
  EXPECT_TRUE(Goes(SyncTo::AllButExcluded, "work -pc2", "pc1", false));
  EXPECT_TRUE(Goes(SyncTo::AllButExcluded, "", "pc1", false));
}

TEST(ItemGoesToTarget, FindsAMarkAtTheVeryStartOfTheCodes) {
  EXPECT_TRUE(Goes(SyncTo::OnlyIncluded, "+pc1", "PC1", false));
  EXPECT_TRUE(Goes(SyncTo::OnlyIncluded, "+pc1", "PC1", true));
}

TEST(ItemGoesToTarget, WantsTheMarkForATargetExcludedByDefaultWhateverTheSyncToValue) {
  for (const SyncTo syncTo : {SyncTo::All, SyncTo::AllButExcluded, SyncTo::OnlyIncluded}) {
    EXPECT_FALSE(Goes(syncTo, "work", "pc1", true));
    EXPECT_TRUE(Goes(syncTo, "work +pc1", "pc1", true));
  }
}

TEST(ItemGoesToTarget, TakesNoIdForTheBeginningOfALongerOne) {
  EXPECT_FALSE(Goes(SyncTo::OnlyIncluded, "+pc1", "pc10", false));
  EXPECT_FALSE(Goes(SyncTo::OnlyIncluded, "+pc10", "pc1", false));
  EXPECT_FALSE(Goes(SyncTo::OnlyIncluded, "x+pc1", "pc1", false));
}

TEST(ItemGoesToTarget, FindsAMarkThatEndsAFullField) {
  EXPECT_TRUE(Goes(SyncTo::OnlyIncluded, std::string(123, 'a') + " +pc1", "pc1", false));
}

TEST(ItemGoesToTarget, TreatsAnUnknownSyncToValueAsOnlyIncluded) {
  EXPECT_FALSE(Goes(static_cast<SyncTo>(7), "", "pc1", false));
  EXPECT_FALSE(Goes(static_cast<SyncTo>(-1), "", "pc1", false));
  EXPECT_TRUE(Goes(static_cast<SyncTo>(7), "+pc1", "pc1", false));
}

TEST(ItemGoesToTarget, TrimsTheTargetsId) { EXPECT_TRUE(Goes(SyncTo::OnlyIncluded, "+pc1", "PC1     ", false)); }

}  // namespace
}  // namespace zelkor::db
