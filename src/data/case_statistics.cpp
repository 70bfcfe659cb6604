#include "data/case_statistics.h"

#include <limits>

#include "host/numerics.h"

namespace qrvml {

void CaseStatistics::Start(std::size_t slots) {
  sum_.Assign(slots, 0.0);
  validWeight_.Assign(slots, 0.0);
  minimum_.Assign(slots, std::numeric_limits<double>::max());
  maximum_.Assign(slots, std::numeric_limits<double>::lowest());
  commonWeight_ = 0;
}

void CaseStatistics::Release() {
  sum_.Release();
  validWeight_.Release();
  minimum_.Release();
  maximum_.Release();
}

// The loops below run over the slots with the arrays in restrict-qualified locals, so that they
// vectorise; each slot's own sum keeps the order of the cases.

void CaseStatistics::AddSums(const double* values, double weight) {
  const std::size_t slots = sum_.size();
  double* __restrict sum = sum_.data();
  for (std::size_t slot = 0; slot < slots; ++slot) sum[slot] += weight * values[slot];
  commonWeight_ += weight;
}

void CaseStatistics::AddCase(const double* values, double weight) {
  const std::size_t slots = sum_.size();
  double* __restrict sum = sum_.data();
  double* __restrict minimum = minimum_.data();
  double* __restrict maximum = maximum_.data();
  for (std::size_t slot = 0; slot < slots; ++slot) {
    const double value = values[slot];
    sum[slot] += weight * value;
    minimum[slot] = IsLess(value, minimum[slot]) ? value : minimum[slot];
    maximum[slot] = IsGreater(value, maximum[slot]) ? value : maximum[slot];
  }
  commonWeight_ += weight;
}

void CaseStatistics::Add(std::size_t slot, double value, double weight) {
  AddSum(slot, value, weight);
  if (IsLess(value, minimum_[slot])) minimum_[slot] = value;
  if (IsGreater(value, maximum_[slot])) maximum_[slot] = value;
}

void CaseStatistics::MakeMeans(std::int64_t weight) {
  for (double& sum : sum_) sum = weight == 0 ? 0.0 : sum / static_cast<double>(weight);
}

void CaseStatistics::MakeMeansOfValid() {
  for (std::size_t slot = 0; slot < sum_.size(); ++slot) {
    const double weight = ValidWeight(slot);
    sum_[slot] = IsEqual(weight, 0.0) ? 0.0 : sum_[slot] / weight;
  }
}

}  // namespace qrvml
