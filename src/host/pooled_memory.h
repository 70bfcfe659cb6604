// Memory that is kept for the next request of its size: for work that is done again and again with
// arrays of about the same sizes, on a thread that may not call the host, or without touching fresh
// pages each time.
#pragma once

#include <cstddef>
#include <map>
#include <vector>

#include "host/memory.h"

namespace qrvml {

/// Blocks come in classes of size, four to each doubling. One thread at a time.
class PooledMemory final : public MemoryService {
 public:
  /// Where new blocks come from; outlives it.
  explicit PooledMemory(MemoryService& source) : source_(source) {}
  /// Gives all blocks back to the source. Nobody holds one any more.
  ~PooledMemory() override;
  PooledMemory(const PooledMemory&) = delete;
  PooledMemory& operator=(const PooledMemory&) = delete;

  int AllocMem(void** address, std::size_t bytes) override;
  void FreeMem(void* address) override;

 private:
  MemoryService& source_;
  std::map<std::size_t, std::vector<void*>> free_;  // by class
  std::map<void*, std::size_t> classOf_;            // of all blocks
};

}  // namespace qrvml
