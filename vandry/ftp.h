// The FTP commands: one transfer at a time, in the background. A new one ends the one in hand, whose `done` is then
// never called. Paths are in the program's form.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "vandry/ftp_place.h"
#include "vandry/log.h"
#include "vandry/loop.h"
#include "vandry/worker.h"

namespace zelkor::vandry {

class Ftp {
 public:
  // With the whole text of the answer, "OK …" or "Error …".
  using Done = std::function<void(const std::string& reply)>;
  // How far a transfer is, in words for the user; a few times a second at most, and only when it moves.
  using Progress = std::function<void(const std::string& text)>;

  // Unfinished transfers are kept in the folder `dataFolder`, which is made when it is needed. A broken one is gone on
  // with after a pause.
  Ftp(Loop& loop, Workers& workers, const Log& log, std::string dataFolder, Progress progress,
      std::chrono::milliseconds pause = std::chrono::seconds{1});
  ~Ftp();
  Ftp(const Ftp&) = delete;
  Ftp& operator=(const Ftp&) = delete;

  // The reply is "OK " and the bytes.
  void Send(FtpPlace place, const std::string& localFile, const std::string& remoteFile, Done done);
  void Get(FtpPlace place, const std::string& remoteFile, const std::string& localFile, Done done);
  // "OK " and the entries; the file's lines are those of lib/remote_listing.h.
  void List(FtpPlace place, const std::string& localFile, Done done);

  void Stop();
  [[nodiscard]] bool Busy() const { return job_.IsActive(); }

 private:
  struct Transfer;
  template <class Work>
  void Start(std::shared_ptr<Transfer> transfer, Work work);
  void Fail(const Transfer& transfer, const lib::Status& status);
  void Finish(const Transfer& transfer, const std::string& reply);
  void Receive(const std::shared_ptr<Transfer>& transfer);
  void KeepDownload(const std::shared_ptr<Transfer>& transfer);
  void KeepListing(const Transfer& transfer);
  void ShowProgress(const Transfer& transfer, std::int64_t done, std::int64_t total);
  [[nodiscard]] std::string Token() const;
  void SweepOldDownloads() const;

  Loop& loop_;
  Workers& workers_;
  const Log& log_;
  std::string dataFolder_;
  Progress progress_;
  std::chrono::milliseconds pause_;
  Workers::Job job_;
};

}  // namespace zelkor::vandry
