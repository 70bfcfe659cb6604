#include "svm/kernel_function.h"

#include <cmath>

#include "svm/portable_power.h"

namespace qrvml {
namespace {

constexpr double kGreatestPower = 64;  // by squaring; beyond it the roundings would add up

}  // namespace

KernelFunction::KernelFunction(const SVMParameters& parameters, int level)
    : kernel_(&SvmKernelFor(level)), degree_(parameters.degree) {
  terms_.gamma = parameters.gamma;
  terms_.coef0 = parameters.coef0;
  switch (parameters.kernelType) {
    case kPolynomialKernel:
      realPower_ = !(std::fabs(degree_) <= kGreatestPower && std::floor(degree_) == degree_);
      if (realPower_) break;
      terms_.finish = KernelFinish::integerPower;
      terms_.power = std::int32_t(degree_);
      break;
    case kRadialKernel:
      terms_.finish = KernelFinish::exponential;
      break;
    case kSigmoidKernel:
      terms_.finish = KernelFinish::tangent;
      break;
    default:
      break;
  }
}

void KernelFunction::Finish(double square, const double* squares, double* values,
                            std::int32_t count) const {
  if (!realPower_) return kernel_->finish(terms_, square, squares, values, count);
  for (std::int32_t t = 0; t < count; ++t) {
    values[t] = PortablePower(terms_.gamma * values[t] + terms_.coef0, degree_);
  }
}

}  // namespace qrvml
