#include "svm/column_cache.h"

#include <algorithm>
#include <cstring>

#include "svm/packed_cases.h"

namespace qrvml {
namespace {

constexpr std::size_t kChunk = std::size_t(1) << 19;  // doubles: 4 MB

}  // namespace

ColumnCache::ColumnCache(std::int32_t cases, double megabytes) : cases_(cases) {
  // More than all columns is never needed.
  const std::size_t column = std::size_t(PackedCases::Padded(std::max(cases, 1)));
  const double wanted = double(column) * double(cases);
  const double allowed = megabytes * 1048576.0 / 8.0 - 2.0 * cases;
  const double room = std::min(wanted, allowed);
  slotOf_.Assign(std::size_t(cases), -1);
  if (!(room >= 2.0 * kCaseLanes)) return;
  capacity_ = std::size_t(room) / kCaseLanes * kCaseLanes;
  chunkSize_ = std::min(capacity_, std::max(kChunk, column));
  slotSize_ = column;
  total_ = TotalSlots(slotSize_);
}

std::int32_t ColumnCache::TotalSlots(std::size_t size) const {
  if (size > chunkSize_) return 0;
  const std::size_t slots =
      capacity_ / chunkSize_ * (chunkSize_ / size) + capacity_ % chunkSize_ / size;
  return std::int32_t(std::min(slots, std::size_t(cases_)));
}

void ColumnCache::TakeChunk(std::int32_t slot, std::size_t size) {
  const auto chunk = std::size_t(slot / PerChunk(size));
  while (chunks_.size() <= chunk) {
    const std::size_t begin = chunks_.size() * chunkSize_;
    chunks_.emplace_back(std::min(chunkSize_, capacity_ - begin));
  }
}

void ColumnCache::Unlink(std::int32_t s) {
  const Slot& slot = slots_[std::size_t(s)];
  (slot.previous < 0 ? oldest_ : slots_[std::size_t(slot.previous)].next) = slot.next;
  (slot.next < 0 ? newest_ : slots_[std::size_t(slot.next)].previous) = slot.previous;
}

void ColumnCache::Append(std::int32_t s) {
  Slot& slot = slots_[std::size_t(s)];
  slot.previous = newest_;
  slot.next = -1;
  (newest_ < 0 ? oldest_ : slots_[std::size_t(newest_)].next) = s;
  newest_ = s;
}

ColumnCache::Column ColumnCache::Request(std::int32_t at, std::int32_t length) {
  std::int32_t s = slotOf_[std::size_t(at)];
  if (s < 0) {
    if (total_ < 2 || std::size_t(length) > slotSize_) return {};
    if (used_ < total_) {
      TakeChunk(used_, slotSize_);
      if (std::size_t(used_) >= slots_.size()) {
        HostArray<Slot> more(
            std::min<std::size_t>(std::size_t(used_) * 2 + 64, std::size_t(cases_)));
        std::copy(slots_.begin(), slots_.end(), more.begin());
        slots_.Swap(more);
      }
      s = used_++;
    } else {
      s = oldest_;
      Unlink(s);
      slotOf_[std::size_t(slots_[std::size_t(s)].owner)] = -1;
    }
    slots_[std::size_t(s)] = {at, 0, -1, -1};
    slotOf_[std::size_t(at)] = s;
  } else {
    Unlink(s);
  }
  Append(s);
  if (total_ < 2 || std::size_t(length) > slotSize_) return {};
  return {Address(s, slotSize_), slots_[std::size_t(s)].known};
}

void ColumnCache::SetKnown(std::int32_t at, std::int32_t length) {
  const std::int32_t s = slotOf_[std::size_t(at)];
  if (s >= 0) slots_[std::size_t(s)].known = length;
}

void ColumnCache::Swap(std::int32_t a, std::int32_t b) {
  std::swap(slotOf_[std::size_t(a)], slotOf_[std::size_t(b)]);
  for (const std::int32_t at : {a, b}) {
    const std::int32_t s = slotOf_[std::size_t(at)];
    if (s >= 0) slots_[std::size_t(s)].owner = at;
  }
}

void ColumnCache::Fit(std::int32_t length, SolverPace& pace) {
  const auto size = std::size_t(PackedCases::Padded(std::max(length, 1)));
  if (capacity_ == 0 || (size <= slotSize_ && size * 4 > slotSize_ * 3)) return;
  const std::int32_t total = TotalSlots(size);
  const std::int32_t kept = std::min(used_, total);

  // The oldest columns are given up; the others keep their order of age.
  HostArray<std::int32_t> byAge{std::size_t(kept)};  // old slots, oldest first
  HostArray<std::int32_t> moved(std::size_t(used_), -1);
  std::int32_t s = newest_;
  for (std::int32_t age = kept - 1; age >= 0; --age, s = slots_[std::size_t(s)].previous) {
    byAge[std::size_t(age)] = s;
    moved[std::size_t(s)] = 0;
  }
  // First down to the front, at the smaller of the two sizes where that is the new one.
  const std::size_t packedSize = std::min(size, slotSize_);
  std::int32_t to = 0;
  for (std::int32_t from = 0; from < used_; ++from) {
    Slot& slot = slots_[std::size_t(from)];
    slotOf_[std::size_t(slot.owner)] = -1;
    if (moved[std::size_t(from)] < 0) continue;
    slot.known = std::min(slot.known, std::int32_t(packedSize));
    double* source = Address(from, slotSize_);
    double* target = Address(to, packedSize);
    if (source != target) {
      std::memmove(target, source, std::size_t(slot.known) * sizeof(double));
      pace.Check(slot.known);
    }
    moved[std::size_t(from)] = to;
    slots_[std::size_t(to)] = slot;
    slotOf_[std::size_t(slot.owner)] = to;
    ++to;
  }
  // Then, where slots grow, apart again from the back.
  if (size > packedSize && kept > 0) {
    TakeChunk(kept - 1, size);
    for (std::int32_t slot = kept - 1; slot >= 0; --slot) {
      std::memmove(Address(slot, size), Address(slot, packedSize),
                   std::size_t(slots_[std::size_t(slot)].known) * sizeof(double));
      pace.Check(slots_[std::size_t(slot)].known);
    }
  }
  slotSize_ = size;
  total_ = total;
  used_ = kept;
  oldest_ = newest_ = -1;
  for (const std::int32_t old : byAge) Append(moved[std::size_t(old)]);
}

}  // namespace qrvml
