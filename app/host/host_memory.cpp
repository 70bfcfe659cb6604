#include "host/host_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include <sys/mman.h>

namespace qrvml {
namespace {

// One alignment unit before each block holds the block's size.
constexpr std::size_t kAlignment = 64;

// A block of several huge pages is aligned to one and asks for them: touching it for the first time
// then costs a fraction of the page faults.
constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kLargeBlock = 2 * kHugePage;

}  // namespace

int HostMemory::AllocMem(void** address, std::size_t bytes) {
  if (bytes > std::numeric_limits<std::size_t>::max() - 2 * kAlignment) return 1;
  if (limit_ != 0 && (bytes > limit_ || used_ > limit_ - bytes)) return 1;
  const std::size_t rounded = (bytes + kAlignment - 1) / kAlignment * kAlignment;
  const bool large = rounded >= kLargeBlock;
  void* block = nullptr;
  if (posix_memalign(&block, large ? kHugePage : kAlignment, rounded + kAlignment) != 0) return 1;
  // Advice only: where it is not taken the block has ordinary pages.
  if (large) madvise(block, rounded + kAlignment, MADV_HUGEPAGE);
  char* start = static_cast<char*>(block);
  std::memcpy(start, &bytes, sizeof bytes);
  used_ += bytes;
  peak_ = std::max(peak_, used_);
  *address = start + kAlignment;
  return 0;
}

void HostMemory::FreeMem(void* address) {
  if (address == nullptr) return;
  char* start = static_cast<char*>(address) - kAlignment;
  std::size_t bytes = 0;
  std::memcpy(&bytes, start, sizeof bytes);
  used_ -= bytes;
  std::free(start);
}

}  // namespace qrvml
