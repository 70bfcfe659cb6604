#include "host/memory.h"

#include "host/analysis_support.h"

namespace qrvml {
namespace {

/// Serves while no analysis is current: tests of containers, start-up, tear-down.
class ProcessMemory final : public MemoryService {
 public:
  int AllocMem(void** address, std::size_t bytes) override {
    void* storage = ::operator new(bytes, std::align_val_t{64}, std::nothrow);
    if (storage == nullptr) return 1;
    *address = storage;
    return 0;
  }
  void FreeMem(void* address) override { ::operator delete(address, std::align_val_t{64}); }
};

thread_local MemoryService* scoped = nullptr;

}  // namespace

MemoryScope::MemoryScope(MemoryService* memory) : previous_(scoped) { scoped = memory; }

MemoryScope::~MemoryScope() { scoped = previous_; }

MemoryService& CurrentMemory() {
  static ProcessMemory process;
  if (scoped != nullptr) return *scoped;
  CAnalysisSupport* analysis = CAnalysisContext::Current();
  if (analysis == nullptr || analysis->services().memory == nullptr) return process;
  return *analysis->services().memory;
}

}  // namespace qrvml
