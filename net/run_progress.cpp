#include "net/run_progress.h"

#include <algorithm>

#include "lib/progress_line.h"

namespace zelkor::net {

namespace {

// Seconds between two drawings: often enough to seem to flow.
constexpr double kDrawEvery = 0.05;
constexpr std::int64_t kFull = 1000;

std::optional<int> Permille(std::int64_t done, std::int64_t total) {
  if (total <= 0) return std::nullopt;
  const double part = static_cast<double>(std::clamp<std::int64_t>(done, 0, total)) / static_cast<double>(total);
  return static_cast<int>(part * static_cast<double>(kFull));
}

}  // namespace

std::optional<RunProgress::Shown> RunProgress::Tell(const lib::Progress& progress, double now) {
  const bool first = !started_;
  if (first) started_ = now;
  if (!first && now - drawn_ < kDrawEvery) return std::nullopt;
  drawn_ = now;
  // Bytes tell the time better than items do, where there are any.
  std::optional<int> permille = Permille(progress.bytes, progress.bytesTotal);
  if (!permille) permille = Permille(progress.items, progress.itemsTotal);
  return Shown{.permille = permille, .text = lib::ProgressLine(progress, now - *started_, 0)};
}

void RunProgress::End() { started_.reset(); }

}  // namespace zelkor::net
