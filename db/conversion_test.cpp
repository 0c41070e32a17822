#include "db/conversion.h"

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/golden_database.h"
#include "tests/support/sandbox.h"

namespace zelkor::db {
namespace {

TEST(ConvertRecord, CarriesEveryFieldToItsNewPlace) {
  const std::string old = tests::OldItems();
  ASSERT_EQ(old.size(), 1536U);
  for (std::size_t i = 0; i < 3; ++i) {
    OldFileRec rec;
    std::memcpy(rec.Bytes().data(), old.data() + i * 512, 512);
    const FileRec converted = ConvertRecord(rec);
    EXPECT_EQ(std::string(converted.Bytes().begin(), converted.Bytes().end()),
              tests::ConvertedItems().substr(i * 1024, 1024));
  }
}

class Layout : public tests::Sandbox {
 protected:
  ItemLayout Of(const std::string& content, bool versionSaysOld = false) {
    WriteNative(ProgramFolder() / "zelkor.ind", content);
    const lib::Result<lib::File> file = lib::File::Open(ProgramDir() + "zelkor.ind", lib::OpenMode::Read);
    EXPECT_TRUE(file.Ok()) << file.Failure().Message();
    const lib::Result<ItemLayout> layout = LookAtLayout(*file, versionSaysOld);
    EXPECT_TRUE(layout.Ok());
    return *layout;
  }
  static std::string Repeat(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
  }
  // A record of today with nothing but a name, as an item is created.
  static std::string FreshItem(const std::string& memoId) {
    std::string record = tests::Pad("c:\\a.txt", 512);
    record += tests::Pad("a", 64);
    record += tests::Pad("", 16);
    record += std::string(28, '\0');
    record += tests::Pad("", 128);
    record += memoId;
    record += std::string("\x01\x00", 2);
    record += std::string(270, '\0');
    return record;
  }
};

TEST_F(Layout, KnowsRecordsOfToday) {
  EXPECT_EQ(Of(tests::ConvertedItems()), ItemLayout::Current);
  EXPECT_EQ(Of(tests::GoldenItems()), ItemLayout::Current);
  EXPECT_EQ(Of(FreshItem("abcd")), ItemLayout::Current);
  EXPECT_EQ(Of(Repeat(FreshItem("abcd"), 2000)), ItemLayout::Current);
}

TEST_F(Layout, KnowsOldRecords) {
  EXPECT_EQ(Of(tests::OldItems()), ItemLayout::Old);
  EXPECT_EQ(Of(tests::OldItems().substr(0, 512)), ItemLayout::Old);
  EXPECT_EQ(Of(tests::OldItems().substr(0, 1024)), ItemLayout::Old);
  EXPECT_EQ(Of(Repeat(tests::OldItems(), 1000)), ItemLayout::Old);
}

TEST_F(Layout, KnowsBothBesideAnIncompleteLastRecord) {
  EXPECT_EQ(Of(tests::ConvertedItems().substr(0, 2700)), ItemLayout::Current);
  EXPECT_EQ(Of(tests::ConvertedItems().substr(0, 2560)), ItemLayout::Current);
  EXPECT_EQ(Of(tests::OldItems().substr(0, 1200)), ItemLayout::Old);
}

TEST_F(Layout, TakesNoWordFromAVersionThatTheRecordsDeny) {
  EXPECT_EQ(Of(tests::ConvertedItems(), true), ItemLayout::Current);
}

TEST_F(Layout, DoesNotGuess) {
  EXPECT_EQ(Of(std::string(4096, '\0')), ItemLayout::Unknown);
  EXPECT_EQ(Of(std::string(4096, ' ')), ItemLayout::Unknown);
  EXPECT_EQ(Of(std::string(4096, '\xff')), ItemLayout::Unknown);
  EXPECT_EQ(Of("abc"), ItemLayout::Unknown);
  std::string noise;
  for (unsigned i = 0, x = 1; i < 16384; ++i) noise += static_cast<char>((x = x * 1664525U + 1013904223U) >> 24);
  EXPECT_EQ(Of(noise), ItemLayout::Unknown);
}

TEST_F(Layout, LetsAGoodOldVersionDecideWhereTheRecordsDoNot) {
  EXPECT_EQ(Of(std::string(4096, '\0'), true), ItemLayout::Old);
}

}  // namespace
}  // namespace zelkor::db
