#include "vandry/inbox.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "lib/paths.h"
#include "tests/support/sandbox.h"

namespace zelkor::vandry {
namespace {

namespace fs = std::filesystem;

class InboxTest : public tests::Sandbox {
 protected:
  InboxTest() { fs::create_directory(ProgramFolder() / "vandry.dat"); }
  [[nodiscard]] fs::path Folder() const { return ProgramFolder() / "vandry.dat"; }
  [[nodiscard]] Inbox MakeInbox() const { return Inbox(ProgramDir() + "vandry.dat\\"); }
  [[nodiscard]] std::string Target() const { return ProgramDir() + "office.cas"; }

  // A whole file as it stands after its last byte came.
  InboxNote Received(const std::string& ticket, const std::string& content) const {
    InboxNote note{.key = {.senderId = "lap", .ticket = ticket},
                   .size = static_cast<std::int64_t>(content.size()),
                   .address = "10.0.0.2:4223",
                   .deliveries = 0,
                   .path = {}};
    lib::Result<lib::File> part = MakeInbox().OpenPart(note.key);
    EXPECT_TRUE(part.Ok()) << part.Failure().Message();
    EXPECT_TRUE(part->WriteAt(0, content).Ok());
    EXPECT_TRUE(MakeInbox().Complete(std::move(*part), note).Ok());
    return note;
  }
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Folder())) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
};

TEST_F(InboxTest, ContinuesAPartWithWhatIsThere) {
  const InboxKey key{.senderId = "lap", .ticket = "0f"};
  ASSERT_TRUE(MakeInbox().OpenPart(key)->WriteAt(0, std::string_view("begun")).Ok());
  EXPECT_EQ(*MakeInbox().OpenPart(key)->Length(), 5);
  if (tests::HasModes()) {
    EXPECT_EQ(tests::ModeOf(Folder() / "in-lap-0f.part"), 0600U);
  }
  EXPECT_TRUE(MakeInbox().Notes().empty());
  MakeInbox().DropPart(key);
  EXPECT_TRUE(Names().empty());
}

TEST_F(InboxTest, TellsOfAWholeFileAfterARestart) {
  const InboxNote note = Received("0f", "content");
  const std::vector<InboxNote> notes = MakeInbox().Notes();
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_EQ(notes[0].key, note.key);
  EXPECT_EQ(notes[0].size, 7);
  EXPECT_EQ(notes[0].address, "10.0.0.2:4223");
  EXPECT_EQ(notes[0].path, "");
  EXPECT_TRUE(MakeInbox().IsWhole(note.key));
  EXPECT_TRUE(MakeInbox().WasDone(note.key));
}

TEST_F(InboxTest, PutsAFileWholeAtItsPathAndLeavesNothing) {
  InboxNote note = Received("0f", "content");
  WriteNative(ProgramFolder() / "office.cas", "old");
  ASSERT_TRUE(MakeInbox().PutAt(note, Target()).Ok());
  EXPECT_EQ(ReadNative(ProgramFolder() / "office.cas"), "content");
  EXPECT_EQ(note.deliveries, 1);
  EXPECT_FALSE(MakeInbox().IsWhole(note.key));
  MakeInbox().Forget(note.key);
  EXPECT_EQ(Names(), std::vector<std::string>{"done.txt"});
}

TEST_F(InboxTest, PutsAFileOnAnotherFileSystem) {
  const fs::path memory = tests::MakeFolderElsewhere();
  if (memory.empty()) GTEST_SKIP() << "there is no other file system";
  InboxNote note = Received("0f", "content");
  EXPECT_TRUE(MakeInbox().PutAt(note, OnDriveZ(memory / "office.cas")).Ok());
  EXPECT_EQ(ReadNative(memory / "office.cas"), "content");
  EXPECT_FALSE(MakeInbox().IsWhole(note.key));
  EXPECT_TRUE(MakeInbox().TakeBack(note));
  EXPECT_EQ(ReadNative(Folder() / "in-lap-0f.whole"), "content");
  fs::remove_all(memory);
}

