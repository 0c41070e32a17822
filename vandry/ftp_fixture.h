// A sandbox in which FTP commands run to their reply.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/sandbox.h"
#include "vandry/ftp.h"
#include "vandry/ftp_session.h"
#include "vandry/places.h"

namespace zelkor::vandry {

class FtpFixture : public tests::Sandbox {
 protected:
  static void SetUpTestSuite() { PrepareFtp(); }

  FtpFixture() { StartAgain(); }

  // As a new Vandry would: whatever was in hand ends.
  void StartAgain() {
    ftp.reset();
    workers.reset();
    workers = std::make_unique<Workers>(loop);
    ftp = std::make_unique<Ftp>(
        loop, *workers, log, DataFolder(ProgramDir()), [this](const std::string& text) { shown.push_back(text); },
        std::chrono::milliseconds{10});
  }

  void Settings(const std::string& lines) const { WriteNative(SettingsFile(), "[Vandry]\r\n" + lines + "\r\n"); }

  [[nodiscard]] FtpPlace Place(const std::string& directory = {}) const {
    lib::Result<FtpPlace> place = FtpPlace::From(server, user, password, directory);
    EXPECT_TRUE(place.Ok()) << place.Failure().Message();
    return std::move(*place);
  }
  Ftp::Done Done() {
    reply.reset();
    return [this](const std::string& text) { reply = text; };
  }
  std::string WaitForReply() {
    EXPECT_TRUE(loop.RunUntil([this] { return reply.has_value(); }, std::chrono::seconds{120}));
    return reply.value_or("nothing");
  }
  std::string Send(const std::string& localFile, const std::string& remoteFile, const std::string& directory = {}) {
    ftp->Send(Place(directory), localFile, remoteFile, Done());
    return WaitForReply();
  }
  std::string Get(const std::string& remoteFile, const std::string& localFile, const std::string& directory = {}) {
    ftp->Get(Place(directory), remoteFile, localFile, Done());
    return WaitForReply();
  }
  std::string List(const std::string& localFile, const std::string& directory = {}) {
    ftp->List(Place(directory), localFile, Done());
    return WaitForReply();
  }
  [[nodiscard]] std::string LogText() const { return ReadNative(ProgramFolder() / "Vandry.log"); }
  // Bytes without a pattern that an error could hide in.
  static std::string Content(std::size_t size) {
    std::string content(size, '\0');
    std::uint32_t state = 12345;
    for (char& c : content) {
      state = state * 1664525U + 1013904223U;
      c = static_cast<char>(state >> 24U);
    }
    return content;
  }

  std::string server;
  std::string user = "lap";
  std::string password = "secret word";
  Loop loop;
  Log log{ProgramDir()};
  std::vector<std::string> shown;
  std::optional<std::string> reply;
  std::unique_ptr<Workers> workers;
  std::unique_ptr<Ftp> ftp;
};

}  // namespace zelkor::vandry
