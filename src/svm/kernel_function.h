// The four kernels: what is done to the product or squared distance of two cases.
#pragma once

#include <cstdint>

#include "svm/kernels/svm_kernel.h"
#include "svm/svm_types.h"

namespace qrvml {

/// linear      product
/// polynomial  (gamma product + coef0)^degree
/// radial      exp(-gamma |x - z|^2)
/// sigmoid     tanh(gamma product + coef0)
class KernelFunction {
 public:
  KernelFunction(const SVMParameters& parameters, int level);

  const SvmKernel& kernel() const { return *kernel_; }
  bool IsRadial() const { return terms_.finish == KernelFinish::exponential; }
  /// Turns products with one case into kernel values, in place; see SvmKernel::finish.
  void Finish(double square, const double* squares, double* values, std::int32_t count) const;

 private:
  const SvmKernel* kernel_;
  KernelTerms terms_;
  bool realPower_ = false;  // the power is no small integer
  double degree_ = 0;
};

}  // namespace qrvml
