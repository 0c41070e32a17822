// What the built program with its windows does with errors that nothing else catches.

#include "tests/gui/desktop.h"

namespace zelkor::tests {
namespace {

class ErrorsWithWindows : public TwoDesktops {
 protected:
  [[nodiscard]] std::filesystem::path ItemFile() const { return office.Program() / "zelkor.ind"; }
  // Reads the message and answers it; the main window has gone by then.
  void ExpectLastWords(DesktopProgram& program, const std::string& text, int status) const {
    EXPECT_THAT(screen.TextOfBox(kBox), Says(text));
    EXPECT_THAT(screen.Titles(), testing::ElementsAre(kBox));
    screen.Press("Return");
    const Outcome outcome = program.WaitForEnd();
    EXPECT_EQ(outcome.status, status) << outcome;
    EXPECT_EQ(outcome.signal, 0);
  }
};

TEST_F(ErrorsWithWindows, MoreItemsThanTheListHoldsAreNamedAndEndTheStart) {
  constexpr int kMostItems = 9999;
  office.AddItem({.fileName = "c:\\1", .description = "1", .memoId = 1});
  std::string before;
  for (int id = 1; id <= kMostItems + 1; ++id) before += EncodeItem({.fileName = "c:\\1", .memoId = id});
  WriteBytes(ItemFile(), before);
  DesktopProgram program(office);
  ExpectLastWords(program, "Run-time error 9: Subscript out of range (more than 9999 items)", 1);
  EXPECT_TRUE(ReadBytes(ItemFile()) == before);
}

TEST_F(ErrorsWithWindows, AnItemFileThatWasCutShortIsNamedAndEndsACommand) {
  for (int id = 1; id <= 3; ++id) office.AddItem({.fileName = "c:\\1", .description = "1", .memoId = id});
  DesktopProgram program(office);
  screen.WaitUntilActive(MainTitle(office));
  std::filesystem::resize_file(ItemFile(), 1024);
  screen.Press("Alt+i");
  screen.Press("a");
  ExpectLastWords(program, "zelkor.ind has become shorter while it was in use", 1);
}

TEST_F(ErrorsWithWindows, ADamagedSyncFileEndsTheProgramOnTheSpot) {
  SyncRecord record;
  record.fileName = "c:\\a.txt";
  record.description = "a";
  record.memoId = 1;
  std::string bytes = EncodeSync(OneBlock("lap", {record}));
  bytes.resize(bytes.size() - 100);
  WriteBytes(office.Home() / "from lap.cas", bytes);
  DesktopProgram program(office, {"from lap.cas"});
  EXPECT_THAT(screen.TextOfBox(kBox), Says("Proceed?"));
  screen.Press("Alt+y");
  EXPECT_TRUE(screen.Until([&] { return screen.Titles() == std::vector<std::string>{kBox}; }));
  ExpectLastWords(program, "Sync file [c:\\from lap.cas] is damaged, block 1: the file ends inside the block.", 3);
  EXPECT_THAT(office.Items(), testing::IsEmpty());
}

}  // namespace
}  // namespace zelkor::tests
