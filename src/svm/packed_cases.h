// Cases as the kernels read them: dense, in blocks of lanes over cases.
//
// An input column stands for an index of node lists; a case without a node of that index has 0.0
// there. Adding 0 * value changes no sum, so products equal those of the node lists bit for bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "host/memory.h"
#include "svm/kernels/svm_kernel.h"
#include "svm/solver_pace.h"
#include "svm/svm_types.h"

namespace qrvml {

/// The indices that occur in node lists, ascending. Throws MemoryRefused, Cancelled.
HostArray<std::int32_t> CollectIndices(std::span<const SVMNodeList> cases, SolverPace& pace);

/// Whether the list has no node of an index that is not among `indices`.
bool Covers(std::span<const std::int32_t> indices, const SVMNode* list);

/// out[c] = the list's value of index indices[c].
void CopyInputs(std::span<const std::int32_t> indices, const SVMNode* list, double* out,
                std::ptrdiff_t stride);

class PackedCases {
 public:
  /// Packs the cases in the order given, one column per index; nodes of other indices are left out.
  /// Throws MemoryRefused, Cancelled.
  void Build(std::span<const SVMNodeList> cases, std::span<const std::int32_t> indices,
             SolverPace& pace);
  /// Copies cases of another packing, in the order given.
  void Build(const PackedCases& source, std::span<const std::int32_t> cases);

  void Swap(std::int32_t a, std::int32_t b);
  /// The case's inputs, one after the other; room for columns().
  void CopyCase(std::int32_t at, double* inputs) const;

  std::int32_t count() const { return count_; }
  std::int32_t columns() const { return columns_; }  // at least 1
  const double* Block(std::int32_t b) const {
    return blocks_.data() + std::size_t(b) * std::size_t(columns_) * kCaseLanes;
  }
  /// Cases rounded up to whole blocks.
  static std::int32_t Padded(std::int32_t count) {
    return (count + kCaseLanes - 1) / kCaseLanes * kCaseLanes;
  }

 private:
  void Allocate();
  double& At(std::int32_t at, std::int32_t column) {
    return blocks_[(std::size_t(at / kCaseLanes) * std::size_t(columns_) + std::size_t(column)) *
                       kCaseLanes +
                   std::size_t(at % kCaseLanes)];
  }

  std::int32_t count_ = 0;
  std::int32_t columns_ = 0;
  HostArray<double> blocks_;
};

}  // namespace qrvml
