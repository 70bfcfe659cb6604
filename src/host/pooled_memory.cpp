#include "host/pooled_memory.h"

#include <bit>
#include <new>

namespace qrvml {
namespace {

constexpr std::size_t kLeastBlock = 256;

/// The least size of at least `bytes` that is a power of two or 5, 6 or 7 quarters of one.
std::size_t ClassOf(std::size_t bytes) {
  if (bytes <= kLeastBlock) return kLeastBlock;
  const std::size_t step = std::bit_floor(bytes - 1) / 4;
  return (bytes + step - 1) / step * step;
}

}  // namespace

PooledMemory::~PooledMemory() {
  for (const auto& [address, size] : classOf_) source_.FreeMem(address);
}

int PooledMemory::AllocMem(void** address, std::size_t bytes) {
  const std::size_t size = ClassOf(bytes);
  if (size < bytes) return 1;  // beyond what a number holds
  try {
    std::vector<void*>& free = free_[size];
    if (!free.empty()) {
      *address = free.back();
      free.pop_back();
      return 0;
    }
    // Room for all blocks of the class: giving one back needs no memory.
    free.reserve(free.capacity() + 1);
    const auto entry = classOf_.try_emplace(nullptr, size).first;
    void* block = nullptr;
    const bool refused = source_.AllocMem(&block, size) != 0;
    auto node = classOf_.extract(entry);
    if (refused) return 1;
    node.key() = block;
    classOf_.insert(std::move(node));
    *address = block;
    return 0;
  } catch (const std::bad_alloc&) {
    return 1;
  }
}

void PooledMemory::FreeMem(void* address) {
  if (address == nullptr) return;
  free_.find(classOf_.find(address)->second)->second.push_back(address);
}

}  // namespace qrvml
