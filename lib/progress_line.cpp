#include "lib/progress_line.h"

#include <array>
#include <cstdint>

#include "lib/format.h"

namespace zelkor::lib {

namespace {

// "3.4 MB": bytes in the largest unit that leaves at least one before the point.
std::string Bytes(double bytes) {
  constexpr std::array kUnits{"B", "kB", "MB", "GB", "TB"};
  std::size_t unit = 0;
  while (bytes >= 1024 && unit + 1 < kUnits.size()) {
    bytes /= 1024;
    ++unit;
  }
  return (unit == 0 ? FormatGrouped(static_cast<std::int64_t>(bytes)) : FormatOneDecimal(bytes)) + " " + kUnits[unit];
}

}  // namespace

std::string ProgressLine(const Progress& progress, double elapsedSeconds, int columns) {
  std::string line = std::string(progress.doing);
  if (progress.itemsTotal > 0) {
    line += "  " + FormatGrouped(progress.items) + " of " + FormatGrouped(progress.itemsTotal) + " items";
  }
  if (progress.bytes > 0 || progress.bytesTotal > 0) {
    line += "  " + Bytes(static_cast<double>(progress.bytes));
    if (progress.bytesTotal > 0) line += " of " + Bytes(static_cast<double>(progress.bytesTotal));
  }
  // A rate means something only after a moment.
  if (elapsedSeconds >= 0.5 && progress.bytes > 0) {
    const double rate = static_cast<double>(progress.bytes) / elapsedSeconds;
    line += "  " + Bytes(rate) + "/s";
    if (progress.bytesTotal > progress.bytes) {
      line += "  " + FormatElapsed(static_cast<double>(progress.bytesTotal - progress.bytes) / rate) + " left";
    }
  }
  if (columns > 1 && line.size() >= static_cast<std::size_t>(columns))
    line.resize(static_cast<std::size_t>(columns) - 1);
  return line;
}

}  // namespace zelkor::lib
