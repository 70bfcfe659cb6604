#include "score/vector_machine_model.h"

#include <algorithm>
#include <cmath>

#include "host/numerics.h"
#include "svm/portable_power.h"

namespace qrvml {

void VectorMachineModel::ComputeKernels(std::span<const double> values) {
  query_.clear();
  for (const Column& column : columns) {
    const double value = values[column.input];
    query_.push_back(inputs[column.input].isCategorical
                         ? double(value == column.code)
                         : shift[column.input] + scale[column.input] * value);
  }
  kernels_.clear();
  for (const double* vector = vectors.data(); vector != vectors.data() + vectors.size();
       vector += columns.size()) {
    double sum = 0;
    for (std::size_t c = 0; c < columns.size(); ++c) {
      const double difference = query_[c] - vector[c];
      sum += kernel == Kernel::radial ? difference * difference : query_[c] * vector[c];
    }
    switch (kernel) {
      case Kernel::linear:
        break;
      case Kernel::polynomial:
        sum = PortablePower(gamma * sum + coefficient, degree);
        break;
      case Kernel::radial:
        sum = PortableExp(-gamma * sum);
        break;
      case Kernel::sigmoid:
        sum = std::tanh(gamma * sum + coefficient);
        break;
    }
    kernels_.push_back(sum);
  }
}

double VectorMachineModel::Class() {
  votes_.assign(labels.size(), 0);
  const std::size_t rows = Rows();
  std::size_t pair = 0, iBegin = 0;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const std::size_t iEnd = iBegin + counts[i];
    std::size_t jBegin = iEnd;
    for (std::size_t j = i + 1; j < labels.size(); ++j, ++pair) {
      const std::size_t jEnd = jBegin + counts[j];
      double sum = 0;
      for (std::size_t s = iBegin; s < iEnd; ++s)
        sum += coefficients[s * rows + j - 1] * kernels_[s];
      for (std::size_t s = jBegin; s < jEnd; ++s) sum += coefficients[s * rows + i] * kernels_[s];
      ++votes_[sum - constants[pair] > 0 ? i : j];
      jBegin = jEnd;
    }
    iBegin = iEnd;
  }
  return labels[static_cast<std::size_t>(std::ranges::max_element(votes_) - votes_.begin())];
}

bool VectorMachineModel::Predict(std::span<const double> values, std::span<double> predictions,
                                 std::string&) {
  ComputeKernels(values);
  if (!labels.empty()) {
    predictions[0] = Class();
    return true;
  }
  double sum = 0;
  for (std::size_t s = 0; s < kernels_.size(); ++s) sum += coefficients[s] * kernels_[s];
  predictions[0] = (sum - constants[0] - outputShift) / outputScale;
  return true;
}

}  // namespace qrvml
