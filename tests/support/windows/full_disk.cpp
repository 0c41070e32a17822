#include "tests/support/full_disk.h"

namespace zelkor::tests {

struct FullDisk::State {};

bool FullDisk::Possible() { return false; }
FullDisk::FullDisk(std::uint64_t /*largestFileBytes*/) {}
FullDisk::~FullDisk() = default;

}  // namespace zelkor::tests
