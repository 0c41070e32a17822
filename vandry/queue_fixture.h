// A queue in a sandbox.
#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <system_error>
#include <vector>

#include "lib/files.h"
#include "tests/support/sandbox.h"
#include "vandry/queue.h"

namespace zelkor::vandry {

class QueueTest : public tests::Sandbox {
 protected:
  [[nodiscard]] std::string Folder() const { return ProgramDir() + "queue\\"; }
  [[nodiscard]] std::filesystem::path NativeFolder() const { return ProgramFolder() / "queue"; }
  [[nodiscard]] Queue Open() const { return Queue(Folder()); }

  // As the commands put a file in.
  static lib::Status PutFile(Queue& queue, const std::string& path) {
    const lib::Result<QueueEntry> entry = queue.PlaceForFile("host", "office", "lap");
    if (!entry.Ok()) return entry.Failure();
    if (lib::Status moved = lib::RenameFile(path, entry->path); !moved.Ok()) return moved;
    return queue.AddFile(*entry);
  }
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(NativeFolder(), none)) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }
  static std::vector<std::string> Texts(const Queue& queue) {
    std::vector<std::string> texts;
    for (const QueueEntry& entry : queue.Entries()) texts.push_back(entry.text);
    return texts;
  }
};

}  // namespace zelkor::vandry
