// The host's memory service: aligned blocks, counted, with an optional limit.
#pragma once

#include <cstddef>

#include "host/memory.h"

namespace qrvml {

class HostMemory final : public MemoryService {
 public:
  /// At most `limit` bytes may be in use at once; 0: as much as the machine gives.
  explicit HostMemory(std::size_t limit = 0) : limit_(limit) {}
  HostMemory(const HostMemory&) = delete;
  HostMemory& operator=(const HostMemory&) = delete;

  int AllocMem(void** address, std::size_t bytes) override;
  void FreeMem(void* address) override;

  std::size_t used() const { return used_; }  // bytes asked for and not given back
  std::size_t peak() const { return peak_; }  // the most that was in use at once

 private:
  std::size_t limit_;
  std::size_t used_ = 0;
  std::size_t peak_ = 0;
};

}  // namespace qrvml
