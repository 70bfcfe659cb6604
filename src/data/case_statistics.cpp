#include "data/case_statistics.h"

#include <limits>

#include "data/kernels/case_kernel.h"
#include "data/processor_level.h"
#include "host/numerics.h"

namespace qrvml {

const CaseKernel& CaseKernelHere() {
  static const CaseKernel& kernel = ProcessorLevel() >= 4   ? kCaseKernelV4
                                    : ProcessorLevel() == 3 ? kCaseKernelV3
                                                            : kCaseKernelV2;
  return kernel;
}

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

void CaseStatistics::AddSums(const double* values, double weight) {
  CaseKernelHere().addSums(sum_.size(), values, weight, sum_.data());
  commonWeight_ += weight;
}

void CaseStatistics::AddCase(const double* values, double weight) {
  CaseKernelHere().addCase(sum_.size(), values, weight, sum_.data(), minimum_.data(),
                           maximum_.data());
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