TEST_F(InboxTest, TakesBackAFileThatIsStillAtItsPath) {
  InboxNote note = Received("0f", "content");
  ASSERT_TRUE(MakeInbox().PutAt(note, Target()).Ok());
  std::vector<InboxNote> notes = MakeInbox().Notes();
  ASSERT_EQ(notes.size(), 1U);
  EXPECT_EQ(notes[0].path, Target());
  EXPECT_TRUE(MakeInbox().TakeBack(notes[0]));
  EXPECT_FALSE(fs::exists(ProgramFolder() / "office.cas"));
  EXPECT_EQ(ReadNative(Folder() / "in-lap-0f.whole"), "content");
  EXPECT_EQ(MakeInbox().Notes()[0].path, "");
}

TEST_F(InboxTest, TakesNothingBackThatIsGoneOrAnother) {
  InboxNote note = Received("0f", "content");
  ASSERT_TRUE(MakeInbox().PutAt(note, Target()).Ok());
  WriteNative(ProgramFolder() / "office.cas", "another content");
  EXPECT_FALSE(MakeInbox().TakeBack(note));
  fs::remove(ProgramFolder() / "office.cas");
  EXPECT_FALSE(MakeInbox().TakeBack(note));
}

TEST_F(InboxTest, ListsTheOldestFileFirst) {
  Received("0b", "1");
  Received("0a", "2");
  Received("0c", "3");
  const auto now = fs::file_time_type::clock::now();
  fs::last_write_time(Folder() / "in-lap-0a.note", now - std::chrono::seconds(10));
  fs::last_write_time(Folder() / "in-lap-0c.note", now - std::chrono::seconds(20));
  std::string order;
  for (const InboxNote& note : MakeInbox().Notes()) order += note.key.ticket + " ";
  EXPECT_EQ(order, "0c 0a 0b ");
}

TEST_F(InboxTest, SweepsWhatIsOlderThanThirtyDaysAndNothingElse) {
  Received("0a", "young");
  Received("0b", "old");
  WriteNative(Folder() / "in-lap-0c.part", "old");
  WriteNative(Folder() / "key.pem", "old");
  WriteNative(Folder() / "in-lap.part", "old, but none of ours");
  const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24 * 30 + 1);
  for (const char* name : {"in-lap-0b.whole", "in-lap-0b.note", "in-lap-0c.part", "key.pem", "in-lap.part"}) {
    fs::last_write_time(Folder() / name, old);
  }
  MakeInbox().Sweep();
  EXPECT_EQ(Names(),
            (std::vector<std::string>{"done.txt", "in-lap-0a.note", "in-lap-0a.whole", "in-lap.part", "key.pem"}));
}

TEST_F(InboxTest, RemembersTheLastThousandTickets) {
  for (int i = 0; i < 1001; ++i) {
    // The last of them is added below; a thousand stand there before.
    WriteNative(Folder() / "done.txt",
                (i == 0 ? std::string() : ReadNative(Folder() / "done.txt")) + "lap t" + std::to_string(i) + "\r\n");
  }
  ASSERT_TRUE(MakeInbox().Remember({.senderId = "lap", .ticket = "last"}).Ok());
  EXPECT_TRUE(MakeInbox().WasDone({.senderId = "lap", .ticket = "last"}));
  EXPECT_TRUE(MakeInbox().WasDone({.senderId = "lap", .ticket = "t1000"}));
  EXPECT_TRUE(MakeInbox().WasDone({.senderId = "lap", .ticket = "t2"}));
  EXPECT_FALSE(MakeInbox().WasDone({.senderId = "lap", .ticket = "t1"}));
  EXPECT_FALSE(MakeInbox().WasDone({.senderId = "home", .ticket = "last"}));
}

}  // namespace
}  // namespace zelkor::vandry
