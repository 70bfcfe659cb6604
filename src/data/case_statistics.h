// Weighted sums, means, minima and maxima of the analysis variables of one subset of the cases.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/memory.h"

namespace qrvml {

/// One value of each per slot of the role lists (predictors, then dependents).
class CaseStatistics {
 public:
  /// Sums and weights := 0, minima := the largest double, maxima := its negative.
  void Start(std::size_t slots);
  void Release();

  /// A case without missing values: `values` holds one per slot.
  void AddSums(const double* values, double weight);
  void AddCase(const double* values, double weight);
  /// One value.
  void AddSum(std::size_t slot, double value, double weight) {
    sum_[slot] += weight * value;
    validWeight_[slot] += weight;
  }
  void Add(std::size_t slot, double value, double weight);

  /// Turns every sum into a mean by a common weight; 0 leaves the mean 0.
  void MakeMeans(std::int64_t weight);
  /// The same, each sum by the weight of the values that entered it.
  void MakeMeansOfValid();

  double Mean(std::size_t slot) const { return sum_[slot]; }
  double Minimum(std::size_t slot) const { return minimum_[slot]; }
  double Maximum(std::size_t slot) const { return maximum_[slot]; }
  /// Weighted number of values that entered the sum.
  double ValidWeight(std::size_t slot) const { return commonWeight_ + validWeight_[slot]; }
  bool empty() const { return sum_.empty(); }

 private:
  HostArray<double> sum_;  // means once made
  HostArray<double> minimum_;
  HostArray<double> maximum_;
  HostArray<double> validWeight_;  // beyond commonWeight_
  double commonWeight_ = 0;        // weight of the cases without missing values
};

}  // namespace qrvml
