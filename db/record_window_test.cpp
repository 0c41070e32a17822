#include "db/record_window.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/support/sandbox.h"

namespace zelkor::db {
namespace {

class RecordWindowTest : public tests::Sandbox {
 protected:
  static constexpr std::int32_t kRecords = 200;
  RecordWindowTest() {
    file_ = std::move(*lib::File::Open("c:\\records", lib::OpenMode::ReadWrite));
    for (std::int32_t recno = 1; recno <= kRecords; ++recno) Write(recno, recno);
  }
  void Write(std::int32_t recno, std::int32_t memoId) {
    FileRec item;
    item.SetNumber(FileRec::kMemoId, memoId);
    EXPECT_TRUE(file_.WriteAt((recno - 1) * std::int64_t{FileRec::kBytes}, item.Bytes()).Ok());
  }
  // The record's memo ID, 0 when there is no such record.
  std::int32_t Read(std::int32_t recno) {
    FileRec item;
    const lib::Result<bool> whole = window_.Read(file_, recno, item);
    EXPECT_TRUE(whole.Ok());
    return *whole ? item.Number(FileRec::kMemoId) : 0;
  }

  lib::File file_;
  RecordWindow window_;
};

TEST_F(RecordWindowTest, GivesEachRecordInAnyOrder) {
  for (std::int32_t recno = 1; recno <= kRecords; ++recno) EXPECT_EQ(Read(recno), recno);
  for (std::int32_t recno = kRecords; recno >= 1; recno -= 3) EXPECT_EQ(Read(recno), recno);
  for (std::int32_t recno = 5; recno <= kRecords; recno += 11) EXPECT_EQ(Read(recno), recno);
}

TEST_F(RecordWindowTest, SeesAWriteOnceItIsDropped) {
  EXPECT_EQ(Read(1), 1);
  EXPECT_EQ(Read(2), 2);
  Write(3, 77);
  window_.Drop();
  EXPECT_EQ(Read(3), 77);
}

TEST_F(RecordWindowTest, HasNoRecordBehindTheLastNorAPartOfOne) {
  ASSERT_TRUE(file_.SetLength(3 * std::int64_t{FileRec::kBytes} + 100).Ok());
  for (std::int32_t recno = 1; recno <= 3; ++recno) EXPECT_EQ(Read(recno), recno);
  EXPECT_EQ(Read(4), 0);
  EXPECT_EQ(Read(5), 0);
}

}  // namespace
}  // namespace zelkor::db
