#include "host/host_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace qrvml {
namespace {

// One alignment unit before each block holds the block's size.
constexpr std::size_t kAlignment = 64;

}  // namespace

int HostMemory::AllocMem(void** address, std::size_t bytes) {
  if (bytes > std::numeric_limits<std::size_t>::max() - 2 * kAlignment) return 1;
  if (limit_ != 0 && (bytes > limit_ || used_ > limit_ - bytes)) return 1;
  const std::size_t rounded = (bytes + kAlignment - 1) / kAlignment * kAlignment;
  char* start = static_cast<char*>(std::aligned_alloc(kAlignment, rounded + kAlignment));
  if (start == nullptr) return 1;
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
