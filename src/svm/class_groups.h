// The cases of a classification problem, grouped by class label.
#pragma once

#include <cstdint>
#include <span>

#include "host/memory.h"
#include "svm/svm_types.h"

namespace qrvml {

/// Labels are the targets truncated to 32-bit integers, in order of first appearance; cases of a
/// class stay in their order.
class ClassGroups {
 public:
  /// Throws MemoryRefused.
  explicit ClassGroups(const SVMProblem& problem);

  std::int32_t count() const { return count_; }
  std::int32_t Label(std::int32_t k) const { return labels_[std::size_t(k)]; }
  std::int32_t Size(std::int32_t k) const {
    return begins_[std::size_t(k) + 1] - begins_[std::size_t(k)];
  }
  /// Where the class begins in the grouped order.
  std::int32_t Begin(std::int32_t k) const { return begins_[std::size_t(k)]; }
  /// The class's cases.
  std::span<const std::int32_t> Cases(std::int32_t k) const {
    return cases_.subspan(std::size_t(Begin(k)), std::size_t(Size(k)));
  }
  /// All cases, class after class.
  std::span<const std::int32_t> cases() const { return cases_; }

 private:
  std::int32_t count_ = 0;
  HostArray<std::int32_t> labels_;
  HostArray<std::int32_t> begins_;  // per class, and the end
  HostArray<std::int32_t> cases_;
};

}  // namespace qrvml
