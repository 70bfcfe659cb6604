// Kernel columns kept in a bounded memory; the least recently used one makes room.
//
// Room is divided into slots of one size, a column each, in blocks of host memory that are taken as
// they are needed. While the solver works on fewer and fewer cases, Fit makes the slots smaller and
// more of them.
#pragma once

#include <cstdint>
#include <vector>

#include "host/memory.h"
#include "svm/solver_pace.h"

namespace qrvml {

class ColumnCache {
 public:
  /// For columns of `cases` elements in megabytes * 2^20 bytes, 16 bytes a case of them for
  /// bookkeeping. Throws MemoryRefused.
  ColumnCache(std::int32_t cases, double megabytes);

  struct Column {
    double* values =
        nullptr;             // aligned to 64 bytes, padded to whole blocks of lanes; null: no room
    std::int32_t known = 0;  // its first elements hold values
  };
  /// Makes the case's column the most recently used one, with room for `length` elements. A column
  /// requested before the last stays where it is. Without room for two columns of that length the
  /// result has none. Throws MemoryRefused.
  Column Request(std::int32_t at, std::int32_t length);
  /// The first `length` elements of the case's column hold values; 0 forgets it.
  void SetKnown(std::int32_t at, std::int32_t length);

  /// Exchanges the columns of two cases; elements within columns stay.
  void Swap(std::int32_t a, std::int32_t b);
  /// Places for columns that are in use, from 0 on.
  std::int32_t slots() const { return used_; }
  /// Calls visit(case, values, known) if the slot's column has known elements; visit returns how
  /// many are known afterwards. May be called on several threads for separate slots.
  template <class Visitor>
  void Visit(std::int32_t s, Visitor visit) {
    Slot& slot = slots_[std::size_t(s)];
    if (slot.known > 0) slot.known = visit(slot.owner, Address(s, slotSize_), slot.known);
  }
  /// Makes the slots fit columns of `length`: larger when they are too small, smaller when a
  /// quarter or more would be gained. Throws MemoryRefused, Cancelled.
  void Fit(std::int32_t length, SolverPace& pace);

 private:
  struct Slot {
    std::int32_t owner;  // case
    std::int32_t known;
    std::int32_t previous;  // towards the least recently used one; -1: none
    std::int32_t next;
  };

  std::int32_t PerChunk(std::size_t size) const { return std::int32_t(chunkSize_ / size); }
  std::int32_t TotalSlots(std::size_t size) const;
  double* Address(std::int32_t slot, std::size_t size) {
    const std::int32_t per = PerChunk(size);
    return chunks_[std::size_t(slot / per)].data() + std::size_t(slot % per) * size;
  }
  void TakeChunk(std::int32_t slot, std::size_t size);
  void Unlink(std::int32_t slot);
  void Append(std::int32_t slot);

  std::int32_t cases_;
  std::size_t capacity_ = 0;   // doubles
  std::size_t chunkSize_ = 0;  // doubles of every chunk but the last, which may be smaller
  std::size_t slotSize_ = 0;   // doubles
  std::int32_t total_ = 0;     // slots that fit; below 2: there is no cache
  std::int32_t used_ = 0;      // slots in use: the first ones
  std::int32_t oldest_ = -1;
  std::int32_t newest_ = -1;
  std::vector<HostArray<double>> chunks_;
  HostArray<std::int32_t> slotOf_;  // per case; -1: none
  HostArray<Slot> slots_;
};

}  // namespace qrvml
