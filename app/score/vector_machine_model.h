// The support vector machine of a PMML document: kernel values of the printed vectors, and the
// votes of all pairs of classes.
#pragma once

#include <vector>

#include "score/deployed_model.h"

namespace qrvml {

class VectorMachineModel final : public DeployedModel {
 public:
  enum class Kernel { linear, polynomial, radial, sigmoid };

  /// An element of a support vector: a continuous input, scaled, or whether a categorical input has
  /// a code (not-a-number: no case has it).
  struct Column {
    std::size_t input;
    double code;
  };

  /// The class with most votes; of several the first label. Sums run in the order of the document.
  bool Predict(std::span<const double> values, std::span<double> predictions,
               std::string& error) override;

  Kernel kernel = Kernel::linear;
  double degree = 1, gamma = 0, coefficient = 0;
  std::vector<double> shift, scale;  // per input: scaled = shift + scale * value
  double outputShift = 0, outputScale = 1;
  std::vector<Column> columns;
  std::vector<double> vectors;       // per vector one value per column
  std::vector<double> coefficients;  // per vector one per row: labels - 1, or one
  std::vector<double> constants;     // per pair of labels, (0,1), (0,2), …, (1,2), …; or one
  std::vector<double> labels;        // codes of the classes as vectors are grouped; or none
  std::vector<std::size_t> counts;   // vectors of each label

  std::size_t Rows() const { return labels.empty() ? 1 : labels.size() - 1; }

 private:
  void ComputeKernels(std::span<const double> values);
  double Class();

  std::vector<double> query_;    // per column
  std::vector<double> kernels_;  // per vector
  std::vector<int> votes_;       // per label
};

}  // namespace qrvml
