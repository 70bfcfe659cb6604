// Counts of predicted against observed classes of one categorical dependent.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/memory.h"

namespace qrvml {

/// A classes x classes table of weighted case counts. Which of the two indices is the observed
/// class is the method's choice; it names the indices where it counts and where it shows them.
class ConfusionCounts {
 public:
  /// All counts 0. Throws MemoryRefused.
  void Start(std::size_t classes) {
    classes_ = classes;
    counts_.Assign(classes * classes, 0);
  }
  /// Adds to a cell; an index of -1 (a code that is no class) is not counted.
  void Add(int row, int column, std::int32_t weight) {
    if (row < 0 || column < 0) return;
    counts_[static_cast<std::size_t>(row) * classes_ + static_cast<std::size_t>(column)] += weight;
  }
  /// Adds the counts of a table of as many classes.
  void Add(const ConfusionCounts& other) {
    for (std::size_t i = 0; i < counts_.size(); ++i) counts_[i] += other.counts_[i];
  }
  std::int32_t At(std::size_t row, std::size_t column) const {
    return counts_[row * classes_ + column];
  }
  std::size_t classes() const { return classes_; }

 private:
  std::size_t classes_ = 0;
  HostArray<std::int32_t> counts_;
};

}  // namespace qrvml
