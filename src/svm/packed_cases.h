// Cases as the kernels read them: dense, in blocks of lanes over cases.
//
// An input column is an index that occurs in a node list; a case without a node of that index has
// 0.0 there. Adding 0 * value changes no sum, so products equal those of the node lists bit for
// bit.
#pragma once

#include <cstdint>
#include <span>

#include "host/memory.h"
#include "svm/kernels/svm_kernel.h"
#include "svm/solver_pace.h"
#include "svm/svm_types.h"

namespace qrvml {

class PackedCases {
 public:
  /// Packs the cases in the order given; an extra column of zeros follows the inputs when
  /// `zeroColumn`. Throws MemoryRefused, Cancelled.
  void Build(std::span<const SVMNodeList> cases, bool zeroColumn, SolverPace& pace);
  /// Copies cases of another packing, in the order given.
  void Build(const PackedCases& source, std::span<const std::int32_t> cases);

  void Swap(std::int32_t a, std::int32_t b);
  /// The case's inputs, one after the other; room for columns().
  void CopyCase(std::int32_t at, double* inputs) const;

  std::int32_t count() const { return count_; }
  std::int32_t columns() const { return columns_; }                   // with the column of zeros
  std::span<const std::int32_t> indices() const { return indices_; }  // of the inputs, ascending
  const double* Block(std::int32_t b) const {
    return blocks_.data() + std::size_t(b) * std::size_t(columns_) * kCaseLanes;
  }
  /// Cases rounded up to whole blocks.
  static std::int32_t Padded(std::int32_t count) {
    return (count + kCaseLanes - 1) / kCaseLanes * kCaseLanes;
  }

 private:
  void CollectIndices(std::span<const SVMNodeList> cases, SolverPace& pace);
  void Allocate();
  double& At(std::int32_t at, std::int32_t column) {
    return blocks_[(std::size_t(at / kCaseLanes) * std::size_t(columns_) + std::size_t(column)) *
                       kCaseLanes +
                   std::size_t(at % kCaseLanes)];
  }

  std::int32_t count_ = 0;
  std::int32_t columns_ = 0;
  HostArray<std::int32_t> indices_;
  HostArray<double> blocks_;
};

}  // namespace qrvml
