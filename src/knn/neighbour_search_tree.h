// An order of space: a balanced tree of splits, grown on a sample, that numbers its leaves so that
// cases with near leaf numbers are near each other. It only arranges work; no answer depends on it.
#pragma once

#include <cstdint>

#include "host/memory.h"
#include "knn/kernels/neighbour_kernel.h"

namespace qrvml {

class SpaceTree {
 public:
  /// Grows a tree of 2^levels leaves on `count` packed cases (row-major, inputs of `shape`).
  /// Throws MemoryRefused.
  void Grow(const FilterShape& shape, const float* sample, std::int32_t count, int levels);
  void Release();

  std::int32_t LeafCount() const { return std::int32_t{1} << levels_; }
  /// The leaf of each of `count` cases, row-major.
  void Leaves(const float* rows, std::int32_t inputs, std::int32_t count,
              std::int32_t* leaves) const;

 private:
  struct Split {
    std::int32_t input;
    float value;  // cases from this value on go to the second child
  };
  struct Keyed {
    float value;
    std::int32_t sample;
  };
  std::int32_t WidestInput(const FilterShape& shape, const float* sample, const Keyed* cases,
                           std::int32_t count) const;

  int levels_ = 0;
  HostArray<Split> splits_;  // node n has children 2n and 2n+1, the root is 1
};

}  // namespace qrvml
